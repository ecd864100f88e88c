#include "ambient/ambients.h"

#include <new>

#include "core/state.h"
#include "kxEngine.h"
#include "kxSound.h"

AmbientEntry* AmbientList = nullptr;

namespace {

constexpr int FIND_LIMIT = 1024;

AmbientEntry* FindAmbient(const char* name) {
  return static_cast<AmbientEntry*>(NamedNode::Find(AmbientList, name, FIND_LIMIT));
}

bool Running() { return SystemInitialized && SoundEnabled; }

}  // namespace

AmbientEntry::~AmbientEntry() { qorSound_ReleaseStream(Stream); }

void AmbientEntry::ChooseDelay() {
  uint32_t r = qorRandom_Rand();
  Elapsed = 0;
  // Unsigned 32-bit on purpose: differences above 131,076 ms wrap to a shorter wait.
  NextDelay = MinDelay + r * (MaxDelay - MinDelay) / 32767u;
}

void AmbientEntry::Pause() {
  if (Paused) return;
  qorSound_PauseStream(Stream);
  Paused = 1;
}

void AmbientEntry::Resume() {
  if (!Paused) return;
  qorSound_PlayStream(Stream);
  Paused = 0;
}

void UpdateAmbients() {
  ULONG delta = qorTimer_GetSystemDeltaTicks();
  for (AmbientEntry* entry = AmbientList; entry; entry = entry->NextAmbient()) {
    if (entry->Paused || !entry->Delayed) continue;
    entry->Elapsed += delta;
    if (entry->Elapsed > entry->NextDelay) {
      qorSound_PlayStream(entry->Stream);
      entry->ChooseDelay();
    }
  }
}

LONG qorSound_LoadAmbient(const char* name) {
  if (!Running() || !name) return E_FAIL;
  if (FindAmbient(name)) return E_FAIL;
  if (qorSound_FindSound(name, nullptr) < 0) return E_FAIL;
  if (qorSound_Get3D(name) != 0) return E_FAIL;
  auto* entry = new (std::nothrow) AmbientEntry(name);
  if (!entry) return E_FAIL;
  if (!qorSound_QueryStream(name, &entry->Stream, STREAM_FLAG_EXTRA)) {
    delete entry;
    return E_FAIL;
  }
  if (AmbientList) {
    AmbientList->Append(entry);
  } else {
    AmbientList = entry;
  }
  return S_OK;
}

LONG qorSound_UnloadAmbient(const char* name) {
  if (!Running()) return E_FAIL;
  AmbientEntry* entry = FindAmbient(name);
  if (!entry) return E_FAIL;
  AmbientList = static_cast<AmbientEntry*>(NamedNode::Remove(AmbientList, entry));
  delete entry;
  return S_OK;
}

LONG qorSound_UnloadAllAmbients() {
  if (!Running()) return E_FAIL;
  AmbientEntry* head = AmbientList;
  AmbientList = nullptr;
  delete head;
  return S_OK;
}

LONG qorSound_PauseAllAmbiemts() {
  if (!Running()) return E_FAIL;
  for (AmbientEntry* entry = AmbientList; entry; entry = entry->NextAmbient()) entry->Pause();
  return S_OK;
}

LONG qorSound_ResumeAllAmbiemts() {
  if (!Running()) return E_FAIL;
  for (AmbientEntry* entry = AmbientList; entry; entry = entry->NextAmbient()) entry->Resume();
  return S_OK;
}

LONG qorSound_PlayAmbientLooped(const char* name) {
  if (!Running()) return E_FAIL;
  AmbientEntry* entry = FindAmbient(name);
  if (!entry) return E_FAIL;
  qorSound_PlayStream(entry->Stream);
  entry->Delayed = 0;
  return S_OK;
}

LONG qorSound_PlayAmbientDelayed(const char* name, int seconds, int percent) {
  if (!Running()) return E_FAIL;
  AmbientEntry* entry = FindAmbient(name);
  // Negative seconds would wrap to waits of weeks.
  if (!entry || seconds < 0) return E_FAIL;
  if (percent < 0) percent = 0;
  if (percent > 90) percent = 90;
  entry->Delayed = 1;
  uint32_t base = static_cast<uint32_t>(seconds) * 1000u;
  uint32_t spread = base * static_cast<uint32_t>(percent) / 100u;
  entry->MinDelay = base - spread;
  entry->MaxDelay = base + spread;
  entry->ChooseDelay();
  return S_OK;
}

LONG qorSound_StopAmbient(const char* name) {
  if (!Running()) return E_FAIL;
  AmbientEntry* entry = FindAmbient(name);
  if (!entry) return E_FAIL;
  qorSound_StopStream(entry->Stream);
  return S_OK;
}

LONG qorSound_AmbientVolume(const char* name, int volume) {
  if (!Running()) return E_FAIL;
  AmbientEntry* entry = FindAmbient(name);
  if (!entry) return E_FAIL;
  qorSound_SetStreamVolume(entry->Stream, volume);
  return S_OK;
}
