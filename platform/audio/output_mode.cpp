#include "audio/output_mode.h"

#include <strings.h>

#include <atomic>

#include "kxHost.h"

namespace kxaudio {
namespace {
std::atomic<OutputMode> g_mode{OutputMode::Device};
}

OutputMode CurrentOutputMode() { return g_mode.load(std::memory_order_relaxed); }

}  // namespace kxaudio

extern "C" KX_EXPORT int32_t kxHost_SetAudioOutput(const char* mode) {
  using kxaudio::OutputMode;
  if (!mode) return -1;
  static const struct {
    const char* name;
    OutputMode mode;
  } kModes[] = {{"device", OutputMode::Device},
                {"null", OutputMode::Null},
                {"offline", OutputMode::Offline},
                {"none", OutputMode::None}};
  for (const auto& m : kModes) {
    if (strcasecmp(mode, m.name) == 0) {
      kxaudio::g_mode.store(m.mode, std::memory_order_relaxed);
      return 0;
    }
  }
  return -1;
}
