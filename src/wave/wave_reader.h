// Reader of one RIFF WAVE file: the whole file is read once into global memory and
// walked as an mmio memory file. Callers read Format and DataChunk.cksize directly.
#ifndef KXSOUND_WAVE_WAVE_READER_H
#define KXSOUND_WAVE_WAVE_READER_H

#include <cstdint>

#include "dsound/dsound.h"
#include "kxSoundWin32.h"
#include "win32/mmio.h"

class WaveReader {
public:
  WaveReader();
  ~WaveReader();
  WaveReader(const WaveReader&) = delete;
  WaveReader& operator=(const WaveReader&) = delete;

  // On success the reader stands at the first data byte and DataChunk.cksize is the data size.
  LONG Open(const char* path);
  // Back to the first data byte, with DataChunk.cksize the whole data size again.
  LONG Reset();
  // Copies up to count bytes; *actual receives the number copied (0 on failure).
  LONG Read(uint32_t count, uint8_t* destination, uint32_t* actual);
  LONG Close();

  static LONG WaveLoadFile(const char* path, HMMIO* handle, WAVEFORMATEX** format, MMCKINFO* riffChunk,
                           uint8_t** fileImage);
  static LONG WaveParseHeader(HMMIO handle, MMCKINFO* riffChunk, WAVEFORMATEX** format);
  static LONG WaveFindData(HMMIO* handle, MMCKINFO* dataChunk, MMCKINFO* riffChunk);
  static LONG WaveCopyData(HMMIO handle, uint32_t count, uint8_t* destination, MMCKINFO* dataChunk,
                           uint32_t* actual);

  // 18 + cbSize bytes from the heap (std::malloc); extra bytes follow cbSize.
  WAVEFORMATEX* Format;
  HMMIO Handle;
  // cksize counts the data bytes not yet read.
  MMCKINFO DataChunk;
  MMCKINFO RiffChunk;
  uint8_t* FileImage;
};

#endif
