// Why a wave file can or cannot become a device buffer, in words: for the diagnostics
// sink and for kxSound_Why. It reads the file the way loading does and applies the rules
// the device applies, so what it says matches what a load does.
#ifndef KXSOUND_WAVE_WAVE_CHECK_H
#define KXSOUND_WAVE_WAVE_CHECK_H

#include <cstddef>
#include <cstdint>

struct WaveCheck {
  // 0 when the file would load; else KXSOUND_DIAG_FILE_NOT_FOUND or KXSOUND_DIAG_FORMAT_REFUSED.
  int Code = 0;
  // The reason, to follow the file's name: "is stereo; a 3D sound must be mono".
  char Why[192] = "";
  // What the "fmt " and "data" chunks say, when the file opened as a wave.
  bool Opened = false;
  uint32_t Tag = 0;
  uint32_t Channels = 0;
  uint32_t Bits = 0;
  uint32_t Rate = 0;
  uint32_t DataBytes = 0;
};

void CheckWaveFile(const char* path, int is3D, WaveCheck* check);

// "PCM 16-bit mono 22050 Hz, 0.500 s" of an opened file.
void DescribeWaveFormat(const WaveCheck& check, char* out, size_t size);

#endif
