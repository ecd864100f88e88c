// Starting the module for a sub-command.
#include <sys/stat.h>

#include <cstdio>

#include "commands/commands.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

bool StartModule(const CommonOptions& options, int toolMode, const char* output) {
  if (!options.Root.empty()) {
    struct stat info;
    if (stat(options.Root.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
      std::fprintf(stderr, "kxsound: root folder '%s' does not exist\n", options.Root.c_str());
      return false;
    }
    kxHost_SetRootFolder(options.Root.c_str());
  }
  kxHost_SetAudioOutput(output);
  if (qorSound_Initialize(nullptr, toolMode) != S_OK) {
    std::fprintf(stderr, "kxsound: the sound module did not start on the '%s' output\n", output);
    return false;
  }
  return true;
}
