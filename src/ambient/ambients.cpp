#include "ambient/ambients.h"

#include <new>

#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"
#include "kxSound.h"
#include "playback/sound_stream.h"

AmbientEntry* AmbientList = nullptr;

namespace {

constexpr int FIND_LIMIT = 1024;
// The serial of the last entry to join the list, and a count of every change of the
// list's links: the stream calls below reach the host, which may load or unload.
uint64_t LastSerial = 0;
uint64_t ListChanges = 0;

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

bool StillLoaded(const AmbientEntry* entry, uint64_t serial) {
  for (AmbientEntry* other = AmbientList; other; other = other->NextAmbient()) {
    if (other == entry) return other->Serial == serial;
  }
  return false;
}

// Runs step once on each entry that was loaded when the walk began, in list order.
// After a step that changed the list, the walk goes on behind the last entry done.
template <typename Step>
void ForEachAmbient(Step step) {
  const uint64_t end = LastSerial;
  for (AmbientEntry* entry = AmbientList; entry && entry->Serial <= end;) {
    const uint64_t done = entry->Serial, changes = ListChanges;
    step(entry);
    if (ListChanges == changes) {
      entry = entry->NextAmbient();
      continue;
    }
    for (entry = AmbientList; entry && entry->Serial <= done;) entry = entry->NextAmbient();
  }
}

}  // namespace

void ResetAmbientState() {
  LastSerial = ListChanges = 0;
  ZeroDeltaRun = ZeroDeltaTold = false;
  ZeroDeltaSince = 0;
}

AmbientEntry::~AmbientEntry() { qorSound_ReleaseStream(Stream); }

void AmbientEntry::ChooseDelay() {
  uint32_t r = qorRandom_Rand();
  Elapsed = 0;
  // Unsigned 32-bit on purpose: differences above 131,076 ms wrap to a shorter wait.
  NextDelay = MinDelay + r * (MaxDelay - MinDelay) / 32767u;
}

// The flags change before the stream call: its event may unload the entry.
void AmbientEntry::Pause() {
  if (Paused) return;
  Paused = 1;
  qorSound_PauseStream(Stream);
}

void AmbientEntry::Resume() {
  if (!Paused) return;
  Paused = 0;
  qorSound_PlayStream(Stream);
}

void UpdateAmbients() {
  ULONG delta = qorTimer_GetSystemDeltaTicks();
  WatchFrameDelta(delta);
  ForEachAmbient([delta](AmbientEntry* entry) {
    if (entry->Paused || !entry->Delayed) return;
    entry->Elapsed += delta;
    if (entry->Elapsed <= entry->NextDelay) return;
    const uint64_t serial = entry->Serial, changes = ListChanges;
    qorSound_PlayStream(entry->Stream);
    // The host may have unloaded this very ambient when told of the start.
    if (ListChanges == changes || StillLoaded(entry, serial)) entry->ChooseDelay();
  });
}

void ForgetAmbients() {
  AmbientEntry* head = AmbientList;
  AmbientList = nullptr;
  ++ListChanges;
  for (AmbientEntry* entry = head; entry; entry = entry->NextAmbient()) entry->Stream = nullptr;
  delete head;
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
  // The host hears of the new stream before the entry joins the list, and may have
  // shut down, dropped the stream or loaded the same name meanwhile.
  SoundStream* stream = LiveStream(qorSound_QueryStream(name, &entry->Stream, STREAM_FLAG_EXTRA));
  if (!stream || stream != entry->Stream || stream->HandleSlot != &entry->Stream || !SystemInitialized ||
      FindAmbient(name)) {
    delete entry;
    return E_FAIL;
  }
  if (AmbientList) {
    AmbientList->Append(entry);
  } else {
    AmbientList = entry;
  }
  entry->Serial = ++LastSerial;
  ++ListChanges;
  return S_OK;
}

LONG qorSound_UnloadAmbient(const char* name) {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  AmbientList = static_cast<AmbientEntry*>(NamedNode::Remove(AmbientList, entry));
  ++ListChanges;
  delete entry;
  return S_OK;
}

LONG qorSound_UnloadAllAmbients() {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* head = AmbientList;
  AmbientList = nullptr;
  ++ListChanges;
  delete head;
  return S_OK;
}

LONG qorSound_PauseAllAmbiemts() {
  if (!GateRunning(__func__)) return E_FAIL;
  ForEachAmbient([](AmbientEntry* entry) { entry->Pause(); });
  return S_OK;
}

LONG qorSound_ResumeAllAmbiemts() {
  if (!GateRunning(__func__)) return E_FAIL;
  ForEachAmbient([](AmbientEntry* entry) { entry->Resume(); });
  return S_OK;
}

LONG qorSound_PlayAmbientLooped(const char* name) {
  if (!GateRunning(__func__)) return E_FAIL;
  AmbientEntry* entry = LoadedAmbient(name, __func__);
  if (!entry) return E_FAIL;
  entry->Delayed = 0;
  qorSound_PlayStream(entry->Stream);
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
