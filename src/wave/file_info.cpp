// qorSound_GetFileInfo: the properties of a wave file, through a reader of its own.
#include "core/diagnostics.h"
#include "core/state.h"
#include "wave/wave_check.h"
#include "wave/wave_reader.h"

LONG qorSound_GetFileInfo(const char* path, ULONG& formatTag, int& channels, int& bits, int& samplesPerSec,
                          int& dataBytes) {
  if (!GateInitialized(__func__)) return E_FAIL;
  WaveReader reader;
  if (reader.Open(path) < 0) {
    if (DiagnosticsWanted()) {
      WaveCheck check;
      CheckWaveFile(path, 0, &check);
      char shown[PATH_BUFFER_SIZE] = "";
      if (path) DisplayPath(path, shown, sizeof shown);
      Diagnose(check.Code ? check.Code : KXSOUND_DIAG_FORMAT_REFUSED, "wave file \"%s\" %s: qorSound_GetFileInfo fails",
               shown, check.Code ? check.Why : "could not be read");
    }
    return E_FAIL;
  }
  formatTag = reader.Format->wFormatTag;
  channels = reader.Format->nChannels;
  bits = reader.Format->wBitsPerSample;
  samplesPerSec = static_cast<int>(reader.Format->nSamplesPerSec);
  // Bytes, not samples.
  dataBytes = static_cast<int>(reader.DataChunk.cksize);
  return S_OK;
}
