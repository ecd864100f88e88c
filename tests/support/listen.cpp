#include "listen.h"

#include <algorithm>
#include <cmath>

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

Capture Listen(uint32_t milliseconds, int device, uint32_t step) { return ListenFrames(milliseconds, nullptr, device, step); }

void DropCapture(int device) {
  Capture ignored;
  Take(device, ignored);
}

double Decibels(double a, double b) { return 20.0 * std::log10(a / b); }
