// Named integer variables the module publishes (counters such as "sounds_created").
#include <string>
#include <utility>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

std::vector<std::pair<std::string, LONG>>& vars() {
  static std::vector<std::pair<std::string, LONG>> list;
  return list;
}

// Handles are index + 1, so 0 is never a valid one.
std::pair<std::string, LONG>* byHandle(LONG handle) {
  auto& list = vars();
  if (handle < 1 || static_cast<std::size_t>(handle) > list.size()) return nullptr;
  return &list[static_cast<std::size_t>(handle) - 1];
}

LONG byName(const char* name) {
  const auto& list = vars();
  for (std::size_t i = 0; i < list.size(); ++i)
    if (list[i].first == name) return static_cast<LONG>(i + 1);
  return 0;
}

}  // namespace

extern "C" {

// An existing variable keeps its value; 0 for a null name.
KX_EXPORT LONG qorQObj_AllocVar(const char* name, LONG value) {
  if (!name) return 0;
  if (LONG h = byName(name)) return h;
  vars().emplace_back(name, value);
  return static_cast<LONG>(vars().size());
}

KX_EXPORT LONG qorQObj_GetVar(LONG handle) {
  auto* v = byHandle(handle);
  return v ? v->second : 0;
}

KX_EXPORT void qorQObj_SetVar(LONG handle, LONG value) {
  if (auto* v = byHandle(handle)) v->second = value;
}

KX_EXPORT int32_t kxHost_GetVar(const char* name, int32_t* value) {
  LONG h = name ? byName(name) : 0;
  if (!h) return -1;
  if (value) *value = qorQObj_GetVar(h);
  return 0;
}

}  // extern "C"
