set(KX_PLAYBACK_SOURCES
  playback/sound_buffer.cpp
  playback/buffer_loading.cpp
)
