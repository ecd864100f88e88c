// kxsound import: replaces the catalogue with a JSON file, checked whole before anything changes.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "commands/commands.h"
#include "io/catalogue_json.h"
#include "io/diagnostics.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

namespace {

bool ReadWholeFile(const std::string& path, std::string& text) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  char chunk[65536];
  size_t count;
  while ((count = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, count);
  bool failed = std::ferror(file) != 0;
  std::fclose(file);
  return !failed;
}

int ImportDocument(const CommonOptions& options, const CatalogueRecord& catalogue) {
  {
    // A root without a catalogue yet is what an import may well begin from.
    diagnostics::Mute quiet;
    if (!StartModule(options, 1, "offline")) return 1;
  }
  std::string error;
  if (!BuildCatalogue(catalogue, &error)) {
    // Finalize does not save: the base file on disk stays as it was.
    qorSound_Finalize();
    std::fprintf(stderr, "kxsound: %s: %s\n", options.Argument.c_str(), error.c_str());
    return 1;
  }
  LONG saved = qorSound_SaveBase();
  qorSound_Finalize();
  std::string target = RootName(options);
  if (target.back() != '/') target += '/';
  target += "Sounds.qorSound";
  if (saved != S_OK) {
    std::fprintf(stderr, "kxsound: could not write %s\n", target.c_str());
    return 1;
  }
  std::printf("Imported %zu pages and %zu sounds into %s\n", catalogue.Pages.size(), catalogue.Sounds.size(),
              target.c_str());
  return 0;
}

}  // namespace

int RunImport(const CommonOptions& options) {
  const std::string& path = options.Argument;
  std::string text;
  if (!ReadWholeFile(path, text)) {
    std::fprintf(stderr, "kxsound: cannot read '%s': %s\n", path.c_str(), std::strerror(errno));
    return 1;
  }
  CatalogueRecord catalogue;
  std::string error;
  if (!ParseCatalogueDocument(text, &catalogue, &error)) {
    std::fprintf(stderr, "kxsound: %s: %s\n", path.c_str(), error.c_str());
    return 1;
  }
  for (const SoundRecord& record : catalogue.Sounds)
    for (const std::string& note : record.Notes) diagnostics::Note(path + ": " + record.Label + ": " + note);
  return ImportDocument(options, catalogue);
}
