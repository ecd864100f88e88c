#include "gaudio/resampler.h"

#include <soxr.h>

#include <algorithm>

namespace gaudio {
namespace {

// Decoded frames fed to the converter at a time: about an MP3 frame or two.
constexpr size_t kInputFrames = 2048;

}  // namespace

std::unique_ptr<Resampler> Resampler::Create(Mp3Decoder& decoder, uint32_t rate) {
  if (rate == 0 || decoder.Rate() == 0) return nullptr;
  std::unique_ptr<Resampler> made(new Resampler(decoder, rate));
  made->input_.resize(kInputFrames * 2);
  if (decoder.Rate() == rate) return made;
  soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_FLOAT32_I);
  soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  made->soxr_ = soxr_create(decoder.Rate(), rate, 2, &error, &io, &quality, &runtime);
  if (error || !made->soxr_) return nullptr;
  return made;
}

Resampler::~Resampler() {
  if (soxr_) soxr_delete(soxr_);
}

size_t Resampler::Read(float* stereo, size_t frames) { return soxr_ ? Convert(stereo, frames) : Copy(stereo, frames); }

size_t Resampler::Copy(float* stereo, size_t frames) {
  size_t have = 0;
  while (have < frames) {
    size_t got = decoder_.Read(input_.data(), std::min(frames - have, kInputFrames));
    for (size_t i = 0; i < got * 2; ++i) stereo[have * 2 + i] = input_[i] * (1.0f / 32768);
    have += got;
    if (got == 0) break;
  }
  return have;
}

size_t Resampler::Convert(float* stereo, size_t frames) {
  size_t have = 0;
  while (have < frames) {
    if (inputUsed_ == inputFrames_ && !inputEnded_) {
      inputFrames_ = decoder_.Read(input_.data(), kInputFrames);
      inputUsed_ = 0;
      inputEnded_ = inputFrames_ == 0;
    }
    size_t used = 0, made = 0;
    // After the last input a null input drains what the filter still holds.
    const int16_t* in = inputEnded_ ? nullptr : input_.data() + inputUsed_ * 2;
    if (soxr_process(soxr_, in, inputFrames_ - inputUsed_, &used, stereo + have * 2, frames - have, &made)) break;
    inputUsed_ += used;
    have += made;
    if (inputEnded_ && made == 0) break;
  }
  return have;
}

bool Resampler::Rewind() {
  if (!decoder_.Rewind()) return false;
  if (soxr_) soxr_clear(soxr_);
  inputFrames_ = inputUsed_ = 0;
  inputEnded_ = false;
  return true;
}

}  // namespace gaudio
