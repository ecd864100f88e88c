// The engine modules the sound module imports: kxFileIO, kxKernel and kxObj.
// A real engine supplies its own; libkxEngine is a stand-in complete enough
// for the tool, the demo and the tests.
#ifndef KX_ENGINE_H
#define KX_ENGINE_H

#include "kxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- kxFileIO ----
// Writes the root folder, ending in '/', into folder (256 bytes). second may be null.
KX_EXPORT LONG qorFileIO_GetFolder(char* folder, char* second);
// Win32 CreateFile shape. Backslashes become slashes and every path component is
// matched without regard to case. CREATE_ALWAYS writes beside the old file, which
// is replaced only when the handle is closed after every write succeeded.
KX_EXPORT HANDLE qorCreateFile(const char* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                               DWORD creation, DWORD flags, HANDLE templateFile);
KX_EXPORT BOOL qorReadFile(HANDLE file, void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped);
KX_EXPORT BOOL qorWriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped);
KX_EXPORT DWORD qorGetFileSize(HANDLE file, DWORD* high);
KX_EXPORT BOOL qorCloseHandle(HANDLE file);

// ---- kxKernel ----
typedef LONG (*QOR_CONSOLE_HANDLER)(ULONG id, int argc, char** argv);
// parameters: the most a line may carry; optional: how many of the last ones may be left out.
KX_EXPORT LONG qorConsole_RegisterCommand(const char* group, const char* name, int parameters,
                                          QOR_CONSOLE_HANDLER handler, ULONG id, int optional, int reserved);
KX_EXPORT LONG qorConsole_Print(const char* format, ...) __attribute__((format(printf, 1, 2)));
KX_EXPORT ULONG qorTimer_GetSystemTick(void);
KX_EXPORT ULONG qorTimer_GetSystemDeltaTicks(void);
// 0..32767
KX_EXPORT ULONG qorRandom_Rand(void);
KX_EXPORT LONG qorKernel_DrawDebugText(float x, float y, ULONG colour, const char* text);
KX_EXPORT int qorTune_CreateKey(const char* name);

// ---- kxObj ----
KX_EXPORT LONG qorQObj_AllocVar(const char* name, LONG value);
KX_EXPORT LONG qorQObj_GetVar(LONG handle);
KX_EXPORT void qorQObj_SetVar(LONG handle, LONG value);

#ifdef __cplusplus
}
#endif

#endif
