// Win32-shaped scalar types shared by the module, the platform and the engine.
// The module's interfaces were drawn with 32-bit long; on LP64 Linux a C++ long
// is 64 bits, so every such type is pinned to a fixed width here.
#ifndef KX_TYPES_H
#define KX_TYPES_H

#include <stdint.h>

typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int32_t BOOL;
typedef int32_t HRESULT;
typedef uint32_t UINT;
typedef void* HANDLE;
typedef void* HWND;
typedef void* HMODULE;
typedef void* HINSTANCE;

#define S_OK ((HRESULT)0)
#define E_FAIL ((HRESULT)0x80004005u)

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)

// Access and creation values taken by qorCreateFile.
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define TRUNCATE_EXISTING 5u
#define FILE_ATTRIBUTE_NORMAL 0x80u

typedef struct _SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES;
typedef struct _OVERLAPPED OVERLAPPED;

#if defined(__GNUC__)
#define KX_EXPORT __attribute__((visibility("default")))
#else
#define KX_EXPORT
#endif

#endif
