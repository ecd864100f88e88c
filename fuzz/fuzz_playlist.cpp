// Arbitrary bytes as a play list: the parser alone with a list path taken from the
// input, then the whole load and the moves through the list.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/named_node.h"
#include "fuzz_support.h"
#include "kxSound.h"
#include "music/playlist_text.h"

namespace {

std::string Root;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Root = StartModuleOnce("list", 1);
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
  const size_t slash = listPath.find('\\') != std::string::npos ? listPath.find('\\') : listPath.find('/');
  const std::string prefix = slash == std::string::npos ? std::string() : listPath.substr(0, slash + 1);
  // The entries are the lines that are no comment, in order, each behind the list's folder
  // unless it is an absolute path; a leading byte-order mark is no part of the first, and a
  // line too long for a name is left out.
  std::string whole = text.c_str();
  if (whole.compare(0, 3, "\xEF\xBB\xBF") == 0) whole.erase(0, 3);
  NamedNode* node = list;
  for (size_t at = 0; at < whole.size();) {
    size_t end = whole.find_first_of("\r\n", at);
    if (end == std::string::npos) end = whole.size();
    const std::string line = whole.substr(at, end - at);
    at = whole.find_first_not_of("\r\n", end);
    if (at == std::string::npos) at = whole.size();
    if (line.empty() || line[0] == '#') continue;
    const std::string folder = line[0] == '/' ? std::string() : prefix;
    if (folder.size() + line.size() >= NAME_SIZE) continue;
    if (!node || std::memchr(node->Name, 0, NAME_SIZE) == nullptr || node->Name != folder + line) std::abort();
    node = node->Next;
  }
  if (node) std::abort();
  delete list;

  WriteBytes(Root + "list.m3u", text.data(), text.size());
  qorSound_LoadMP3List("list", static_cast<int>(size & 1));
  qorSound_GoMP3Index(static_cast<int>(size % 7) - 3, 0);
  qorSound_RandomizeMP3List(1);
  qorSound_NextMP3();
  qorSound_UnloadMP3List();
  return 0;
}
