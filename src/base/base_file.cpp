// The catalogue's binary file, Sounds.qorSound.
#include "base/base_file.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "base/base_layout.h"
#include "base/catalogue.h"
#include "base/pages.h"
#include "base/text.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"

bool FileCursor::Read(void* buffer, uint32_t count) {
  // What the file still holds is read even when it is too little.
  DWORD done = 0;
  qorReadFile(File, buffer, count < Remaining ? count : Remaining, &done, nullptr);
  Remaining -= done < Remaining ? done : Remaining;
  return done == count;
}

bool FileCursor::Skip(uint32_t count) {
  uint8_t scratch[4096];
  while (count > 0) {
    uint32_t step = count < sizeof scratch ? count : static_cast<uint32_t>(sizeof scratch);
    if (!Read(scratch, step)) return false;
    count -= step;
  }
  return true;
}

bool FileWriter::Flush() {
  if (Failed) return false;
  DWORD done = 0;
  if (Used) qorWriteFile(File, Buffer, Used, &done, nullptr);
  Failed = done != Used;
  Used = 0;
  return !Failed;
}

bool FileWriter::Write(const void* data, uint32_t count) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  while (count > 0 && !Failed) {
    if (Used == CAPACITY && !Flush()) break;
    uint32_t step = CAPACITY - Used < count ? CAPACITY - Used : count;
    std::memcpy(Buffer + Used, bytes, step);
    Used += step;
    bytes += step;
    count -= step;
  }
  return !Failed;
}

void StripPathPrefix(char* path, const char* prefix, size_t size) {
  size_t length = std::strlen(prefix);
  if (std::strncmp(path, prefix, length) != 0) return;
  size_t rest = BoundedLength(path + length, size - length);
  std::memmove(path, path + length, rest);
  path[rest] = 0;
}

void ForcePathPrefix(char* path, const char* prefix, size_t size) {
  size_t length = std::strlen(prefix);
  if (std::strncmp(path, prefix, length) == 0) return;
  char joined[PATH_BUFFER_SIZE];
  std::snprintf(joined, sizeof joined, "%s%.*s", prefix, static_cast<int>(BoundedLength(path, size)), path);
  CopyTruncated(path, size, joined);
}

void CleanStoredPath(char* path, size_t size) {
  LowerAscii(path);
  StripPathPrefix(path, "base\\", size);
  ForcePathPrefix(path, "sounds\\", size);
}

namespace {

LONG CloseWith(HANDLE file, LONG result) {
  qorCloseHandle(file);
  return result;
}

// The base file did not open: say whether the folder or the file is missing.
void DiagnoseMissingBase() {
  if (!DiagnosticsWanted()) return;
  if (!BaseFilePath[0]) {
    Diagnose(KXSOUND_DIAG_ROOT_FOLDER, "root folder \"%s\" is too long for the base file's path: the catalogue is empty",
             RootFolder);
    return;
  }
  char folder[PATH_BUFFER_SIZE];
  DisplayPath(RootFolder, folder, sizeof folder);
  struct stat status;
  if (stat(folder, &status) != 0 || !S_ISDIR(status.st_mode)) {
    Diagnose(KXSOUND_DIAG_ROOT_FOLDER, "root folder \"%s\" does not exist: the catalogue is empty", folder);
  } else {
    Diagnose(KXSOUND_DIAG_ROOT_FOLDER, "root folder \"%s\" holds no Sounds.qorSound: the catalogue is empty", folder);
  }
}

LONG SaveFailure(HANDLE file) {
  Diagnose(KXSOUND_DIAG_BASE_FILE, "base file \"%s\" could not be written whole: the old file stays", BaseFilePath);
  return CloseWith(file, E_FAIL);
}

LONG BaseFailure(HANDLE file, const char* why) {
  if (DiagnosticsWanted()) {
    char shown[PATH_BUFFER_SIZE];
    DisplayPath(BaseFilePath, shown, sizeof shown);
    int sounds = SoundList ? SoundList->Count() : 0;
    Diagnose(KXSOUND_DIAG_BASE_FILE, "base file \"%s\" %s: %d sound%s read", shown, why, sounds, sounds == 1 ? "" : "s");
  }
  return CloseWith(file, E_FAIL);
}

}  // namespace

LONG qorSound_LoadBase() {
  DestroySoundList();
  HANDLE file = qorCreateFile(BaseFilePath, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    DiagnoseMissingBase();
    return E_FAIL;
  }
  FileCursor cursor{file, qorGetFileSize(file, nullptr)};

  uint8_t header[HEADER_SIZE];
  if (!cursor.Read(header, sizeof header)) return BaseFailure(file, "is shorter than its header");
  if (std::memcmp(header, BASE_MAGIC, sizeof BASE_MAGIC) != 0) {
    return BaseFailure(file, "is not a sound base (it does not begin with the base's magic)");
  }

  // The table holds 256 pages: further stored records are read past, and a
  // negative count is no page at all.
  int32_t storedPages = GetField<int32_t>(header, HEADER_PAGE_COUNT);
  std::memset(PageTable, 0, sizeof PageTable);
  PageCount = storedPages < 0 ? 0 : (storedPages > MAX_PAGES ? MAX_PAGES : storedPages);
  // A table cut short keeps the records, whole or in part, that were read.
  const bool tableRead = cursor.Read(PageTable, static_cast<uint32_t>(PageCount) * PAGE_RECORD_SIZE);
  // Cut a name without terminator, and drop what older names left behind it.
  for (int i = 0; i < PageCount; ++i) {
    char* name = PageTable[i].Name;
    size_t length = BoundedLength(name, PAGE_NAME_SIZE - 1);
    std::memset(name + length, 0, PAGE_NAME_SIZE - length);
  }
  if (!tableRead) return BaseFailure(file, "ends inside its page table");
  if (storedPages > MAX_PAGES &&
      (static_cast<uint64_t>(storedPages - MAX_PAGES) * PAGE_RECORD_SIZE > cursor.Remaining ||
       !cursor.Skip(static_cast<uint32_t>(storedPages - MAX_PAGES) * PAGE_RECORD_SIZE))) {
    return BaseFailure(file, "ends inside its page table");
  }

  int32_t storedSounds = GetField<int32_t>(header, HEADER_SOUND_COUNT);
  for (int32_t i = 0; i < storedSounds; ++i) {
    char name[NAME_BLOCK_SIZE];
    if (!cursor.Read(name, sizeof name)) return BaseFailure(file, "ends early");
    name[NAME_BLOCK_SIZE - 1] = 0;
    auto* entry = new (std::nothrow) SoundEntry(name);
    if (!entry) return BaseFailure(file, "could not be read: no memory");
    if (entry->ReadFrom(cursor) != S_OK) {
      delete entry;
      return BaseFailure(file, "ends early or holds a count its bytes cannot fill");
    }
    if (ToolMode != 0 || entry->Enabled != 0) {
      AppendSoundEntry(entry);
    } else {
      Diagnose(KXSOUND_DIAG_SOUND_LEFT_OUT, "sound \"%s\" is disabled and left out of the catalogue (outside tool mode)",
               entry->Name);
      delete entry;
    }
  }
  return CloseWith(file, S_OK);
}

LONG qorSound_SaveBase() {
  HANDLE file = qorCreateFile(BaseFilePath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    if (DiagnosticsWanted()) {
      char shown[PATH_BUFFER_SIZE];
      DisplayPath(BaseFilePath, shown, sizeof shown);
      Diagnose(KXSOUND_DIAG_BASE_FILE, "base file \"%s\" cannot be written (folder missing or not writable)", shown);
    }
    return E_FAIL;
  }
  auto writer = std::make_unique<FileWriter>(file);

  uint8_t header[HEADER_SIZE] = {};
  std::memcpy(header, BASE_MAGIC, sizeof BASE_MAGIC);
  PutField<int32_t>(header, HEADER_SOUND_COUNT, SoundList ? SoundList->Count() : 0);
  PutField<int32_t>(header, HEADER_PAGE_COUNT, PageCount);
  if (!writer->Write(header, sizeof header)) return SaveFailure(file);
  if (!writer->Write(PageTable, static_cast<uint32_t>(PageCount) * PAGE_RECORD_SIZE)) return SaveFailure(file);

  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) {
    // Zeroed behind the terminator, so the same catalogue always gives the same bytes.
    char name[NAME_BLOCK_SIZE] = {};
    std::memcpy(name, entry->Name, std::strlen(entry->Name) + 1);
    if (!writer->Write(name, sizeof name)) return SaveFailure(file);
    if (entry->WriteTo(*writer) != S_OK) return SaveFailure(file);
  }
  return writer->Flush() ? CloseWith(file, S_OK) : SaveFailure(file);
}
