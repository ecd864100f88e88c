// Listening to the offline output: render a stretch of time and measure it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Capture {
  std::vector<float> Left, Right;
  uint32_t Rate = 0;

  // Root mean square of a channel over [from, to) seconds of this capture (whole by default).
  double RmsLeft(double from = 0, double to = 1e9) const;
  double RmsRight(double from = 0, double to = 1e9) const;
  double Rms(double from = 0, double to = 1e9) const;  // both channels
  // Seconds from the start to the last frame louder than threshold; 0 when all is quieter.
  double LastSound(double threshold = 1e-4) const;
  // Dominant frequency over [from, to) seconds, from the zero crossings of the left channel.
  double Hz(double from, double to) const;
  double Seconds() const { return Rate ? static_cast<double>(Left.size()) / Rate : 0; }
};

// A 16-bit stereo PCM WAV of the plain 44-byte layout kxsound and the studio write, sizes adding
// up; Rate 0 when the bytes are anything else.
Capture ReadWav(const std::string& bytes);

// Advances the manual clock by milliseconds in steps and collects what device 0
// (effects) or 1 (music) rendered meanwhile.
Capture Listen(uint32_t milliseconds, int device = 0, uint32_t step = 10);
// The same, calling frame() after each step, as a game calls its update once a frame.
Capture ListenFrames(uint32_t milliseconds, void (*frame)(), int device = 0, uint32_t step = 10);
// Drops whatever the device has rendered so far.
void DropCapture(int device = 0);
// 20 log10(a / b).
double Decibels(double a, double b);

// The power spectrum of a stretch of sound, Blackman-Harris windowed (sidelobes below
// -92 dB), over the longest power-of-two count of samples from the start.
class Spectrum {
public:
  Spectrum(const std::vector<float>& samples, uint32_t rate);
  // RMS of a sine near hz, from the power of its window's main lobe.
  double ToneRms(double hz) const;
  // The frequency of the strongest peak, interpolated between bins.
  double PeakHz() const;
  // dB of the strongest bin outside the tones' main lobes against the strongest tone's own
  // strongest bin.
  double WorstSpuriousDb(const std::vector<double>& tonesHz) const;
  double WorstSpuriousDb(double toneHz) const { return WorstSpuriousDb(std::vector<double>{toneHz}); }

private:
  size_t Bin(double hz) const;
  double binHz_ = 0;
  std::vector<double> power_;
};

// The largest difference between neighbouring samples: a click stands out against a tone's own.
double LargestStep(const std::vector<float>& samples);
