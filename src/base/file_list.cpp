// The list of wave files of one sound.
#include "base/file_list.h"

#include <cstdio>
#include <cstring>

#include "base/catalogue.h"
#include "base/text.h"
#include "core/state.h"

bool ResolveSoundPath(const char* stored, char* full) {
  const char* root = std::strchr(stored, ':') ? "" : RootFolder;
  int written = std::snprintf(full, PATH_BUFFER_SIZE, "%s%.*s", root, FILE_PATH_SIZE, stored);
  if (written >= 0 && written < PATH_BUFFER_SIZE) return true;
  full[0] = 0;
  return false;
}

void qorSound_EnumerateFiles(const char* name, QORSOUND_ENUM_FILES_CALLBACK callback) {
  SoundEntry* entry = FindRunningSound(name);
  if (!entry || !callback) return;
  // The callback may change the list or delete the sound: it gets a copy of each path,
  // and after a change of the catalogue the walk goes on only with the same sound.
  const uint64_t serial = entry->Serial;
  const int count = entry->NumFiles;
  for (int i = 0; i < count && i < entry->NumFiles; ++i) {
    char path[FILE_PATH_SIZE];
    CopyTruncated(path, sizeof path, entry->Files[i].Path);
    const uint64_t changes = CatalogueChanges;
    callback(path);
    if (CatalogueChanges != changes) {
      entry = FindRunningSound(name);
      if (!entry || entry->Serial != serial) return;
    }
  }
}

LONG qorSound_GetFile(const char* name, char* path, int index) {
  SoundEntry* entry = FindRunningSound(name);
  if (!entry || !path || !entry->IsFileIndexValid(index)) return E_FAIL;
  const char* stored = entry->Files[index].Path;
  std::memcpy(path, stored, BoundedLength(stored, FILE_PATH_SIZE) + 1);
  return S_OK;
}

int qorSound_IsFileEnabled(const char* name, int index) {
  SoundEntry* entry = FindRunningSound(name);
  return entry && entry->IsFileIndexValid(index) ? entry->Files[index].Enabled : 0;
}

void qorSound_SetFileEnabled(const char* name, int index, int enabled) {
  SoundEntry* entry = FindRunningSound(name);
  if (entry && entry->IsFileIndexValid(index)) entry->Files[index].Enabled = static_cast<uint8_t>(enabled);
}

LONG qorSound_AddFile(const char* name, char* path) {
  SoundEntry* entry = FindRunningSound(name);
  if (!entry || !path) return E_FAIL;
  return entry->AddFile(path);
}

void qorSound_DeleteFile(const char* name, int index) {
  if (SoundEntry* entry = FindRunningSound(name)) entry->DeleteFile(index);
}

void qorSound_SwapFiles(const char* name, int first, int second) {
  if (SoundEntry* entry = FindRunningSound(name)) entry->SwapFiles(first, second);
}
