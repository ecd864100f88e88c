#include "scene/scene_mixer.h"

#include <algorithm>

#include "kxHost.h"
#include "io/wav_writer.h"

namespace {
constexpr uint32_t kTakeFrames = 4096;
}

void CaptureMixer::Pull(int device) {
  Input& in = inputs_[device];
  in.Rate = kxHost_CaptureRate(device);
  if (in.Rate == 0) return;
  take_.resize(size_t{kTakeFrames} * 2);
  for (;;) {
    uint32_t got = kxHost_TakeCapture(device, take_.data(), kTakeFrames);
    if (got == 0) break;
    in.Pending.insert(in.Pending.end(), take_.begin(), take_.begin() + size_t{got} * 2);
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
  frames_ += frames;
  return !sink || sink->Append(mix_.data(), frames);
}

bool CaptureMixer::Drain(WavWriter* sink) {
  size_t least = SIZE_MAX, most = 0, second = 0;
  for (int d = 0; d < 2; ++d) {
    Pull(d);
    const Input& in = inputs_[d];
    if (in.Rate == 0) continue;
    // The outputs mix at one rate; a file at another would play at the wrong speed.
    if (sink && in.Rate != sink->Rate()) {
      error_ = "the " + std::string(d == 0 ? "effects" : "music") + " output mixes at " + std::to_string(in.Rate) +
               " Hz, not at the file's " + std::to_string(sink->Rate()) + " Hz";
      return false;
    }
    second = in.Rate;
    least = std::min(least, in.Pending.size() / 2);
    most = std::max(most, in.Pending.size() / 2);
  }
  if (least == SIZE_MAX) return true;
  // An output that has stopped rendering must not hold back the other for long.
  if (!Emit(most > second ? most : least, sink)) {
    error_ = sink->Error();
    return false;
  }
  return true;
}

bool CaptureMixer::Flush(WavWriter* sink) {
  if (!Drain(sink)) return false;
  size_t most = std::max(inputs_[0].Pending.size(), inputs_[1].Pending.size()) / 2;
  if (!Emit(most, sink)) {
    error_ = sink->Error();
    return false;
  }
  return true;
}
