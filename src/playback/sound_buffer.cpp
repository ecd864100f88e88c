#include "playback/sound_buffer.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

#include "core/percent.h"
#include "core/state.h"
#include "dsound/dsound.h"
#include "kxEngine.h"

namespace {

constexpr float LOG_FLOOR = 0.001f;

void Switch3DOn(SoundBuffer* buffer) {
  if (!buffer->Buffer3D || !buffer->Spatialized) return;
  buffer->Buffer3D->SetMode(DS3DMODE_NORMAL, DS3D_IMMEDIATE);
  buffer->Buffer3D->SetMode(DS3DMODE_NORMAL, DS3D_DEFERRED);
}

void Switch3DOff(SoundBuffer* buffer) {
  if (buffer->Buffer3D) buffer->Buffer3D->SetMode(DS3DMODE_DISABLE, DS3D_IMMEDIATE);
}

bool DevicePlaying(SoundBuffer* buffer) {
  DWORD status = 0;
  buffer->DirectBuffer->GetStatus(&status);
  return (status & DSBSTATUS_PLAYING) != 0;
}

void StartPlaying(SoundBuffer* buffer) { buffer->DirectBuffer->Play(0, 0, buffer->Looped ? DSBPLAY_LOOPING : 0); }

void CommandStop(SoundBuffer* buffer) {
  DWORD cursor = 0;
  buffer->DirectBuffer->GetCurrentPosition(&cursor, nullptr);
  buffer->SavedCursor = cursor;
  buffer->DirectBuffer->Stop();
  Switch3DOff(buffer);
  buffer->DirectBuffer->SetCurrentPosition(0);
}

// Device volumes outside -10000..0 are refused by the device; keep such values out
// of range without overflowing.
LONG ClampForDevice(int64_t hundredths) {
  if (hundredths < DSBVOLUME_MIN) return DSBVOLUME_MIN - 1;
  if (hundredths > DSBVOLUME_MAX) return DSBVOLUME_MAX + 1;
  return static_cast<LONG>(hundredths);
}

}  // namespace

void CountSoundCreated() { qorQObj_SetVar(SoundsCreatedVar, qorQObj_GetVar(SoundsCreatedVar) + 1); }

int ScaledPercent(int32_t value, double scale, double factor) {
  double product = static_cast<double>(value) * scale * factor;
  if (!(product > INT32_MIN)) return INT32_MIN;  // also NaN
  if (product >= static_cast<double>(INT32_MAX)) return INT32_MAX;
  return static_cast<int>(product);
}

int LogarithmicVolume(int percent) {
  double x = percent;
  if (x < LOG_FLOOR) x = LOG_FLOOR;
  if (x > 100.0) x = 100.0;
  return static_cast<int>(2000.0 * std::log10(PercentScale(x)));
}

// ---- SoundBuffer ----

SoundBuffer::SoundBuffer(IDirectSoundBuffer* buffer) : DirectBuffer(buffer) {
  DWORD frequency = 0;
  DirectBuffer->GetFrequency(&frequency);
  BaseFrequency = frequency;
  DSBCAPS caps = {};
  caps.dwSize = sizeof caps;
  DirectBuffer->GetCaps(&caps);
  BufferBytes = caps.dwBufferBytes;
  SavedCursor = 0;

  DWORD formatSize = 0;
  DirectBuffer->GetFormat(nullptr, 0, &formatSize);
  if (formatSize < sizeof(WAVEFORMATEX)) return;
  std::unique_ptr<uint8_t[]> block(new (std::nothrow) uint8_t[formatSize]);
  if (!block) return;
  auto* format = reinterpret_cast<WAVEFORMATEX*>(block.get());
  if (DirectBuffer->GetFormat(format, formatSize, nullptr) < 0) return;
  uint32_t bytesPerSecond = static_cast<uint32_t>(
      static_cast<uint64_t>(format->wBitsPerSample) * format->nChannels * format->nSamplesPerSec / 8);
  // 64 bits, so buffers of more than 24 seconds keep their length.
  if (bytesPerSecond) DurationMs = static_cast<uint32_t>(static_cast<uint64_t>(BufferBytes) * 1000 / bytesPerSecond);
}

SoundBuffer::~SoundBuffer() {
  if (DirectBuffer) DirectBuffer->Release();
  DirectBuffer = nullptr;
}

SoundBuffer* SoundBuffer::Create(IDirectSoundBuffer* buffer) { return new (std::nothrow) SoundBuffer(buffer); }

SoundBuffer* SoundBuffer::DuplicatePlain() {
  IDirectSoundBuffer* copy = nullptr;
  if (!DirectSoundObject || DirectSoundObject->DuplicateSoundBuffer(DirectBuffer, &copy) < 0 || !copy) return nullptr;
  SoundBuffer* duplicate = Create(copy);
  if (!duplicate) {
    copy->Release();
    return nullptr;
  }
  duplicate->BaseFrequency = BaseFrequency;
  CountSoundCreated();
  return duplicate;
}

SoundBuffer* SoundBuffer::Duplicate() { return DuplicatePlain(); }

// ---- SoundBuffer3D ----

SoundBuffer3D::SoundBuffer3D(IDirectSoundBuffer* buffer) : SoundBuffer(buffer) {
  if (DirectBuffer->QueryInterface(IID_IDirectSound3DBuffer, reinterpret_cast<void**>(&Buffer3D)) < 0) {
    Buffer3D = nullptr;
  }
  Switch3DOff(this);
}

SoundBuffer3D::~SoundBuffer3D() {
  if (Buffer3D) Buffer3D->Release();
  Buffer3D = nullptr;
}

SoundBuffer* SoundBuffer3D::Create(IDirectSoundBuffer* buffer) { return new (std::nothrow) SoundBuffer3D(buffer); }

SoundBuffer* SoundBuffer3D::Duplicate() {
  SoundBuffer* duplicate = DuplicatePlain();
  if (!duplicate || !Buffer3D || !duplicate->Buffer3D) return duplicate;
  DS3DBUFFER parameters = {};
  parameters.dwSize = sizeof parameters;
  Buffer3D->GetAllParameters(&parameters);
  duplicate->Buffer3D->SetAllParameters(&parameters, DS3D_DEFERRED);
  Switch3DOff(duplicate);
  return duplicate;
}

// ---- free functions ----

void SoundBuffer_Command(SoundBuffer* buffer, int command) {
  if (!buffer) return;
  switch (command) {
    case BUFFER_CMD_PLAY:
      if (DevicePlaying(buffer)) CommandStop(buffer);
      Switch3DOn(buffer);
      StartPlaying(buffer);
      break;
    case BUFFER_CMD_RESUME:
      if (DevicePlaying(buffer)) break;
      Switch3DOn(buffer);
      buffer->DirectBuffer->SetCurrentPosition(buffer->SavedCursor);
      StartPlaying(buffer);
      break;
    case BUFFER_CMD_STOP:
      CommandStop(buffer);
      break;
    case BUFFER_CMD_PAUSE:
      buffer->DirectBuffer->Stop();
      Switch3DOff(buffer);
      break;
    case BUFFER_CMD_REWIND:
      buffer->DirectBuffer->SetCurrentPosition(0);
      break;
    default:
      break;
  }
}

void SoundBuffer_SetLooped(SoundBuffer* buffer, int looped) {
  if (buffer) buffer->Looped = looped;
}

void SoundBuffer_SetPositionMs(SoundBuffer* buffer, uint32_t milliseconds) {
  if (!buffer || buffer->DurationMs == 0) return;
  uint64_t byte = static_cast<uint64_t>(buffer->BufferBytes) * milliseconds / buffer->DurationMs;
  buffer->DirectBuffer->SetCurrentPosition(static_cast<DWORD>(byte > UINT32_MAX ? UINT32_MAX : byte));
}

uint32_t SoundBuffer_GetDurationMs(const SoundBuffer* buffer) { return buffer ? buffer->DurationMs : 0; }

void SoundBuffer_SetFrequencyPercent(SoundBuffer* buffer, int percent) {
  if (!buffer) return;
  if (percent < 1) percent = 1;
  uint64_t hertz = static_cast<uint64_t>(buffer->BaseFrequency) * static_cast<uint32_t>(percent) / 100;
  buffer->DirectBuffer->SetFrequency(static_cast<DWORD>(hertz > UINT32_MAX ? UINT32_MAX : hertz));
}

void SoundBuffer_SetVolumePercent(SoundBuffer* buffer, int percent) {
  if (!buffer) return;
  buffer->DirectBuffer->SetVolume(ClampForDevice(static_cast<int64_t>(percent) * 100 - 10000));
}

void SoundBuffer_SetVolumeRaw(SoundBuffer* buffer, int hundredths) {
  if (buffer) buffer->DirectBuffer->SetVolume(hundredths);
}

void SoundBuffer_SetDistances(SoundBuffer* buffer, float minimum, float maximum) {
  if (!buffer || !buffer->Buffer3D) return;
  buffer->Buffer3D->SetMinDistance(minimum, DS3D_DEFERRED);
  buffer->Buffer3D->SetMaxDistance(maximum, DS3D_DEFERRED);
  if (ListenerObject) ListenerObject->CommitDeferredSettings();
}

void SoundBuffer_SetPosition(SoundBuffer* buffer, const float* position) {
  if (buffer && buffer->Buffer3D) buffer->Buffer3D->SetPosition(position[0], position[1], position[2], DS3D_DEFERRED);
}

void SoundBuffer_GetPosition(SoundBuffer* buffer, float* position) {
  if (buffer && buffer->Buffer3D) buffer->Buffer3D->GetPosition(reinterpret_cast<D3DVECTOR*>(position));
}

void SoundBuffer_SetVelocity(SoundBuffer* buffer, const float* velocity) {
  if (buffer && buffer->Buffer3D) buffer->Buffer3D->SetVelocity(velocity[0], velocity[1], velocity[2], DS3D_DEFERRED);
}

void SoundBuffer_GetVelocity(SoundBuffer* buffer, float* velocity) {
  if (buffer && buffer->Buffer3D) buffer->Buffer3D->GetVelocity(reinterpret_cast<D3DVECTOR*>(velocity));
}

int SoundBuffer_IsPlaying(SoundBuffer* buffer) { return buffer && DevicePlaying(buffer) ? 1 : 0; }

uint32_t SoundBuffer_GetProgress(SoundBuffer* buffer) {
  if (!buffer || buffer->BufferBytes == 0) return 0;
  DWORD play = 0, write = 0;
  buffer->DirectBuffer->GetCurrentPosition(&play, &write);
  return static_cast<uint32_t>(static_cast<uint64_t>(play) * 100 / buffer->BufferBytes);
}

void SoundBuffer_SetProgress(SoundBuffer* buffer, uint32_t percent) {
  if (!buffer) return;
  uint64_t byte = static_cast<uint64_t>(buffer->BufferBytes) * percent / 100;
  buffer->DirectBuffer->SetCurrentPosition(static_cast<DWORD>(byte > UINT32_MAX ? UINT32_MAX : byte));
}

void SoundBuffer_Enable3D(SoundBuffer* buffer, int enable) {
  if (!buffer) return;
  buffer->Spatialized = enable;
  if (buffer->Buffer3D && DevicePlaying(buffer)) {
    buffer->Buffer3D->SetMode(enable ? DS3DMODE_NORMAL : DS3DMODE_DISABLE, DS3D_IMMEDIATE);
  }
}

int SoundBuffer_Is3DEnabled(SoundBuffer* buffer) {
  if (!buffer || !buffer->Buffer3D) return 0;
  DWORD mode = DS3DMODE_DISABLE;
  buffer->Buffer3D->GetMode(&mode);
  return mode != DS3DMODE_DISABLE ? 1 : 0;
}

SoundBuffer* SoundBuffer_Duplicate(SoundBuffer* buffer) { return buffer ? buffer->Duplicate() : nullptr; }

void SoundBuffer_Release(SoundBuffer** buffer) {
  if (!buffer || !*buffer) return;
  delete *buffer;
  *buffer = nullptr;
}
