// Arbitrary bytes as the base file: load, save, load again, save again. Both saves
// must give the same bytes, and nothing may read or write out of bounds.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/state.h"
#include "fuzz_module.h"

namespace {

std::string Root;

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::vector<uint8_t> bytes;
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return bytes;
  uint8_t chunk[65536];
  size_t n;
  while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
  std::fclose(f);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Root = StartModuleInTempRoot("base");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = Root + "Sounds.qorSound";
  // An input that starts with 'S' gets a valid header made for it from its next
  // eight bytes (sound and page counts), so the fuzzer spends its time on the records.
  std::vector<uint8_t> file;
  if (size >= 9 && data[0] == 'S') {
    file.assign(10240, 0);
    std::memcpy(file.data(), "qorSound File", 14);
    std::memcpy(&file[256], data + 1, 8);
    file.insert(file.end(), data + 9, data + size);
  } else {
    file.assign(data, data + size);
  }
  WriteBytes(path, file.data(), file.size());
  ToolMode = file.size() % 2;

  qorSound_LoadBase();
  if (qorSound_SaveBase() != S_OK) std::abort();
  std::vector<uint8_t> first = ReadFile(path);
  ToolMode = 1;
  if (qorSound_LoadBase() != S_OK) std::abort();
  if (qorSound_SaveBase() != S_OK) std::abort();
  if (ReadFile(path) != first) std::abort();
  return 0;
}
