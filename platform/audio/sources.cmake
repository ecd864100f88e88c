set(KX_AUDIO_SOURCES
  audio/output_mode.cpp
  audio/output_device.cpp
  audio/capture.cpp
  audio/device_failure.cpp
)
# The DirectSound benchmark drives OpenAL directly as its baseline.
set_target_properties(PkgConfig::OPENAL PROPERTIES IMPORTED_GLOBAL TRUE)
