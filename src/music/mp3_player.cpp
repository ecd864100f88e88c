// One MP3 sound at a time, through gaudio.
#include <cstdio>
#include <new>
#include <cstring>

#include "base/text.h"
#include "core/percent.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "core/test_clip.h"
#include "gaudio/gaudio.h"
#include "kxEngine.h"
#include "music/music_state.h"
#include "win32/resources.h"

int GAudioReady = 0;
gaudio::GAudio* GAudioObject = nullptr;
const uint8_t* TestClipData = nullptr;
uint32_t TestClipSize = 0;
GAudioSound* MP3Sound = nullptr;
int MP3Volume = 0;
std::atomic<int32_t> MP3FileFinished{0};

namespace {

constexpr uint32_t MP3_FLAGS = 4;
constexpr uint32_t MP3_OPTION = 1;

// gaudio takes what it needs during the call, but the records are kept static as
// the library has always been given them.
GAudioSoundDesc FileDescription;
GAudioNotifyDesc NotifyDescription;

void OnMP3FileFinished() { MP3FileFinished.store(1, std::memory_order_relaxed); }

bool Loaded() { return SystemInitialized && MP3Sound; }

LONG FromGAudio(int32_t result) { return result == gaudio::ERR_OK ? S_OK : E_FAIL; }

// The result of a call on the sound, told to the sink when the library refused it.
LONG FromGAudio(int32_t result, const char* operation) {
  if (result == gaudio::ERR_OK) return S_OK;
  Diagnose(KXSOUND_DIAG_MUSIC, "the music library refused %s (its result was %d)", operation, result);
  return E_FAIL;
}

// The gate of the calls on the loaded sound.
bool MusicLoaded(const char* operation) {
  if (!GateInitialized(operation)) return false;
  if (MP3Sound) return true;
  Diagnose(KXSOUND_DIAG_MUSIC, "no music is loaded: %s fails", operation);
  return false;
}


}  // namespace

char* MakeMusicPath(const char* path, char* out, const char* extension) {
  int written;
  // A drive letter, or a path as a Linux user writes it, is absolute.
  if (std::strchr(path, ':') || path[0] == '/') {
    written = std::snprintf(out, PATH_BUFFER_SIZE, "%s", path);
  } else {
    written = std::snprintf(out, PATH_BUFFER_SIZE, "%s%s", RootFolder, path[0] == '\\' ? path + 1 : path);
  }
  if (written < 0 || written >= PATH_BUFFER_SIZE) {
    out[0] = 0;
    return out;
  }
  LowerAscii(out);
  if (!extension || std::strstr(out, extension)) return out;
  if (std::strlen(out) + std::strlen(extension) >= PATH_BUFFER_SIZE) {
    out[0] = 0;
    return out;
  }
  std::strcat(out, extension);
  return out;
}

void DiagnoseMusicSlashes(const char* path, const char* full, const char* operation) {
  if (!DiagnosticsWanted() || !std::strchr(path, '/')) return;
  char shown[PATH_BUFFER_SIZE];
  DisplayPath(full, shown, sizeof shown);
  Diagnose(KXSOUND_DIAG_FORWARD_SLASHES, "music path \"%s\" has forward slashes: %s takes it as %s \"%s\"", path,
           operation, path[0] == '/' ? "the absolute path" : "the path", shown);
}

void DiagnoseMissingFile(const char* kind, const char* full, const char* refusal) {
  if (!DiagnosticsWanted()) return;
  char shown[PATH_BUFFER_SIZE];
  DisplayPath(full, shown, sizeof shown);
  HANDLE file = qorCreateFile(full, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    Diagnose(KXSOUND_DIAG_FILE_NOT_FOUND, "%s \"%s\" is not found", kind, shown);
    return;
  }
  qorCloseHandle(file);
  Diagnose(KXSOUND_DIAG_MUSIC, "%s \"%s\" is there, but %s", kind, shown, refusal);
}

void Music_Start() {
  GAudioReady = 0;
  MP3FileFinished.store(0, std::memory_order_relaxed);
  GAudioObject = new (std::nothrow) gaudio::GAudio();
  if (!GAudioObject || GAudioObject->init(gaudio::DEVICE_DEFAULT, 44100, 0) != gaudio::ERR_OK) return;
  GAudioReady = 1;
  HRSRC resource = FindResourceA(ModuleHandle, MAKEINTRESOURCEA(TEST_CLIP_RESOURCE_ID), TEST_CLIP_RESOURCE_TYPE);
  if (!resource) return;
  HGLOBAL loaded = LoadResource(ModuleHandle, resource);
  if (!loaded) return;
  TestClipData = static_cast<const uint8_t*>(LockResource(loaded));
  TestClipSize = SizeofResource(ModuleHandle, resource);
}

void Music_Stop() {
  if (!GAudioReady) return;
  MP3FileFinished.store(0, std::memory_order_relaxed);
  if (MP3ListLoaded) {
    qorSound_UnloadMP3List();
  } else {
    UnloadMusic();
  }
  if (MP3Sound) MP3Sound->Release();
  MP3Sound = nullptr;
  delete GAudioObject;
  GAudioObject = nullptr;
  // Nothing is left to play through.
  GAudioReady = 0;
}

LONG LoadMusicFile(const char* path, int flag) {
  if (!GateInitialized("qorSound_LoadMP3")) return E_FAIL;
  if (!GAudioReady || !GAudioObject) {
    Diagnose(KXSOUND_DIAG_MUSIC, "music is unavailable (the music library did not start): qorSound_LoadMP3 fails");
    return E_FAIL;
  }
  if (!path) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_LoadMP3 fails: the path is null");
    return E_FAIL;
  }
  if (MP3Sound) UnloadMusic();
  char full[PATH_BUFFER_SIZE];
  MakeMusicPath(path, full, ".mp3");
  std::memset(&FileDescription, 0, sizeof FileDescription);
  FileDescription.Header = GAUDIO_DESC_HEADER;
  FileDescription.Path = gaudio::Address32(full);
  FileDescription.Flags = MP3_FLAGS | (flag ? 1u : 0u);
  FileDescription.Option = MP3_OPTION;
  if (GAudioObject->getSoundClass(gaudio::SOUND_CLASS_STREAM, &FileDescription, &MP3Sound) != gaudio::ERR_OK) {
    MP3Sound = nullptr;
    DiagnoseMissingFile("music file", full, "the music library refused it (not an MP3 it can play)");
    return E_FAIL;
  }
  if (!MP3ListLoaded) return S_OK;
  std::memset(&NotifyDescription, 0, sizeof NotifyDescription);
  NotifyDescription.Size = sizeof NotifyDescription;
  NotifyDescription.Event = GAUDIO_EVENT_END_OF_FILE;
  NotifyDescription.Callback = gaudio::Address32(reinterpret_cast<const void*>(&OnMP3FileFinished));
  LONG result = FromGAudio(MP3Sound->SetNotify(&NotifyDescription, 1));
  if (result < 0) {
    Diagnose(KXSOUND_DIAG_MUSIC, "music file \"%s\" is loaded, but its end will not be reported to the play list", full);
  }
  return result;
}

LONG UnloadMusic() {
  if (!Loaded()) return E_FAIL;
  MP3FileFinished.store(0, std::memory_order_relaxed);
  MP3Sound->Release();
  MP3Sound = nullptr;
  return S_OK;
}

LONG StopMusic() { return Loaded() ? FromGAudio(MP3Sound->Stop()) : E_FAIL; }

LONG qorSound_LoadMP3(const char* path, int flag) {
  if (path && DiagnosticsWanted()) {
    char full[PATH_BUFFER_SIZE];
    DiagnoseMusicSlashes(path, MakeMusicPath(path, full, ".mp3"), __func__);
  }
  return LoadMusicFile(path, flag);
}

LONG qorSound_UnloadMP3() { return MusicLoaded(__func__) ? UnloadMusic() : E_FAIL; }

LONG qorSound_PlayMP3() { return MusicLoaded(__func__) ? FromGAudio(MP3Sound->Play(), __func__) : E_FAIL; }

LONG qorSound_PauseMP3() { return MusicLoaded(__func__) ? FromGAudio(MP3Sound->Pause(), __func__) : E_FAIL; }

LONG qorSound_StopMP3() { return MusicLoaded(__func__) ? FromGAudio(MP3Sound->Stop(), __func__) : E_FAIL; }

LONG qorSound_RewindMP3() {
  if (!MusicLoaded(__func__)) return E_FAIL;
  if (FromGAudio(MP3Sound->Stop(), __func__) < 0) return E_FAIL;
  return FromGAudio(MP3Sound->Play(), __func__);
}

int qorSound_IsMP3FileFinished() {
  if (!GateInitialized(__func__)) return 0;
  if (!MP3ListLoaded) {
    MP3FileFinished.store(0, std::memory_order_relaxed);
    return 0;
  }
  return MP3FileFinished.exchange(0, std::memory_order_relaxed) ? 1 : 0;
}

LONG qorSound_TestMP3() {
  // After shutdown the flag may stand but the library is gone.
  if (!GAudioReady || !GAudioObject) {
    Diagnose(KXSOUND_DIAG_MUSIC, "music is unavailable (the music library did not start): qorSound_TestMP3 fails");
    return E_FAIL;
  }
  if (!TestClipData) {
    Diagnose(KXSOUND_DIAG_MUSIC, "the module carries no test clip: qorSound_TestMP3 fails");
    return E_FAIL;
  }
  if (MP3Sound) {
    if (MP3ListLoaded) {
      qorSound_UnloadMP3List();
    } else {
      StopMusic();
    }
    MP3Sound->Release();
    MP3Sound = nullptr;
  }
  GAudioSoundDesc description = {};
  description.Header = GAUDIO_DESC_HEADER;
  description.MemoryData = gaudio::Address32(TestClipData);
  description.MemorySize = TestClipSize;
  description.Flags = MP3_FLAGS;
  description.FromMemory = 1;
  description.Option = MP3_OPTION;
  if (GAudioObject->getSoundClass(gaudio::SOUND_CLASS_STREAM, &description, &MP3Sound) != gaudio::ERR_OK) {
    MP3Sound = nullptr;
    Diagnose(KXSOUND_DIAG_MUSIC, "the music library refused the test clip: qorSound_TestMP3 fails");
    return E_FAIL;
  }
  MP3Sound->Play();
  return S_OK;
}

LONG qorSound_SetVolumeMP3(int volume) {
  if (!MusicLoaded(__func__)) return E_FAIL;
  MP3Volume = volume;
  // In float, as the player always took it.
  MP3Sound->SetVolume(static_cast<float>(volume) * POINT_ZERO_ONE);
  return S_OK;
}

LONG qorSound_GetVolumeMP3(int* volume) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!volume) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_GetVolumeMP3 fails: the pointer is null");
    return E_FAIL;
  }
  *volume = MP3Volume;
  return S_OK;
}
