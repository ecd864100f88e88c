#include "module_seam.h"

#include "kxSound.h"

// Weak references: bound when the loaded kxSound library exports them, null otherwise. Once
// kxSound.h declares the two functions, this file shrinks to returning them.
KXSOUND_API void kxSound_SetDiagnosticSink(DiagnosticSink sink, void* user) __attribute__((weak));
KXSOUND_API int32_t kxSound_Why(const char* name, LineSink out, void* user) __attribute__((weak));

ModuleDiagnostics FindModuleDiagnostics() {
  ModuleDiagnostics found;
  found.SetSink = kxSound_SetDiagnosticSink;
  found.Why = kxSound_Why;
  return found;
}
