// RIFF WAVE files made to measure, well-formed or deliberately not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "temp_dir.h"

struct WaveChunk {
  std::string Id;  // four characters
  std::vector<uint8_t> Body;
};

struct WaveShape {
  uint16_t FormatTag = 1;
  uint16_t Channels = 1;
  uint32_t SampleRate = 22050;
  uint16_t Bits = 16;
  // Written after wBitsPerSample when set; FormatExtra follows it.
  std::optional<uint16_t> CbSize;
  std::vector<uint8_t> FormatExtra;
  bool WithFormat = true;
  bool WithData = true;
  bool DataFirst = false;
  // Between the first and the second of "fmt " and "data" (padded to even like any chunk).
  std::vector<WaveChunk> ExtraChunks;
  // Sizes written in the chunk headers instead of the true ones; the bodies stay as built.
  std::optional<uint32_t> FormatSize;
  std::optional<uint32_t> DataSize;
  std::vector<uint8_t> Data;
};

std::vector<uint8_t> MakeWave(const WaveShape& shape);

// A sine as PCM sample bytes: 16-bit signed little-endian or 8-bit unsigned, the same
// value in every channel of a frame.
std::vector<uint8_t> Tone(double hz, double seconds, int rate, int channels, int bits, double amplitude);

// Writes MakeWave(shape) to dir/relativePath and returns the full path.
std::string WriteWave(TempDir& dir, const std::string& relativePath, const WaveShape& shape);
