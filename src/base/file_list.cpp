// The list of wave files of one sound.
#include "base/file_list.h"

#include <cstdio>
#include <cstring>

#include "base/base_file.h"
#include "base/catalogue.h"
#include "base/text.h"
#include "core/diagnostics.h"
#include "core/state.h"

namespace {

void DiagnoseIndex(const SoundEntry* entry, int index, const char* operation) {
  Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" has %d files: index %d is outside its list, %s fails", entry->Name,
           entry->NumFiles, index, operation);
}

// A path with '/' works until the base is saved and loaded again, when the stored form
// gets its prefix by the backslash rules and no longer names the file.
void DiagnoseSlashes(const SoundEntry* entry, const char* stored) {
  if (!DiagnosticsWanted() || !std::strchr(stored, '/')) return;
  char reloaded[FILE_PATH_SIZE];
  CopyTruncated(reloaded, sizeof reloaded, stored);
  CleanStoredPath(reloaded, sizeof reloaded);
  Diagnose(KXSOUND_DIAG_FORWARD_SLASHES,
           "path \"%s\" of sound \"%s\" has forward slashes: after a save and a load it becomes \"%s\"%s; "
           "write it with backslashes",
           stored, entry->Name, reloaded,
           std::strcmp(reloaded, stored) != 0 ? ", which names another file" : "");
}

}  // namespace

bool ResolveSoundPath(const char* stored, char* full) {
  // A drive letter, or a path as a Linux user writes it, is absolute.
  const char* root = std::strchr(stored, ':') || stored[0] == '/' ? "" : RootFolder;
  int written = std::snprintf(full, PATH_BUFFER_SIZE, "%s%.*s", root, FILE_PATH_SIZE, stored);
  if (written >= 0 && written < PATH_BUFFER_SIZE) return true;
  full[0] = 0;
  return false;
}

void qorSound_EnumerateFiles(const char* name, QORSOUND_ENUM_FILES_CALLBACK callback) {
  SoundEntry* entry = FindRunningSound(name, __func__);
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
      // Quietly: the callback may well have deleted the sound.
      entry = SystemInitialized ? FindSoundEntry(name, true) : nullptr;
      if (!entry || entry->Serial != serial) return;
    }
  }
}

LONG qorSound_GetFile(const char* name, char* path, int index) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry || !path) return E_FAIL;
  if (!entry->IsFileIndexValid(index)) {
    DiagnoseIndex(entry, index, __func__);
    return E_FAIL;
  }
  const char* stored = entry->Files[index].Path;
  std::memcpy(path, stored, BoundedLength(stored, FILE_PATH_SIZE) + 1);
  return S_OK;
}

int qorSound_IsFileEnabled(const char* name, int index) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry) return 0;
  if (!entry->IsFileIndexValid(index)) {
    DiagnoseIndex(entry, index, __func__);
    return 0;
  }
  return entry->Files[index].Enabled;
}

void qorSound_SetFileEnabled(const char* name, int index, int enabled) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry) return;
  if (!entry->IsFileIndexValid(index)) {
    DiagnoseIndex(entry, index, __func__);
    return;
  }
  entry->Files[index].Enabled = static_cast<uint8_t>(enabled);
}

LONG qorSound_AddFile(const char* name, char* path) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  if (!entry) return E_FAIL;
  if (!path) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_AddFile fails: the path of sound \"%s\" is null", entry->Name);
    return E_FAIL;
  }
  if (BoundedLength(path, FILE_PATH_SIZE) >= static_cast<size_t>(FILE_PATH_SIZE)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "path \"%.*s...\" for sound \"%s\" is longer than the 62 characters a file record holds",
             40, path, entry->Name);
    return E_FAIL;
  }
  LONG result = entry->AddFile(path);
  if (result < 0) {
    if (DiagnosticsWanted()) {
      char lowered[FILE_PATH_SIZE];
      CopyTruncated(lowered, sizeof lowered, path);
      LowerAscii(lowered);
      bool listed = false;
      for (int i = 0; i < entry->NumFiles; ++i) listed |= std::strncmp(entry->Files[i].Path, lowered, FILE_PATH_SIZE) == 0;
      Diagnose(KXSOUND_DIAG_REFUSED, listed ? "sound \"%s\" already lists \"%s\" (paths compare in lower case)"
                                            : "sound \"%s\" could not grow its file list for \"%s\": no memory",
               entry->Name, path);
    }
  } else {
    DiagnoseSlashes(entry, path);
  }
  return result;
}

void qorSound_DeleteFile(const char* name, int index) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->DeleteFile(index);
}

void qorSound_SwapFiles(const char* name, int first, int second) {
  if (SoundEntry* entry = FindRunningSound(name, __func__)) entry->SwapFiles(first, second);
}
