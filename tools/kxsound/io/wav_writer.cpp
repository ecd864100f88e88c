#include "io/wav_writer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kHeaderBytes = 44;
// The RIFF size field is 32 bits and counts everything after its first 8 bytes.
constexpr uint64_t kMaxDataBytes = 0xFFFFFFFFull - (kHeaderBytes - 8);

void Put16(uint8_t* at, uint16_t value) {
  at[0] = static_cast<uint8_t>(value);
  at[1] = static_cast<uint8_t>(value >> 8);
}

void Put32(uint8_t* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}

void MakeHeader(uint8_t* h, uint32_t rate, uint16_t channels, uint32_t dataBytes) {
  std::memcpy(h, "RIFF", 4);
  Put32(h + 4, dataBytes + kHeaderBytes - 8);
  std::memcpy(h + 8, "WAVEfmt ", 8);
  Put32(h + 16, 16);
  Put16(h + 20, 1);  // PCM
  Put16(h + 22, channels);
  Put32(h + 24, rate);
  Put32(h + 28, rate * channels * 2u);
  Put16(h + 32, static_cast<uint16_t>(channels * 2u));
  Put16(h + 34, 16);
  std::memcpy(h + 36, "data", 4);
  Put32(h + 40, dataBytes);
}

constexpr uint64_t kDitherSeed = 0x9E3779B97F4A7C15ull;

// xorshift64*: two independent uniform 32-bit halves per step.
uint64_t NextRandom(uint64_t& state) {
  state ^= state >> 12;
  state ^= state << 25;
  state ^= state >> 27;
  return state * 0x2545F4914F6CDD1Dull;
}

// Triangular on (-1, 1) LSB: the difference of two uniform values. It makes the error of
// rounding independent of the signal, at the cost of a floor 96 dB below full scale.
double Tpdf(uint64_t& state) {
  uint64_t r = NextRandom(state);
  constexpr double kUnit = 1.0 / 4294967296.0;
  return static_cast<double>(r >> 32) * kUnit - static_cast<double>(r & 0xFFFFFFFFu) * kUnit;
}

// A float sample as 16 bits with dither; false when it had to be clipped to fit.
bool Quantise(float sample, uint64_t& dither, int16_t* out) {
  double x = static_cast<double>(sample) * 32768.0 + Tpdf(dither);
  if (x >= 32767.5) {
    *out = 32767;
    return false;
  }
  if (!(x >= -32768.5)) {  // NaN counts as the floor
    *out = -32768;
    return false;
  }
  *out = static_cast<int16_t>(std::lrint(x));
  return true;
}

}  // namespace

int16_t WavWriter::ToPcm(float sample) {
  double level = std::fabs(sample);
  if (level > peak_) peak_ = static_cast<float>(level);
  int16_t pcm;
  if (!Quantise(sample, dither_, &pcm)) ++clipped_;
  return pcm;
}

std::string WavBytes(const std::vector<float>& samples, uint32_t rate, uint16_t channels) {
  const size_t count = channels ? samples.size() - samples.size() % channels : 0;
  if (count * 2 > kMaxDataBytes) return std::string();
  std::string out(kHeaderBytes + count * 2, '\0');
  auto* bytes = reinterpret_cast<uint8_t*>(&out[0]);
  MakeHeader(bytes, rate, channels, static_cast<uint32_t>(count * 2));
  uint64_t dither = kDitherSeed;
  for (size_t i = 0; i < count; ++i) {
    int16_t pcm;
    Quantise(samples[i], dither, &pcm);
    Put16(bytes + kHeaderBytes + i * 2, static_cast<uint16_t>(pcm));
  }
  return out;
}

WavWriter::~WavWriter() { Abort(); }

bool WavWriter::Fail(const std::string& what) {
  error_ = what;
  Abort();
  return false;
}

bool WavWriter::Open(const std::string& path, uint32_t rate, uint16_t channels) {
  Abort();
  error_.clear();
  path_ = path;
  rate_ = rate;
  channels_ = channels;
  frames_ = 0;
  peak_ = 0;
  clipped_ = 0;
  dither_ = kDitherSeed;
  if (path.empty()) return Fail("no file name given");
  if (rate == 0 || channels == 0) return Fail("no sample rate or channel count");
  std::string pattern = path + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd = mkstemp(name.data());
  if (fd < 0) return Fail("cannot write '" + path + "': " + std::strerror(errno));
  temp_ = name.data();
  // mkstemp makes the file private; the finished file gets the usual permissions.
  mode_t mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);
  file_ = fdopen(fd, "wb");
  if (!file_) {
    close(fd);
    return Fail("cannot write '" + path + "': " + std::strerror(errno));
  }
  // A placeholder header; Commit writes the sizes.
  uint8_t header[kHeaderBytes];
  MakeHeader(header, rate_, channels_, 0);
  if (std::fwrite(header, 1, sizeof header, file_) != sizeof header)
    return Fail("cannot write '" + path + "': " + std::strerror(errno));
  return true;
}

bool WavWriter::Append(const float* samples, size_t frames) {
  if (!file_) return false;
  size_t count = frames * channels_;
  if ((frames_ + frames) * channels_ * 2 > kMaxDataBytes) return Fail("'" + path_ + "' would pass 4 GB");
  bytes_.resize(count * 2);
  for (size_t i = 0; i < count; ++i) Put16(&bytes_[i * 2], static_cast<uint16_t>(ToPcm(samples[i])));
  if (std::fwrite(bytes_.data(), 1, bytes_.size(), file_) != bytes_.size())
    return Fail("cannot write '" + path_ + "': " + std::strerror(errno));
  frames_ += frames;
  return true;
}

bool WavWriter::Commit() {
  if (!file_) return false;
  uint8_t header[kHeaderBytes];
  MakeHeader(header, rate_, channels_, static_cast<uint32_t>(frames_ * channels_ * 2));
  bool ok = std::fseek(file_, 0, SEEK_SET) == 0 && std::fwrite(header, 1, sizeof header, file_) == sizeof header &&
            std::fflush(file_) == 0 && fsync(fileno(file_)) == 0;
  int closed = std::fclose(file_);
  file_ = nullptr;
  if (!ok || closed != 0) return Fail("cannot write '" + path_ + "': " + std::strerror(errno));
  if (std::rename(temp_.c_str(), path_.c_str()) != 0)
    return Fail("cannot rename the finished file to '" + path_ + "': " + std::strerror(errno));
  temp_.clear();
  return true;
}

void WavWriter::Abort() {
  if (file_) {
    std::fclose(file_);
    file_ = nullptr;
  }
  if (!temp_.empty()) {
    std::remove(temp_.c_str());
    temp_.clear();
  }
}

bool WriteMonoWav(const std::string& path, uint32_t rate, const std::vector<float>& samples, std::string* error) {
  WavWriter writer;
  if (writer.Open(path, rate, 1) && writer.Append(samples.data(), samples.size()) && writer.Commit()) return true;
  if (error) *error = writer.Error();
  return false;
}
