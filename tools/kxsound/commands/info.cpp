// kxsound info: the catalogue as text, in catalogue order.
#include <cstdio>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "io/diagnostics.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

namespace {

// The enumeration callbacks carry no context, so they collect into these.
std::vector<std::string> CollectedNames;
std::vector<int> CollectedPages;

void CollectName(char* name) { CollectedNames.emplace_back(name); }
void CollectSound(char* name, int page) {
  CollectedNames.emplace_back(name);
  CollectedPages.push_back(page);
}

const char* PlayModeName(SOUND_PLAYMODE mode) {
  switch (mode) {
    case SOUND_PLAYMODE_SEQUENTIAL: return "sequential";
    case SOUND_PLAYMODE_RANDOM: return "random";
  }
  return "other";
}

void PrintSound(const std::string& name, int page) {
  const char* n = name.c_str();
  float minimum = 0, maximum = 0;
  qorSound_GetDistances(n, &minimum, &maximum);
  SOUND_PLAYMODE mode = qorSound_GetSoundPlayMode(n);
  std::printf("  %s\n", n);
  std::printf("    page %d, enabled %d, play mode %s (%d), streams %d\n", page, qorSound_IsSoundEnabled(n),
              PlayModeName(mode), static_cast<int>(mode), qorSound_GetNumStreams(n));
  std::printf("    volume %d, frequency %d, looped %d, crossed %d, 3D %d, distances %.2f .. %.2f\n",
              qorSound_GetVolume(n), qorSound_GetFrequency(n), qorSound_GetLooped(n), qorSound_GetCrossed(n),
              qorSound_Get3D(n), minimum, maximum);
  if (const char* comment = qorSound_GetSoundComments(n)) std::printf("    comment: %s\n", comment);
  char path[64];
  // The module has no count of files: the index one past the last ends the walk, and is no mistake.
  diagnostics::Mute quiet;
  for (int i = 0; qorSound_GetFile(n, path, i) == S_OK; ++i) {
    std::printf("    file %d [%s] %s\n", i, qorSound_IsFileEnabled(n, i) ? "on" : "off", path);
  }
}

}  // namespace

int RunInfo(const CommonOptions& options) {
  // Reading the catalogue makes no sound: an output that renders only on demand.
  if (!StartModule(options, 1, "offline")) return 1;
  // Loading again tells a missing or damaged file from an empty catalogue.
  if (qorSound_LoadBase() != S_OK) {
    std::fprintf(stderr, "kxsound: no readable catalogue (Sounds.qorSound) in '%s'\n",
                 RootName(options).c_str());
    qorSound_Finalize();
    return 1;
  }
  CollectedNames.clear();
  qorSound_EnumeratePages(CollectName);
  std::printf("Pages (%zu):\n", CollectedNames.size());
  for (size_t i = 0; i < CollectedNames.size(); ++i) std::printf("  %zu  %s\n", i, CollectedNames[i].c_str());

  CollectedNames.clear();
  CollectedPages.clear();
  qorSound_EnumerateSounds(CollectSound);
  std::printf("Sounds (%zu):\n", CollectedNames.size());
  for (size_t i = 0; i < CollectedNames.size(); ++i) PrintSound(CollectedNames[i], CollectedPages[i]);

  qorSound_Finalize();
  return 0;
}
