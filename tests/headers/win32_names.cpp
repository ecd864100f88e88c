// Code ported from Windows gets the Win32 names from kxSoundWin32.h, and they mean what the
// public headers' own names mean: the same values and the same function types, so that such
// code calls the exports as before.
#include <type_traits>

#include "kxEngine.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

static_assert(sizeof(LONG) == 4 && sizeof(ULONG) == 4 && sizeof(DWORD) == 4, "32-bit long");
static_assert(E_FAIL == KXSOUND_FAIL && S_OK == KXSOUND_OK, "one failure code");
static_assert(E_FAIL == static_cast<HRESULT>(0x80004005u) && E_FAIL < 0, "E_FAIL");
static_assert(GENERIC_READ == KX_GENERIC_READ && GENERIC_WRITE == KX_GENERIC_WRITE, "access");
static_assert(CREATE_NEW == KX_CREATE_NEW && CREATE_ALWAYS == KX_CREATE_ALWAYS && OPEN_EXISTING == KX_OPEN_EXISTING &&
                  OPEN_ALWAYS == KX_OPEN_ALWAYS && TRUNCATE_EXISTING == KX_TRUNCATE_EXISTING &&
                  FILE_ATTRIBUTE_NORMAL == KX_FILE_ATTRIBUTE_NORMAL,
              "creation");

template <typename F>
constexpr bool Is(F) {
  return true;
}
// Each assignment compiles only when the export has exactly the Win32-shaped type.
static_assert(Is<HANDLE (*)(const char*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE)>(&qorCreateFile), "");
static_assert(Is<BOOL (*)(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*)>(&qorReadFile), "");
static_assert(Is<LONG (*)(HWND, int)>(&qorSound_Initialize), "");
static_assert(Is<LONG (*)(const char*, const void*, int)>(&qorSound_PlaySound), "");
static_assert(Is<void* (*)(void*, void**, ULONG)>(&qorSound_QueryStream), "");
static_assert(Is<LONG (*)(const char*, ULONG&, int&, int&, int&, int&)>(&qorSound_GetFileInfo), "");
static_assert(Is<void (*)(ULONG)>(&qorSound_SetLatency), "");
static_assert(Is<LONG (*)(ULONG, int, char**)>(QOR_CONSOLE_HANDLER{}), "");

int main() { return INVALID_HANDLE_VALUE == KX_INVALID_HANDLE ? 0 : 1; }
