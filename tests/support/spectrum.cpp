#include "spectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

constexpr int kGuardBins = 8;  // the window's main lobe is 4 bins each side

struct Spectrum {
  std::vector<double> power;  // per bin
  double binHz = 0;
};

void Fft(std::vector<std::complex<double>>& a) {
  const size_t n = a.size();
  for (size_t i = 1, j = 0; i < n; ++i) {
    size_t bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(a[i], a[j]);
  }
  for (size_t len = 2; len <= n; len <<= 1) {
    const std::complex<double> w = std::polar(1.0, -2 * M_PI / static_cast<double>(len));
    for (size_t i = 0; i < n; i += len) {
      std::complex<double> wk(1);
      for (size_t k = 0; k < len / 2; ++k, wk *= w) {
        std::complex<double> u = a[i + k], v = a[i + k + len / 2] * wk;
        a[i + k] = u + v;
        a[i + k + len / 2] = u - v;
      }
    }
  }
}

Spectrum Analyse(const std::vector<float>& samples, uint32_t rate) {
  size_t n = 1;
  while (n * 2 <= samples.size()) n *= 2;
  std::vector<std::complex<double>> a(n);
  double windowSum = 0;
  for (size_t i = 0; i < n; ++i) {
    const double x = 2 * M_PI * static_cast<double>(i) / static_cast<double>(n);
    const double w = 0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) - 0.01168 * std::cos(3 * x);
    windowSum += w;
    a[i] = samples[i] * w;
  }
  Fft(a);
  Spectrum s;
  s.binHz = static_cast<double>(rate) / static_cast<double>(n);
  s.power.resize(n / 2);
  // Scaled so that a full-scale sine peaks at 1.
  for (size_t k = 0; k < n / 2; ++k) s.power[k] = std::norm(a[k] * (2.0 / windowSum));
  return s;
}

double PeakNear(const Spectrum& s, double hz) {
  const long centre = std::lround(hz / s.binHz);
  double peak = 0;
  for (long k = centre - kGuardBins; k <= centre + kGuardBins; ++k)
    if (k >= 0 && k < static_cast<long>(s.power.size())) peak = std::max(peak, s.power[k]);
  return peak;
}

}  // namespace

double WorstSpuriousDb(const std::vector<float>& samples, uint32_t rate, const std::vector<double>& tonesHz) {
  const Spectrum s = Analyse(samples, rate);
  double signal = 0;
  for (double hz : tonesHz) signal = std::max(signal, PeakNear(s, hz));
  double worst = 1e-30;
  const size_t low = static_cast<size_t>(20 / s.binHz) + 1;
  for (size_t k = low; k < s.power.size(); ++k) {
    bool near = false;
    for (double hz : tonesHz) near = near || std::fabs(static_cast<double>(k) - hz / s.binHz) <= kGuardBins;
    if (!near) worst = std::max(worst, s.power[k]);
  }
  return 10 * std::log10(worst / signal);
}

double ToneDb(const std::vector<float>& samples, uint32_t rate, double hz) {
  return 10 * std::log10(PeakNear(Analyse(samples, rate), hz));
}

double LargestStep(const std::vector<float>& samples, size_t from, size_t to) {
  double largest = 0;
  for (size_t i = std::max<size_t>(from, 1); i < std::min(to, samples.size()); ++i)
    largest = std::max(largest, static_cast<double>(std::fabs(samples[i] - samples[i - 1])));
  return largest;
}
