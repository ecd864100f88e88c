// Debug texts the module draws each frame, kept for the host to show or check.
#include <cstring>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

constexpr std::size_t kTextSize = 256;
// A host that never clears must not grow without bound.
constexpr std::size_t kMaxEntries = 4096;

struct DebugText {
  float x, y;
  ULONG colour;
  char text[kTextSize];
};

std::vector<DebugText>& texts() {
  static std::vector<DebugText> list;
  return list;
}

}  // namespace

extern "C" {

// -1 when the text was dropped (null, or the list is full).
KX_EXPORT LONG qorKernel_DrawDebugText(float x, float y, ULONG colour, const char* text) {
  auto& list = texts();
  if (!text || list.size() >= kMaxEntries) return -1;
  DebugText t{x, y, colour, {}};
  std::size_t n = strnlen(text, kTextSize - 1);
  std::memcpy(t.text, text, n);
  t.text[n] = '\0';
  list.push_back(t);
  return 0;
}

KX_EXPORT int kxHost_DebugTextCount(void) { return static_cast<int>(texts().size()); }

KX_EXPORT int32_t kxHost_GetDebugText(int index, float* x, float* y, uint32_t* colour, char* text) {
  const auto& list = texts();
  if (index < 0 || static_cast<std::size_t>(index) >= list.size()) return -1;
  const DebugText& t = list[static_cast<std::size_t>(index)];
  if (x) *x = t.x;
  if (y) *y = t.y;
  if (colour) *colour = t.colour;
  if (text) std::memcpy(text, t.text, std::strlen(t.text) + 1);
  return 0;
}

KX_EXPORT void kxHost_ClearDebugText(void) { texts().clear(); }

}  // extern "C"
