#include "dsound/sample_store.h"

#include <soxr.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include "dsound/mixer.h"
#include "dsound_stats.h"

namespace kxdsound {
namespace {

std::atomic<uint64_t> g_sampleBytes{0};
std::atomic<uint32_t> g_voices{0};

uint64_t FrameBytes(const MixFrames& f) { return f.samples.size() * sizeof(float); }

// The written bytes as float samples in [-1, 1), still at the buffer's own rate.
void ToFloat(const WAVEFORMATEX& format, const uint8_t* bytes, size_t size, float* out) {
  if (format.wBitsPerSample == 8) {
    for (size_t i = 0; i < size; ++i) out[i] = (static_cast<int>(bytes[i]) - 128) * (1.0f / 128);
    return;
  }
  const size_t n = size / 2;
  for (size_t i = 0; i < n; ++i) {
    int16_t s;
    std::memcpy(&s, bytes + 2 * i, 2);
    out[i] = s * (1.0f / 32768);
  }
}

// The converter passes 91% of the lower Nyquist and removes what lies above; a recording is
// taken to do the same below its own.
double ContentLimit(uint32_t rate, uint32_t mixRate) { return 0.5 * 0.91 * std::min(rate, mixRate) / mixRate; }

std::unique_ptr<MixFrames> Silence(uint32_t channels, uint64_t count, double content) {
  std::unique_ptr<MixFrames> f(new MixFrames);
  f->channels = channels;
  f->count = count;
  f->content = content;
  f->samples.assign(count * channels, 0.0f);
  return f;
}

}  // namespace

uint64_t MixFrameCount(uint64_t frames, uint32_t rate, uint32_t mixRate) {
  if (frames == 0) return 0;
  uint64_t count = (frames * mixRate + rate / 2) / rate;
  return count ? count : 1;
}

std::shared_ptr<SampleStore> SampleStore::Create(const WAVEFORMATEX& format, uint32_t size, uint32_t mixRate) {
  std::shared_ptr<SampleStore> store(new (std::nothrow) SampleStore(format, mixRate));
  if (!store) return nullptr;
  try {
    // Unsigned 8-bit samples are silent at 0x80, signed 16-bit ones at 0.
    store->bytes_.assign(size, format.wBitsPerSample == 8 ? 0x80 : 0);
    const uint64_t frames = size / format.nBlockAlign;
    store->frames_ = Silence(format.nChannels, MixFrameCount(frames, format.nSamplesPerSec, mixRate),
                             ContentLimit(format.nSamplesPerSec, mixRate));
    if (store->Converted()) store->original_ = Silence(format.nChannels, frames, ContentLimit(1, 1));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  store->counted_ = store->HeldBytes();
  g_sampleBytes += store->counted_;
  return store;
}

SampleStore::~SampleStore() { g_sampleBytes -= counted_; }

uint64_t SampleStore::HeldBytes() const {
  return bytes_.size() + FrameBytes(*frames_) + (original_ ? FrameBytes(*original_) : 0);
}

bool SampleStore::Commit(Mixer& mixer) {
  const uint32_t channels = format_.nChannels;
  const uint64_t frames = bytes_.size() / format_.nBlockAlign;
  std::unique_ptr<MixFrames> converted, original;
  try {
    original = Silence(channels, frames, ContentLimit(1, 1));
    ToFloat(format_, bytes_.data(), bytes_.size(), original->samples.data());
    if (!Converted()) {
      converted = std::move(original);
    } else {
      converted = Silence(channels, MixFrameCount(frames, format_.nSamplesPerSec, mixRate_),
                          ContentLimit(format_.nSamplesPerSec, mixRate_));
      // High quality: a passband to 91% of the lower Nyquist, images and aliases under -100 dB.
      soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
      soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
      size_t done = 0;
      // The converter may give a frame less than the rounded count: the rest stays silent.
      if (soxr_oneshot(format_.nSamplesPerSec, mixRate_, channels, original->samples.data(), frames, nullptr,
                       converted->samples.data(), converted->count, &done, &io, &quality, nullptr))
        return false;
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  std::lock_guard<std::mutex> hold(mixer.Lock());
  frames_.swap(converted);
  original_.swap(original);
  return true;
}

uint64_t SampleStore::MixPosition(uint32_t frame) const {
  const unsigned __int128 scaled = static_cast<unsigned __int128>(frame) * mixRate_ << 32;
  const uint32_t rate = format_.nSamplesPerSec;
  return static_cast<uint64_t>((scaled + rate - 1) / rate);
}

uint32_t SampleStore::BufferFrame(uint64_t mixPosition) const {
  const unsigned __int128 scaled = static_cast<unsigned __int128>(mixPosition) * format_.nSamplesPerSec;
  return static_cast<uint32_t>((scaled / mixRate_) >> 32);
}

void CountVoice(int delta) { g_voices += static_cast<uint32_t>(delta); }

}  // namespace kxdsound

extern "C" {
KX_EXPORT uint64_t kxDSound_SampleBytes(void) { return kxdsound::g_sampleBytes.load(); }
KX_EXPORT uint32_t kxDSound_LiveSources(void) { return kxdsound::g_voices.load(); }
}
