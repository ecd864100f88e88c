#include "audio/output_device.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "audio/capture.h"
#include "audio/device_failure.h"
#include "kxHost.h"

namespace kxaudio {
namespace {

// Every stream of the catalogue owns a source, so the context is sized for thousands.
constexpr ALCint kMonoSources = 8192;
constexpr ALCint kStereoSources = 512;
// OpenAL Soft applies new settings at the start of each render call and glides gains across
// it: small calls keep that glide as short as a sound card's period.
constexpr uint32_t kChunkFrames = 256;
// OpenAL Soft's null backend: what alcOpenDevice gives where it is configured and no real output exists.
constexpr const char* kNoOutputName = "No Output";

// The newest output opened on each index: the one its capture records and whose rate a host reads.
std::mutex g_ownerLock;
OutputDevice* g_owners[kOutputCount] = {};

bool IsOwner(const OutputDevice* device) {
  std::lock_guard<std::mutex> hold(g_ownerLock);
  return g_owners[device->Index()] == device;
}

}  // namespace

std::unique_ptr<OutputDevice> OutputDevice::Open(int index) {
  if (index < 0 || index >= kOutputCount) return nullptr;
  OutputMode mode = CurrentOutputMode();
  // Each attempt is told as itself: a card that failed earlier says nothing about this one.
  ClearDeviceFailure();
  if (mode == OutputMode::None) return nullptr;
  QuietOpenAL();
  std::unique_ptr<OutputDevice> out(new OutputDevice(index, mode));
  if (mode == OutputMode::Device) {
    if (!out->OpenSoundCard()) return nullptr;
  } else {
    out->device_ = alcLoopbackOpenDeviceSOFT(nullptr);
    if (!out->device_ || !out->CreateContext()) return nullptr;
  }
  {
    std::lock_guard<std::mutex> hold(g_ownerLock);
    g_owners[index] = out.get();
  }
  if (mode == OutputMode::Offline) {
    RestartCapture(index, out->rate_);
    kxHost_AddAdvanceListener(&OutputDevice::OnAdvance, out.get());
  } else if (mode == OutputMode::Null) {
    out->nullThread_ = std::thread(&OutputDevice::RunNull, out.get());
  }
  return out;
}

// The system's default output, or one sentence that says why there is none.
bool OutputDevice::OpenSoundCard() {
  AlsaMessages alsa;
  const char* failure = nullptr;
  device_ = alcOpenDevice(nullptr);
  if (!device_) {
    failure = "the system's default output did not open";
  } else {
    const ALCchar* name = alcGetString(device_, ALC_DEVICE_SPECIFIER);
    if (!name || std::strcmp(name, kNoOutputName) == 0)
      failure = "OpenAL Soft offers only its null output";
    else if (!CreateContext())
      failure = "the system's default output refused to mix";
  }
  if (failure) {
    ReportDeviceFailure(failure, alsa.First());
    return false;
  }
  return true;
}

OutputDevice::~OutputDevice() {
  if (mode_ == OutputMode::Offline) kxHost_RemoveAdvanceListener(&OutputDevice::OnAdvance, this);
  {
    std::lock_guard<std::mutex> hold(g_ownerLock);
    if (g_owners[index_] == this) g_owners[index_] = nullptr;
  }
  StopNull();
  DestroyContext();
  if (device_) alcCloseDevice(device_);
}

bool OutputDevice::CreateContext() {
  // HRTF off: plain stereo panning, the same on every machine.
  std::vector<ALCint> attrs = {ALC_MONO_SOURCES, kMonoSources, ALC_STEREO_SOURCES, kStereoSources,
                               ALC_HRTF_SOFT,    ALC_FALSE};
  if (mode_ != OutputMode::Device) {
    // A loopback device has no rate of its own and must be given one. Float output needs no
    // limiter, and without one the captured levels are exact.
    attrs.insert(attrs.end(), {ALC_FREQUENCY, static_cast<ALCint>(kLoopbackRate), ALC_FORMAT_CHANNELS_SOFT,
                               ALC_STEREO_SOFT, ALC_FORMAT_TYPE_SOFT, ALC_FLOAT_SOFT, ALC_OUTPUT_LIMITER_SOFT,
                               ALC_FALSE});
  }
  attrs.push_back(0);
  ALCcontext* context = alcCreateContext(device_, attrs.data());
  if (!context) return false;
  // A real device mixes at the rate its driver chose.
  ALCint rate = 0;
  alcGetIntegerv(device_, ALC_FREQUENCY, 1, &rate);
  if (rate <= 0) {
    alcDestroyContext(context);
    return false;
  }
  context_ = context;
  rate_ = static_cast<uint32_t>(rate);
  carry_ = 0;
  ContextScope scope(context_);
  alDistanceModel(AL_INVERSE_DISTANCE_CLAMPED);
  return true;
}

void OutputDevice::DestroyContext() {
  if (!context_) return;
  if (alcGetThreadContext() == context_) alcSetThreadContext(nullptr);
  if (alcGetCurrentContext() == context_) alcMakeContextCurrent(nullptr);
  alcDestroyContext(context_);
  context_ = nullptr;
}

void OutputDevice::SetRenderHook(RenderHook hook, void* context) {
  std::lock_guard<std::mutex> hold(renderLock_);
  hook_ = hook;
  hookContext_ = context;
}

void OutputDevice::Render(uint32_t frames, bool capture) {
  scratch_.resize(size_t{kChunkFrames} * 2);
  while (frames) {
    uint32_t n = std::min(frames, kChunkFrames);
    if (hook_) hook_(n, hookContext_);
    alcRenderSamplesSOFT(device_, scratch_.data(), static_cast<ALCsizei>(n));
    if (capture) AppendCapture(index_, scratch_.data(), n);
    frames -= n;
  }
}

// Renders exactly the frames due, carrying the fraction: N steps of 1 ms give what one of N ms gives.
void OutputDevice::OnAdvance(uint32_t milliseconds, void* self) {
  auto* out = static_cast<OutputDevice*>(self);
  std::lock_guard<std::mutex> hold(out->renderLock_);
  if (!out->context_) return;
  uint64_t due = out->carry_ + uint64_t{milliseconds} * out->rate_;
  out->carry_ = due % 1000;
  uint64_t frames = due / 1000;
  bool capture = IsOwner(out);
  while (frames) {
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(frames, UINT32_MAX));
    out->Render(n, capture);
    frames -= n;
  }
}

// The null output keeps real time with a clock of its own and drops what it renders.
void OutputDevice::RunNull() {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const uint64_t rate = rate_;
  uint64_t rendered = 0;
  std::unique_lock<std::mutex> wait(nullLock_);
  while (!nullWake_.wait_for(wait, std::chrono::milliseconds(10), [this] { return nullStop_; })) {
    std::lock_guard<std::mutex> hold(renderLock_);
    if (!context_) continue;
    auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
    uint64_t due = static_cast<uint64_t>(elapsed) * rate / 1000000;
    // After a stall, skip ahead rather than render a burst.
    if (due - rendered > rate) rendered = due - rate;
    Render(static_cast<uint32_t>(due - rendered), false);
    rendered = due;
  }
}

void OutputDevice::StopNull() {
  if (!nullThread_.joinable()) return;
  {
    std::lock_guard<std::mutex> hold(nullLock_);
    nullStop_ = true;
  }
  nullWake_.notify_all();
  nullThread_.join();
}

ContextScope::ContextScope(ALCcontext* context) : previous_(alcGetThreadContext()), context_(context) {
  if (previous_ != context_) alcSetThreadContext(context_);
}

ContextScope::~ContextScope() {
  if (previous_ && previous_ != context_) alcSetThreadContext(previous_);
}

}  // namespace kxaudio

extern "C" KX_EXPORT uint32_t kxHost_MixRate(int device) {
  if (device < 0 || device >= kxaudio::kOutputCount) return 0;
  std::lock_guard<std::mutex> hold(kxaudio::g_ownerLock);
  return kxaudio::g_owners[device] ? kxaudio::g_owners[device]->Rate() : 0;
}
