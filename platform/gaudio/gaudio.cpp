#include "gaudio/gaudio.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>

#include "gaudio/library.h"
#include "gaudio/mp3_decoder.h"
#include "gaudio/stream_sound.h"
#include "kxHost.h"
#include "kxPath.h"

namespace gaudio {

using kxaudio::ContextScope;

namespace {
// Half the length of a source buffer: a playing sound is looked at well before it runs dry.
constexpr auto kServePeriod = std::chrono::milliseconds(10);
}  // namespace

GAudio::Impl::~Impl() {
  if (!output) return;
  if (listening_) {
    kxHost_RemoveAdvanceListener(&Impl::AfterAdvance, this);
    output->SetRenderHook(nullptr, nullptr);
  }
  if (music_.joinable()) {
    {
      std::lock_guard<std::mutex> hold(lock);
      stopping_ = true;
    }
    wake_.notify_all();
    music_.join();
  }
  // Sounds the caller never released end with the library.
  std::vector<StreamSound*> left;
  {
    std::lock_guard<std::mutex> hold(lock);
    ContextScope scope(Context());
    left.swap(sounds);
    for (StreamSound* sound : left) sound->FreeSource();
  }
  for (StreamSound* sound : left) delete sound;
  output.reset();
}

bool GAudio::Impl::Open() {
  output = kxaudio::OutputDevice::Open(kxaudio::kMusicOutput);
  if (!output) return false;
  if (Offline()) {
    // Time moves only when the host advances: feed between the pieces the output renders,
    // and report ends once the advance is over, when no lock of the output is held.
    output->SetRenderHook(&Impl::BeforeRender, this);
    kxHost_AddAdvanceListener(&Impl::AfterAdvance, this);
    listening_ = true;
  } else {
    music_ = std::thread(&Impl::Run, this);
    // Named here rather than by itself, so that it has its name from the start (tools, the benchmark).
    pthread_setname_np(music_.native_handle(), "kxMusic");
  }
  return true;
}

void GAudio::Impl::Remove(StreamSound* sound) {
  std::lock_guard<std::mutex> hold(lock);
  ContextScope scope(Context());
  sounds.erase(std::remove(sounds.begin(), sounds.end(), sound), sounds.end());
  sound->FreeSource();
}

void GAudio::Impl::Kick() {
  kicked_ = true;
  wake_.notify_one();
}

void GAudio::Impl::Serve(std::vector<GAudioNotifyCallback>& ended) {
  for (StreamSound* sound : sounds) {
    if (sound->Service() && sound->Callback()) ended.push_back(sound->Callback());
  }
}

// Callbacks run with no lock held, so that they may call back into the library.
void GAudio::Impl::Call(const std::vector<GAudioNotifyCallback>& ended) {
  for (GAudioNotifyCallback callback : ended) callback();
}

void GAudio::Impl::Run() {
  std::vector<GAudioNotifyCallback> ended;
  std::unique_lock<std::mutex> hold(lock);
  {
    ContextScope scope(Context());
    while (!stopping_) {
      Serve(ended);
      if (!ended.empty()) {
        hold.unlock();
        Call(ended);
        ended.clear();
        hold.lock();
        continue;
      }
      auto woken = [this] { return stopping_ || kicked_; };
      // Idle while nothing plays: a Play kicks the thread awake.
      if (std::any_of(sounds.begin(), sounds.end(), [](StreamSound* s) { return s->Busy(); })) {
        wake_.wait_for(hold, kServePeriod, woken);
      } else {
        wake_.wait(hold, woken);
      }
      kicked_ = false;
    }
  }
  // Let go of the context before the output can close it.
  alcSetThreadContext(nullptr);
}

void GAudio::Impl::BeforeRender(uint32_t, void* self) {
  auto* impl = static_cast<Impl*>(self);
  std::lock_guard<std::mutex> hold(impl->lock);
  if (impl->sounds.empty()) return;
  ContextScope scope(impl->Context());
  impl->Serve(impl->due_);
}

void GAudio::Impl::AfterAdvance(uint32_t, void* self) {
  auto* impl = static_cast<Impl*>(self);
  std::vector<GAudioNotifyCallback> ended;
  {
    std::lock_guard<std::mutex> hold(impl->lock);
    if (!impl->sounds.empty()) {
      ContextScope scope(impl->Context());
      // The last piece rendered may have played a file's last sample.
      impl->Serve(impl->due_);
    }
    ended.swap(impl->due_);
  }
  Call(ended);
}

GAudio::GAudio() : impl_(new Impl) {}

GAudio::~GAudio() { delete impl_; }

ErrCode GAudio::init(DeviceType type, unsigned, int) {
  if (type != DEVICE_DEFAULT) return ERR_FAIL;
  if (impl_->output) return ERR_OK;
  return impl_->Open() ? ERR_OK : ERR_FAIL;
}

ErrCode GAudio::getSoundClass(SoundClass soundClass, const void* description, GAudioSound** sound) {
  if (!sound) return ERR_FAIL;
  *sound = nullptr;
  if (!impl_->output || soundClass != SOUND_CLASS_STREAM || !description) return ERR_FAIL;
  // The caller may reuse its record, path and image as soon as this returns.
  GAudioSoundDesc desc;
  std::memcpy(&desc, description, sizeof desc);
  // Flags and Option carry nothing this library acts on.
  if (desc.Header != GAUDIO_DESC_HEADER) return ERR_FAIL;
  std::unique_ptr<Mp3Decoder> decoder;
  if (desc.FromMemory == 0) {
    auto* path = static_cast<const char*>(FromAddress32(desc.Path));
    char resolved[PATH_MAX];
    if (!path || kxPath_Resolve(path, resolved, sizeof resolved) != 0) return ERR_FAIL;
    decoder = Mp3Decoder::OpenFile(resolved);
  } else if (desc.FromMemory == 1) {
    auto* data = static_cast<const uint8_t*>(FromAddress32(desc.MemoryData));
    if (!data || desc.MemorySize == 0) return ERR_FAIL;
    decoder = Mp3Decoder::OpenMemory(std::vector<uint8_t>(data, data + desc.MemorySize));
  }
  if (!decoder) return ERR_FAIL;
  std::lock_guard<std::mutex> hold(impl_->lock);
  ContextScope scope(impl_->Context());
  StreamSound* made = StreamSound::Create(*impl_, std::move(decoder));
  if (!made) return ERR_FAIL;
  impl_->sounds.push_back(made);
  *sound = made;
  return ERR_OK;
}

}  // namespace gaudio
