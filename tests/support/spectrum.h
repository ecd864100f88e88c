// Spectra of what was heard: where the energy is, and how strong anything is that should not be
// there (aliases, images, distortion) against the tones that should.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The strongest spectral peak outside the given tones (each with a guard of a few bins around
// it), in dB against the strongest of the tones. Blackman-Harris window over the largest power
// of two of samples; very low frequencies (under 20 Hz) are left out.
double WorstSpuriousDb(const std::vector<float>& samples, uint32_t rate, const std::vector<double>& tonesHz);
// Level of a tone in dB against a full-scale sine's (0 dB: peak 1), from the same spectrum.
double ToneDb(const std::vector<float>& samples, uint32_t rate, double hz);
// The largest difference between neighbouring samples: a click stands out against a tone's own.
double LargestStep(const std::vector<float>& samples, size_t from = 0, size_t to = SIZE_MAX);
