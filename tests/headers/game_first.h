// A game includes its own headers first, and they claim the Win32 names for themselves: X11's
// Xmd.h makes BOOL and BYTE unsigned char, other engines have a BOOL or a CREATE_NEW of their
// own. The public headers that follow must neither redefine those names nor rely on them.
#ifndef KX_TEST_GAME_FIRST_H
#define KX_TEST_GAME_FIRST_H

#ifdef KX_TEST_WITH_X11
#include <X11/Xlib.h>
#include <X11/Xmd.h>
#else
#ifdef __cplusplus
typedef bool BOOL;
#else
typedef _Bool BOOL;
#endif
typedef long LONG;
typedef unsigned long ULONG;
typedef unsigned long DWORD;
typedef struct GameWindow* HWND;
typedef struct GameFile* HANDLE;
typedef double HRESULT;
#endif
enum { CREATE_NEW = 3, CREATE_ALWAYS, OPEN_EXISTING, GENERIC_READ, S_OK, E_FAIL, INVALID_HANDLE_VALUE };

#include "kxEngine.h"
#include "kxHost.h"
#include "kxPath.h"
#include "kxTypes.h"
#ifdef __cplusplus
#include "kxSound.h"
#endif

#if defined(TRUE) || defined(FALSE) || defined(LONG) || defined(DWORD) || defined(BOOL) || defined(HANDLE) || \
    defined(SECURITY_ATTRIBUTES) || defined(OVERLAPPED) || defined(FILE_ATTRIBUTE_NORMAL) || \
    defined(GENERIC_WRITE) || defined(OPEN_ALWAYS) || defined(TRUNCATE_EXISTING)
#error a public header defines a Win32 name
#endif

#endif
