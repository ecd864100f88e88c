set(KX_WAVE_SOURCES
  wave/format_names.cpp
  wave/wave_reader.cpp
  wave/file_info.cpp
  wave/wave_check.cpp
)
