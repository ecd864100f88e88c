#include "scene_mixer.h"

#include <algorithm>
#include <cmath>

#include "kxHost.h"
#include "wav_writer.h"

namespace {
constexpr uint32_t kTakeFrames = 4096;
}

void CaptureMixer::Pull(int device) {
  Input& in = inputs_[device];
  uint32_t rate = kxHost_CaptureRate(device);
  if (rate != in.Rate) {
    // A new rate restarts the capture: start the interpolation afresh too.
    in.Rate = rate;
    in.PrevL = in.PrevR = 0;
    in.Phase = 0;
  }
  if (rate == 0) return;
  take_.resize(size_t{kTakeFrames} * 2);
  const double step = static_cast<double>(rate) / kRate;
  for (;;) {
    uint32_t got = kxHost_TakeCapture(device, take_.data(), kTakeFrames);
    if (got == 0) break;
    if (rate == kRate) {
      in.Pending.insert(in.Pending.end(), take_.begin(), take_.begin() + size_t{got} * 2);
      continue;
    }
    for (uint32_t i = 0; i < got; ++i) {
      float l = take_[size_t{i} * 2], r = take_[size_t{i} * 2 + 1];
      while (in.Phase < 1.0) {
        float t = static_cast<float>(in.Phase);
        in.Pending.push_back(in.PrevL + (l - in.PrevL) * t);
        in.Pending.push_back(in.PrevR + (r - in.PrevR) * t);
        in.Phase += step;
      }
      in.Phase -= 1.0;
      in.PrevL = l;
      in.PrevR = r;
    }
  }
}

bool CaptureMixer::Emit(size_t frames, WavWriter* sink) {
  if (frames == 0) return true;
  mix_.assign(frames * 2, 0.0f);
  for (Input& in : inputs_) {
    size_t have = std::min(frames * 2, in.Pending.size());
    for (size_t i = 0; i < have; ++i) mix_[i] += in.Pending[i];
    in.Pending.erase(in.Pending.begin(), in.Pending.begin() + static_cast<std::ptrdiff_t>(have));
  }
  for (float s : mix_) peak_ = std::max(peak_, std::fabs(s));
  frames_ += frames;
  return !sink || sink->Append(mix_.data(), frames);
}

bool CaptureMixer::Drain(WavWriter* sink) {
  size_t least = SIZE_MAX, most = 0;
  for (int d = 0; d < 2; ++d) {
    Pull(d);
    if (inputs_[d].Rate == 0) continue;
    least = std::min(least, inputs_[d].Pending.size() / 2);
    most = std::max(most, inputs_[d].Pending.size() / 2);
  }
  if (least == SIZE_MAX) return true;
  // An output that has stopped rendering must not hold back the other for long.
  return Emit(most > kRate ? most : least, sink);
}

bool CaptureMixer::Flush(WavWriter* sink) {
  if (!Drain(sink)) return false;
  size_t most = std::max(inputs_[0].Pending.size(), inputs_[1].Pending.size()) / 2;
  return Emit(most, sink);
}
