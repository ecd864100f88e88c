// Getters and setters of one sound's play parameters.
#include "base/catalogue.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "playback/sound_buffer.h"

SOUND_PLAYMODE qorSound_GetSoundPlayMode(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->PlayMode : SOUND_PLAYMODE_SEQUENTIAL;
}

void qorSound_SetSoundPlayMode(const char* name, SOUND_PLAYMODE mode) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->PlayMode = mode;
}

int qorSound_GetVolume(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Volume : 0;
}

void qorSound_SetVolume(const char* name, int volume) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry) return;
  entry->SetVolume(volume);
  int level = ScaledPercent(entry->Volume, 1.0, VolumeFactor);
  if (volume >= 0 && (level < 0 || level > 100)) {
    Diagnose(KXSOUND_DIAG_LEVEL_REFUSED,
             "volume %d of sound \"%s\" is stored, but its level %d (Volume %d x VolumeFactor %.2f) is outside 0..100 "
             "and the device refuses it: the sound is not heard at that level",
             volume, entry->Name, level, entry->Volume, static_cast<double>(VolumeFactor));
  }
}

void qorSound_SetVolume2(const char* name, int volume) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->SetVolume2(volume);
}

int qorSound_GetFrequency(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Frequency : 0;
}

void qorSound_SetFrequency(const char* name, int frequency) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->SetFrequency(frequency);
}

void qorSound_GetDistances(const char* name, float* minimum, float* maximum) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry) return;
  if (minimum) *minimum = entry->MinDistance;
  if (maximum) *maximum = entry->MaxDistance;
}

void qorSound_SetDistances(const char* name, float minimum, float maximum) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry) return;
  if (!entry->Is3D) {
    Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" is not 3D: qorSound_SetDistances leaves its distances as they are",
             entry->Name);
    return;
  }
  entry->SetDistances(minimum, maximum);
}

void qorSound_SetSoundMinMaxDistances(void* sound, float minimum, float maximum) {
  if (!GateInitialized(__func__) || !sound) return;
  static_cast<SoundEntry*>(sound)->SetDistances(minimum, maximum);
}

int qorSound_GetNumStreams(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->NumStreams : 0;
}

void qorSound_SetNumStreams(const char* name, int count) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->NumStreams = count;
}

int qorSound_GetLooped(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Looped : 0;
}

void qorSound_SetLooped(const char* name, int looped) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->Looped = static_cast<uint8_t>(looped);
}

int qorSound_GetCrossed(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Crossed : 0;
}

void qorSound_SetCrossed(const char* name, int crossed) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->Crossed = static_cast<uint8_t>(crossed);
}

int qorSound_Get3D(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Is3D : 0;
}

void qorSound_Set3D(const char* name, int is3D) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->Is3D = static_cast<uint8_t>(is3D);
}
