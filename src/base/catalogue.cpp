#include "base/catalogue.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <unordered_map>

#include "base/text.h"
#include "core/diagnostics.h"
#include "core/state.h"

namespace {

// Every change of the list's links and of its names goes through this file, which
// keeps two caches beside SoundList: its tail, so that loading thousands of sounds
// does not walk the list once per sound, and an index of the names, so that a
// search by name costs the same in a catalogue of ten sounds or ten thousand.
SoundEntry* SoundListTail = nullptr;
uint64_t LastSerial = 0;

struct FoldedHash {
  size_t operator()(const char* name) const {
    size_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < NAME_SIZE && name[i]; ++i) hash = (hash ^ static_cast<uint8_t>(FoldAscii(name[i]))) * 1099511628211ull;
    return hash;
  }
};
struct FoldedEqual {
  bool operator()(const char* a, const char* b) const { return EqualFolded(a, b, NAME_SIZE); }
};
// Folded name -> the first entry of SoundList under that name. Keys point into the
// entries' own Name fields, so a search allocates nothing.
using NameIndex = std::unordered_map<const char*, SoundEntry*, FoldedHash, FoldedEqual>;
NameIndex& Index() {
  static NameIndex index;
  return index;
}

// Keeps an earlier entry of the same name where there is one.
void IndexEntry(SoundEntry* entry) { Index().emplace(entry->Name, entry); }

// Drops entry from the index; another entry of the same name, if the base file
// held duplicates, takes its place.
void UnindexEntry(SoundEntry* entry) {
  auto found = Index().find(entry->Name);
  if (found == Index().end() || found->second != entry) return;
  Index().erase(found);
  for (SoundEntry* other = SoundList; other; other = other->NextEntry()) {
    if (other != entry && EqualFolded(other->Name, entry->Name, NAME_SIZE)) {
      IndexEntry(other);
      return;
    }
  }
}

bool FitsName(const char* name) { return BoundedLength(name, NAME_SIZE) < NAME_SIZE; }

}  // namespace

uint64_t CatalogueChanges = 0;

void ResetCatalogueState() {
  SoundListTail = nullptr;
  LastSerial = 0;
  Index().clear();
  CatalogueChanges = 0;
}

SoundEntry* FindSoundEntry(const char* name, bool follow) {
  if (!name || !SoundList) return nullptr;
  auto found = Index().find(name);
  if (found == Index().end()) return nullptr;
  SoundEntry* entry = found->second;
  if (follow) entry = entry->ResolveRedirect();
  return entry;
}

SoundEntry* FindRunningSound(const char* name, const char* operation) {
  return GateInitialized(operation) ? FindKnownSound(name, true) : nullptr;
}

void MakeUniqueSoundName(char* name) {
  // A name that does not fit the field counts as taken and is replaced.
  if (name[0] != 0 && FitsName(name) && !FindSoundEntry(name, true)) return;
  do {
    ++SoundNameCounter;
    std::snprintf(name, NAME_SIZE, "Sound#%03d", SoundNameCounter);
  } while (FindSoundEntry(name, true));
}

void AppendSoundEntry(SoundEntry* entry) {
  if (!SoundList) {
    SoundList = entry;
  } else {
    if (!SoundListTail || SoundListTail->Next) {
      SoundListTail = SoundList;
      while (SoundListTail->Next) SoundListTail = SoundListTail->NextEntry();
    }
    SoundListTail->Append(entry);
  }
  SoundListTail = entry;
  IndexEntry(entry);
  entry->Serial = ++LastSerial;
  ++CatalogueChanges;
}

void DeleteSoundEntry(SoundEntry* entry) {
  ++CatalogueChanges;
  if (entry == SoundListTail) SoundListTail = nullptr;
  SoundList = static_cast<SoundEntry*>(NamedNode::Remove(SoundList, entry));
  UnindexEntry(entry);
  delete entry;
}

void RenameSoundEntry(SoundEntry* entry, const char* name) {
  UnindexEntry(entry);
  entry->SetName(name);
  Index().emplace(entry->Name, entry);
}

void DestroySoundList() {
  ++CatalogueChanges;
  SoundEntry* head = SoundList;
  SoundList = nullptr;
  SoundListTail = nullptr;
  Index().clear();
  // Every entry dies, so links between them are simply dropped first.
  for (SoundEntry* entry = head; entry; entry = entry->NextEntry()) {
    entry->Redirect = nullptr;
    entry->RedirectedBy = 0;
  }
  delete head;
}

// ---- exported operations ----

LONG qorSound_FindSound(const char* name, void** sound) {
  if (!GateInitialized(__func__)) return E_FAIL;
  SoundEntry* entry = FindKnownSound(name, true);
  if (sound) *sound = entry;
  return entry ? S_OK : E_FAIL;
}

LONG qorSound_GetSoundName(void* sound, char* name) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!sound || !name) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_GetSoundName fails: the %s is null", sound ? "name buffer" : "sound handle");
    return E_FAIL;
  }
  const SoundEntry* entry = static_cast<SoundEntry*>(sound);
  std::memcpy(name, entry->Name, std::strlen(entry->Name) + 1);
  return S_OK;
}

void qorSound_CreateNewSound(char* name) {
  if (!GateInitialized(__func__) || !name) return;
  char asked[NAME_SIZE] = "";
  if (DiagnosticsWanted()) CopyTruncated(asked, sizeof asked, name);
  MakeUniqueSoundName(name);
  if (auto* entry = new (std::nothrow) SoundEntry(name)) AppendSoundEntry(entry);
  if (DiagnosticsWanted() && asked[0] && std::strcmp(asked, name) != 0) {
    Diagnose(KXSOUND_DIAG_ADJUSTED, "sound name \"%s\" is taken or too long: the new sound is called \"%s\"", asked,
             name);
  }
}

void qorSound_DeleteSound(void* sound) {
  if (!GateInitialized(__func__) || !sound) return;
  DeleteSoundEntry(static_cast<SoundEntry*>(sound));
}

void qorSound_DeleteSound(const char* name) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) DeleteSoundEntry(entry);
}

void qorSound_CloneSound(const char* source, char* newName) {
  if (!GateInitialized(__func__) || !newName) return;
  SoundEntry* original = FindKnownSound(source, true);
  if (!original) return;
  newName[0] = 0;
  MakeUniqueSoundName(newName);
  auto* clone = new (std::nothrow) SoundEntry(newName);
  if (!clone) return;
  uint8_t block[PARAMETER_BLOCK_SIZE];
  original->GetParameterBlock(block);
  clone->SetParameterBlock(block);
  AppendSoundEntry(clone);
}

void qorSound_CopyParameters(const char* target, const char* source) {
  if (!GateInitialized(__func__)) return;
  SoundEntry* to = FindKnownSound(target, true);
  SoundEntry* from = FindKnownSound(source, true);
  if (!to || !from || to == from) return;
  uint8_t block[PARAMETER_BLOCK_SIZE];
  from->GetParameterBlock(block);
  to->SetParameterBlock(block);
}

LONG qorSound_ChangeName(const char* name, const char* newName) {
  if (!GateInitialized(__func__)) return E_FAIL;
  SoundEntry* entry = FindKnownSound(name, true);
  if (!entry) return E_FAIL;
  if (!newName || !FitsName(newName)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" keeps its name: the new name is %s", entry->Name,
             newName ? "longer than 255 characters" : "null");
    return E_FAIL;
  }
  if (SoundEntry* holder = FindSoundEntry(newName, true)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" keeps its name: \"%s\" is taken by sound \"%s\"", entry->Name, newName,
             holder->Name);
    return E_FAIL;
  }
  RenameSoundEntry(entry, newName);
  return S_OK;
}

void qorSound_EnumerateSounds(QORSOUND_ENUM_SOUNDS_CALLBACK callback) {
  if (!GateInitialized(__func__) || !callback) return;
  // The callback may delete, add or reload sounds. It gets a copy of each name, and
  // after a change the walk goes on behind the last sound shown, among those that
  // were there when it began.
  const uint64_t end = LastSerial;
  for (SoundEntry* entry = SoundList; entry && entry->Serial <= end;) {
    char name[NAME_SIZE];
    std::memcpy(name, entry->Name, sizeof name);
    const uint64_t shown = entry->Serial, changes = CatalogueChanges;
    callback(name, entry->Page);
    if (!SystemInitialized) return;
    if (CatalogueChanges == changes) {
      entry = entry->NextEntry();
      continue;
    }
    for (entry = SoundList; entry && entry->Serial <= shown;) entry = entry->NextEntry();
  }
}

char* qorSound_GetSoundComments(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Comments : nullptr;
}

void qorSound_SetSoundComments(const char* name, const char* comments) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->SetComments(comments);
}

int qorSound_IsSoundEnabled(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Enabled : 0;
}

void qorSound_SetSoundEnabled(const char* name, int enabled) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->Enabled = enabled;
}
