// Arbitrary bytes as a JSON catalogue for kxsound import, into a running module. What
// imports exports to a document that imports again and exports to the same text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "io/catalogue_json.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  StartModuleOnce("json", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string error, first, second;
  if (!ImportCatalogueText(std::string(reinterpret_cast<const char*>(data), size), &error)) return 0;
  // A catalogue that cannot be told as a document (two names equal but for case) is refused
  // at export with a reason; anything else must make the round.
  if (!ExportCatalogueText(&first, &error)) return 0;
  if (!ImportCatalogueText(first, &error)) std::abort();
  if (!ExportCatalogueText(&second, &error) || second != first) std::abort();
  return 0;
}
