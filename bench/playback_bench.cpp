// The playback hot path: one-shot plays out of a game-sized catalogue, and the frame update
// per stream in use. Offline output, manual clock: no audio is rendered while timing, so the
// figures are the calls' own cost.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "audio/openal.h"
#include "dsound/dsound.h"
#include "kxHost.h"
#include "kxSound.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"
#include "ratio_reporter.h"

namespace {

constexpr int kSet = 64;              // sounds of each kind that are logged in
constexpr int kStreamsPerSound = 4;   // so 256 streams can be held at once
constexpr uint32_t kRate = 22050;
constexpr uint32_t kToneFrames = kRate / 10;

std::string Root;

std::vector<int16_t> ToneSamples() {
  std::vector<int16_t> s(kToneFrames);
  for (uint32_t i = 0; i < kToneFrames; ++i) s[i] = static_cast<int16_t>((i / 25) % 2 ? 6000 : -6000);
  return s;
}

// One small mono PCM file serves every sound of the catalogue.
void WriteTone(const std::string& path) {
  std::vector<int16_t> pcm = ToneSamples();
  uint32_t data = static_cast<uint32_t>(pcm.size() * 2);
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) std::abort();
  auto u32 = [f](uint32_t v) { std::fwrite(&v, 4, 1, f); };
  auto u16 = [f](uint16_t v) { std::fwrite(&v, 2, 1, f); };
  std::fwrite("RIFF", 1, 4, f);
  u32(36 + data);
  std::fwrite("WAVEfmt ", 1, 8, f);
  u32(16);
  u16(1);
  u16(1);
  u32(kRate);
  u32(kRate * 2);
  u16(2);
  u16(16);
  std::fwrite("data", 1, 4, f);
  u32(data);
  std::fwrite(pcm.data(), 2, pcm.size(), f);
  std::fclose(f);
}

// A running module whose catalogue holds `sounds` entries: 64 looped sounds for held streams,
// 64 one-shots when there is room, the rest never played. The played ones are spread through
// the catalogue and logged in before any timing.
struct Scene {
  int Sounds = 0;
  std::vector<std::string> ShotNames;
  std::vector<void*> Shots, Loops;
};
Scene Current;

Scene& SceneOf(int sounds) {
  if (Current.Sounds == sounds) return Current;
  if (Current.Sounds) qorSound_Finalize();
  Current = Scene{};
  Current.Sounds = sounds;
  if (qorSound_Initialize(nullptr, 1) != S_OK) std::abort();
  const int stride = sounds / kSet;
  const bool withShots = sounds >= 2 * kSet;
  for (int i = 0; i < sounds; ++i) {
    char name[256];
    bool loop = i % stride == 0 && static_cast<int>(Current.Loops.size()) < kSet;
    bool shot = !loop && withShots && i % stride == 1 && static_cast<int>(Current.Shots.size()) < kSet;
    std::snprintf(name, sizeof name, "%s%02d_Object%04d", loop ? "Loop" : shot ? "Shot" : "Level", i % 37, i);
    qorSound_CreateNewSound(name);
    char path[64] = "sounds\\tone.wav";
    qorSound_AddFile(name, path);
    if (!loop && !shot) continue;
    qorSound_SetNumStreams(name, kStreamsPerSound);
    qorSound_SetLooped(name, loop ? 1 : 0);
    void* handle = nullptr;
    if (qorSound_FindSound(name, &handle) != S_OK || qorSound_LoginSound(handle) != S_OK) std::abort();
    (loop ? Current.Loops : Current.Shots).push_back(handle);
    if (shot) Current.ShotNames.emplace_back(name);
  }
  return Current;
}

// ---- plays ----

void BM_PlayByName(benchmark::State& state) {
  Scene& scene = SceneOf(10000);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(qorSound_PlaySound(scene.ShotNames[i].c_str(), nullptr, 0));
    i = (i + 1) % kSet;
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_PlayByHandle(benchmark::State& state) {
  Scene& scene = SceneOf(10000);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(qorSound_PlaySound(scene.Shots[i], nullptr, 0));
    i = (i + 1) % kSet;
  }
  state.SetItemsProcessed(state.iterations());
}

// The floor of a restart: OpenAL Soft driven directly on a loopback context of its own,
// over as many sources as the plays above cycle through, with the calls a start needs.
void BM_BareOpenALStart(benchmark::State& state) {
  ALCdevice* device = alcLoopbackOpenDeviceSOFT(nullptr);
  ALCint attrs[] = {ALC_FREQUENCY, static_cast<ALCint>(kRate), ALC_MONO_SOURCES, 8192, ALC_HRTF_SOFT, ALC_FALSE,
                    ALC_FORMAT_CHANNELS_SOFT, ALC_STEREO_SOFT, ALC_FORMAT_TYPE_SOFT, ALC_FLOAT_SOFT, 0};
  ALCcontext* context = alcCreateContext(device, attrs);
  alcSetThreadContext(context);
  std::vector<int16_t> tone = ToneSamples();
  ALuint buffer = 0;
  alGenBuffers(1, &buffer);
  alBufferData(buffer, AL_FORMAT_MONO16, tone.data(), static_cast<ALsizei>(tone.size() * 2), kRate);
  std::vector<ALuint> sources(kSet * kStreamsPerSound);
  alGenSources(static_cast<ALsizei>(sources.size()), sources.data());
  for (ALuint s : sources) {
    alSourcei(s, AL_BUFFER, static_cast<ALint>(buffer));
    alSourcePlay(s);
  }
  size_t i = 0;
  for (auto _ : state) {
    ALuint s = sources[i];
    alSourceStop(s);
    alSourcei(s, AL_SAMPLE_OFFSET, 0);
    for (int g = 0; g < 4; ++g) alSourcef(s, AL_GAIN, g % 2 ? 1.0f : 0.5f);
    alSourcePlay(s);
    i = (i + 1) % sources.size();
  }
  state.SetItemsProcessed(state.iterations());
  alDeleteSources(static_cast<ALsizei>(sources.size()), sources.data());
  alDeleteBuffers(1, &buffer);
  alcSetThreadContext(nullptr);
  alcDestroyContext(context);
  alcCloseDevice(device);
}

// ---- the frame, per stream in use ----

// Holds n playing looped streams, spread over the 64 looped sounds.
std::vector<void*> Hold(Scene& scene, int n) {
  std::vector<void*> slots(static_cast<size_t>(n));
  for (int k = 0; k < n; ++k) {
    if (!qorSound_QueryStream(scene.Loops[static_cast<size_t>(k % kSet)], &slots[static_cast<size_t>(k)], 0) ||
        qorSound_PlayStream(slots[static_cast<size_t>(k)]) != S_OK)
      std::abort();
  }
  return slots;
}

void Let(std::vector<void*>& slots) {
  for (void* stream : slots) qorSound_ReleaseStream(stream);
}

void PerStream(benchmark::State& state, int n) {
  state.SetItemsProcessed(state.iterations() * n);
  state.counters["per_stream"] = benchmark::Counter(static_cast<double>(state.iterations()) * n,
                                                    benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// args: streams held, sounds in the catalogue.
void BM_UpdatePerStream(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  std::vector<void*> slots = Hold(SceneOf(static_cast<int>(state.range(1))), n);
  for (auto _ : state) qorSound_Update();
  PerStream(state, n);
  Let(slots);
}

// What the frame cannot do without: one status query per stream in use, on the same buffers.
void BM_StatusQueryOnly(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  std::vector<void*> slots = Hold(SceneOf(10000), n);
  for (auto _ : state) {
    for (SoundStream* stream = ActiveStreamsHead; stream; stream = stream->ActiveNext) {
      DWORD status = 0;
      stream->Buffer->DirectBuffer->GetStatus(&status);
      benchmark::DoNotOptimize(status);
    }
  }
  PerStream(state, n);
  Let(slots);
}

}  // namespace

// Grouped by catalogue size, so each catalogue is built once.
BENCHMARK(BM_UpdatePerStream)->ArgsProduct({{16, 64, 256}, {100}});
BENCHMARK(BM_UpdatePerStream)->ArgsProduct({{16, 64, 256}, {10000}});
BENCHMARK(BM_StatusQueryOnly)->Arg(16)->Arg(64)->Arg(256);
BENCHMARK(BM_PlayByName);
BENCHMARK(BM_PlayByHandle);
BENCHMARK(BM_BareOpenALStart);

int main(int argc, char** argv) {
  Root = (std::filesystem::temp_directory_path() / "kxbench-playback/").string();
  std::filesystem::remove_all(Root);
  std::filesystem::create_directories(Root + "sounds");
  WriteTone(Root + "sounds/tone.wav");
  kxHost_SetRootFolder(Root.c_str());
  kxHost_SetAudioOutput("offline");
  kxHost_SetManualClock(1);
  std::vector<std::pair<std::string, std::string>> pairs = {{"BM_PlayByName", "BM_BareOpenALStart"},
                                                            {"BM_PlayByHandle", "BM_BareOpenALStart"},
                                                            {"BM_PlayByName", "BM_PlayByHandle"}};
  for (const char* n : {"16", "64", "256"}) {
    std::string big = std::string("BM_UpdatePerStream/") + n + "/10000";
    pairs.emplace_back(big, std::string("BM_StatusQueryOnly/") + n);
    pairs.emplace_back(big, std::string("BM_UpdatePerStream/") + n + "/100");
  }
  int result = RunWithRatios(argc, argv, pairs);
  if (Current.Sounds) qorSound_Finalize();
  std::filesystem::remove_all(Root);
  return result;
}
