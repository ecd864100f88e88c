// Win32 global memory: moveable blocks reached through a handle and locked for an address.
// Blocks never move here; the handle/address pair exists so callers read as on Windows.
#ifndef KX_PLATFORM_GLOBAL_MEMORY_H
#define KX_PLATFORM_GLOBAL_MEMORY_H

#include <stddef.h>
#include "kxSoundWin32.h"

typedef void* HGLOBAL;

#define GMEM_FIXED 0x0000u
#define GMEM_MOVEABLE 0x0002u
#define GMEM_ZEROINIT 0x0040u
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

extern "C" {
// Null for a size of 0 or when memory runs out.
KX_EXPORT HGLOBAL GlobalAlloc(UINT flags, size_t bytes);
KX_EXPORT void* GlobalLock(HGLOBAL memory);
KX_EXPORT BOOL GlobalUnlock(HGLOBAL memory);
// The handle of a block from its locked address; null for null.
KX_EXPORT HGLOBAL GlobalHandle(const void* address);
// Null on success, as on Windows.
KX_EXPORT HGLOBAL GlobalFree(HGLOBAL memory);
KX_EXPORT size_t GlobalSize(HGLOBAL memory);
}

#endif
