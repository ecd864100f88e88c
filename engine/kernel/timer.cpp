// The engine clock: monotonic time, or a manual clock moved only by the host.
#include <time.h>

#include <algorithm>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

struct Listener {
  KX_ADVANCE_LISTENER fn;
  void* context;
  bool operator==(const Listener& o) const { return fn == o.fn && context == o.context; }
};

constexpr ULONG kManualStart = 1000;

bool g_manual = false;
ULONG g_manualNow = kManualStart;
ULONG g_manualDelta = 0;
ULONG g_lastFrame = 0;
ULONG g_realDelta = 0;
bool g_framed = false;

std::vector<Listener>& listeners() {
  static std::vector<Listener> list;
  return list;
}

ULONG monotonicMs() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  uint64_t ms = static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
  // The module treats a zero tick as "never", so skip it even across the 32-bit wrap.
  ULONG tick = static_cast<ULONG>(ms + kManualStart);
  return tick ? tick : 1;
}

}  // namespace

extern "C" {

KX_EXPORT ULONG qorTimer_GetSystemTick(void) { return g_manual ? g_manualNow : monotonicMs(); }

KX_EXPORT ULONG qorTimer_GetSystemDeltaTicks(void) { return g_manual ? g_manualDelta : g_realDelta; }

// Switching on (again) restarts the manual clock, so every run starts from the same tick.
KX_EXPORT void kxHost_SetManualClock(int manual) {
  g_manual = manual != 0;
  if (g_manual) {
    g_manualNow = kManualStart;
    g_manualDelta = 0;
  }
}

KX_EXPORT void kxHost_Advance(uint32_t milliseconds) {
  if (g_manual) {
    g_manualNow += milliseconds;
    g_manualDelta = milliseconds;
  }
  // Walk a snapshot, but skip listeners removed by an earlier one during this pass:
  // their context may already be gone.
  std::vector<Listener> snapshot = listeners();
  for (const Listener& l : snapshot) {
    const auto& live = listeners();
    if (std::find(live.begin(), live.end(), l) != live.end()) l.fn(milliseconds, l.context);
  }
}

KX_EXPORT void kxHost_BeginFrame(void) {
  ULONG now = monotonicMs();
  g_realDelta = g_framed ? now - g_lastFrame : 0;
  g_lastFrame = now;
  g_framed = true;
}

KX_EXPORT void kxHost_AddAdvanceListener(KX_ADVANCE_LISTENER listener, void* context) {
  if (!listener) return;
  Listener l{listener, context};
  auto& list = listeners();
  if (std::find(list.begin(), list.end(), l) == list.end()) list.push_back(l);
}

KX_EXPORT void kxHost_RemoveAdvanceListener(KX_ADVANCE_LISTENER listener, void* context) {
  auto& list = listeners();
  list.erase(std::remove(list.begin(), list.end(), Listener{listener, context}), list.end());
}

}  // extern "C"
