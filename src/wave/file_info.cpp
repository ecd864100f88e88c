// qorSound_GetFileInfo: the properties of a wave file, through a reader of its own.
#include "core/state.h"
#include "wave/wave_reader.h"

LONG qorSound_GetFileInfo(const char* path, ULONG& formatTag, int& channels, int& bits, int& samplesPerSec,
                          int& dataBytes) {
  if (!SystemInitialized) return E_FAIL;
  WaveReader reader;
  if (reader.Open(path) < 0) return E_FAIL;
  formatTag = reader.Format->wFormatTag;
  channels = reader.Format->nChannels;
  bits = reader.Format->wBitsPerSample;
  samplesPerSec = static_cast<int>(reader.Format->nSamplesPerSec);
  // Bytes, not samples.
  dataBytes = static_cast<int>(reader.DataChunk.cksize);
  return S_OK;
}
