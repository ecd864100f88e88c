// The module's diagnostics exports, as the tool reaches them: through this one place, so that
// the tool also runs on a kxSound library that has none (both pointers null then).
#pragma once

#include <cstdint>

using DiagnosticSink = void (*)(int code, const char* text, void* user);
using LineSink = void (*)(const char* line, void* user);

struct ModuleDiagnostics {
  void (*SetSink)(DiagnosticSink sink, void* user) = nullptr;
  int32_t (*Why)(const char* name, LineSink out, void* user) = nullptr;
};

ModuleDiagnostics FindModuleDiagnostics();
