// The one way sample data reaches the device: a PCM wave file becomes a static buffer.
#include <cstring>
#include <new>

#include "core/state.h"
#include "dsound/dsound.h"
#include "playback/sound_buffer.h"
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

}  // namespace

SoundBuffer* SoundBuffer_LoadFile(const char* path, int is3D) {
  // Counts attempts, the failed ones too.
  CountSoundCreated();
  if (!DirectSoundObject || !path) return nullptr;
  WaveReader reader;
  if (reader.Open(path) < 0) return nullptr;
  if (!reader.Format || reader.Format->wFormatTag != WAVE_FORMAT_PCM) return nullptr;

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
