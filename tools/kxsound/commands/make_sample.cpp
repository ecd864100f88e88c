// kxsound make-sample: a small catalogue made through the module in tool mode, with the wave
// files it names, so that it plays at once.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "io/diagnostics.h"
#include "kxPath.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "io/synth.h"
#include "io/wav_writer.h"

namespace fs = std::filesystem;

namespace {

std::vector<float> Shot0() { return synth::Shot(0); }
std::vector<float> Shot1() { return synth::Shot(1); }
std::vector<float> Shot2() { return synth::Shot(2); }

struct SampleFile {
  const char* Stored;  // as the catalogue keeps it
  std::vector<float> (*Make)();
};

const SampleFile kFiles[] = {
    {"sounds\\doors\\open.wav", synth::DoorCreak},   {"sounds\\doors\\close.wav", synth::DoorKnock},
    {"sounds\\weapons\\shot1.wav", Shot0},           {"sounds\\weapons\\shot2.wav", Shot1},
    {"sounds\\weapons\\shot3.wav", Shot2},           {"sounds\\world\\wind.wav", synth::Wind},
};

// The file a stored path names under folder, found as the module's file layer finds it:
// without regard to case.
std::string OnDisk(const fs::path& folder, const std::string& stored) {
  std::string relative = stored;
  for (char& c : relative)
    if (c == '\\') c = '/';
  std::string given = (folder / relative).string();
  char resolved[4096];
  return kxPath_Resolve(given.c_str(), resolved, sizeof resolved) == 0 ? resolved : given;
}

bool Exists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

void AddSound(const char* name, const char* comment, int page, const std::vector<const char*>& files) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, "%s", name);
  qorSound_CreateNewSound(buffer);
  qorSound_SetSoundComments(buffer, comment);
  qorSound_SetSoundPage(buffer, page);
  for (const char* file : files) {
    char path[64];
    std::snprintf(path, sizeof path, "%s", file);
    qorSound_AddFile(buffer, path);
  }
}

}  // namespace

int RunMakeSample(const CommonOptions& options) {
  fs::path folder = RootName(options);
  // Merging into a catalogue would change the parameters of sounds someone made.
  if (Exists(OnDisk(folder, "Sounds.qorSound"))) {
    std::fprintf(stderr, "kxsound: '%s' already holds a catalogue (Sounds.qorSound); make-sample writes only where there is none\n",
                 folder.c_str());
    return 1;
  }
  for (const SampleFile& file : kFiles) {
    std::string path = OnDisk(folder, file.Stored);
    if (Exists(path)) {
      std::fprintf(stderr, "kxsound: '%s' is there already; make-sample replaces no file\n", path.c_str());
      return 1;
    }
  }
  for (const SampleFile& file : kFiles) {
    std::string path = OnDisk(folder, file.Stored), error;
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    if (!WriteMonoWav(path, synth::kRate, file.Make(), &error)) {
      std::fprintf(stderr, "kxsound: %s\n", error.c_str());
      return 1;
    }
  }

  {
    // An empty root is what this command expects, not news.
    diagnostics::Mute quiet;
    if (!StartModule(options, 1, "offline")) return 1;
  }
  qorSound_NewPage("Doors");
  qorSound_NewPage("Weapons");
  qorSound_NewPage("World");

  AddSound("DoorOpen", "wooden door, both ways", 0, {"sounds\\doors\\open.wav", "sounds\\doors\\close.wav"});
  qorSound_SetSoundPlayMode("DoorOpen", SOUND_PLAYMODE_SEQUENTIAL);

  AddSound("Shot", "three takes, picked at random", 1,
           {"sounds\\weapons\\shot1.wav", "sounds\\weapons\\shot2.wav", "sounds\\weapons\\shot3.wav"});
  qorSound_SetSoundPlayMode("Shot", SOUND_PLAYMODE_RANDOM);
  qorSound_Set3D("Shot", 1);
  qorSound_SetNumStreams("Shot", 4);
  qorSound_SetDistances("Shot", 2.0f, 60.0f);

  AddSound("Wind", nullptr, 2, {"sounds\\world\\wind.wav"});
  qorSound_SetLooped("Wind", 1);
  qorSound_SetVolume("Wind", 90);  // 10 dB down

  LONG saved = qorSound_SaveBase();
  qorSound_Finalize();
  if (saved != S_OK) {
    std::fprintf(stderr, "kxsound: could not write the catalogue into '%s'\n", folder.c_str());
    return 1;
  }
  std::printf("Wrote a sample catalogue into %s: 3 pages, 3 sounds, %zu wave files.\n", folder.c_str(),
              sizeof kFiles / sizeof kFiles[0]);
  return 0;
}
