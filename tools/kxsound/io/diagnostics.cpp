#include "io/diagnostics.h"

#include <cstdio>
#include <vector>

#include "kxSound.h"

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
// before it was set, a frame that does not move) are no failures of a scene.
bool IsFailure(int code) { return code < KXSOUND_DIAG_NOTICE; }

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
  kxSound_SetDiagnosticSink(print || watch ? OnDiagnostic : nullptr, nullptr);
}

void Stop() {
  kxSound_SetDiagnosticSink(nullptr, nullptr);
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
