// The samples of one loaded sound: one OpenAL buffer, shared by a buffer and all its duplicates.
//
// Where OpenAL Soft offers buffer mapping (AL_SOFT(X)_map_buffer, in 1.19 on), the samples live
// once, in OpenAL's storage, mapped for the buffer's whole life: Lock hands out that memory, so a
// second Lock sees what is there and a write to a playing buffer is heard. Without mapping, the
// samples are kept here and copied to OpenAL at Unlock, which OpenAL allows only while no source
// has played them.
#ifndef KX_PLATFORM_DSOUND_SAMPLE_STORE_H
#define KX_PLATFORM_DSOUND_SAMPLE_STORE_H

#include <stdint.h>

#include <memory>
#include <vector>

#include "audio/openal.h"
#include "dsound.h"

namespace kxdsound {

class SampleStore {
public:
  // Storage for size bytes of the format, filled with silence. Null when OpenAL refuses.
  // Needs the device's context current.
  static std::shared_ptr<SampleStore> Create(const WAVEFORMATEX& format, uint32_t size);
  ~SampleStore();  // needs the device's context current
  SampleStore(const SampleStore&) = delete;
  SampleStore& operator=(const SampleStore&) = delete;

  uint8_t* Bytes() { return mapped_ ? mapped_ : shadow_.data(); }
  uint32_t Size() const { return size_; }
  ALuint Buffer() const { return buffer_; }
  // Makes written bytes audible. False when they cannot reach OpenAL any more.
  bool Commit();
  // A source plays from the buffer from now on: unmapped samples are uploaded first.
  void Attach();

private:
  SampleStore(ALuint buffer, ALenum format, uint32_t size, uint32_t rate)
      : buffer_(buffer), format_(format), size_(size), rate_(rate) {}
  bool Upload();

  ALuint buffer_;
  ALenum format_;
  uint32_t size_;
  uint32_t rate_;
  uint8_t* mapped_ = nullptr;
  std::vector<uint8_t> shadow_;
  bool uploaded_ = false;
  bool attached_ = false;
};

// Counts for dsound_stats.h.
void CountSource(int delta);

}  // namespace kxdsound

#endif
