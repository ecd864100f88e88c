set(KX_GAUDIO_SOURCES
  gaudio/address32.cpp
  gaudio/mp3_decoder.cpp
  gaudio/resampler.cpp
  gaudio/stream_sound.cpp
  gaudio/gaudio.cpp
)
