set(KX_PLAYBACK_SOURCES
  playback/sound_buffer.cpp
  playback/buffer_loading.cpp
  playback/sound_stream.cpp
  playback/stream_pool.cpp
  playback/playing.cpp
  playback/stream_control.cpp
)
