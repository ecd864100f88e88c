// The opt-in diagnostics: a sentence for every failure and every surprising success,
// sent to the host's sink when it registered one. Without a sink nothing is formatted,
// nothing is allocated, and no result changes.
#ifndef KXSOUND_CORE_DIAGNOSTICS_H
#define KXSOUND_CORE_DIAGNOSTICS_H

#include <cstddef>

#include "core/state.h"
#include "kxSound.h"

// True when a host listens: guards work done only to word a diagnostic.
inline bool DiagnosticsWanted() { return DiagnosticSink != nullptr; }

// Formats into a buffer on the stack and calls the sink. A diagnostic raised while the
// sink runs (the sink called back into the module) is dropped, and so is anything the
// sink throws.
void Diagnose(int code, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Tells the sink that a call was turned away for the system's state, and which.
void DiagnoseGate(const char* operation);

// The gates of the exported operations. Each gives what the plain test gives and tells
// the sink which call was turned away and why. Inline: they stand on every play.
inline bool GateInitialized(const char* operation) {
  if (SystemInitialized) return true;
  DiagnoseGate(operation);
  return false;
}
inline bool GateRunning(const char* operation) {
  if (Running()) return true;
  DiagnoseGate(operation);
  return false;
}

// "unknown sound ..." with the nearest names of the catalogue.
void DiagnoseUnknownSound(const char* name);
// Writes the up to three catalogue names nearest to name, quoted and comma separated,
// into out; empty when none is near.
void NearestSoundNames(const char* name, char* out, size_t size);

// A path as the file layer will look for it: case resolved, slashes for backslashes.
void DisplayPath(const char* path, char* out, size_t size);

#endif
