#include "wav_writer.h"

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

int16_t ToPcm(float sample) {
  if (!(sample > -1.0f)) return -32767;  // NaN counts as the floor
  if (sample >= 1.0f) return 32767;
  return static_cast<int16_t>(std::lrint(sample * 32767.0f));
}

}  // namespace

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
