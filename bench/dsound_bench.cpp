// Many moving 3D voices through the DirectSound stand-in, against OpenAL Soft driven directly
// with the same sources, positions and render sizes: once with its best sinc resampler (the
// stand-in's quality) and once with its default linear one. Files at 22050 Hz, the mix at
// 48000 Hz; a frame moves every voice and the listener, commits, and renders 16 ms.
// core%/voice is the share of one core each voice costs in real time.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cstdint>
#include <vector>

#include "audio/openal.h"
#include "dsound/dsound.h"
#include "kxHost.h"
#include "ratio_reporter.h"

namespace {

constexpr uint32_t kRate = 22050;     // of the files
constexpr uint32_t kMixRate = 48000;
constexpr uint32_t kFrameMs = 16;
constexpr uint32_t kChunk = 256;  // frames per render call, as the offline output renders
constexpr uint32_t kToneFrames = kRate;

std::vector<int16_t> ToneSamples() {
  std::vector<int16_t> s(kToneFrames);
  for (uint32_t i = 0; i < kToneFrames; ++i) s[i] = static_cast<int16_t>(8000 * std::sin(2 * M_PI * i / 50.0));
  return s;
}

// Voice v on a circle around the listener, turning with the frame.
void Place(uint32_t v, uint64_t frame, float out[3]) {
  float angle = 0.01f * static_cast<float>(frame) + 0.37f * static_cast<float>(v);
  float radius = 2.0f + static_cast<float>(v % 17);
  out[0] = radius * std::cos(angle);
  out[1] = 0.5f * static_cast<float>(v % 3);
  out[2] = radius * std::sin(angle);
}

struct StandIn {
  IDirectSound* ds = nullptr;
  IDirectSoundBuffer* primary = nullptr;
  IDirectSound3DListener* listener = nullptr;
  std::vector<IDirectSoundBuffer*> buffers;
  std::vector<IDirectSound3DBuffer*> parts;

  bool looping;

  StandIn(uint32_t voices, bool loop) : looping(loop) {
    kxHost_SetManualClock(1);
    kxHost_SetAudioOutput("offline");
    if (DirectSoundCreate(nullptr, &ds, nullptr) != DS_OK) std::abort();
    ds->SetCooperativeLevel(nullptr, DSSCL_PRIORITY);
    DSBUFFERDESC pd{DSBUFFERDESC_SIZE, DSBCAPS_PRIMARYBUFFER | DSBCAPS_CTRL3D, 0, 0, nullptr, {}};
    ds->CreateSoundBuffer(&pd, &primary, nullptr);
    WAVEFORMATEX mix{WAVE_FORMAT_PCM, 2, kRate, kRate * 4, 4, 16, 0};
    primary->SetFormat(&mix);
    primary->QueryInterface(IID_IDirectSound3DListener, reinterpret_cast<void**>(&listener));
    WAVEFORMATEX mono{WAVE_FORMAT_PCM, 1, kRate, kRate * 2, 2, 16, 0};
    DSBUFFERDESC bd{DSBUFFERDESC_SIZE, DSBCAPS_STATIC | DSBCAPS_CTRL3D | DSBCAPS_CTRLVOLUME | DSBCAPS_CTRLFREQUENCY,
                    kToneFrames * 2, 0, &mono, {}};
    IDirectSoundBuffer* first = nullptr;
    if (ds->CreateSoundBuffer(&bd, &first, nullptr) != DS_OK) std::abort();
    void* data = nullptr;
    DWORD bytes = 0;
    first->Lock(0, bd.dwBufferBytes, &data, &bytes, nullptr, nullptr, 0);
    std::vector<int16_t> tone = ToneSamples();
    std::memcpy(data, tone.data(), bytes);
    first->Unlock(data, bytes, nullptr, 0);
    buffers.push_back(first);
    while (buffers.size() < voices) {
      IDirectSoundBuffer* copy = nullptr;
      if (ds->DuplicateSoundBuffer(first, &copy) != DS_OK) std::abort();
      buffers.push_back(copy);
    }
    for (IDirectSoundBuffer* b : buffers) {
      IDirectSound3DBuffer* part = nullptr;
      b->QueryInterface(IID_IDirectSound3DBuffer, reinterpret_cast<void**>(&part));
      part->SetMinDistance(1.0f, DS3D_IMMEDIATE);
      parts.push_back(part);
      b->Play(0, 0, looping ? DSBPLAY_LOOPING : 0);
    }
  }

  void Update(uint64_t frame) {
    float p[3];
    for (uint32_t v = 0; v < parts.size(); ++v) {
      Place(v, frame, p);
      parts[v]->SetPosition(p[0], p[1], p[2], DS3D_DEFERRED);
    }
    // Each one-shot lasts 62.5 frames: started again from the top just before it ends.
    if (!looping && frame % 60 == 0)
      for (IDirectSoundBuffer* b : buffers) {
        b->SetCurrentPosition(0);
        b->Play(0, 0, 0);
      }
    listener->SetPosition(0.001f * static_cast<float>(frame % 1000), 0, 0, DS3D_DEFERRED);
    listener->CommitDeferredSettings();
  }

  void Render() {
    kxHost_Advance(kFrameMs);
    kxHost_TakeCapture(0, nullptr, UINT32_MAX);
  }

  ~StandIn() {
    for (IDirectSound3DBuffer* p : parts) p->Release();
    for (IDirectSoundBuffer* b : buffers) b->Release();
    listener->Release();
    ds->Release();
  }
};

struct Direct {
  ALCdevice* device = nullptr;
  ALCcontext* context = nullptr;
  ALuint buffer = 0;
  std::vector<ALuint> sources;
  std::vector<float> out;
  uint64_t carry = 0;

  Direct(uint32_t voices, bool sinc) : sources(voices), out(kChunk * 2) {
    device = alcLoopbackOpenDeviceSOFT(nullptr);
    ALCint attrs[] = {ALC_FREQUENCY, static_cast<ALCint>(kMixRate), ALC_MONO_SOURCES, 8192, ALC_STEREO_SOURCES, 512,
                      ALC_HRTF_SOFT, ALC_FALSE, ALC_FORMAT_CHANNELS_SOFT, ALC_STEREO_SOFT, ALC_FORMAT_TYPE_SOFT,
                      ALC_FLOAT_SOFT, ALC_OUTPUT_LIMITER_SOFT, ALC_FALSE, 0};
    context = alcCreateContext(device, attrs);
    alcSetThreadContext(context);
    alDistanceModel(AL_INVERSE_DISTANCE_CLAMPED);
    std::vector<int16_t> tone = ToneSamples();
    alGenBuffers(1, &buffer);
    alBufferData(buffer, AL_FORMAT_MONO16, tone.data(), static_cast<ALsizei>(tone.size() * 2), kRate);
    alGenSources(static_cast<ALsizei>(voices), sources.data());
    // The last resampler OpenAL Soft lists is its best band-limited one.
    const ALint resampler = sinc ? alGetInteger(AL_NUM_RESAMPLERS_SOFT) - 1 : alGetInteger(AL_DEFAULT_RESAMPLER_SOFT);
    for (ALuint s : sources) {
      alSourcei(s, AL_SOURCE_RESAMPLER_SOFT, resampler);
      alSourcei(s, AL_BUFFER, static_cast<ALint>(buffer));
      alSourcei(s, AL_LOOPING, AL_TRUE);
      alSourcef(s, AL_REFERENCE_DISTANCE, 1.0f);
      alSourcePlay(s);
    }
  }

  void Update(uint64_t frame) {
    float p[3];
    alDeferUpdatesSOFT();
    for (uint32_t v = 0; v < sources.size(); ++v) {
      Place(v, frame, p);
      alSource3f(sources[v], AL_POSITION, p[0], p[1], -p[2]);
    }
    alListener3f(AL_POSITION, 0.001f * static_cast<float>(frame % 1000), 0, 0);
    alProcessUpdatesSOFT();
  }

  void Render() {
    uint64_t due = carry + uint64_t{kFrameMs} * kMixRate;
    carry = due % 1000;
    for (uint64_t left = due / 1000; left;) {
      uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(left, kChunk));
      alcRenderSamplesSOFT(device, out.data(), static_cast<ALCsizei>(n));
      left -= n;
    }
    benchmark::DoNotOptimize(out.data());
  }

  ~Direct() {
    alDeleteSources(static_cast<ALsizei>(sources.size()), sources.data());
    alDeleteBuffers(1, &buffer);
    alcSetThreadContext(nullptr);
    alcDestroyContext(context);
    alcCloseDevice(device);
  }
};

template <typename Engine, typename... Args>
void Frames(benchmark::State& state, Args... args) {
  const auto voices = static_cast<uint32_t>(state.range(0));
  Engine engine(voices, args...);
  uint64_t frame = 0;
  for (auto _ : state) {
    engine.Update(frame++);
    engine.Render();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["core%/voice"] = benchmark::Counter(kFrameMs / 1000.0 * voices / 100,
                                                     benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

// The 3D updates alone: what the stand-in's placing costs against OpenAL's own calls.
template <typename Engine, typename... Args>
void Updates(benchmark::State& state, Args... args) {
  Engine engine(static_cast<uint32_t>(state.range(0)), args...);
  uint64_t frame = 0;
  for (auto _ : state) engine.Update(frame++);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StandInFrame(benchmark::State& state) { Frames<StandIn>(state, false); }
void BM_StandInLoopFrame(benchmark::State& state) { Frames<StandIn>(state, true); }
void BM_DirectSincFrame(benchmark::State& state) { Frames<Direct>(state, true); }
void BM_DirectLinearFrame(benchmark::State& state) { Frames<Direct>(state, false); }
void BM_StandInUpdate(benchmark::State& state) { Updates<StandIn>(state, true); }
void BM_DirectUpdate(benchmark::State& state) { Updates<Direct>(state, true); }

}  // namespace

BENCHMARK(BM_StandInFrame)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StandInLoopFrame)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DirectSincFrame)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DirectLinearFrame)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StandInUpdate)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DirectUpdate)->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
  return RunWithRatios(argc, argv,
                       {{"BM_StandInFrame/64", "BM_DirectSincFrame/64"},
                        {"BM_StandInFrame/256", "BM_DirectSincFrame/256"},
                        {"BM_StandInLoopFrame/64", "BM_DirectSincFrame/64"},
                        {"BM_StandInLoopFrame/256", "BM_DirectSincFrame/256"},
                        {"BM_StandInFrame/64", "BM_DirectLinearFrame/64"},
                        {"BM_StandInFrame/256", "BM_DirectLinearFrame/256"},
                        {"BM_StandInUpdate/64", "BM_DirectUpdate/64"},
                        {"BM_StandInUpdate/256", "BM_DirectUpdate/256"}});
}
