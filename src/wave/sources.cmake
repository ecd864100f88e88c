set(KX_WAVE_SOURCES
  wave/format_names.cpp
)
