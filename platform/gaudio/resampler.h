// Music at the output's rate: what an MP3 decoder gives at the file's own rate, converted with
// libsoxr's band-limited resampler into float stereo at the rate the output mixes at. Linear
// phase, flat to 0.91 of the lower Nyquist frequency, images and aliases 120 dB down, and no
// delay: the first frame out is the first frame of the file.
#ifndef KX_PLATFORM_GAUDIO_RESAMPLER_H
#define KX_PLATFORM_GAUDIO_RESAMPLER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gaudio/mp3_decoder.h"

struct soxr;

namespace gaudio {

class Resampler {
public:
  // Reads from decoder, which must outlive it. Null when libsoxr refuses the rates.
  static std::unique_ptr<Resampler> Create(Mp3Decoder& decoder, uint32_t rate);
  ~Resampler();
  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;

  uint32_t Rate() const { return rate_; }
  // Up to frames stereo frames; fewer only at the end of the file, then 0.
  size_t Read(float* stereo, size_t frames);
  // Back to the first sample of the file. False when the decoder cannot seek.
  bool Rewind();

private:
  Resampler(Mp3Decoder& decoder, uint32_t rate) : decoder_(decoder), rate_(rate) {}
  size_t Convert(float* stereo, size_t frames);
  size_t Copy(float* stereo, size_t frames);

  Mp3Decoder& decoder_;
  const uint32_t rate_;
  soxr* soxr_ = nullptr;  // null when the file is at the output's rate already
  std::vector<int16_t> input_;
  size_t inputFrames_ = 0, inputUsed_ = 0;
  bool inputEnded_ = false;
};

}  // namespace gaudio

#endif
