#include "audio/capture.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

#include "kxHost.h"

namespace kxaudio {
namespace {

// Interleaved stereo floats; frames before head_ were taken or dropped.
class Capture {
public:
  void Restart(uint32_t rate) {
    rate_ = rate;
    samples_.clear();
    head_ = 0;
  }

  void Append(const float* stereo, uint32_t frames) {
    samples_.insert(samples_.end(), stereo, stereo + size_t{frames} * 2);
    size_t limit = size_t{kCaptureSeconds} * rate_ * 2;
    if (samples_.size() - head_ > limit) head_ = samples_.size() - limit;
    Compact();
  }

  uint32_t Take(float* stereo, uint32_t maxFrames) {
    size_t frames = std::min<size_t>(maxFrames, (samples_.size() - head_) / 2);
    if (stereo && frames) std::memcpy(stereo, samples_.data() + head_, frames * 2 * sizeof(float));
    head_ += frames * 2;
    Compact();
    return static_cast<uint32_t>(frames);
  }

  uint32_t Rate() const { return rate_; }

private:
  // Moves the unread part to the front once the dead part is the larger one.
  void Compact() {
    if (head_ == samples_.size()) {
      samples_.clear();
      head_ = 0;
    } else if (head_ > samples_.size() / 2) {
      samples_.erase(samples_.begin(), samples_.begin() + static_cast<ptrdiff_t>(head_));
      head_ = 0;
    }
  }

  uint32_t rate_ = 0;
  std::vector<float> samples_;
  size_t head_ = 0;
};

std::mutex g_lock;
Capture g_captures[kOutputCount];

bool Valid(int index) { return index >= 0 && index < kOutputCount; }

}  // namespace

void RestartCapture(int index, uint32_t rate) {
  if (!Valid(index)) return;
  std::lock_guard<std::mutex> hold(g_lock);
  g_captures[index].Restart(rate);
}

void AppendCapture(int index, const float* stereo, uint32_t frames) {
  if (!Valid(index) || !frames) return;
  std::lock_guard<std::mutex> hold(g_lock);
  g_captures[index].Append(stereo, frames);
}

}  // namespace kxaudio

extern "C" {

// stereo null drops up to maxFrames.
KX_EXPORT uint32_t kxHost_TakeCapture(int device, float* stereo, uint32_t maxFrames) {
  if (!kxaudio::Valid(device)) return 0;
  std::lock_guard<std::mutex> hold(kxaudio::g_lock);
  return kxaudio::g_captures[device].Take(stereo, maxFrames);
}

KX_EXPORT uint32_t kxHost_CaptureRate(int device) {
  if (!kxaudio::Valid(device)) return 0;
  std::lock_guard<std::mutex> hold(kxaudio::g_lock);
  return kxaudio::g_captures[device].Rate();
}

}  // extern "C"
