// The sound of a scene rendered offline: what the effects and the music outputs captured, both
// at the rate the outputs mix at, added into one stereo stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class WavWriter;

class CaptureMixer {
public:
  // Takes what both outputs rendered since the last call and passes the part that both have
  // reached to sink; a null sink drops it. False when the sink fails or an output's rate is
  // not the sink's (Error() tells which).
  bool Drain(WavWriter* sink);
  // At the end: the rest, the shorter output padded with silence.
  bool Flush(WavWriter* sink);

  uint64_t Frames() const { return frames_; }
  const std::string& Error() const { return error_; }

private:
  void Pull(int device);
  bool Emit(size_t frames, WavWriter* sink);

  struct Input {
    uint32_t Rate = 0;
    std::vector<float> Pending;  // stereo, not yet mixed
  };
  Input inputs_[2];
  std::vector<float> take_, mix_;
  uint64_t frames_ = 0;
  std::string error_;
};
