// The samples of one loaded sound, shared by a buffer and all its duplicates. They are kept as
// written, in the buffer's own format (what Lock hands out), and, whenever written bytes are
// committed, as float frames twice: at the mix rate, converted with a band-limited resampler, so
// that a sound played once at its own pitch needs no resampling at all while it plays; and at
// the buffer's own rate, for loops, whose seam only a resampler working as it plays can join
// (a converted loop's length is rarely a whole number of mix frames).
#ifndef KX_PLATFORM_DSOUND_SAMPLE_STORE_H
#define KX_PLATFORM_DSOUND_SAMPLE_STORE_H

#include <stdint.h>

#include <memory>
#include <vector>

#include "dsound.h"

namespace kxdsound {

class Mixer;

// Converted frames: interleaved floats, channels per frame, at the mix rate.
struct MixFrames {
  std::vector<float> samples;
  uint32_t channels = 1;
  uint64_t count = 0;  // frames
  double content = 0.5;  // highest frequency present, in cycles per frame
};

class SampleStore {
public:
  // Storage for size bytes of the format, filled with silence. Null when memory runs out.
  static std::shared_ptr<SampleStore> Create(const WAVEFORMATEX& format, uint32_t size, uint32_t mixRate);
  ~SampleStore();
  SampleStore(const SampleStore&) = delete;
  SampleStore& operator=(const SampleStore&) = delete;

  uint8_t* Bytes() { return bytes_.data(); }
  uint32_t Size() const { return static_cast<uint32_t>(bytes_.size()); }
  const WAVEFORMATEX& Format() const { return format_; }
  uint32_t MixRate() const { return mixRate_; }
  // Converts what is written and hands it to the mixer, under its lock. False when memory runs out.
  bool Commit(Mixer& mixer);
  // The converted frames, and those at the buffer's own rate (the same when the rates agree);
  // read under the mixer's lock.
  const MixFrames& Frames() const { return *frames_; }
  const MixFrames& Original() const { return original_ ? *original_ : *frames_; }
  bool Converted() const { return format_.nSamplesPerSec != mixRate_; }

  // Frame positions between the buffer's own rate and the mix rate. A mix position is 32.32
  // fixed point; a buffer frame maps to the first mix position at or after it.
  uint64_t MixPosition(uint32_t frame) const;
  uint32_t BufferFrame(uint64_t mixPosition) const;

private:
  SampleStore(const WAVEFORMATEX& format, uint32_t mixRate) : format_(format), mixRate_(mixRate) {}
  uint64_t HeldBytes() const;  // every byte held, for the counter

  const WAVEFORMATEX format_;
  const uint32_t mixRate_;
  std::vector<uint8_t> bytes_;
  std::unique_ptr<MixFrames> frames_;
  std::unique_ptr<MixFrames> original_;  // null when the rates agree
  uint64_t counted_ = 0;                 // in kxDSound_SampleBytes; sizes never change after Create
};

// Frames the mix rate gives for frames at rate: rounded, and at least one for a non-empty buffer.
uint64_t MixFrameCount(uint64_t frames, uint32_t rate, uint32_t mixRate);

// Counts for dsound_stats.h.
void CountVoice(int delta);

}  // namespace kxdsound

#endif
