#include "base/sound_entry.h"

#include <cstring>

#include "base/base_file.h"
#include "base/base_layout.h"
#include "base/global_block.h"
#include "base/text.h"
#include "core/state.h"

SoundEntry::SoundEntry(const char* name) : NamedNode(name) {}

SoundEntry::~SoundEntry() {
  FreeGlobalField(Comments);
  FreeGlobalField(Files);
  NumFiles = 0;
  Logout();
  LinkRedirect(nullptr);
  // Entries that redirect here would otherwise follow a dangling link.
  if (RedirectedBy > 0) {
    for (SoundEntry* entry = SoundList; entry && RedirectedBy > 0; entry = entry->NextEntry()) {
      if (entry->Redirect == this) entry->LinkRedirect(nullptr);
    }
  }
}

SoundEntry* SoundEntry::ResolveRedirect() {
  SoundEntry* entry = this;
  while (entry->Redirect) entry = entry->Redirect;
  return entry;
}

void SoundEntry::LinkRedirect(SoundEntry* target) {
  if (Redirect) Redirect->RedirectedBy--;
  Redirect = target;
  if (target) target->RedirectedBy++;
}

void SoundEntry::GetParameterBlock(uint8_t* block) const {
  std::memset(block, 0, PARAMETER_BLOCK_SIZE);
  int32_t commentLength = Comments ? static_cast<int32_t>(std::strlen(Comments) + 1) : 0;
  PutField<int32_t>(block, REC_ENABLED, Enabled);
  PutField<int32_t>(block, REC_COMMENT_LENGTH, commentLength);
  PutField<int32_t>(block, REC_NUM_FILES, NumFiles);
  PutField<int32_t>(block, REC_PLAY_MODE, PlayMode);
  PutField<int32_t>(block, REC_NUM_STREAMS, NumStreams);
  PutField<int32_t>(block, REC_VOLUME, Volume);
  PutField<int32_t>(block, REC_FREQUENCY, Frequency);
  PutField<uint8_t>(block, REC_LOOPED, Looped);
  PutField<uint8_t>(block, REC_IS3D, Is3D);
  PutField<float>(block, REC_MIN_DISTANCE, MinDistance);
  PutField<float>(block, REC_MAX_DISTANCE, MaxDistance);
  PutField<uint8_t>(block, REC_CROSSED, Crossed);
  PutField<int32_t>(block, REC_PAGE, Page);
}

void SoundEntry::SetParameterBlock(const uint8_t* block) {
  Enabled = GetField<int32_t>(block, REC_ENABLED);
  PlayMode = static_cast<SOUND_PLAYMODE>(GetField<int32_t>(block, REC_PLAY_MODE));
  NumStreams = GetField<int32_t>(block, REC_NUM_STREAMS);
  Volume = GetField<int32_t>(block, REC_VOLUME);
  Frequency = GetField<int32_t>(block, REC_FREQUENCY);
  Looped = GetField<uint8_t>(block, REC_LOOPED);
  Is3D = GetField<uint8_t>(block, REC_IS3D);
  MinDistance = GetField<float>(block, REC_MIN_DISTANCE);
  MaxDistance = GetField<float>(block, REC_MAX_DISTANCE);
  Crossed = GetField<uint8_t>(block, REC_CROSSED);
  Page = GetField<int32_t>(block, REC_PAGE);
}

void SoundEntry::SetComments(const char* text) {
  FreeGlobalField(Comments);
  if (!text || !*text) return;
  size_t length = std::strlen(text);
  Comments = static_cast<char*>(AllocGlobalBlock(length + 1));
  if (Comments) std::memcpy(Comments, text, length + 1);
}

HRESULT SoundEntry::AddFile(char* path) {
  char lowered[PATH_BUFFER_SIZE];
  // A record holds 62 characters and its terminator; a longer path is refused whole.
  if (!CopyIfFits(lowered, FILE_PATH_SIZE, path)) return E_FAIL;
  LowerAscii(lowered);
  for (int i = 0; i < NumFiles; ++i) {
    if (std::strncmp(Files[i].Path, lowered, FILE_PATH_SIZE) == 0) return E_FAIL;
  }
  auto* grown = static_cast<SoundFileRef*>(AllocGlobalBlock(sizeof(SoundFileRef) * (NumFiles + 1)));
  if (!grown) return E_FAIL;
  if (NumFiles > 0) std::memcpy(grown, Files, sizeof(SoundFileRef) * NumFiles);
  std::memcpy(grown[NumFiles].Path, lowered, std::strlen(lowered) + 1);
  grown[NumFiles].Enabled = 1;
  FreeGlobalField(Files);
  Files = grown;
  NumFiles++;
  std::memcpy(path, lowered, std::strlen(lowered) + 1);
  return S_OK;
}

void SoundEntry::DeleteFile(int index) {
  int remaining = IsFileIndexValid(index) ? NumFiles - 1 : NumFiles;
  SoundFileRef* rebuilt = nullptr;
  if (remaining > 0) {
    rebuilt = static_cast<SoundFileRef*>(AllocGlobalBlock(sizeof(SoundFileRef) * remaining));
    if (!rebuilt) return;
    int out = 0;
    for (int i = 0; i < NumFiles; ++i) {
      if (i != index) rebuilt[out++] = Files[i];
    }
  }
  FreeGlobalField(Files);
  Files = rebuilt;
  NumFiles = remaining;
}

void SoundEntry::SwapFiles(int first, int second) {
  if (!IsFileIndexValid(first) || !IsFileIndexValid(second)) return;
  SoundFileRef held = Files[first];
  Files[first] = Files[second];
  Files[second] = held;
}

HRESULT SoundEntry::ReadFrom(FileCursor& cursor) {
  uint8_t block[PARAMETER_BLOCK_SIZE];
  if (!cursor.Read(block, sizeof block)) return E_FAIL;
  SetParameterBlock(block);

  int32_t commentLength = GetField<int32_t>(block, REC_COMMENT_LENGTH);
  if (commentLength != 0) {
    // A count the rest of the file cannot hold ends the same way as a short read.
    if (commentLength < 0 || static_cast<uint32_t>(commentLength) > cursor.Remaining) return E_FAIL;
    // One byte more than stored, so a block without its terminator still ends in one.
    Comments = static_cast<char*>(AllocGlobalBlock(static_cast<size_t>(commentLength) + 1));
    if (!Comments || !cursor.Read(Comments, static_cast<uint32_t>(commentLength))) return E_FAIL;
  }

  int32_t fileCount = GetField<int32_t>(block, REC_NUM_FILES);
  if (fileCount != 0) {
    if (fileCount < 0 || static_cast<uint64_t>(fileCount) * FILE_RECORD_SIZE > cursor.Remaining) return E_FAIL;
    Files = static_cast<SoundFileRef*>(AllocGlobalBlock(sizeof(SoundFileRef) * static_cast<size_t>(fileCount)));
    if (!Files) return E_FAIL;
    NumFiles = fileCount;
    if (!cursor.Read(Files, static_cast<uint32_t>(fileCount) * FILE_RECORD_SIZE)) return E_FAIL;
    for (int i = 0; i < NumFiles; ++i) {
      char* path = Files[i].Path;
      path[FILE_PATH_SIZE - 1] = 0;
      CleanStoredPath(path, FILE_PATH_SIZE);
      // Nothing of the stored form stays behind the cleaned one, so a save writes only what the list holds.
      size_t length = std::strlen(path);
      std::memset(path + length, 0, FILE_PATH_SIZE - length);
    }
  }
  return S_OK;
}

HRESULT SoundEntry::WriteTo(FileWriter& writer) const {
  uint8_t block[PARAMETER_BLOCK_SIZE];
  GetParameterBlock(block);
  if (!writer.Write(block, sizeof block)) return E_FAIL;
  int32_t commentLength = GetField<int32_t>(block, REC_COMMENT_LENGTH);
  if (commentLength != 0 && !writer.Write(Comments, static_cast<uint32_t>(commentLength))) return E_FAIL;
  if (NumFiles != 0 && !writer.Write(Files, static_cast<uint32_t>(NumFiles) * FILE_RECORD_SIZE)) return E_FAIL;
  return S_OK;
}
