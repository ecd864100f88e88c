#include "base/global_block.h"

#include "win32/global_memory.h"

void* AllocGlobalBlock(size_t bytes) {
  if (bytes == 0) return nullptr;
  return GlobalLock(GlobalAlloc(GHND, bytes));
}

void FreeGlobalBlock(void* address) {
  if (!address) return;
  GlobalUnlock(GlobalHandle(address));
  GlobalFree(GlobalHandle(address));
}
