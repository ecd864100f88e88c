#include "dsound/sinc_table.h"

#include <cmath>
#include <algorithm>

namespace kxdsound {
namespace {

constexpr int kGrid = 64;           // cutoffs in steps of 1/64 cycle per frame
constexpr int kBuckets = 48;        // up to 0.75
constexpr double kBeta = 7.0;       // Kaiser window: side lobes near -70 dB
constexpr double kHalfBand = 0.065; // half the transition band of 32 taps at that beta, in cycles per frame

double BesselI0(double x) {
  double sum = 1, term = 1;
  for (int k = 1; k < 40; ++k) {
    term *= (x / (2 * k)) * (x / (2 * k));
    sum += term;
  }
  return sum;
}

double CutoffFor(double step, double content) {
  const double nyquist = 0.5 / step;  // of the output, in cycles per frame of the voice
  const double stop = nyquist >= content ? 1.0 - content : nyquist;
  return stop - kHalfBand;
}

}  // namespace

SincTable::SincTable(double cutoff) : coefficients_(size_t{kPhases + 1} * kTaps) {
  const double norm = BesselI0(kBeta);
  const double half = kTaps / 2.0;
  for (int p = 0; p <= kPhases; ++p) {
    const double fraction = static_cast<double>(p) / kPhases;
    double sum = 0;
    float* row = &coefficients_[size_t(p) * kTaps];
    for (int t = 0; t < kTaps; ++t) {
      const double x = t - kBefore - fraction;  // distance of the tap from the position
      const double r = x / half;
      const double window = std::fabs(r) >= 1 ? 0 : BesselI0(kBeta * std::sqrt(1 - r * r)) / norm;
      const double arg = 2 * cutoff * x;
      const double sinc = std::fabs(arg) < 1e-12 ? 1 : std::sin(M_PI * arg) / (M_PI * arg);
      row[t] = static_cast<float>(2 * cutoff * sinc * window);
      sum += row[t];
    }
    // Unity gain at DC for every phase, so a slow pitch glide does not ripple the level.
    for (int t = 0; t < kTaps; ++t) row[t] = static_cast<float>(row[t] / sum);
  }
}

const SincTable& SincTable::For(uint64_t step, double content) {
  static const std::vector<SincTable> tables = [] {
    std::vector<SincTable> made;
    made.reserve(kBuckets);
    for (int b = 1; b <= kBuckets; ++b) made.push_back(SincTable(static_cast<double>(b) / kGrid));
    return made;
  }();
  const double cutoff = CutoffFor(static_cast<double>(step) / 4294967296.0, content);
  // Down to the grid, so that the stopband never starts later than it should.
  const int bucket = std::clamp(static_cast<int>(cutoff * kGrid), 1, kBuckets);
  return tables[bucket - 1];
}

}  // namespace kxdsound
