// Arbitrary bytes as a play list: the parser alone with a list path taken from the
// input, then the whole load and the moves through the list.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/named_node.h"
#include "fuzz_module.h"
#include "music/playlist_text.h"

namespace {

std::string Root;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Root = StartModuleInTempRoot("list");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The first line is the list's own path, the rest its text.
  std::string bytes(reinterpret_cast<const char*>(data), size);
  size_t cut = bytes.find('\n');
  std::string listPath = cut == std::string::npos ? std::string() : bytes.substr(0, cut);
  std::string text = cut == std::string::npos ? bytes : bytes.substr(cut + 1);
  listPath = listPath.c_str();  // up to a zero byte, as a caller's string
  NamedNode* list = ParsePlaylist(text.c_str(), listPath.c_str());
  const size_t prefix = listPath.find_first_of('\\') != std::string::npos ? listPath.find('\\') + 1
                       : listPath.find('/') != std::string::npos          ? listPath.find('/') + 1
                                                                          : 0;
  for (NamedNode* node = list; node; node = node->Next) {
    // Every entry is terminated inside its name and is no comment line.
    if (std::memchr(node->Name, 0, NAME_SIZE) == nullptr || node->Name[prefix] == '#') std::abort();
  }
  delete list;

  WriteBytes(Root + "list.m3u", text.data(), text.size());
  qorSound_LoadMP3List("list", static_cast<int>(size & 1));
  qorSound_GoMP3Index(static_cast<int>(size % 7) - 3, 0);
  qorSound_RandomizeMP3List(1);
  qorSound_NextMP3();
  qorSound_UnloadMP3List();
  return 0;
}
