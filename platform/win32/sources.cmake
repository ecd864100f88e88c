set(KX_WIN32_SOURCES
  win32/global_memory.cpp
  win32/tick_count.cpp
  win32/mmio.cpp
)
list(APPEND KX_WIN32_SOURCES win32/resources.cpp)
