set(KX_DSOUND_SOURCES
  dsound/device.cpp
  dsound/primary_buffer.cpp
  dsound/listener.cpp
  dsound/sound_buffer.cpp
  dsound/buffer3d.cpp
  dsound/sample_store.cpp
)
