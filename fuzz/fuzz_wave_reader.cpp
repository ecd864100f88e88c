// Arbitrary bytes as a wave file: open, read in pieces, reset, read it all, and look at
// the format the way callers do. Nothing may read or write out of bounds, and a read
// gives the file's own bytes exactly when they are in the file.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "wave/wave_reader.h"
#include "kxSoundWin32.h"

namespace {

std::string Path;

// Reads are bounded by what a caller would allocate: the data size the reader reports,
// capped so a chunk claiming gigabytes doesn't ask for them.
constexpr uint32_t MAX_READ = 1u << 20;
// One buffer for every input: a fresh megabyte per input cost more than the reading.
std::vector<uint8_t> Out(MAX_READ);

void Consume(WaveReader& reader, uint32_t piece) {
  uint32_t actual = 0;
  for (int i = 0; i < 64 && reader.DataChunk.cksize; ++i) {
    if (reader.Read(piece, Out.data(), &actual) != S_OK) {
      if (actual != 0) std::abort();
      return;
    }
    if (actual > piece) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Path = ScratchFolder("wave") + "input.wav";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  WriteBytes(Path, data, size);
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
  uint32_t actual = 0;
  LONG result = reader.Read(whole, Out.data(), &actual);
  if (result == S_OK ? actual != whole : actual != 0) std::abort();
  const uint64_t start = reader.DataChunk.dwDataOffset;
  if ((result == S_OK) != (start + whole <= size)) std::abort();
  if (result == S_OK && whole && std::memcmp(Out.data(), data + start, whole) != 0) std::abort();
  return 0;
}
