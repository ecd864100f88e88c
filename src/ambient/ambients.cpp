#include "ambient/ambients.h"

#include <new>

#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"
#include "kxSound.h"

AmbientEntry* AmbientList = nullptr;

namespace {

constexpr int FIND_LIMIT = 1024;

AmbientEntry* FindAmbient(const char* name) {
  return static_cast<AmbientEntry*>(NamedNode::Find(AmbientList, name, FIND_LIMIT));
}

// The ambient of that name, or null with the sink told that none is loaded.
AmbientEntry* LoadedAmbient(const char* name, const char* operation) {
  AmbientEntry* entry = FindAmbient(name);
  if (!entry) {
    Diagnose(KXSOUND_DIAG_REFUSED, "no ambient \"%s\" is loaded (qorSound_LoadAmbient first): %s fails",
             name ? name : "(null)", operation);
  }
  return entry;
}

// Engine time that has passed while every frame delta read 0. A host that never starts
// its frames leaves the delta at 0, and then no delayed ambient ever starts.
constexpr uint32_t STUCK_DELTA_MS = 1000;
bool ZeroDeltaRun = false;
bool ZeroDeltaTold = false;
uint32_t ZeroDeltaSince = 0;

void WatchFrameDelta(ULONG delta) {
  if (!DiagnosticsWanted()) return;
  if (delta != 0) {
    ZeroDeltaRun = false;
    ZeroDeltaTold = false;
    return;
  }
  uint32_t now = qorTimer_GetSystemTick();
  // A clock started again (a host's manual clock) begins a new run.
  if (!ZeroDeltaRun || static_cast<int32_t>(now - ZeroDeltaSince) < 0) {
    ZeroDeltaRun = true;
    ZeroDeltaTold = false;
    ZeroDeltaSince = now;
    return;
  }
  if (ZeroDeltaTold || now - ZeroDeltaSince < STUCK_DELTA_MS) return;
  ZeroDeltaTold = true;
  int delayed = 0;
  for (AmbientEntry* entry = AmbientList; entry; entry = entry->NextAmbient()) delayed += entry->Delayed ? 1 : 0;
  Diagnose(KXSOUND_DIAG_FRAME_DELTA_ZERO,
           "the frame delta (qorTimer_GetSystemDeltaTicks) has stayed 0 for %u ms of engine time while qorSound_Update "
           "ran: the host starts no frames, so delayed ambients never start (%d delayed now)",
           now - ZeroDeltaSince, delayed);
}

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
  WatchFrameDelta(delta);
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
  if (!GateRunning(__func__)) return E_FAIL;
  if (!name) {
    Diagnose(KXSOUND_DIAG_UNKNOWN_SOUND, "unknown sound: the name is null");
    return E_FAIL;
  }
  if (FindAmbient(name)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "ambient \"%s\" is loaded already", name);
    return E_FAIL;
  }
  if (qorSound_FindSound(name, nullptr) < 0) return E_FAIL;
  if (qorSound_Get3D(name) != 0) {
    Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" is 3D: an ambient must be a 2D sound", name);
    return E_FAIL;
  }
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
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  AmbientList = static_cast<AmbientEntry*>(NamedNode::Remove(AmbientList, entry));
  delete entry;
  return S_OK;
}

LONG qorSound_UnloadAllAmbients() {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* head = AmbientList;
  AmbientList = nullptr;
  delete head;
  return S_OK;
}

LONG qorSound_PauseAllAmbiemts() {
  if (!GateRunning(__func__)) return E_FAIL;
  for (AmbientEntry* entry = AmbientList; entry; entry = entry->NextAmbient()) entry->Pause();
  return S_OK;
}

LONG qorSound_ResumeAllAmbiemts() {
  if (!GateRunning(__func__)) return E_FAIL;
  for (AmbientEntry* entry = AmbientList; entry; entry = entry->NextAmbient()) entry->Resume();
  return S_OK;
}

LONG qorSound_PlayAmbientLooped(const char* name) {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  qorSound_PlayStream(entry->Stream);
  entry->Delayed = 0;
  return S_OK;
}

LONG qorSound_PlayAmbientDelayed(const char* name, int seconds, int percent) {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  // Negative seconds would wrap to waits of weeks.
  if (seconds < 0) {
    Diagnose(KXSOUND_DIAG_REFUSED, "ambient \"%s\": a wait of %d seconds is refused", name, seconds);
    return E_FAIL;
  }
  if (percent < 0 || percent > 90) {
    Diagnose(KXSOUND_DIAG_ADJUSTED, "ambient \"%s\": a spread of %d%% counts as %d%%", name, percent,
             percent < 0 ? 0 : 90);
    percent = percent < 0 ? 0 : 90;
  }
  entry->Delayed = 1;
  uint32_t base = static_cast<uint32_t>(seconds) * 1000u;
  uint32_t spread = base * static_cast<uint32_t>(percent) / 100u;
  entry->MinDelay = base - spread;
  entry->MaxDelay = base + spread;
  entry->ChooseDelay();
  return S_OK;
}

LONG qorSound_StopAmbient(const char* name) {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  qorSound_StopStream(entry->Stream);
  return S_OK;
}

LONG qorSound_AmbientVolume(const char* name, int volume) {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  qorSound_SetStreamVolume(entry->Stream, volume);
  return S_OK;
}
