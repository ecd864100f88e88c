#include "win32/resources.h"

#include <strings.h>

#include <mutex>
#include <string>
#include <deque>

struct ResourceInfo {
  HMODULE Module;
  uint32_t Id;
  std::string Type;
  const void* Data;
  uint32_t Size;
};

namespace {

std::mutex& TableMutex() {
  static std::mutex mutex;
  return mutex;
}

// Entries are never removed: a module's data lives as long as the module is mapped.
// A deque keeps the addresses that FindResourceA hands out.
std::deque<ResourceInfo>& Table() {
  static std::deque<ResourceInfo> table;
  return table;
}

bool IsIntegerName(const char* name) { return reinterpret_cast<uintptr_t>(name) <= 0xFFFF; }

}  // namespace

void kxResource_Register(HMODULE module, uint32_t id, const char* type, const void* data, uint32_t size) {
  if (!type || !data) return;
  std::lock_guard<std::mutex> lock(TableMutex());
  for (ResourceInfo& info : Table()) {
    if (info.Module == module && info.Id == id && strcasecmp(info.Type.c_str(), type) == 0) {
      info.Data = data;
      info.Size = size;
      return;
    }
  }
  Table().push_back(ResourceInfo{module, id, type, data, size});
}

HRSRC FindResourceA(HMODULE module, const char* name, const char* type) {
  // Only integer ids are carried.
  if (!IsIntegerName(name) || !type || IsIntegerName(type)) return nullptr;
  uint32_t id = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(name));
  std::lock_guard<std::mutex> lock(TableMutex());
  for (ResourceInfo& info : Table()) {
    if (info.Module == module && info.Id == id && strcasecmp(info.Type.c_str(), type) == 0) return &info;
  }
  return nullptr;
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) { return resource ? const_cast<void*>(resource->Data) : nullptr; }

void* LockResource(HGLOBAL loaded) { return loaded; }

DWORD SizeofResource(HMODULE, HRSRC resource) { return resource ? resource->Size : 0; }
