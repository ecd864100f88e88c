// Reading and writing the catalogue's binary file through the engine's file layer.
#ifndef KXSOUND_BASE_BASE_FILE_H
#define KXSOUND_BASE_BASE_FILE_H

#include <cstddef>
#include <cstdint>

#include "kxSoundWin32.h"

// An open file being read, with the bytes it has left, so that no stored count can
// make the reader allocate more than the file could fill.
struct FileCursor {
  HANDLE File;
  uint32_t Remaining;

  // True when all count bytes arrived.
  bool Read(void* buffer, uint32_t count);
  // Reads and drops count bytes.
  bool Skip(uint32_t count);
};

// Gathers the many small blocks of a save into large writes. A short write is
// reported by the call that flushes it, and every later call fails too.
class FileWriter {
public:
  explicit FileWriter(HANDLE file) : File(file) {}
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;
  bool Write(const void* data, uint32_t count);
  bool Flush();

private:
  // 64 KB: a few writes for a catalogue of hundreds of sounds, and small enough that the
  // allocator serves it from its pools instead of mapping fresh pages for every save.
  static constexpr uint32_t CAPACITY = 64 * 1024;
  HANDLE File;
  uint32_t Used = 0;
  bool Failed = false;
  uint8_t Buffer[CAPACITY];
};

// Path clean-up at load. Both work in place on a path field of size bytes; a result
// that does not fit is cut so the field keeps its terminator.
void StripPathPrefix(char* path, const char* prefix, size_t size);
void ForcePathPrefix(char* path, const char* prefix, size_t size);
// Lower case, "base\" taken off, "sounds\" forced on.
void CleanStoredPath(char* path, size_t size);

#endif
