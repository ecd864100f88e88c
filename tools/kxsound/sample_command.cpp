// kxsound make-sample: a small catalogue made through the module in tool mode.
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

namespace {

void AddSound(const char* name, const char* comment, int page, const char* const* files, int fileCount) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, "%s", name);
  qorSound_CreateNewSound(buffer);
  qorSound_SetSoundComments(buffer, comment);
  qorSound_SetSoundPage(buffer, page);
  for (int i = 0; i < fileCount; ++i) {
    char path[256];
    std::snprintf(path, sizeof path, "%s", files[i]);
    qorSound_AddFile(buffer, path);
  }
}

}  // namespace

int RunMakeSample(const CommonOptions& options) {
  if (!StartModule(options, 1, "offline")) return 1;
  qorSound_NewPage("Doors");
  qorSound_NewPage("Weapons");
  qorSound_NewPage("World");

  const char* door[] = {"sounds\\doors\\open.wav", "sounds\\doors\\close.wav"};
  AddSound("DoorOpen", "wooden door, both ways", 0, door, 2);
  qorSound_SetSoundPlayMode("DoorOpen", SOUND_PLAYMODE_SEQUENTIAL);

  const char* shot[] = {"sounds\\weapons\\shot1.wav", "sounds\\weapons\\shot2.wav", "sounds\\weapons\\shot3.wav"};
  AddSound("Shot", "three takes, picked at random", 1, shot, 3);
  qorSound_Set3D("Shot", 1);
  qorSound_SetNumStreams("Shot", 4);
  qorSound_SetDistances("Shot", 2.0f, 60.0f);

  const char* wind[] = {"sounds\\world\\wind.wav"};
  AddSound("Wind", nullptr, 2, wind, 1);
  qorSound_SetLooped("Wind", 1);
  qorSound_SetVolume("Wind", 60);

  LONG saved = qorSound_SaveBase();
  qorSound_Finalize();
  if (saved != S_OK) {
    std::fprintf(stderr, "kxsound: could not write the catalogue into '%s'\n", options.Root.c_str());
    return 1;
  }
  std::printf("Wrote a sample catalogue of 3 pages and 3 sounds.\n");
  return 0;
}
