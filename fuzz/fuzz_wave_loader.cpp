// Arbitrary bytes as a wave file through the three callers of the reader that reach the
// device: the file information, the preview that plays it, and the load of a 3D buffer.
// A file plays or loads only when it reads as PCM with data.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz_support.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "playback/sound_buffer.h"

namespace {

std::string Path;

// The device converts every buffer to its mix rate at load, so a few kilobytes at 100 Hz
// are minutes at 48 kHz, and the converter's growing buffers take seconds under the
// address sanitizer. Files whose bytes would mix longer than this are only read, not loaded;
// a size that the data chunk claims beyond the file's end does not count, so those still go.
constexpr uint64_t MAX_MIX_FRAMES = 1u << 18;
constexpr uint64_t MIX_RATE = 48000;

bool Affordable(int channels, int bits, int rate, int bytes, size_t size) {
  const uint64_t frameBytes = static_cast<uint64_t>(channels > 0 ? channels : 1) * (bits >= 8 ? bits / 8 : 1);
  const uint64_t held = std::min<uint64_t>(static_cast<uint32_t>(bytes), size);
  return rate <= 0 || held / frameBytes * MIX_RATE / static_cast<uint64_t>(rate) <= MAX_MIX_FRAMES;
}

void Progress(int) {}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Path = StartModuleOnce("loader", 1) + "input.wav";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  WriteBytes(Path, data, size);
  ULONG tag = 0;
  int channels = 0, bits = 0, rate = 0, bytes = 0;
  const bool info = qorSound_GetFileInfo(Path.c_str(), tag, channels, bits, rate, bytes) == S_OK;
  const bool pcm = info && tag == 1 && bytes != 0;
  if (info && !Affordable(channels, bits, rate, bytes, size)) return 0;

  if (qorSound_PlayFile2(Path.c_str(), static_cast<int>(size & 1), Progress) == S_OK) {
    if (!pcm) std::abort();
    // A few frames of the preview: its progress, its mix, and the end of a short one.
    for (int frame = 0; frame < 3; ++frame) {
      qorSound_Update();
      kxHost_Advance(2);
    }
  }
  qorSound_PlayFile2(nullptr, 0, nullptr);

  SoundBuffer* buffer = SoundBuffer_LoadFile(Path.c_str(), 1);
  if (buffer) {
    if (!pcm || channels != 1) std::abort();
    SoundBuffer_Release(&buffer);
  }
  return 0;
}
