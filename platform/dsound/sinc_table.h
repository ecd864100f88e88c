// Windowed-sinc interpolation for voices played away from their own pitch (frequency changes,
// doppler). A voice at its own pitch reads its converted frames one for one and never comes
// here. The filter's stopband starts where the first unwanted copy does: the images of the
// voice's content, or, when a raised pitch would carry content past the output's Nyquist, that
// Nyquist. Tables are kept for cutoffs on a grid of 1/64 cycle per frame.
#ifndef KX_PLATFORM_DSOUND_SINC_TABLE_H
#define KX_PLATFORM_DSOUND_SINC_TABLE_H

#include <stddef.h>
#include <stdint.h>

#include <vector>

namespace kxdsound {

class SincTable {
public:
  static constexpr int kTaps = 32;        // frames read around the position
  static constexpr int kBefore = 15;      // of them before it
  static constexpr int kPhases = 128;     // fractions tabulated, interpolated between

  // The table for a 32.32 step (frames of the voice per output frame) over content that reaches
  // up to content cycles per frame.
  static const SincTable& For(uint64_t step, double content);

  // Coefficients for a fraction (the low 32 bits of a position), written to kTaps floats.
  void Kernel(uint32_t fraction, float* out) const {
    const uint32_t index = fraction >> (32 - 7);  // 7 bits: kPhases
    const float mix = static_cast<float>(fraction & ((1u << 25) - 1)) * (1.0f / (1u << 25));
    const float* a = &coefficients_[size_t{index} * kTaps];
    const float* b = a + kTaps;
    for (int t = 0; t < kTaps; ++t) out[t] = a[t] + mix * (b[t] - a[t]);
  }

private:
  explicit SincTable(double cutoff);
  std::vector<float> coefficients_;  // (kPhases + 1) rows of kTaps
};

}  // namespace kxdsound

#endif
