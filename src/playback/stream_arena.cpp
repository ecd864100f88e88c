#include "playback/stream_arena.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define KX_ARENA_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_ARENA_ASAN 1
#endif
#endif
#ifdef KX_ARENA_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// A block is a header with one live bit per slot, then the slots. Blocks are used in
// address order and a freed slot is never handed out again.
constexpr size_t BLOCK_SIZE = 4096;
constexpr size_t HEADER_SIZE = 16;
constexpr size_t SLOTS_PER_BLOCK = (BLOCK_SIZE - HEADER_SIZE) / STREAM_SLOT_SIZE;
static_assert(SLOTS_PER_BLOCK >= 1 && SLOTS_PER_BLOCK <= 64, "the live bits fit one word");
static_assert(STREAM_SLOT_SIZE % 16 == 0 && HEADER_SIZE % 16 == 0, "slots stay aligned");

struct BlockHeader {
  uint64_t Live;
};

// Address space is reserved without memory behind it and made usable in steps as the
// blocks advance; a new region is reserved only when one is used up.
constexpr size_t REGION_SIZES[] = {size_t{1} << 36, size_t{1} << 32, size_t{1} << 28, size_t{1} << 24};
constexpr size_t COMMIT_STEP = 256 * 1024;
constexpr int MAX_REGIONS = 64;

struct Region {
  uintptr_t Base;
  size_t Size;
  size_t Committed;
};

Region regions[MAX_REGIONS];
int regionCount = 0;
// The block slots are taken from, and the index of its next slot.
uintptr_t cursorBlock = 0;
size_t nextSlot = SLOTS_PER_BLOCK;

BlockHeader* HeaderOf(uintptr_t block) { return reinterpret_cast<BlockHeader*>(block); }

size_t PageSize() {
  static const size_t size = [] {
    long page = sysconf(_SC_PAGESIZE);
    return page > 0 ? static_cast<size_t>(page) : BLOCK_SIZE;
  }();
  return size;
}

Region* Reserve() {
  if (regionCount == MAX_REGIONS) return nullptr;
  for (size_t size : REGION_SIZES) {
    void* base = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (base == MAP_FAILED) continue;
#ifdef KX_ARENA_ASAN
    // Streams hold buffers from the heap: the leak checker must see these pointers.
    __lsan_register_root_region(base, size);
#endif
    regions[regionCount] = {reinterpret_cast<uintptr_t>(base), size, 0};
    return &regions[regionCount++];
  }
  return nullptr;
}

// Gives back the memory of a block whose slots have all been freed, once no slot will
// come from its page again. The addresses stay reserved.
void ReleaseIfDead(uintptr_t block) {
  const size_t page = PageSize();
  const uintptr_t first = block & ~(page - 1);
  if (cursorBlock >= first && cursorBlock < first + page) return;
  for (uintptr_t other = first; other < first + page; other += BLOCK_SIZE) {
    if (HeaderOf(other)->Live != 0) return;
  }
  madvise(reinterpret_cast<void*>(first), page, MADV_DONTNEED);
}

bool OpenBlock() {
  Region* region = regionCount ? &regions[regionCount - 1] : nullptr;
  uintptr_t next = cursorBlock ? cursorBlock + BLOCK_SIZE : 0;
  const bool spent = region && region->Committed != 0 && (next < region->Base || next >= region->Base + region->Size);
  if (!region || spent) {
    if (!(region = Reserve())) return false;
  }
  if (region->Committed == 0) next = region->Base;
  if (next + BLOCK_SIZE > region->Base + region->Committed) {
    size_t step = region->Size - region->Committed < COMMIT_STEP ? region->Size - region->Committed : COMMIT_STEP;
    if (mprotect(reinterpret_cast<void*>(region->Base + region->Committed), step, PROT_READ | PROT_WRITE) != 0) {
      return false;
    }
    region->Committed += step;
  }
  uintptr_t previous = cursorBlock;
  cursorBlock = next;
  nextSlot = 0;
  if (previous && HeaderOf(previous)->Live == 0) ReleaseIfDead(previous);
  return true;
}

}  // namespace

void* StreamArena_Allocate() {
  if (nextSlot == SLOTS_PER_BLOCK && !OpenBlock()) return nullptr;
  HeaderOf(cursorBlock)->Live |= uint64_t{1} << nextSlot;
  void* slot = reinterpret_cast<void*>(cursorBlock + HEADER_SIZE + nextSlot * STREAM_SLOT_SIZE);
  ++nextSlot;
#ifdef KX_ARENA_ASAN
  ASAN_UNPOISON_MEMORY_REGION(slot, STREAM_SLOT_SIZE);
#endif
  return slot;
}

void StreamArena_Free(void* slot) {
  if (!slot) return;
  const uintptr_t address = reinterpret_cast<uintptr_t>(slot);
  const uintptr_t block = address & ~(BLOCK_SIZE - 1);
  HeaderOf(block)->Live &= ~(uint64_t{1} << ((address - block - HEADER_SIZE) / STREAM_SLOT_SIZE));
#ifdef KX_ARENA_ASAN
  // A freed stream stays unreadable, so a use after its end is reported.
  ASAN_POISON_MEMORY_REGION(slot, STREAM_SLOT_SIZE);
#endif
  if (HeaderOf(block)->Live == 0 && block != cursorBlock) ReleaseIfDead(block);
}

bool StreamArena_IsLive(const void* address) {
  const uintptr_t at = reinterpret_cast<uintptr_t>(address);
  for (int i = 0; i < regionCount; ++i) {
    const Region& region = regions[i];
    if (at < region.Base || at >= region.Base + region.Committed) continue;
    const uintptr_t block = at & ~(BLOCK_SIZE - 1);
    const size_t offset = at - block;
    if (offset < HEADER_SIZE || (offset - HEADER_SIZE) % STREAM_SLOT_SIZE != 0) return false;
    const size_t index = (offset - HEADER_SIZE) / STREAM_SLOT_SIZE;
    return index < SLOTS_PER_BLOCK && (HeaderOf(block)->Live >> index & 1) != 0;
  }
  return false;
}
