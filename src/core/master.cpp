// The switches that act on every sound effect at once.
#include "base/catalogue.h"
#include "core/state.h"
#include "playback/sound_stream.h"

namespace {

constexpr float POINT_ZERO_ONE = 0.01f;

}  // namespace

LONG qorSound_Enable(int enable) {
  if (!SystemInitialized) return E_FAIL;
  if (enable == SoundEnabled) return S_OK;
  SoundEnabled = enable;
  if (enable != 0) return S_OK;
  // Off: one-shots and stealable streams go back to the pool, held ones stop.
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) {
    if (!entry->LoggedIn || !entry->StreamChains) continue;
    entry->ForEachStream([](SoundStream* stream) {
      if (stream->State == STREAM_FREE) return;
      if (stream->State == STREAM_SINGLE || (stream->Flags & STREAM_FLAG_STEALABLE)) {
        stream->Release();
      } else {
        stream->Stop();
      }
    });
  }
  return S_OK;
}

LONG qorSound_SetVolume(int volume) {
  if (!SystemInitialized || !SoundEnabled || volume < 0) return E_FAIL;
  if (volume > 100) volume = 100;
  MasterVolume = volume;
  VolumeFactor = static_cast<float>(static_cast<double>(volume) * static_cast<double>(POINT_ZERO_ONE));
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) entry->SetVolume(-1);
  return S_OK;
}

LONG qorSound_GetVolume(int* volume) {
  if (!SystemInitialized || !volume) return E_FAIL;
  *volume = MasterVolume;
  return S_OK;
}

LONG qorSound_SetFrequencyFactor(float factor) {
  if (!SystemInitialized || !SoundEnabled || !(factor >= 0.0f)) return E_FAIL;
  FrequencyFactor = factor;
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) entry->SetFrequency(-1);
  return S_OK;
}
