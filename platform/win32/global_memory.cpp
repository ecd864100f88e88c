#include "win32/global_memory.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// The handle is the block header; the locked address is just behind it.
struct alignas(std::max_align_t) BlockHeader {
  size_t Size;
  uint32_t LockCount;
};

BlockHeader* HeaderOf(HGLOBAL memory) { return static_cast<BlockHeader*>(memory); }

}  // namespace

HGLOBAL GlobalAlloc(UINT flags, size_t bytes) {
  if (bytes == 0 || bytes > SIZE_MAX - sizeof(BlockHeader)) return nullptr;
  void* raw = (flags & GMEM_ZEROINIT) ? std::calloc(1, sizeof(BlockHeader) + bytes)
                                      : std::malloc(sizeof(BlockHeader) + bytes);
  if (!raw) return nullptr;
  BlockHeader* header = new (raw) BlockHeader{bytes, 0};
  return header;
}

void* GlobalLock(HGLOBAL memory) {
  if (!memory) return nullptr;
  BlockHeader* header = HeaderOf(memory);
  header->LockCount++;
  return header + 1;
}

BOOL GlobalUnlock(HGLOBAL memory) {
  if (!memory) return FALSE;
  BlockHeader* header = HeaderOf(memory);
  if (header->LockCount > 0) header->LockCount--;
  return header->LockCount != 0;
}

HGLOBAL GlobalHandle(const void* address) {
  if (!address) return nullptr;
  return const_cast<BlockHeader*>(static_cast<const BlockHeader*>(address) - 1);
}

HGLOBAL GlobalFree(HGLOBAL memory) {
  std::free(memory);
  return nullptr;
}

size_t GlobalSize(HGLOBAL memory) { return memory ? HeaderOf(memory)->Size : 0; }
