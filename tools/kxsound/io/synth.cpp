#include "io/synth.h"

#include <algorithm>
#include <cmath>

namespace synth {
namespace {

constexpr double kTurn = 6.283185307179586;

// Its own noise, so the files never depend on the engine's random numbers.
class Noise {
public:
  explicit Noise(uint32_t seed) : state_(seed) {}
  float Next() {
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<float>(state_ >> 8) / 8388608.0f - 1.0f;
  }

private:
  uint32_t state_;
};

std::vector<float> Silence(double seconds) { return std::vector<float>(static_cast<size_t>(seconds * kRate), 0.0f); }

// A sine that dies away, added at start seconds.
void AddDecay(std::vector<float>& out, double start, double hz, double amplitude, double tau) {
  size_t first = static_cast<size_t>(start * kRate);
  for (size_t i = first; i < out.size(); ++i) {
    double t = static_cast<double>(i - first) / kRate;
    if (t > tau * 8) break;
    out[i] += static_cast<float>(amplitude * std::exp(-t / tau) * std::sin(kTurn * hz * t));
  }
}

// A burst of low-passed noise that dies away; smooth: 0 (raw) to nearly 1 (dull).
void AddBurst(std::vector<float>& out, double start, double amplitude, double tau, double smooth, Noise& noise) {
  size_t first = static_cast<size_t>(start * kRate);
  double low = 0;
  for (size_t i = first; i < out.size(); ++i) {
    double t = static_cast<double>(i - first) / kRate;
    if (t > tau * 8) break;
    low = smooth * low + (1 - smooth) * noise.Next();
    out[i] += static_cast<float>(amplitude * std::exp(-t / tau) * low);
  }
}

// Scales to a peak, and fades the first and last few milliseconds against clicks.
void Finish(std::vector<float>& out, float peak, double fadeSeconds = 0.004) {
  float most = 0;
  for (float s : out) most = std::max(most, std::fabs(s));
  if (most > 0)
    for (float& s : out) s *= peak / most;
  size_t fade = std::min(out.size() / 2, static_cast<size_t>(fadeSeconds * kRate));
  for (size_t i = 0; i < fade; ++i) {
    float g = static_cast<float>(i) / static_cast<float>(fade);
    out[i] *= g;
    out[out.size() - 1 - i] *= g;
  }
}

}  // namespace

std::vector<float> DoorKnock() {
  std::vector<float> out = Silence(0.9);
  Noise noise(11);
  for (double at : {0.0, 0.21, 0.42}) {
    AddDecay(out, at, 140, 0.8, 0.035);
    AddDecay(out, at, 410, 0.4, 0.018);
    AddBurst(out, at, 0.5, 0.006, 0.5, noise);
  }
  Finish(out, 0.8f);
  return out;
}

std::vector<float> DoorCreak() {
  // Stick and slip: a train of clicks whose rate wanders, each ringing two wooden modes.
  std::vector<float> out = Silence(1.4);
  Noise noise(23);
  double phase = 0;
  // Two-pole resonators: y = 2 r cos(w) y1 - r^2 y2 + x.
  struct Mode {
    double a1, a2, y1 = 0, y2 = 0;
  } modes[2];
  const double hz[2] = {720, 1310}, tau[2] = {0.012, 0.007};
  for (int m = 0; m < 2; ++m) {
    double r = std::exp(-1.0 / (tau[m] * kRate));
    modes[m].a1 = 2 * r * std::cos(kTurn * hz[m] / kRate);
    modes[m].a2 = -r * r;
  }
  for (size_t i = 0; i < out.size(); ++i) {
    double t = static_cast<double>(i) / kRate;
    double rate = 28 + 70 * std::sin(kTurn * 0.45 * t) * std::sin(kTurn * 0.45 * t) + 6 * noise.Next();
    phase += rate / kRate;
    double kick = 0;
    if (phase >= 1) {
      phase -= 1;
      kick = 1;
    }
    double envelope = std::sin(3.14159265 * t / 1.4);
    double sum = 0;
    for (Mode& m : modes) {
      double y = m.a1 * m.y1 + m.a2 * m.y2 + kick;
      m.y2 = m.y1;
      m.y1 = y;
      sum += y;
    }
    out[i] = static_cast<float>(sum * envelope);
  }
  Finish(out, 0.7f);
  return out;
}

std::vector<float> Footstep(int variant) {
  std::vector<float> out = Silence(0.3);
  Noise noise(37 + static_cast<uint32_t>(variant));
  double pitch = 70 + 12 * variant;
  // The heel, then the sole.
  AddDecay(out, 0.0, pitch, 0.8, 0.03);
  AddBurst(out, 0.0, 0.6, 0.02, 0.55 + 0.1 * variant, noise);
  AddDecay(out, 0.065, pitch * 1.3, 0.35, 0.02);
  AddBurst(out, 0.065, 0.4, 0.03, 0.7, noise);
  Finish(out, 0.75f);
  return out;
}

std::vector<float> BirdSong() {
  std::vector<float> out = Silence(1.3);
  struct Chirp {
    double Start, Length, From, To;
  };
  const Chirp chirps[] = {{0.00, 0.09, 2600, 4300}, {0.14, 0.09, 2700, 4400}, {0.28, 0.12, 4200, 2900},
                          {0.62, 0.06, 3000, 3900}, {0.72, 0.06, 3100, 4000}, {0.82, 0.22, 4100, 2500}};
  for (const Chirp& c : chirps) {
    size_t first = static_cast<size_t>(c.Start * kRate);
    size_t count = static_cast<size_t>(c.Length * kRate);
    double phase = 0;
    for (size_t i = 0; i < count && first + i < out.size(); ++i) {
      double u = static_cast<double>(i) / count;
      double hz = c.From + (c.To - c.From) * u + 120 * std::sin(kTurn * 30 * u * c.Length);
      phase += hz / kRate;
      double envelope = std::sin(3.14159265 * u);
      out[first + i] += static_cast<float>(0.6 * envelope * envelope * std::sin(kTurn * phase));
    }
  }
  Finish(out, 0.6f);
  return out;
}

std::vector<float> EngineHum(int period) {
  // 96 cycles: whole cycles of the tone and of the chug at a quarter of it.
  const int cycles = 96;
  std::vector<float> out(static_cast<size_t>(period) * cycles);
  for (size_t i = 0; i < out.size(); ++i) {
    double u = static_cast<double>(i) / period;  // in cycles
    double tone = 0;
    for (int k = 1; k <= 7; ++k) tone += std::sin(kTurn * k * u + 0.3 * k) / k;
    double chug = 0.75 + 0.25 * std::sin(kTurn * u / 4);
    out[i] = static_cast<float>(tone * chug);
  }
  Finish(out, 0.55f, 0);
  return out;
}

std::vector<float> Wind() {
  std::vector<float> out = Silence(3.5);
  Noise noise(59);
  double low = 0, lower = 0;
  for (size_t i = 0; i < out.size(); ++i) {
    double t = static_cast<double>(i) / kRate;
    // The gusts open and close the filter.
    double gust = 0.5 + 0.5 * std::sin(kTurn * 0.7 * t) * std::sin(kTurn * 0.23 * t + 1);
    double smooth = 0.985 - 0.05 * gust;
    low = smooth * low + (1 - smooth) * noise.Next();
    lower = 0.9 * lower + 0.1 * low;
    double envelope = std::min(1.0, t / 0.8) * std::min(1.0, (3.5 - t) / 1.2);
    out[i] = static_cast<float>(lower * envelope * (0.4 + 0.6 * gust));
  }
  Finish(out, 0.5f);
  return out;
}

std::vector<float> Chime() {
  std::vector<float> out = Silence(1.6);
  const double partials[][3] = {{880, 0.5, 0.6}, {1324, 0.3, 0.45}, {2197, 0.2, 0.3}, {2641, 0.12, 0.2}};
  for (const auto& p : partials) AddDecay(out, 0.0, p[0], p[1], p[2]);
  AddDecay(out, 0.18, 1320, 0.35, 0.5);
  Finish(out, 0.5f);
  return out;
}

std::vector<float> Shot(int variant) {
  std::vector<float> out = Silence(0.7);
  Noise noise(71 + static_cast<uint32_t>(variant));
  // The crack, the body ringing low, and the tail of the room.
  AddBurst(out, 0.0, 1.0, 0.01 + 0.004 * variant, 0.15, noise);
  AddDecay(out, 0.0, 85 + 15 * variant, 0.9, 0.05);
  AddBurst(out, 0.004, 0.4, 0.12, 0.85, noise);
  Finish(out, 0.8f);
  return out;
}

}  // namespace synth
