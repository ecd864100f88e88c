// The sound of a scene rendered offline: what the effects and the music outputs captured,
// each at its own rate, resampled to one rate and mixed into one stereo stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class WavWriter;

class CaptureMixer {
public:
  static constexpr uint32_t kRate = 44100;

  // Takes what both outputs rendered since the last call and passes the part that both
  // have reached to sink; a null sink drops it.
  bool Drain(WavWriter* sink);
  // At the end: the rest, the shorter output padded with silence.
  bool Flush(WavWriter* sink);

  uint64_t Frames() const { return frames_; }
  float Peak() const { return peak_; }

private:
  // One output, resampled linearly to kRate as it arrives.
  struct Input {
    uint32_t Rate = 0;
    float PrevL = 0, PrevR = 0;
    double Phase = 0;  // position between the previous input frame and the next, in input frames
    std::vector<float> Pending;  // stereo at kRate, not yet mixed
  };
  void Pull(int device);
  bool Emit(size_t frames, WavWriter* sink);

  Input inputs_[2];
  std::vector<float> take_, mix_;
  uint64_t frames_ = 0;
  float peak_ = 0;
};
