// The catalogue: SoundList and the one search by name.
#ifndef KXSOUND_BASE_CATALOGUE_H
#define KXSOUND_BASE_CATALOGUE_H

#include "base/sound_entry.h"
#include "core/diagnostics.h"

// The entry of that name, compared without regard to A-Z case; with follow set,
// the end of its redirection chain.
SoundEntry* FindSoundEntry(const char* name, bool follow);
// FindSoundEntry that tells the diagnostics sink of a name it does not know.
inline SoundEntry* FindKnownSound(const char* name, bool follow) {
  SoundEntry* entry = FindSoundEntry(name, follow);
  if (!entry) DiagnoseUnknownSound(name);
  return entry;
}
// FindKnownSound(name, true) while the system runs; null otherwise. The search of
// every by-name operation that has no result of its own for a stopped system.
SoundEntry* FindRunningSound(const char* name, const char* operation);
// Leaves name alone when it is free, else writes the next free "Sound#%03d" into it.
void MakeUniqueSoundName(char* name);
// Adds an entry at the tail of SoundList.
void AppendSoundEntry(SoundEntry* entry);
// Takes an entry out of SoundList and destroys it.
void DeleteSoundEntry(SoundEntry* entry);
// Gives an entry of the list a new name, which no other entry holds.
void RenameSoundEntry(SoundEntry* entry, const char* name);
// Destroys every entry; SoundList is null afterwards.
void DestroySoundList();

#endif
