// Deterministic random numbers, with a queue so tests can dictate the next values.
#include <deque>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

constexpr uint32_t kDefaultSeed = 1;

uint32_t g_state = kDefaultSeed;

// Built when the library loads: a deque allocates as it is made, and the first draw may
// come from a game's first play.
std::deque<uint32_t> g_queue;

std::deque<uint32_t>& queue() { return g_queue; }

}  // namespace

extern "C" {

// Queued values come back exactly as given, even outside 0..32767.
KX_EXPORT ULONG qorRandom_Rand(void) {
  auto& q = queue();
  if (!q.empty()) {
    uint32_t v = q.front();
    q.pop_front();
    return v;
  }
  // The classic rand() LCG; its high bits are the well-mixed ones.
  g_state = g_state * 214013u + 2531011u;
  return (g_state >> 16) & 0x7FFFu;
}

KX_EXPORT void kxHost_QueueRandom(uint32_t value) { queue().push_back(value); }

KX_EXPORT void kxHost_SeedRandom(uint32_t seed) {
  g_state = seed;
  queue().clear();
}

}  // extern "C"
