// Arbitrary bytes as the base file: load, save, load again, save again. Both saves
// must give the same bytes, and nothing may read or write out of bounds.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/state.h"
#include "fuzz_support.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

namespace {

constexpr size_t HEADER = 10240, NAME = 256, RECORD = 10240, FILE_RECORD = 64;
constexpr size_t SHORT_NAME = 32, SHORT_RECORD = 48;  // what of a block is read; the rest is reserved
// Each sound grows to 10 KB on the way: a few are enough to reach every path of the reader.
constexpr int MAX_COMPACT_SOUNDS = 6;

std::string Path;
// Saved files whose round trip has been checked: a second look at the same bytes is spared.
std::unordered_set<size_t> Checked;

uint32_t Get32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

// Inputs that start with 'S' or 'C' get a valid header made from their next eight bytes (sound and
// page counts), so that the fuzzer spends its time on what follows. 'S' takes the rest as it is;
// 'C' is compact: the page table, then per sound 32 bytes of name and the 48 read bytes of its
// record, each padded with zeros to its block, then the comment and file records its counts ask for;
// the header may promise more sounds than follow.
std::vector<uint8_t> Expand(const uint8_t* data, size_t size) {
  if (size < 9 || (data[0] != 'S' && data[0] != 'C')) return std::vector<uint8_t>(data, data + size);
  std::vector<uint8_t> file;
  file.reserve(HEADER + size + MAX_COMPACT_SOUNDS * (NAME + RECORD));
  file.resize(HEADER, 0);
  std::memcpy(file.data(), "qorSound File", 14);
  std::memcpy(&file[256], data + 1, 8);
  const uint8_t *p = data + 9, *end = data + size;
  if (data[0] == 'S') {
    file.insert(file.end(), p, end);
    return file;
  }
  auto take = [&](size_t count, size_t block) {
    size_t n = std::min<size_t>(count, end - p);
    file.insert(file.end(), p, p + n);
    file.resize(file.size() + block - n, 0);
    p += n;
  };
  const int32_t pages = static_cast<int32_t>(Get32(data + 5));
  const size_t tableBytes = pages > 0 ? std::min<size_t>(static_cast<size_t>(pages) * 16, end - p) : 0;
  take(tableBytes, tableBytes);
  for (int sound = 0; sound < MAX_COMPACT_SOUNDS && p < end; ++sound) {
    take(SHORT_NAME, NAME);
    const uint8_t* record = p;
    take(SHORT_RECORD, RECORD);
    if (record + SHORT_RECORD > end) break;
    const uint64_t tail = uint64_t{Get32(record + 4)} + uint64_t{Get32(record + 8)} * FILE_RECORD;
    take(std::min<uint64_t>(tail, end - p), 0);
  }
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Path = StartModuleOnce("base", 1) + "Sounds.qorSound";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> file = Expand(data, size);
  WriteBytes(Path, file.data(), file.size());
  ToolMode = file.size() % 2;

  qorSound_LoadBase();
  if (qorSound_SaveBase() != S_OK) std::abort();
  const std::vector<uint8_t> first = ReadBytes(Path);
  const size_t hash = std::hash<std::string_view>()(
      std::string_view(reinterpret_cast<const char*>(first.data()), first.size()));
  if (Checked.count(hash)) return 0;
  ToolMode = 1;
  if (qorSound_LoadBase() != S_OK) std::abort();
  if (qorSound_SaveBase() != S_OK) std::abort();
  if (ReadBytes(Path) != first) std::abort();
  if (Checked.size() < 1000000) Checked.insert(hash);
  return 0;
}
