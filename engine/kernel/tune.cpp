// Tuning keys: names the module registers for live adjustment, numbered in creation order.
#include <string>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"

namespace {

std::vector<std::string>& keys() {
  static std::vector<std::string> list;
  return list;
}

int32_t find(const char* name) {
  const auto& list = keys();
  for (std::size_t i = 0; i < list.size(); ++i)
    if (list[i] == name) return static_cast<int32_t>(i);
  return -1;
}

}  // namespace

extern "C" {

KX_EXPORT int qorTune_CreateKey(const char* name) {
  if (!name) return -1;
  int32_t key = find(name);
  if (key >= 0) return key;
  keys().emplace_back(name);
  return static_cast<int>(keys().size() - 1);
}

KX_EXPORT int32_t kxHost_FindTuneKey(const char* name) { return name ? find(name) : -1; }

}  // extern "C"
