// The pool of a sound: login and logout, the chains of ready streams, the choice of
// a file, acquisition with reuse and stealing, release, and the parameters that
// reach every stream.
#include <new>

#include "base/catalogue.h"
#include "base/file_list.h"
#include "base/global_block.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"

namespace {

int StreamPercent(const SoundEntry* entry, const SoundStream* stream) {
  return ScaledPercent(entry->Volume, stream->VolumeScale, VolumeFactor);
}

// Acquisition found no stream in the chain of a file: say what holds them.
void DiagnoseNoStream(const SoundEntry* entry, int fileIndex, void** slot) {
  if (!DiagnosticsWanted()) return;
  const char* path = entry->Files ? entry->Files[entry->EnabledFileIndex(fileIndex)].Path : "";
  int streams = 0, held = 0;
  for (SoundStream* stream = entry->StreamChains[fileIndex]; stream; stream = stream->ChainNext) {
    ++streams;
    if (stream->State != STREAM_FREE && stream->State != STREAM_SINGLE) ++held;
  }
  if (streams == 0) {
    Diagnose(KXSOUND_DIAG_NO_FREE_STREAM, "sound \"%s\" has no stream for file \"%s\" (NumStreams is %d)", entry->Name,
             path, entry->NumStreams);
  } else if (!slot) {
    Diagnose(KXSOUND_DIAG_NO_FREE_STREAM,
             "no stream of sound \"%s\" is free for file \"%s\": all %d are held, and a one-shot never takes a held "
             "stream",
             entry->Name, path, held);
  } else {
    Diagnose(KXSOUND_DIAG_NO_FREE_STREAM,
             "no stream of sound \"%s\" is free for file \"%s\": all %d are held and none is stealable", entry->Name,
             path, held);
  }
}

}  // namespace

HRESULT SoundEntry::Login() {
  if (StreamChains) return S_OK;
  if (NumStreams > MAX_STREAMS_PER_FILE) {
    Diagnose(KXSOUND_DIAG_ADJUSTED, "sound \"%s\" asks for %d streams a file: login makes %d", Name, NumStreams,
             MAX_STREAMS_PER_FILE);
    NumStreams = MAX_STREAMS_PER_FILE;
  }
  NumLoadedFiles = 0;
  for (int i = 0; i < NumFiles; ++i) {
    if (Files[i].Enabled) NumLoadedFiles++;
  }
  if (NumLoadedFiles == 0) {
    if (NumFiles == 0) {
      Diagnose(KXSOUND_DIAG_NO_ENABLED_FILE, "sound \"%s\" has no files: it cannot log in or play", Name);
    } else {
      Diagnose(KXSOUND_DIAG_NO_ENABLED_FILE, "sound \"%s\" has %d file%s and none is enabled: it cannot log in or play",
               Name, NumFiles, NumFiles == 1 ? "" : "s");
    }
    return E_FAIL;
  }
  StreamChains = static_cast<SoundStream**>(AllocGlobalBlock(sizeof(SoundStream*) * NumLoadedFiles));
  if (!StreamChains) return E_FAIL;
  if (NumStreams == 0) return S_OK;
  BufferLooped = (Looped && !(NumLoadedFiles >= 2 && Crossed)) ? 1 : 0;
  for (int i = 0; i < NumLoadedFiles; ++i) {
    // A count below 1 still makes the first stream, which is loaded, not duplicated.
    bool made = LoadStream(i) != nullptr;
    for (int count = 1; made && count < NumStreams; ++count) made = DuplicateStream(i) != nullptr;
    if (!made) {
      Logout();
      return E_FAIL;
    }
  }
  LoggedIn = 1;
  SetVolume(-1);
  return S_OK;
}

HRESULT SoundEntry::Logout() {
  if (!StreamChains) return E_FAIL;
  for (int i = 0; i < NumLoadedFiles; ++i) {
    for (SoundStream* stream = StreamChains[i]; stream; stream = stream->ChainNext) stream->Release();
    delete StreamChains[i];
    StreamChains[i] = nullptr;
  }
  FreeGlobalField(StreamChains);
  LoggedIn = 0;
  return S_OK;
}

int SoundEntry::SelectFile(int previous) {
  switch (PlayMode) {
    case SOUND_PLAYMODE_SEQUENTIAL:
      return previous + 1 < NumLoadedFiles ? previous + 1 : 0;
    case SOUND_PLAYMODE_RANDOM: {
      // With one file there is no other to reach; it is the answer without a draw.
      if (previous >= 0 && NumLoadedFiles <= 1) return 0;
      int drawn;
      do {
        drawn = static_cast<int>(static_cast<uint32_t>(qorRandom_Rand()) * static_cast<uint32_t>(NumLoadedFiles) /
                                 32767u);
      } while (drawn == previous);
      return drawn;
    }
    default:
      return previous;
  }
}

int SoundEntry::EnabledFileIndex(int i) const {
  int seen = 0;
  for (int record = 0; record < NumFiles; ++record) {
    if (Files[record].Enabled && seen++ == i) return record;
  }
  return 0;
}

SoundStream* SoundEntry::LoadStream(int i) {
  if (!Files) return nullptr;
  char path[PATH_BUFFER_SIZE];
  const char* stored = Files[EnabledFileIndex(i)].Path;
  if (!ResolveSoundPath(stored, path)) {
    Diagnose(KXSOUND_DIAG_FILE_NOT_FOUND, "sound \"%s\": file \"%s\" does not fit beside the root folder \"%s\"",
             Name, stored, RootFolder);
    return nullptr;
  }
  SoundBuffer* buffer = SoundBuffer_LoadFile(path, Is3D, Name);
  if (!buffer) return nullptr;
  auto* stream = new (std::nothrow) SoundStream(this, i, buffer);
  if (!stream) {
    SoundBuffer_Release(&buffer);
    return nullptr;
  }
  StreamsCreated++;
  if (Is3D) SoundBuffer_SetDistances(buffer, MinDistance, MaxDistance);
  StreamChains[i] = stream;
  LoggedIn = 1;
  return stream;
}

SoundStream* SoundEntry::DuplicateStream(int i) {
  SoundBuffer* buffer = SoundBuffer_Duplicate(StreamChains[i]->Buffer);
  if (!buffer) return nullptr;
  auto* stream = new (std::nothrow) SoundStream(this, i, buffer);
  if (!stream) {
    SoundBuffer_Release(&buffer);
    return nullptr;
  }
  StreamsCreated++;
  StreamChains[i]->Append(stream);
  return stream;
}

SoundStream* SoundEntry::AcquireStream(int fileIndex, void** slot, int state, uint32_t flags, int enable3D,
                                       SoundStream* self) {
  if (!StreamChains && Login() != S_OK) return nullptr;
  if (!Files) {
    Diagnose(KXSOUND_DIAG_NO_ENABLED_FILE, "sound \"%s\" lost its files while logged in: it cannot play", Name);
    return nullptr;
  }
  if ((flags & STREAM_FLAG_STEALABLE) && (flags & STREAM_FLAG_EXTRA)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "flags 3 for sound \"%s\" are refused: a stream is stealable or extra, not both", Name);
    return nullptr;
  }
  auto clamp = [this](int index) { return index < 0 ? 0 : (index >= NumLoadedFiles ? NumLoadedFiles - 1 : index); };
  fileIndex = clamp(fileIndex);

  StreamUse asking(self);
  SoundStream* chosen = nullptr;
  if (flags & STREAM_FLAG_EXTRA) {
    int index = clamp(SelectFile(-1));
    chosen = StreamChains[index] ? DuplicateStream(index) : LoadStream(index);
    if (!chosen) return nullptr;
    SoundBuffer_SetVolumePercent(chosen->Buffer, StreamPercent(this, chosen));
  } else {
    // The oldest free stream or one-shot; one never used ends the search.
    for (SoundStream* stream = StreamChains[fileIndex]; stream; stream = stream->ChainNext) {
      if (chosen && stream->StartTick >= chosen->StartTick) continue;
      if (stream->State != STREAM_FREE && stream->State != STREAM_SINGLE) continue;
      chosen = stream;
      if (stream->StartTick == 0) break;
    }
    if (chosen) {
      if (chosen->State != STREAM_FREE && !ReleaseStream(chosen)) return nullptr;
    } else {
      // Only a holder may take a held stream, and only one marked stealable.
      if (!slot || !StreamChains[fileIndex]) {
        DiagnoseNoStream(this, fileIndex, slot);
        return nullptr;
      }
      for (SoundStream* stream = StreamChains[fileIndex]; stream; stream = stream->ChainNext) {
        if ((stream->Flags & STREAM_FLAG_STEALABLE) && (!chosen || stream->StartTick < chosen->StartTick)) {
          chosen = stream;
        }
      }
      if (!chosen) {
        DiagnoseNoStream(this, fileIndex, slot);
        return nullptr;
      }
      if (chosen == self) return self;
      if (!StealStream(chosen)) return nullptr;
    }
    // After an event the asking holder may be gone, and its handle variable with it.
    if (self && !asking.Same()) return nullptr;
  }
  chosen->Assign(state, slot, flags, enable3D);
  return chosen;
}

bool SoundEntry::ReleaseStream(SoundStream* stream) {
  stream->Release();
  StreamUse released(stream);
  NotifyStream(STREAM_EVENT_RELEASED, stream, nullptr);
  // The callback may have logged the sound out or played it again: only a stream it
  // left alone is still this entry's to destroy or hand on.
  if (!released.Same()) return false;
  if (!(stream->Flags & STREAM_FLAG_EXTRA)) return true;
  DestroyStream(stream);
  return false;
}

void SoundEntry::DestroyStream(SoundStream* stream) {
  StreamChains[stream->FileIndex] = ChainNode::Remove(StreamChains[stream->FileIndex], stream);
  delete stream;
  LoggedIn = 0;
  for (int i = 0; i < NumLoadedFiles; ++i) {
    if (StreamChains[i]) LoggedIn = 1;
  }
}

void SoundEntry::SetVolume(int volume) {
  if (volume >= 0) Volume = volume;
  if (!LoggedIn) return;
  ForEachStream([this](SoundStream* stream) { SoundBuffer_SetVolumePercent(stream->Buffer, StreamPercent(this, stream)); });
}

void SoundEntry::SetVolume2(int volume) {
  int hundredths = LogarithmicVolume(volume);
  ForEachStream([hundredths](SoundStream* stream) {
    SoundBuffer_SetVolumeRaw(stream->Buffer, -10000);
    SoundBuffer_SetVolumeRaw(stream->Buffer, hundredths);
  });
}

void SoundEntry::SetFrequency(int frequency) {
  if (frequency >= 0) Frequency = frequency;
  if (!LoggedIn) return;
  ForEachStream([this](SoundStream* stream) {
    SoundBuffer_SetFrequencyPercent(stream->Buffer, ScaledPercent(Frequency, stream->FrequencyScale, FrequencyFactor));
  });
}

void SoundEntry::SetDistances(float minimum, float maximum) {
  if (minimum < 1.0f) minimum = 1.0f;
  if (minimum > maximum) minimum = maximum;
  MinDistance = minimum;
  MaxDistance = maximum;
  if (!LoggedIn) return;
  ForEachStream([this](SoundStream* stream) { SoundBuffer_SetDistances(stream->Buffer, MinDistance, MaxDistance); });
}

void SoundEntry::Pause3DStreams() {
  if (LoggedIn && StreamChains && NumLoadedFiles >= 1) ForEachStream([](SoundStream* stream) { stream->Pause3D(); });
}

void SoundEntry::Resume3DStreams() {
  if (LoggedIn && StreamChains && NumLoadedFiles >= 1) ForEachStream([](SoundStream* stream) { stream->Resume3D(); });
}

// ---- exported login and logout ----

namespace {

SoundEntry* ByHandle(void* sound, const char* operation) {
  if (!GateInitialized(operation)) return nullptr;
  if (!sound) Diagnose(KXSOUND_DIAG_REFUSED, "%s fails: the sound handle is null", operation);
  return static_cast<SoundEntry*>(sound);
}

LONG Logout(SoundEntry* entry) {
  if (entry->Logout() == S_OK) return S_OK;
  Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" is not logged in: there is nothing to log out", entry->Name);
  return E_FAIL;
}

}  // namespace

LONG qorSound_LoginSound(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? entry->Login() : E_FAIL;
}

LONG qorSound_LoginSound(void* sound) {
  SoundEntry* entry = ByHandle(sound, __func__);
  return entry ? entry->Login() : E_FAIL;
}

LONG qorSound_PreloadSound(const char* name) { return qorSound_LoginSound(name); }

LONG qorSound_LogoutSound(const char* name) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? Logout(entry) : E_FAIL;
}

LONG qorSound_LogoutSound(void* sound) {
  SoundEntry* entry = ByHandle(sound, __func__);
  return entry ? Logout(entry) : E_FAIL;
}
