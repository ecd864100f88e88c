// What the public headers share: fixed widths and the export attribute, nothing more.
// The module's interface was drawn with a 32-bit long; on LP64 Linux a C++ long is 64 bits,
// so its results and flags are int32_t and uint32_t here. Code ported from Windows that wants
// the Win32 names (LONG, DWORD, BOOL, E_FAIL, ...) includes kxSoundWin32.h as well.
#ifndef KX_TYPES_H
#define KX_TYPES_H

#include <stdint.h>

#if defined(__GNUC__)
#define KX_EXPORT __attribute__((visibility("default")))
#else
#define KX_EXPORT
#endif

#endif
