// kxsound export: the catalogue as JSON on standard output.
#include <cstdio>
#include <string>

#include "commands/commands.h"
#include "io/catalogue_json.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

int RunExport(const CommonOptions& options) {
  if (!StartModule(options, 1, "offline")) return 1;
  // Loading again tells a missing or damaged file from an empty catalogue.
  if (qorSound_LoadBase() != S_OK) {
    std::fprintf(stderr, "kxsound: no readable catalogue (Sounds.qorSound) in '%s'\n", RootName(options).c_str());
    qorSound_Finalize();
    return 1;
  }
  std::string text, error;
  bool exported = ExportCatalogueText(&text, &error);
  qorSound_Finalize();
  if (!exported) {
    std::fprintf(stderr, "kxsound: cannot export the catalogue: %s\n", error.c_str());
    return 1;
  }
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    std::fprintf(stderr, "kxsound: could not write the catalogue to standard output\n");
    return 1;
  }
  return 0;
}
