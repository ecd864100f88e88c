// .m3u play lists on top of the MP3 player.
#include <cstdio>
#include <cstring>
#include <new>

#include "base/global_block.h"
#include "base/named_node.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"
#include "music/music_state.h"
#include "music/playlist_text.h"

int MP3ListLoaded = 0;
int MP3ListRandom = 0;
int MP3ListWrap = 0;
NamedNode* MP3List = nullptr;
int MP3ListCount = 0;
int MP3ListIndex = -1;

namespace {

// The random order's own 15-bit sequence, never seeded, so a run always draws the
// same order; the engine's generator is not used for music.
uint32_t ListRandomState = 1;
uint32_t ListRand() {
  ListRandomState = ListRandomState * 214013u + 2531011u;
  return (ListRandomState >> 16) & 0x7FFFu;
}

bool ListReady(const char* operation) {
  if (!GateInitialized(operation)) return false;
  if (MP3ListLoaded) return true;
  Diagnose(KXSOUND_DIAG_MUSIC, "no play list is loaded: %s fails", operation);
  return false;
}

void DropList() {
  NamedNode* head = MP3List;
  MP3List = nullptr;
  delete head;
}

// The node n links on from node, or null when the chain ends first.
NamedNode* Advance(NamedNode* node, int n) {
  if (n < 0) return nullptr;
  for (; node && n > 0; --n) node = node->Next;
  return node;
}

}  // namespace

void ResetPlaylistState() {
  MP3ListLoaded = MP3ListRandom = MP3ListWrap = 0;
  MP3List = nullptr;
  MP3ListCount = 0;
  MP3ListIndex = -1;
  ListRandomState = 1;
}

LONG qorSound_LoadMP3List(const char* path, int wrap) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!path) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_LoadMP3List fails: the path is null");
    return E_FAIL;
  }
  char full[PATH_BUFFER_SIZE];
  MakeMusicPath(path, full, ".m3u");
  DiagnoseMusicSlashes(path, full, __func__);
  HANDLE file = qorCreateFile(full, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    DiagnoseMissingFile("play list", full, "it cannot be opened");
    return E_FAIL;
  }
  DWORD size = qorGetFileSize(file, nullptr);
  if (size == 0 || size == 0xFFFFFFFFu) {
    qorCloseHandle(file);
    Diagnose(KXSOUND_DIAG_NOTHING_DONE, "play list \"%s\" is empty: the old list stays (the call succeeds)", full);
    return S_OK;
  }
  // Two zero bytes behind the text, so it always ends.
  auto* text = static_cast<char*>(AllocGlobalBlock(static_cast<size_t>(size) + 2));
  DWORD done = 0;
  if (text) qorReadFile(file, text, size, &done, nullptr);
  qorCloseHandle(file);
  if (!text || done < size) {
    FreeGlobalBlock(text);
    Diagnose(KXSOUND_DIAG_NOTHING_DONE, "play list \"%s\" could not be read whole: the old list stays (the call succeeds)",
             full);
    return S_OK;
  }
  NamedNode* entries = ParsePlaylist(text, path);
  FreeGlobalBlock(text);
  // A list without one entry is no list: the old one stays.
  if (!entries) {
    Diagnose(KXSOUND_DIAG_MUSIC, "play list \"%s\" holds no entry: the old list stays", full);
    return E_FAIL;
  }

  DropList();
  MP3List = entries;
  MP3ListCount = MP3List->Count();
  MP3ListIndex = 0;
  MP3ListLoaded = 1;
  MP3ListRandom = 0;
  MP3ListWrap = wrap;
  MP3FileFinished.store(0, std::memory_order_relaxed);
  return LoadMusicFile(MP3List->Name, 0);
}

LONG qorSound_UnloadMP3List() {
  if (!ListReady(__func__)) return E_FAIL;
  StopMusic();
  DropList();
  MP3ListCount = 0;
  MP3ListLoaded = 0;
  MP3ListRandom = 0;
  MP3ListWrap = 0;
  MP3FileFinished.store(0, std::memory_order_relaxed);
  MP3ListIndex = -1;
  return S_OK;
}

LONG qorSound_GoMP3Index(int index, int flag) {
  if (!ListReady(__func__)) return E_FAIL;
  if (!MP3ListWrap && index >= MP3ListCount) {
    LONG stopped = StopMusic();
    Diagnose(stopped < 0 ? KXSOUND_DIAG_MUSIC : KXSOUND_DIAG_ADJUSTED,
             "index %d is past the %d entries of the play list and wrap is off: the music %s", index, MP3ListCount,
             stopped < 0 ? "had ended already" : "stops");
    return stopped;
  }
  int i = index % MP3ListCount;
  NamedNode* entry = i == 0 ? MP3List : (MP3List->Next ? Advance(MP3List->Next, i - 1) : nullptr);
  if (!entry) {
    Diagnose(KXSOUND_DIAG_MUSIC, "index %d has no entry in the play list of %d", index, MP3ListCount);
    return E_FAIL;
  }
  MP3ListIndex = i;
  return LoadMusicFile(entry->Name, flag);
}

LONG qorSound_NextMP3() {
  if (!ListReady(__func__)) return E_FAIL;
  UnloadMusic();
  int next;
  if (!MP3ListRandom) {
    next = MP3ListIndex + 1;
  } else if (MP3ListCount < 2) {
    // With one entry there is no other to draw: it plays again.
    next = 0;
  } else {
    do {
      next = static_cast<int>(ListRand() % static_cast<uint32_t>(MP3ListCount));
    } while (next == MP3ListIndex);
  }
  if (qorSound_GoMP3Index(next, 0) < 0) return E_FAIL;
  return qorSound_PlayMP3();
}

LONG qorSound_PrevMP3() {
  Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_PrevMP3 always fails: a play list only moves forward");
  return E_FAIL;
}

LONG qorSound_RandomizeMP3List(int random) {
  if (!ListReady(__func__)) return E_FAIL;
  MP3ListRandom = random;
  if (!random) return S_OK;
  return qorSound_NextMP3();
}
