// The music library's MP3 path against libmpg123 driven directly on the same file: decoding
// speed as a multiple of real time, for the decoder alone and for whole offline playback
// (decode, stream through OpenAL, render). Then the music thread's share of one core while
// a song plays on the null output. The songs are encoded with lame at start-up.
#include <mpg123.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "gaudio/gaudio.h"
#include "gaudio/mp3_decoder.h"
#include "kxHost.h"
#include "ratio_reporter.h"

namespace {

constexpr int kRate = 44100;
constexpr double kSongSeconds = 20;
constexpr double kThreadSongSeconds = 8;

struct Songs {
  std::string folder, song, threadSong;
  bool ok = false;
};

void Put(std::ofstream& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.put(static_cast<char>(value >> (8 * i)));
}

// Stereo 16-bit: a few drifting partials with a beat and some noise, so the encoder spends
// its bits the way it does on music rather than on a pure tone.
void WriteSong(const std::string& path, double seconds) {
  const uint32_t frames = static_cast<uint32_t>(seconds * kRate);
  std::ofstream out(path, std::ios::binary);
  out.write("RIFF", 4);
  Put(out, 36 + frames * 4, 4);
  out.write("WAVEfmt ", 8);
  Put(out, 16, 4);
  Put(out, 1, 2);
  Put(out, 2, 2);
  Put(out, kRate, 4);
  Put(out, kRate * 4, 4);
  Put(out, 4, 2);
  Put(out, 16, 2);
  out.write("data", 4);
  Put(out, frames * 4, 4);
  uint32_t noise = 1;
  for (uint32_t i = 0; i < frames; ++i) {
    double t = static_cast<double>(i) / kRate;
    double beat = 0.5 + 0.5 * std::sin(2 * M_PI * 2 * t);
    double l = 0.3 * std::sin(2 * M_PI * (220 + 20 * std::sin(t)) * t) + 0.2 * beat * std::sin(2 * M_PI * 660 * t);
    double r = 0.3 * std::sin(2 * M_PI * 330 * t) + 0.15 * std::sin(2 * M_PI * (1320 + 50 * std::sin(3 * t)) * t);
    noise = noise * 1664525u + 1013904223u;
    double n = 0.05 * beat * (static_cast<double>(noise >> 8) / (1u << 24) - 0.5);
    Put(out, static_cast<uint16_t>(static_cast<int16_t>(32767 * (l + n))), 2);
    Put(out, static_cast<uint16_t>(static_cast<int16_t>(32767 * (r - n))), 2);
  }
}

const Songs& TheSongs() {
  static Songs songs = [] {
    Songs s;
    if (std::system("command -v lame >/dev/null 2>&1") != 0) {
      std::fprintf(stderr, "lame is not installed: the gaudio benchmarks are skipped\n");
      return s;
    }
    std::string pattern = (std::filesystem::temp_directory_path() / "kxbench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return s;
    s.folder = pattern;
    s.song = s.folder + "/song.mp3";
    s.threadSong = s.folder + "/thread.mp3";
    WriteSong(s.folder + "/song.wav", kSongSeconds);
    WriteSong(s.folder + "/thread.wav", kThreadSongSeconds);
    s.ok = std::system(("lame --quiet -b 128 '" + s.folder + "/song.wav' '" + s.song + "'").c_str()) == 0 &&
           std::system(("lame --quiet -b 128 '" + s.folder + "/thread.wav' '" + s.threadSong + "'").c_str()) == 0;
    return s;
  }();
  return songs;
}

void RemoveSongs() {
  const Songs& s = TheSongs();
  if (!s.folder.empty()) std::filesystem::remove_all(s.folder);
}

void ReportRealTime(benchmark::State& state, double audioSeconds) {
  state.counters["x_realtime"] =
      benchmark::Counter(audioSeconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_Mpg123Direct(benchmark::State& state) {
  if (!TheSongs().ok) return state.SkipWithError("no lame");
  mpg123_init();
  std::vector<unsigned char> out(65536);
  for (auto _ : state) {
    mpg123_handle* mh = mpg123_new(nullptr, nullptr);
    mpg123_param(mh, MPG123_ADD_FLAGS, MPG123_QUIET, 0);
    mpg123_open(mh, TheSongs().song.c_str());
    size_t done = 0, total = 0;
    int result;
    // The first read reports the format; it is the stream's own, 16-bit stereo.
    while ((result = mpg123_read(mh, out.data(), out.size(), &done)) == MPG123_OK || result == MPG123_NEW_FORMAT)
      total += done;
    benchmark::DoNotOptimize(total);
    mpg123_close(mh);
    mpg123_delete(mh);
  }
  ReportRealTime(state, kSongSeconds);
}

void BM_GAudioDecoder(benchmark::State& state) {
  if (!TheSongs().ok) return state.SkipWithError("no lame");
  const size_t piece = kRate / 20;  // one source buffer
  std::vector<int16_t> out(piece * 2);
  for (auto _ : state) {
    auto decoder = gaudio::Mp3Decoder::OpenFile(TheSongs().song.c_str());
    size_t total = 0, got;
    while ((got = decoder->Read(out.data(), piece)) > 0) total += got;
    benchmark::DoNotOptimize(total);
  }
  ReportRealTime(state, kSongSeconds);
}

std::atomic<int> g_ended{0};
void OnEnd() { g_ended.fetch_add(1); }

GAudioSound* LoadSong(gaudio::GAudio& audio, const std::string& path) {
  GAudioSoundDesc desc{};
  desc.Header = GAUDIO_DESC_HEADER;
  desc.Path = gaudio::Address32(path.c_str());
  desc.Flags = 4;
  desc.Option = 1;
  GAudioSound* sound = nullptr;
  if (audio.getSoundClass(gaudio::SOUND_CLASS_STREAM, &desc, &sound) != gaudio::ERR_OK) std::abort();
  GAudioNotifyDesc notify{};
  notify.Size = sizeof notify;
  notify.Event = GAUDIO_EVENT_END_OF_FILE;
  notify.Callback = gaudio::Address32(reinterpret_cast<const void*>(&OnEnd));
  sound->SetNotify(&notify, 1);
  return sound;
}

// Offline, time moves only as fast as the host advances: here as fast as the machine goes.
void BM_GAudioOfflinePlay(benchmark::State& state) {
  if (!TheSongs().ok) return state.SkipWithError("no lame");
  kxHost_SetManualClock(1);
  kxHost_SetAudioOutput("offline");
  gaudio::GAudio audio;
  if (audio.init(gaudio::DEVICE_DEFAULT, kRate, 0) != gaudio::ERR_OK) return state.SkipWithError("no output");
  for (auto _ : state) {
    GAudioSound* sound = LoadSong(audio, TheSongs().song);
    g_ended = 0;
    sound->Play();
    while (g_ended == 0) {
      kxHost_Advance(500);
      kxHost_TakeCapture(1, nullptr, UINT32_MAX);
    }
    sound->Release();
  }
  ReportRealTime(state, kSongSeconds);
}

// The CPU time a thread of this process has run, from the scheduler's own count.
double ThreadCpuSeconds(const std::string& tid) {
  std::ifstream in("/proc/self/task/" + tid + "/schedstat");
  unsigned long long ns = 0;
  in >> ns;
  return static_cast<double>(ns) / 1e9;
}

std::string FindThread(const char* name) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream comm(entry.path() / "comm");
    std::string text;
    std::getline(comm, text);
    if (text == name) return entry.path().filename().string();
  }
  return "";
}

double ProcessCpuSeconds() {
  timespec ts;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

// Real time: one play of the song per iteration. The null output's own rendering thread counts
// in the process figure, not in the music thread's.
void BM_MusicThreadShareNull(benchmark::State& state) {
  if (!TheSongs().ok) return state.SkipWithError("no lame");
  kxHost_SetAudioOutput("null");
  gaudio::GAudio audio;
  if (audio.init(gaudio::DEVICE_DEFAULT, kRate, 0) != gaudio::ERR_OK) return state.SkipWithError("no output");
  std::string music = FindThread("kxMusic");
  if (music.empty()) return state.SkipWithError("music thread not found");
  double threadCpu = 0, processCpu = 0, wall = 0;
  for (auto _ : state) {
    GAudioSound* sound = LoadSong(audio, TheSongs().threadSong);
    g_ended = 0;
    double thread0 = ThreadCpuSeconds(music), process0 = ProcessCpuSeconds();
    auto start = std::chrono::steady_clock::now();
    sound->Play();
    while (g_ended == 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    threadCpu += ThreadCpuSeconds(music) - thread0;
    processCpu += ProcessCpuSeconds() - process0;
    sound->Release();
  }
  state.counters["music_thread_cpu_%"] = 100 * threadCpu / wall;
  state.counters["process_cpu_%"] = 100 * processCpu / wall;
}

}  // namespace

BENCHMARK(BM_Mpg123Direct)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GAudioDecoder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GAudioOfflinePlay)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MusicThreadShareNull)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  int result = RunWithRatios(argc, argv,
                             {{"BM_GAudioDecoder", "BM_Mpg123Direct"}, {"BM_GAudioOfflinePlay", "BM_Mpg123Direct"}});
  RemoveSongs();
  return result;
}
