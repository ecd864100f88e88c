// The engine modules the sound module imports: kxFileIO, kxKernel and kxObj.
// A real engine supplies its own; libkxEngine is a stand-in complete enough
// for the tool, the demo and the tests.
#ifndef KX_ENGINE_H
#define KX_ENGINE_H

#include "kxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// Access and creation values taken by qorCreateFile, as the Win32 call numbers them.
#define KX_GENERIC_READ 0x80000000u
#define KX_GENERIC_WRITE 0x40000000u
#define KX_CREATE_NEW 1u
#define KX_CREATE_ALWAYS 2u
#define KX_OPEN_EXISTING 3u
#define KX_OPEN_ALWAYS 4u
#define KX_TRUNCATE_EXISTING 5u
#define KX_FILE_ATTRIBUTE_NORMAL 0x80u
// What qorCreateFile gives when it cannot open: all bits set.
#define KX_INVALID_HANDLE ((void*)(intptr_t)-1)
// Never looked at: the file layer is given null for both.
typedef struct KX_SECURITY_ATTRIBUTES KX_SECURITY_ATTRIBUTES;
typedef struct KX_OVERLAPPED KX_OVERLAPPED;

// ---- kxFileIO ----
// Writes the root folder, ending in '/', into folder (256 bytes). second may be null.
KX_EXPORT int32_t qorFileIO_GetFolder(char* folder, char* second);
// Win32 CreateFile shape. Backslashes become slashes and every path component is
// matched without regard to case. KX_CREATE_ALWAYS writes beside the old file, which
// is replaced only when the handle is closed after every write succeeded.
KX_EXPORT void* qorCreateFile(const char* path, uint32_t access, uint32_t share, KX_SECURITY_ATTRIBUTES* security,
                              uint32_t creation, uint32_t flags, void* templateFile);
KX_EXPORT int32_t qorReadFile(void* file, void* buffer, uint32_t count, uint32_t* done, KX_OVERLAPPED* overlapped);
KX_EXPORT int32_t qorWriteFile(void* file, const void* buffer, uint32_t count, uint32_t* done,
                               KX_OVERLAPPED* overlapped);
KX_EXPORT uint32_t qorGetFileSize(void* file, uint32_t* high);
KX_EXPORT int32_t qorCloseHandle(void* file);

// ---- kxKernel ----
typedef int32_t (*QOR_CONSOLE_HANDLER)(uint32_t id, int argc, char** argv);
// parameters: the most a line may carry; optional: how many of the last ones may be left out.
KX_EXPORT int32_t qorConsole_RegisterCommand(const char* group, const char* name, int parameters,
                                             QOR_CONSOLE_HANDLER handler, uint32_t id, int optional, int reserved);
KX_EXPORT int32_t qorConsole_Print(const char* format, ...) __attribute__((format(printf, 1, 2)));
KX_EXPORT uint32_t qorTimer_GetSystemTick(void);
KX_EXPORT uint32_t qorTimer_GetSystemDeltaTicks(void);
// 0..32767
KX_EXPORT uint32_t qorRandom_Rand(void);
KX_EXPORT int32_t qorKernel_DrawDebugText(float x, float y, uint32_t colour, const char* text);
KX_EXPORT int qorTune_CreateKey(const char* name);

// ---- kxObj ----
KX_EXPORT int32_t qorQObj_AllocVar(const char* name, int32_t value);
KX_EXPORT int32_t qorQObj_GetVar(int32_t handle);
KX_EXPORT void qorQObj_SetVar(int32_t handle, int32_t value);

#ifdef __cplusplus
}
#endif

#endif
