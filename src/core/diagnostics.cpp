#include "core/diagnostics.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "audio/device_failure.h"
#include "base/catalogue.h"
#include "base/text.h"
#include "core/state.h"
#include "kxPath.h"

KXSOUND_DIAGNOSTIC_SINK DiagnosticSink = nullptr;

namespace {

void* DiagnosticUser = nullptr;
bool InSink = false;

constexpr int NEAREST_COUNT = 3;

// Edit distance of a and b with A-Z folded, or limit + 1 once it is sure to exceed
// limit. Only a band of 2 × limit + 1 cells per row can stay within it, so a large
// catalogue costs little more than a walk of the names.
int BoundedDistance(const char* a, size_t la, const char* b, size_t lb, int limit) {
  int gap = static_cast<int>(la > lb ? la - lb : lb - la);
  if (gap > limit) return limit + 1;
  const int far = limit + 1;
  int previous[NAME_SIZE + 1];
  int current[NAME_SIZE + 1];
  for (size_t j = 0; j <= lb; ++j) current[j] = far;
  for (size_t j = 0; j <= lb; ++j) previous[j] = static_cast<int>(j) <= limit ? static_cast<int>(j) : far;
  for (size_t i = 1; i <= la; ++i) {
    size_t from = i > static_cast<size_t>(limit) ? i - limit : 1;
    size_t to = i + limit < lb ? i + limit : lb;
    current[0] = static_cast<int>(i) <= limit ? static_cast<int>(i) : far;
    if (from > 1) current[from - 1] = far;
    int best = current[0];
    for (size_t j = from; j <= to; ++j) {
      int substitute = previous[j - 1] + (FoldAscii(a[i - 1]) == FoldAscii(b[j - 1]) ? 0 : 1);
      int erase = previous[j] + 1;
      int insert = current[j - 1] + 1;
      int cell = substitute < erase ? substitute : erase;
      if (insert < cell) cell = insert;
      current[j] = cell > far ? far : cell;
      if (current[j] < best) best = current[j];
    }
    if (to < lb) current[to + 1] = far;
    if (best > limit) return far;
    std::memcpy(previous, current, sizeof(int) * (lb + 1));
  }
  return previous[lb] > limit ? far : previous[lb];
}

}  // namespace

void ResetDiagnosticsState() {
  DiagnosticSink = nullptr;
  DiagnosticUser = nullptr;
  InSink = false;
}

void kxSound_SetDiagnosticSink(KXSOUND_DIAGNOSTIC_SINK sink, void* user) {
  DiagnosticSink = sink;
  DiagnosticUser = user;
  // With a sink, a sound card that does not open is told there, by qorSound_Initialize,
  // instead of on standard error.
  kxaudio::DeviceFailureReporter quiet = [](const char*, void*) {};
  kxaudio::SetDeviceFailureReporter(sink ? quiet : nullptr, nullptr);
}

void Diagnose(int code, const char* format, ...) {
  KXSOUND_DIAGNOSTIC_SINK sink = DiagnosticSink;
  if (!sink || InSink) return;
  char text[1024];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  InSink = true;
  try {
    sink(code, text, DiagnosticUser);
  } catch (...) {
  }
  InSink = false;
}

void DiagnoseGate(const char* operation) {
  if (!SystemInitialized) {
    Diagnose(KXSOUND_DIAG_NOT_INITIALIZED, "the system is not initialised: %s fails", operation);
  } else if (!SoundEnabled) {
    Diagnose(KXSOUND_DIAG_SOUND_DISABLED, "sound is switched off (qorSound_Enable(0)): %s fails", operation);
  }
}

void NearestSoundNames(const char* name, char* out, size_t size) {
  out[0] = 0;
  if (!name) return;
  size_t length = BoundedLength(name, NAME_SIZE - 1);
  const int limit = length <= 3 ? 1 : (length <= 8 ? 2 : 3);
  const SoundEntry* best[NEAREST_COUNT] = {};
  int distance[NEAREST_COUNT] = {};
  int found = 0;
  for (const SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) {
    int d = BoundedDistance(name, length, entry->Name, BoundedLength(entry->Name, NAME_SIZE - 1), limit);
    if (d > limit) continue;
    // Keep the nearest few, the earlier entry first among equals.
    int at = found < NEAREST_COUNT ? found : NEAREST_COUNT;
    while (at > 0 && distance[at - 1] > d) --at;
    if (at >= NEAREST_COUNT) continue;
    for (int k = (found < NEAREST_COUNT ? found : NEAREST_COUNT - 1); k > at; --k) {
      best[k] = best[k - 1];
      distance[k] = distance[k - 1];
    }
    best[at] = entry;
    distance[at] = d;
    if (found < NEAREST_COUNT) ++found;
  }
  size_t used = 0;
  for (int i = 0; i < found && used < size; ++i) {
    int n = std::snprintf(out + used, size - used, "%s\"%s\"", i ? ", " : "", best[i]->Name);
    if (n < 0) break;
    used += static_cast<size_t>(n);
  }
}

void DiagnoseUnknownSound(const char* name) {
  if (!DiagnosticsWanted()) return;
  if (!name) {
    Diagnose(KXSOUND_DIAG_UNKNOWN_SOUND, "unknown sound: the name is null");
    return;
  }
  char nearest[3 * (NAME_SIZE + 4)];
  NearestSoundNames(name, nearest, sizeof nearest);
  if (nearest[0]) {
    Diagnose(KXSOUND_DIAG_UNKNOWN_SOUND, "unknown sound \"%s\" (nearest: %s)", name, nearest);
  } else if (!SoundList) {
    Diagnose(KXSOUND_DIAG_UNKNOWN_SOUND, "unknown sound \"%s\" (the catalogue is empty)", name);
  } else {
    Diagnose(KXSOUND_DIAG_UNKNOWN_SOUND, "unknown sound \"%s\" (no name of the %d in the catalogue is near it)", name,
             SoundList->Count());
  }
}

void DisplayPath(const char* path, char* out, size_t size) {
  if (kxPath_Resolve(path, out, size) != 0) CopyTruncated(out, size, path);
}
