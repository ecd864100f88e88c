// kxsound why SOUND, and the console command "why SOUND": what a play of the sound would do
// now, and why, in the module's own words.
#include <cstdio>

#include "commands/commands.h"
#include "kxEngine.h"
#include "kxHost.h"
#include "kxSound.h"

namespace {

constexpr char kHostGroup[] = "kxsound";

void PrintToFile(const char* line, void* file) { std::fprintf(static_cast<std::FILE*>(file), "%s\n", line); }
void PrintToConsole(const char* line, void*) { qorConsole_Print("%s", line); }

int32_t WhyHandler(uint32_t, int, char** argv) {
  kxSound_Why(argv[0], PrintToConsole, nullptr);
  return 0;
}

}  // namespace

void RegisterWhyCommand() {
  qorConsole_RegisterCommand(kHostGroup, "why", 1, WhyHandler, 1, 0, 0);
  kxHost_DescribeCommand(kHostGroup, "why", "SOUND", "what a play of SOUND would do now, and why");
}

int RunWhy(const CommonOptions& options) {
  // As a game would find it right after the start: nothing logged in, nothing playing.
  if (!StartModule(options, 0, "offline")) return 1;
  int32_t result = kxSound_Why(options.Argument.c_str(), PrintToFile, stdout);
  qorSound_Finalize();
  return result == 0 ? 0 : 1;
}
