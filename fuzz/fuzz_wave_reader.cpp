// Arbitrary bytes as a wave file: open, read in pieces, reset, read it all, and look at
// the format the way callers do. Nothing may read or write out of bounds.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "wave/wave_reader.h"

namespace {

std::string Path;

// Reads are bounded by what a caller would allocate: the data size the reader reports,
// capped so a chunk claiming gigabytes doesn't ask for them.
constexpr uint32_t MAX_READ = 1u << 20;

void Consume(WaveReader& reader, uint32_t piece) {
  std::vector<uint8_t> out(piece);
  uint32_t actual = 0;
  for (int i = 0; i < 64 && reader.DataChunk.cksize; ++i) {
    if (reader.Read(piece, out.data(), &actual) != S_OK) {
      if (actual != 0) std::abort();
      return;
    }
    if (actual > piece) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char pattern[] = "/tmp/kxfuzz-wave-XXXXXX";
  if (!mkdtemp(pattern)) std::abort();
  Path = std::string(pattern) + "/input.wav";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FILE* f = std::fopen(Path.c_str(), "wb");
  if (!f) std::abort();
  if (size && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);

  WaveReader reader;
  if (reader.Open(Path.c_str()) != S_OK) return 0;
  const uint32_t total = reader.DataChunk.cksize;
  // What callers read of the format: the fixed fields and the extra bytes behind cbSize.
  volatile uint32_t sum = reader.Format->wFormatTag + reader.Format->nChannels + reader.Format->nSamplesPerSec +
                          reader.Format->wBitsPerSample + reader.Format->nBlockAlign;
  const uint8_t* extra = reinterpret_cast<const uint8_t*>(reader.Format + 1);
  for (uint32_t i = 0; i < reader.Format->cbSize; ++i) sum = sum + extra[i];

  Consume(reader, 7);
  Consume(reader, 4096);
  if (reader.Reset() != S_OK || reader.DataChunk.cksize != total) std::abort();
  uint32_t whole = total < MAX_READ ? total : MAX_READ;
  std::vector<uint8_t> out(whole);
  uint32_t actual = 0;
  LONG result = reader.Read(whole, out.data(), &actual);
  if (result == S_OK ? actual != whole : actual != 0) std::abort();
  // A read succeeds exactly when it stays inside the file, and gives the file's bytes.
  const uint64_t start = reader.DataChunk.dwDataOffset;
  if ((result == S_OK) != (start + whole <= size)) std::abort();
  if (result == S_OK && whole && std::memcmp(out.data(), data + start, whole) != 0) std::abort();
  return 0;
}
