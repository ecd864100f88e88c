// The one way sample data reaches the device: a PCM wave file becomes a static buffer.
#include <cstdio>
#include <cstring>
#include <new>

#include "base/named_node.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "dsound/dsound.h"
#include "playback/sound_buffer.h"
#include "wave/wave_check.h"
#include "wave/wave_reader.h"

namespace {

constexpr DWORD FLAGS_2D = DSBCAPS_STATIC | DSBCAPS_CTRLFREQUENCY | DSBCAPS_CTRLVOLUME;
constexpr DWORD FLAGS_3D = FLAGS_2D | DSBCAPS_CTRL3D | DSBCAPS_MUTE3DATMAXDISTANCE;

// Fills the device buffer straight from the reader: the samples are read from the
// file image once and copied once, with no block in between.
bool FillBuffer(IDirectSoundBuffer* buffer, WaveReader& reader, DWORD size) {
  void* first = nullptr;
  void* second = nullptr;
  DWORD firstBytes = 0, secondBytes = 0;
  if (buffer->Lock(0, size, &first, &firstBytes, &second, &secondBytes, 0) < 0 || !first || firstBytes < size) {
    return false;
  }
  uint32_t actual = 0;
  bool read = reader.Read(size, static_cast<uint8_t*>(first), &actual) >= 0;
  reader.Reset();
  buffer->Unlock(first, size, nullptr, 0);
  return read;
}

SoundBuffer* LoadFile(const char* path, int is3D) {
  if (!DirectSoundObject || !path) return nullptr;
  WaveReader reader;
  if (reader.Open(path) < 0) return nullptr;
  if (!reader.Format || reader.Format->wFormatTag != WAVE_FORMAT_PCM) return nullptr;
  // A data chunk that claims more than the file holds would fail its read: it fails before
  // the buffer it claims is made, so that a small hostile file costs no more than its headers.
  const LONG start = mmioSeek(reader.Handle, 0, SEEK_CUR_MMIO);
  const LONG end = mmioSeek(reader.Handle, 0, SEEK_END_MMIO);
  if (start < 0 || end < start || mmioSeek(reader.Handle, start, SEEK_SET_MMIO) != start ||
      reader.DataChunk.cksize > static_cast<DWORD>(end - start))
    return nullptr;

  DSBUFFERDESC description = {};
  description.dwSize = DSBUFFERDESC_SIZE;
  description.dwFlags = is3D ? FLAGS_3D : FLAGS_2D;
  description.dwBufferBytes = reader.DataChunk.cksize;
  description.lpwfxFormat = reader.Format;
  IDirectSoundBuffer* deviceBuffer = nullptr;
  if (DirectSoundObject->CreateSoundBuffer(&description, &deviceBuffer, nullptr) < 0 || !deviceBuffer) return nullptr;

  if (!FillBuffer(deviceBuffer, reader, description.dwBufferBytes)) {
    deviceBuffer->Release();
    return nullptr;
  }
  SoundBuffer* buffer = is3D ? new (std::nothrow) SoundBuffer3D(deviceBuffer)
                             : new (std::nothrow) SoundBuffer(deviceBuffer);
  if (!buffer) deviceBuffer->Release();
  return buffer;
}

void DiagnoseLoad(const char* path, int is3D, const char* owner) {
  char shown[PATH_BUFFER_SIZE];
  DisplayPath(path, shown, sizeof shown);
  char whose[NAME_SIZE + 16] = "";
  if (owner) std::snprintf(whose, sizeof whose, " of sound \"%s\"", owner);
  const char* outcome = owner ? "the sound cannot log in" : "it does not play";
  WaveCheck check;
  CheckWaveFile(path, is3D, &check);
  if (check.Code) {
    Diagnose(check.Code, "wave file \"%s\"%s %s: %s", shown, whose, check.Why, outcome);
  } else {
    Diagnose(KXSOUND_DIAG_FORMAT_REFUSED, "wave file \"%s\"%s could not become a %s buffer (the device refused it): %s",
             shown, whose, is3D ? "3D" : "2D", outcome);
  }
}

}  // namespace

SoundBuffer* SoundBuffer_LoadFile(const char* path, int is3D, const char* owner) {
  // Counts attempts, the failed ones too.
  CountSoundCreated();
  SoundBuffer* buffer = LoadFile(path, is3D);
  if (!buffer && DiagnosticsWanted()) {
    if (path) {
      DiagnoseLoad(path, is3D, owner);
    } else {
      Diagnose(KXSOUND_DIAG_REFUSED, "a wave file without path does not load");
    }
  }
  return buffer;
}
