#include "wave_file.h"

#include <cmath>

namespace {

void Put16(std::vector<uint8_t>& out, uint32_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}

void Put32(std::vector<uint8_t>& out, uint32_t value) {
  Put16(out, value & 0xFFFF);
  Put16(out, value >> 16);
}

void PutChunk(std::vector<uint8_t>& out, const std::string& id, const std::vector<uint8_t>& body,
              std::optional<uint32_t> declared = std::nullopt) {
  out.insert(out.end(), id.begin(), id.begin() + 4);
  Put32(out, declared.value_or(static_cast<uint32_t>(body.size())));
  out.insert(out.end(), body.begin(), body.end());
  if (body.size() % 2) out.push_back(0);
}

}  // namespace

std::vector<uint8_t> MakeWave(const WaveShape& shape) {
  std::vector<uint8_t> format;
  const uint32_t blockAlign = shape.Channels * shape.Bits / 8u;
  Put16(format, shape.FormatTag);
  Put16(format, shape.Channels);
  Put32(format, shape.SampleRate);
  Put32(format, shape.SampleRate * blockAlign);
  Put16(format, blockAlign);
  Put16(format, shape.Bits);
  if (shape.CbSize) Put16(format, *shape.CbSize);
  format.insert(format.end(), shape.FormatExtra.begin(), shape.FormatExtra.end());

  std::vector<uint8_t> first, second;
  if (shape.WithFormat) PutChunk(shape.DataFirst ? second : first, "fmt ", format, shape.FormatSize);
  if (shape.WithData) PutChunk(shape.DataFirst ? first : second, "data", shape.Data, shape.DataSize);

  std::vector<uint8_t> body = {'W', 'A', 'V', 'E'};
  body.insert(body.end(), first.begin(), first.end());
  for (const WaveChunk& chunk : shape.ExtraChunks) PutChunk(body, chunk.Id, chunk.Body);
  body.insert(body.end(), second.begin(), second.end());

  std::vector<uint8_t> file;
  PutChunk(file, "RIFF", body);
  return file;
}

std::vector<uint8_t> Tone(double hz, double seconds, int rate, int channels, int bits, double amplitude) {
  const double pi = std::acos(-1.0);
  const long frames = static_cast<long>(seconds * rate);
  std::vector<uint8_t> out;
  out.reserve(static_cast<size_t>(frames * channels * bits / 8));
  for (long i = 0; i < frames; ++i) {
    const double value = amplitude * std::sin(2.0 * pi * hz * static_cast<double>(i) / rate);
    for (int c = 0; c < channels; ++c) {
      if (bits == 8) {
        out.push_back(static_cast<uint8_t>(std::lround(128.0 + 127.0 * value)));
      } else {
        Put16(out, static_cast<uint16_t>(static_cast<int16_t>(std::lround(32767.0 * value))));
      }
    }
  }
  return out;
}

std::string WriteWave(TempDir& dir, const std::string& relativePath, const WaveShape& shape) {
  dir.write(relativePath, MakeWave(shape));
  return dir.file(relativePath);
}
