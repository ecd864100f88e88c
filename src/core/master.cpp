// The switches that act on every sound effect at once.
#include "base/catalogue.h"
#include "core/percent.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "playback/sound_stream.h"

namespace {



}  // namespace

bool MasterVolumeSet = false;

LONG qorSound_Enable(int enable) {
  if (!GateInitialized(__func__)) return E_FAIL;
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
  if (!GateRunning(__func__)) return E_FAIL;
  if (volume < 0) {
    Diagnose(KXSOUND_DIAG_REFUSED, "master volume %d is refused: it runs from 0 to 100", volume);
    return E_FAIL;
  }
  if (volume > 100) {
    Diagnose(KXSOUND_DIAG_ADJUSTED, "master volume %d counts as 100", volume);
    volume = 100;
  }
  MasterVolume = volume;
  MasterVolumeSet = true;
  VolumeFactor = static_cast<float>(PercentScale(volume));
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) entry->SetVolume(-1);
  return S_OK;
}

LONG qorSound_GetVolume(int* volume) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!volume) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_GetVolume fails: the pointer is null");
    return E_FAIL;
  }
  if (!MasterVolumeSet) {
    Diagnose(KXSOUND_DIAG_VOLUME_NEVER_SET,
             "master volume reads %d: qorSound_SetVolume was never called, and the factor in force is %.2f",
             MasterVolume, static_cast<double>(VolumeFactor));
  }
  *volume = MasterVolume;
  return S_OK;
}

LONG qorSound_SetFrequencyFactor(float factor) {
  if (!GateRunning(__func__)) return E_FAIL;
  if (!(factor >= 0.0f)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "frequency factor %g is refused: it must be 0 or more", static_cast<double>(factor));
    return E_FAIL;
  }
  FrequencyFactor = factor;
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) entry->SetFrequency(-1);
  return S_OK;
}
