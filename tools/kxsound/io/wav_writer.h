// Writing 16-bit PCM RIFF WAVE files, streamed to a temporary file beside the target and
// renamed into place at the end, so a reader never sees half a file. Float samples are
// TPDF-dithered to 16 bits, so that quiet sound keeps its shape instead of turning into
// distortion; the dither comes from a generator with a fixed seed, so the same samples always
// give the same file. What does not fit is clipped and counted.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

class WavWriter {
public:
  WavWriter() = default;
  ~WavWriter();  // an uncommitted file is thrown away
  WavWriter(const WavWriter&) = delete;
  WavWriter& operator=(const WavWriter&) = delete;

  // Creates the temporary file; false with Error() set when the folder is not writable.
  bool Open(const std::string& path, uint32_t rate, uint16_t channels);
  // Interleaved samples, frames x channels of them; full scale is 1.0.
  bool Append(const float* samples, size_t frames);
  // Writes the sizes into the header and renames the file into place.
  bool Commit();
  void Abort();

  const std::string& Error() const { return error_; }
  const std::string& Path() const { return path_; }
  uint64_t Frames() const { return frames_; }
  uint32_t Rate() const { return rate_; }
  // The largest magnitude given so far (1.0 is full scale), and the samples clipped to fit.
  float Peak() const { return peak_; }
  uint64_t Clipped() const { return clipped_; }

private:
  bool Fail(const std::string& what);
  int16_t ToPcm(float sample);

  std::FILE* file_ = nullptr;
  std::string path_, temp_, error_;
  uint32_t rate_ = 0;
  uint16_t channels_ = 0;
  uint64_t frames_ = 0;
  float peak_ = 0;
  uint64_t clipped_ = 0;
  uint64_t dither_ = 0;  // generator state
  std::vector<uint8_t> bytes_;
};

// A whole mono file in one call.
bool WriteMonoWav(const std::string& path, uint32_t rate, const std::vector<float>& samples, std::string* error);
// A whole file in memory, dithered as the writer does: interleaved samples, full scale 1.0.
// Empty when it would pass 4 GB.
std::string WavBytes(const std::vector<float>& samples, uint32_t rate, uint16_t channels);
