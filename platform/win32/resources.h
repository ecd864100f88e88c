// Win32 resources: data a module carries, found by id and type. A module declares
// its resources at load with kxResource_Register, as a resource section would.
#ifndef KX_PLATFORM_RESOURCES_H
#define KX_PLATFORM_RESOURCES_H

#include <stdint.h>

#include "kxSoundWin32.h"

typedef struct ResourceInfo* HRSRC;
typedef void* HGLOBAL;

#define MAKEINTRESOURCEA(id) ((const char*)(uintptr_t)(id))

extern "C" {
KX_EXPORT void kxResource_Register(HMODULE module, uint32_t id, const char* type, const void* data, uint32_t size);
// name: MAKEINTRESOURCEA(id). Types compare without regard to case.
KX_EXPORT HRSRC FindResourceA(HMODULE module, const char* name, const char* type);
KX_EXPORT HGLOBAL LoadResource(HMODULE module, HRSRC resource);
KX_EXPORT void* LockResource(HGLOBAL loaded);
KX_EXPORT DWORD SizeofResource(HMODULE module, HRSRC resource);
}

#endif
