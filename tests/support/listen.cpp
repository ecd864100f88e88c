#include "listen.h"

#include <algorithm>
#include <cmath>
#include <complex>

#include "kxHost.h"

namespace {

double RmsOf(const std::vector<float>& samples, uint32_t rate, double from, double to) {
  size_t begin = static_cast<size_t>(std::max(0.0, from) * rate);
  size_t end = std::min(samples.size(), static_cast<size_t>(std::min(to, 1e6) * rate));
  if (begin >= end) return 0;
  double sum = 0;
  for (size_t i = begin; i < end; ++i) sum += static_cast<double>(samples[i]) * samples[i];
  return std::sqrt(sum / static_cast<double>(end - begin));
}

void Take(int device, Capture& capture) {
  float frames[2 * 4096];
  uint32_t got;
  while ((got = kxHost_TakeCapture(device, frames, 4096)) > 0) {
    for (uint32_t i = 0; i < got; ++i) {
      capture.Left.push_back(frames[2 * i]);
      capture.Right.push_back(frames[2 * i + 1]);
    }
  }
}

}  // namespace

double Capture::RmsLeft(double from, double to) const { return RmsOf(Left, Rate, from, to); }
double Capture::RmsRight(double from, double to) const { return RmsOf(Right, Rate, from, to); }
double Capture::Rms(double from, double to) const {
  double l = RmsLeft(from, to), r = RmsRight(from, to);
  return std::sqrt((l * l + r * r) / 2);
}

double Capture::LastSound(double threshold) const {
  for (size_t i = Left.size(); i-- > 0;) {
    if (std::fabs(Left[i]) > threshold || std::fabs(Right[i]) > threshold) return static_cast<double>(i + 1) / Rate;
  }
  return 0;
}

double Capture::Hz(double from, double to) const {
  size_t begin = static_cast<size_t>(from * Rate), end = std::min(Left.size(), static_cast<size_t>(to * Rate));
  int crossings = 0;
  for (size_t i = begin + 1; i < end; ++i) crossings += (Left[i - 1] < 0) != (Left[i] < 0);
  return crossings / (2.0 * (to - from));
}

Capture ListenFrames(uint32_t milliseconds, void (*frame)(), int device, uint32_t step) {
  Capture capture;
  capture.Rate = kxHost_CaptureRate(device);
  for (uint32_t done = 0; done < milliseconds; done += step) {
    kxHost_Advance(std::min(step, milliseconds - done));
    Take(device, capture);
    if (frame) frame();
  }
  return capture;
}

Capture Listen(uint32_t milliseconds, int device, uint32_t step) {
  return ListenFrames(milliseconds, nullptr, device, step);
}

void DropCapture(int device) {
  Capture ignored;
  Take(device, ignored);
}

double Decibels(double a, double b) { return 20.0 * std::log10(a / b); }

Capture ReadWav(const std::string& b) {
  auto get = [&b](size_t at, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | static_cast<uint8_t>(b[at + i]);
    return v;
  };
  Capture sound;
  if (b.size() < 44 || b.compare(0, 4, "RIFF") || b.compare(8, 8, "WAVEfmt ") || b.compare(36, 4, "data")) return sound;
  const uint32_t rate = get(24, 4);
  if (get(4, 4) != b.size() - 8 || get(40, 4) != b.size() - 44 || get(16, 4) != 16 || get(20, 2) != 1 ||
      get(22, 2) != 2 || get(32, 2) != 4 || get(34, 2) != 16 || get(28, 4) != rate * 4)
    return sound;
  sound.Rate = rate;
  for (size_t at = 44; at + 4 <= b.size(); at += 4) {
    sound.Left.push_back(static_cast<int16_t>(get(at, 2)) / 32768.0f);
    sound.Right.push_back(static_cast<int16_t>(get(at + 2, 2)) / 32768.0f);
  }
  return sound;
}

namespace {

// Main lobe of the 4-term Blackman-Harris window: 4 bins either side of the centre.
constexpr size_t kLobeBins = 4;

void Fft(std::vector<std::complex<double>>& x) {
  const size_t n = x.size();
  for (size_t i = 1, j = 0; i < n; ++i) {
    size_t bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(x[i], x[j]);
  }
  for (size_t len = 2; len <= n; len <<= 1) {
    const std::complex<double> step = std::polar(1.0, -2 * M_PI / static_cast<double>(len));
    for (size_t i = 0; i < n; i += len) {
      std::complex<double> w = 1;
      for (size_t k = 0; k < len / 2; ++k, w *= step) {
        std::complex<double> a = x[i + k], b = x[i + k + len / 2] * w;
        x[i + k] = a + b;
        x[i + k + len / 2] = a - b;
      }
    }
  }
}

}  // namespace

Spectrum::Spectrum(const std::vector<float>& samples, uint32_t rate) {
  size_t n = 1;
  while (n * 2 <= samples.size()) n *= 2;
  if (n < 64) return;
  std::vector<std::complex<double>> x(n);
  double windowPower = 0;
  for (size_t i = 0; i < n; ++i) {
    double t = 2 * M_PI * static_cast<double>(i) / static_cast<double>(n);
    double w = 0.35875 - 0.48829 * std::cos(t) + 0.14128 * std::cos(2 * t) - 0.01168 * std::cos(3 * t);
    x[i] = w * samples[i];
    windowPower += w * w;
  }
  Fft(x);
  binHz_ = static_cast<double>(rate) / static_cast<double>(n);
  power_.resize(n / 2 + 1);
  // Scaled so that the bins of a tone's lobe add up to its mean square (one side of the spectrum).
  for (size_t k = 0; k < power_.size(); ++k) power_[k] = 2 * std::norm(x[k]) / (windowPower * static_cast<double>(n));
}

size_t Spectrum::Bin(double hz) const {
  double k = std::round(hz / binHz_);
  return std::min(power_.size() - 1, k > 0 ? static_cast<size_t>(k) : size_t{0});
}

double Spectrum::ToneRms(double hz) const {
  if (power_.empty()) return 0;
  size_t centre = Bin(hz), from = centre > kLobeBins ? centre - kLobeBins : 0;
  double sum = 0;
  for (size_t k = from; k <= centre + kLobeBins && k < power_.size(); ++k) sum += power_[k];
  return std::sqrt(sum);
}

double Spectrum::PeakHz() const {
  if (power_.size() < 3) return 0;
  size_t k = static_cast<size_t>(std::max_element(power_.begin() + 1, power_.end() - 1) - power_.begin());
  // Parabola through the log powers of the peak and its neighbours.
  double a = std::log(power_[k - 1] + 1e-300), b = std::log(power_[k] + 1e-300), c = std::log(power_[k + 1] + 1e-300);
  double denominator = a - 2 * b + c;
  double offset = denominator == 0 ? 0 : 0.5 * (a - c) / denominator;
  return (static_cast<double>(k) + offset) * binHz_;
}

double Spectrum::WorstSpuriousDb(const std::vector<double>& tonesHz) const {
  if (power_.empty()) return 0;
  // One bin of slack for a tone that sits between bins.
  const size_t lobe = kLobeBins + 1;
  auto inLobe = [&](size_t k, double hz) {
    size_t centre = Bin(hz);
    return k + lobe >= centre && k <= centre + lobe;
  };
  double tone = 0, worst = 0;
  for (size_t k = 0; k < power_.size(); ++k) {
    bool near = false;
    for (double hz : tonesHz) near = near || inLobe(k, hz);
    if (near)
      tone = std::max(tone, power_[k]);
    else
      worst = std::max(worst, power_[k]);
  }
  return 10 * std::log10((worst + 1e-300) / (tone + 1e-300));
}

double LargestStep(const std::vector<float>& samples) {
  double largest = 0;
  for (size_t i = 1; i < samples.size(); ++i)
    largest = std::max(largest, static_cast<double>(std::fabs(samples[i] - samples[i - 1])));
  return largest;
}
