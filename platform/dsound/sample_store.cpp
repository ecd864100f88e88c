#include "dsound/sample_store.h"

#include <atomic>
#include <cstring>
#include <new>

#include "dsound_stats.h"

namespace kxdsound {
namespace {

typedef unsigned int MapBits;
typedef void(AL_APIENTRY* BufferStorageFn)(ALuint, ALenum, const ALvoid*, ALsizei, ALsizei, MapBits);
typedef void*(AL_APIENTRY* MapBufferFn)(ALuint, ALsizei, ALsizei, MapBits);
typedef void(AL_APIENTRY* UnmapBufferFn)(ALuint);

// Looked up once: extension entry points are the same for every context.
struct MapApi {
  BufferStorageFn storage = nullptr;
  MapBufferFn map = nullptr;
  UnmapBufferFn unmap = nullptr;
  MapBits bits = 0;  // read | write | persistent

  MapApi() {
    if (!alIsExtensionPresent("AL_SOFT_map_buffer") && !alIsExtensionPresent("AL_SOFTX_map_buffer")) return;
    storage = reinterpret_cast<BufferStorageFn>(alGetProcAddress("alBufferStorageSOFT"));
    map = reinterpret_cast<MapBufferFn>(alGetProcAddress("alMapBufferSOFT"));
    unmap = reinterpret_cast<UnmapBufferFn>(alGetProcAddress("alUnmapBufferSOFT"));
    ALenum read = alGetEnumValue("AL_MAP_READ_BIT_SOFT");
    ALenum write = alGetEnumValue("AL_MAP_WRITE_BIT_SOFT");
    ALenum persistent = alGetEnumValue("AL_MAP_PERSISTENT_BIT_SOFT");
    if (read > 0 && write > 0 && persistent > 0) bits = MapBits(read) | MapBits(write) | MapBits(persistent);
  }
  bool Usable() const { return storage && map && unmap && bits; }
};

const MapApi& Api() {
  static const MapApi api;
  return api;
}

std::atomic<uint64_t> g_sampleBytes{0};
std::atomic<uint32_t> g_sources{0};

ALenum AlFormat(const WAVEFORMATEX& f) {
  if (f.wBitsPerSample == 8) return f.nChannels == 1 ? AL_FORMAT_MONO8 : AL_FORMAT_STEREO8;
  return f.nChannels == 1 ? AL_FORMAT_MONO16 : AL_FORMAT_STEREO16;
}

}  // namespace

std::shared_ptr<SampleStore> SampleStore::Create(const WAVEFORMATEX& format, uint32_t size) {
  alGetError();
  ALuint buffer = 0;
  alGenBuffers(1, &buffer);
  if (alGetError() != AL_NO_ERROR) return nullptr;
  std::shared_ptr<SampleStore> store(
      new (std::nothrow) SampleStore(buffer, AlFormat(format), size, format.nSamplesPerSec));
  if (!store) {
    alDeleteBuffers(1, &buffer);
    return nullptr;
  }
  // Unsigned 8-bit samples are silent at 0x80, signed 16-bit ones at 0.
  const int silence = format.wBitsPerSample == 8 ? 0x80 : 0;
  const MapApi& api = Api();
  if (api.Usable()) {
    api.storage(buffer, store->format_, nullptr, static_cast<ALsizei>(size), static_cast<ALsizei>(store->rate_),
                api.bits);
    if (alGetError() == AL_NO_ERROR)
      store->mapped_ = static_cast<uint8_t*>(api.map(buffer, 0, static_cast<ALsizei>(size), api.bits));
    if (!store->mapped_) return nullptr;
    std::memset(store->mapped_, silence, size);
    g_sampleBytes += size;
    return store;
  }
  try {
    store->shadow_.assign(size, static_cast<uint8_t>(silence));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  g_sampleBytes += size;
  return store;
}

SampleStore::~SampleStore() {
  if (mapped_) {
    Api().unmap(buffer_);
    g_sampleBytes -= size_;
  } else {
    g_sampleBytes -= shadow_.size() + (uploaded_ ? size_ : 0);
  }
  alDeleteBuffers(1, &buffer_);
}

bool SampleStore::Upload() {
  if (attached_) return false;
  alGetError();
  alBufferData(buffer_, format_, shadow_.data(), static_cast<ALsizei>(size_), static_cast<ALsizei>(rate_));
  if (alGetError() != AL_NO_ERROR) return false;
  if (!uploaded_) g_sampleBytes += size_;
  uploaded_ = true;
  return true;
}

// Mapped storage is persistent and coherent: what was written is already there.
bool SampleStore::Commit() { return mapped_ || Upload(); }

void SampleStore::Attach() {
  if (!mapped_ && !uploaded_) Upload();
  attached_ = true;
}

void CountSource(int delta) { g_sources += static_cast<uint32_t>(delta); }

}  // namespace kxdsound

extern "C" {
KX_EXPORT uint64_t kxDSound_SampleBytes(void) { return kxdsound::g_sampleBytes.load(); }
KX_EXPORT uint32_t kxDSound_LiveSources(void) { return kxdsound::g_sources.load(); }
}
