// The Win32 names the module and its platform layer were written with, for code ported from
// Windows. Include it beside kxSound.h or kxEngine.h; those headers never include it, so a
// game whose own headers (X11's Xmd.h, its own BOOL or CREATE_NEW) claim these names is not
// affected. The values equal the headers' own names: E_FAIL is KXSOUND_FAIL, CREATE_NEW is
// KX_CREATE_NEW, SECURITY_ATTRIBUTES is KX_SECURITY_ATTRIBUTES, and so on.
#ifndef KX_SOUND_WIN32_H
#define KX_SOUND_WIN32_H

#include "kxTypes.h"

// 32 bits wide as on Windows, whatever the width of long.
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

typedef struct KX_SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES;
typedef struct KX_OVERLAPPED OVERLAPPED;

#endif
