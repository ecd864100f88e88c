#include "diagnostics.h"

#include <cstdio>
#include <vector>

#include "module_seam.h"

namespace diagnostics {
namespace {

bool g_print = false;
int g_muted = 0;
bool g_holding = false;
std::vector<std::string> g_held;
std::string g_place;
int g_failures = 0;
std::string g_lastFailure;

// Diagnostics of calls that succeed all the same (a 3D play dropped beyond its maximum
// distance, a path with forward slashes, a level stored but not heard, a master volume read
// before it was set, a frame that does not move) are no failures of a scene. kxSound.h names
// their codes; until the tool is built against those names every diagnostic counts.
bool IsFailure(int) { return true; }

void Emit(const std::string& text) {
  std::string line = "kxsound: " + (g_place.empty() ? text : g_place + ": " + text);
  if (g_holding) {
    g_held.push_back(std::move(line));
  } else {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

void OnDiagnostic(int code, const char* text, void*) {
  if (g_muted > 0 || !text) return;
  if (IsFailure(code)) {
    ++g_failures;
    g_lastFailure = text;
  }
  if (g_print) Emit(text);
}

}  // namespace

void Start(bool print, bool watch) {
  g_print = print;
  g_failures = 0;
  g_lastFailure.clear();
  ModuleDiagnostics module = FindModuleDiagnostics();
  if (module.SetSink) module.SetSink(print || watch ? OnDiagnostic : nullptr, nullptr);
}

void Stop() {
  ModuleDiagnostics module = FindModuleDiagnostics();
  if (module.SetSink) module.SetSink(nullptr, nullptr);
  Release();
  g_print = false;
}

void Note(const std::string& text) {
  if (g_print) Emit(text);
}

void SetPlace(const std::string& place) { g_place = place; }

void Hold() { g_holding = true; }

void Release() {
  g_holding = false;
  for (const std::string& line : g_held) std::fprintf(stderr, "%s\n", line.c_str());
  g_held.clear();
}

bool Printing() { return g_print; }

int Failures() { return g_failures; }
std::string LastFailure() { return g_lastFailure; }

Mute::Mute() { ++g_muted; }
Mute::~Mute() { --g_muted; }

}  // namespace diagnostics
