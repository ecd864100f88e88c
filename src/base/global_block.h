// Variable-sized blocks of the sound base (comments, file arrays, stream chains)
// come from the platform's global memory, zero-filled.
#ifndef KXSOUND_BASE_GLOBAL_BLOCK_H
#define KXSOUND_BASE_GLOBAL_BLOCK_H

#include <cstddef>

// Zero-filled block of bytes; null for 0 bytes or when memory runs out.
void* AllocGlobalBlock(size_t bytes);
// Frees a block from AllocGlobalBlock; null does nothing.
void FreeGlobalBlock(void* address);

template <typename T>
void FreeGlobalField(T*& field) {
  FreeGlobalBlock(field);
  field = nullptr;
}

#endif
