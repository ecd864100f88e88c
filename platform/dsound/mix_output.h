// Carries the mixer's output to the effects output: one OpenAL source with direct channels at
// the output's own rate, so OpenAL neither resamples nor pans it. On the offline and null
// outputs each piece is mixed just before the output renders it; on a sound card a thread of
// its own keeps a few milliseconds queued.
#ifndef KX_PLATFORM_DSOUND_MIX_OUTPUT_H
#define KX_PLATFORM_DSOUND_MIX_OUTPUT_H

#include <stdint.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "audio/openal.h"
#include "audio/output_device.h"

namespace kxdsound {

class Mixer;

class MixOutput {
public:
  // Null when OpenAL refuses the source or its buffers.
  static std::unique_ptr<MixOutput> Start(kxaudio::OutputDevice& output, Mixer& mixer);
  ~MixOutput();
  MixOutput(const MixOutput&) = delete;
  MixOutput& operator=(const MixOutput&) = delete;

private:
  static constexpr size_t kBuffers = 6;
  static constexpr uint32_t kDeviceMs = 10;  // a piece on a sound card; three are kept queued

  MixOutput(kxaudio::OutputDevice& output, Mixer& mixer) : output_(output), mixer_(mixer) {}
  static void OnRender(uint32_t frames, void* self);
  // Mixes frames and queues them; false when no buffer is free. Context current.
  bool Feed(uint32_t frames);
  void Reclaim();
  void RunDevice();

  kxaudio::OutputDevice& output_;
  Mixer& mixer_;
  ALuint source_ = 0;
  std::array<ALuint, kBuffers> buffers_{};
  std::vector<ALuint> free_;
  std::vector<float> scratch_;
  std::thread feeder_;
  std::atomic<bool> stop_{false};
};

}  // namespace kxdsound

#endif
