// Arbitrary bytes as console lines, as a person would type them, into the module's
// commands over a catalogue of real sounds, music and a list; then a few frames.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "core/device.h"
#include "core/state.h"
#include "fuzz_support.h"
#include "kxHost.h"
#include "kxSound.h"
#include "music/music_state.h"

namespace {

// A mono tone of 0.05 s as a PCM wave file.
std::vector<uint8_t> Wave(uint32_t rate, uint16_t bits) {
  const uint32_t frames = rate / 20, bytes = frames * bits / 8;
  std::vector<uint8_t> out(44 + bytes);
  auto put32 = [&](size_t at, uint32_t v) { std::memcpy(&out[at], &v, 4); };
  auto put16 = [&](size_t at, uint16_t v) { std::memcpy(&out[at], &v, 2); };
  std::memcpy(&out[0], "RIFF", 4);
  put32(4, 36 + bytes);
  std::memcpy(&out[8], "WAVEfmt ", 8);
  put32(16, 16);
  put16(20, 1);
  put16(22, 1);
  put32(24, rate);
  put32(28, rate * bits / 8);
  put16(32, bits / 8);
  put16(34, bits);
  std::memcpy(&out[36], "data", 4);
  put32(40, bytes);
  for (uint32_t i = 0; i < frames; ++i) {
    double v = 0.5 * std::sin(2 * M_PI * 440 * i / rate);
    if (bits == 8) {
      out[44 + i] = static_cast<uint8_t>(128 + 127 * v);
    } else {
      put16(44 + 2 * i, static_cast<uint16_t>(static_cast<int16_t>(32767 * v)));
    }
  }
  return out;
}

void Sound(const char* name, const char* file, int is3D, int looped) {
  char buffer[256];
  std::strcpy(buffer, name);
  qorSound_CreateNewSound(buffer);
  char path[64];
  std::strcpy(path, file);
  qorSound_AddFile(name, path);
  qorSound_Set3D(name, is3D);
  qorSound_SetLooped(name, looped);
}

// Every input starts from the same module: the catalogue from its file, no music, no
// ambients, the settings as at the start.
void Reset() {
  qorSound_UnloadMP3List();
  qorSound_UnloadMP3();
  qorSound_UnloadAllAmbients();
  qorSound_Enable(1);
  qorSound_SetVolume(100);
  qorSound_SetFrequencyFactor(1.0f);
  Device_SetRolloffFactor(1.0f);
  Device_SetDistanceFactor(1.0f);
  Device_SetDopplerFactor(1.0f);
  UpdateDelay = 50;
  ShowStatistic = 0;
  qorSound_LoadBase();
}

// What the offline output rendered is kept for a listener; nobody listens here.
void DropCapture() {
  kxHost_TakeCapture(0, nullptr, UINT32_MAX);
  kxHost_TakeCapture(1, nullptr, UINT32_MAX);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const std::string root = ScratchFolder("console");
  StartModuleIn(root, 1);
  std::filesystem::create_directories(root + "music");
  std::filesystem::create_directories(root + "sounds");
  WriteBytes(root + "music/clip.mp3", TestClipData, TestClipSize);
  const std::string list = "#EXTM3U\r\n#EXTINF:18,clip\r\nclip.mp3\r\n\r\nclip\r\nmissing.mp3\r\n";
  WriteBytes(root + "music/list.m3u", list.data(), list.size());
  // At the mix rate: the conversion at load is the wave loader harness's business.
  const std::vector<uint8_t> door = Wave(48000, 16), step = Wave(48000, 8);
  WriteBytes(root + "sounds/door.wav", door.data(), door.size());
  WriteBytes(root + "sounds/step.wav", step.data(), step.size());
  Sound("door", "sounds\\door.wav", 0, 0);
  Sound("step", "sounds\\step.wav", 1, 0);
  Sound("hum", "sounds\\door.wav", 1, 1);
  qorSound_SaveBase();
  qorSound_Finalize();
  // Game mode: the console commands are registered only there.
  StartModuleIn(root, 0);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Reset();
  for (const std::string& line : Lines(data, size, 16)) kxHost_Execute(line.c_str());
  for (int frame = 0; frame < 2; ++frame) {
    qorSound_Update();
    kxHost_Advance(5);
  }
  DropCapture();
  return 0;
}
