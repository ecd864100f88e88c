// The music library on the offline output: what a listener hears of an MP3 sound, and
// what the library refuses. One test drives the music thread of the null output.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "gaudio/gaudio.h"
#include "gaudio/mp3_decoder.h"
#include "kxHost.h"
#include "listen.h"
#include "mp3_file.h"
#include "temp_dir.h"
#include "wave_file.h"

namespace {

using gaudio::Address32;

constexpr double kFrame = 1152.0 / 44100;   // one MP3 frame, in seconds
constexpr double kToneRms = 0.5 / M_SQRT2;  // what MakeMp3's tone gives in each speaker

std::atomic<int> g_ended{0};
void OnEnd() { g_ended.fetch_add(1); }
// Steps of 10 ms heard through ListenFrames, and how many had been heard when the first end
// was reported.
int g_steps = 0, g_endedAfter = -1;
void CountStep() {
  ++g_steps;
  if (g_ended && g_endedAfter < 0) g_endedAfter = g_steps;
}

GAudioSoundDesc FileDesc(const char* path) {
  GAudioSoundDesc desc{};
  desc.Header = GAUDIO_DESC_HEADER;
  desc.Path = Address32(path);
  desc.Flags = 4;
  desc.Option = 1;
  return desc;
}

GAudioSoundDesc MemoryDesc(const void* data, uint32_t size) {
  GAudioSoundDesc desc = FileDesc(nullptr);
  desc.MemoryData = Address32(data);
  desc.MemorySize = size;
  desc.FromMemory = 1;
  return desc;
}

GAudioNotifyDesc EndDesc() {
  GAudioNotifyDesc desc{};
  desc.Size = sizeof desc;
  desc.Event = GAUDIO_EVENT_END_OF_FILE;
  desc.Callback = Address32(reinterpret_cast<const void*>(&OnEnd));
  return desc;
}

// Seconds of a capture between the first and the last sample above a whisper.
double Sounding(const Capture& c) {
  size_t first = 0;
  while (first < c.Left.size() && std::fabs(c.Left[first]) <= 1e-4) ++first;
  return first == c.Left.size() ? 0 : c.LastSound() - static_cast<double>(first) / c.Rate;
}

// Decoding again after a seek to the start may differ in the last bit.
constexpr double kSameSamples = 4.0 / 32768;

double MaxDifference(const Capture& a, const Capture& b, double seconds) {
  size_t n = static_cast<size_t>(seconds * a.Rate);
  double most = 0;
  for (size_t i = 0; i < n && i < a.Left.size() && i < b.Left.size(); ++i)
    most = std::max({most, double{std::fabs(a.Left[i] - b.Left[i])}, double{std::fabs(a.Right[i] - b.Right[i])}});
  return most;
}

class GAudioTest : public ::testing::Test {
protected:
  void SetUp() override {
    kxHost_SetManualClock(1);
    ASSERT_EQ(0, kxHost_SetAudioOutput("offline"));
    audio_ = std::make_unique<gaudio::GAudio>();
    ASSERT_EQ(gaudio::ERR_OK, audio_->init(gaudio::DEVICE_DEFAULT, 44100, 0));
    ASSERT_EQ(48000u, kxHost_CaptureRate(1));
    DropCapture(1);
    g_ended = g_steps = 0;
    g_endedAfter = -1;
  }

  void TearDown() override {
    audio_.reset();
    kxHost_SetAudioOutput("offline");
  }

  GAudioSound* Load(const GAudioSoundDesc& desc) {
    GAudioSound* sound = nullptr;
    EXPECT_EQ(gaudio::ERR_OK, audio_->getSoundClass(gaudio::SOUND_CLASS_STREAM, &desc, &sound));
    return sound;
  }

  TempDir dir_;
  std::unique_ptr<gaudio::GAudio> audio_;
};

// The whole life of a sound: played for exactly its length at its own level in both
// speakers, reported once when the last sample has been heard, silent after, played from the
// top again, continued after a pause, rewound by a stop, and at the level its volume asks.
// The caller may reuse its record and image as soon as getSoundClass returns.
TEST_F(GAudioTest, PlaysToTheEndOnceThenAgainPausesRewindsAndFollowsTheVolume) {
  if (MakeMp3(dir_, "tone.mp3", 440, 1.0).empty()) GTEST_SKIP() << "lame is not installed";
  std::vector<uint8_t> image = dir_.read("tone.mp3");
  GAudioSoundDesc desc = MemoryDesc(image.data(), static_cast<uint32_t>(image.size()));
  GAudioSound* sound = Load(desc);
  ASSERT_NE(nullptr, sound);
  std::fill(image.begin(), image.end(), 0x55);
  std::memset(&desc, 0, sizeof desc);
  GAudioNotifyDesc notify = EndDesc();
  ASSERT_EQ(1, sound->SetNotify(&notify, 1));
  EXPECT_EQ(1000, sound->GetLengthMs());
  EXPECT_EQ(0, sound->IsPlaying());
  EXPECT_EQ(0.0, Listen(100, 1).Rms()) << "a new sound starts stopped";

  ASSERT_EQ(1, sound->Play());
  EXPECT_EQ(1, sound->IsPlaying());
  Capture first = ListenFrames(1300, CountStep, 1);
  const double endedAt = g_endedAfter / 100.0;
  const double full = first.RmsLeft(0.05, 0.95);
  EXPECT_NEAR(1.0, first.LastSound(), kFrame);
  EXPECT_NEAR(0.0, Decibels(full, kToneRms), 0.5);
  EXPECT_NEAR(0.0, Decibels(first.RmsRight(0.05, 0.95), full), 0.01);
  // Reported after the last sample was rendered, not when it was decoded.
  EXPECT_GE(endedAt, first.LastSound());
  EXPECT_LT(endedAt, first.LastSound() + 0.025);
  EXPECT_EQ(0, sound->IsPlaying());
  EXPECT_LT(first.Rms(1.05), 1e-5) << "silent after";
  EXPECT_EQ(1, g_ended.load());

  // One long advance: the source is fed between the pieces the output renders.
  ASSERT_EQ(1, sound->Play());
  EXPECT_LT(MaxDifference(first, Listen(1200, 1, 1200), 1.1), kSameSamples);
  EXPECT_EQ(2, g_ended.load());

  ASSERT_EQ(1, sound->Play());
  Capture head = Listen(200, 1);
  ASSERT_EQ(1, sound->Pause());
  EXPECT_EQ(0, sound->IsPlaying());
  EXPECT_EQ(200, sound->GetPositionMs());
  EXPECT_LT(Listen(300, 1).Rms(), 1e-5);
  ASSERT_EQ(1, sound->Play());
  Capture tail = Listen(1000, 1);
  EXPECT_NEAR(1.0, Sounding(head) + tail.LastSound(), kFrame);
  EXPECT_EQ(3, g_ended.load());

  ASSERT_EQ(1, sound->Play());
  Listen(200, 1);
  ASSERT_EQ(1, sound->Stop());
  EXPECT_EQ(0, sound->GetPositionMs());
  EXPECT_LT(Listen(100, 1).Rms(), 1e-5);
  ASSERT_EQ(1, sound->Play());
  EXPECT_LT(MaxDifference(first, Listen(200, 1), 0.2), kSameSamples);
  // Half volume halves the amplitude; below 0 is silence; above 1 is kept and plays at full
  // level, as the source's gain stops at 1.
  ASSERT_EQ(1, sound->SetVolume(0.5f));
  EXPECT_NEAR(-6.02, Decibels(Listen(200, 1).Rms(0.05), full), 0.5);
  sound->SetVolume(-0.5f);
  EXPECT_EQ(0.0f, sound->GetVolume());
  EXPECT_LT(Listen(200, 1).Rms(0.05), 1e-6);
  sound->SetVolume(1.5f);
  EXPECT_FLOAT_EQ(1.5f, sound->GetVolume());
  EXPECT_NEAR(0.0, Decibels(Listen(200, 1).Rms(0.05), full), 0.1);
  ASSERT_EQ(1, sound->Stop());
  Listen(1000, 1);
  EXPECT_EQ(3, g_ended.load()) << "a stopped sound has not played to its end";
  // Stopped or paused, the operations still succeed.
  EXPECT_EQ(1, sound->Pause());
  EXPECT_EQ(1, sound->Stop());
  sound->Release();
}

// Every rate MPEG audio has, with a tone at 0.4 of it and a low one: each is heard at the
// source's pitch and level at the output's rate, and nothing else (no image of the tone
// above the file's band, no alias, no distortion) comes within 50 dB of it.
TEST_F(GAudioTest, EveryFileRateIsHeardCleanAtTheOutputRate) {
  for (int rate : {8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000}) {
    for (double fraction : {0.4, 0.05}) {
      const double hz = fraction * rate;
      std::string path = MakeMp3(dir_, "Rates/tone" + std::to_string(rate) + ".mp3", hz, 1.0, rate);
      if (path.empty()) GTEST_SKIP() << "lame is not installed";
      // The source: the file decoded at its own rate.
      auto decoder = gaudio::Mp3Decoder::OpenFile(path.c_str());
      ASSERT_TRUE(decoder) << path;
      std::vector<int16_t> pcm(size_t{2} * rate);
      pcm.resize(decoder->Read(pcm.data(), rate) * 2);
      std::vector<float> source;
      for (size_t i = pcm.size() / 4; i < pcm.size(); i += 2) source.push_back(pcm[i] / 32768.0f);

      // Found without regard to case or the separator.
      std::string name = dir_.path() + "RATES\\Tone" + std::to_string(rate) + ".MP3";
      GAudioSound* sound = Load(FileDesc(name.c_str()));
      ASSERT_NE(nullptr, sound);
      ASSERT_EQ(1, sound->Play());
      Capture heard = Listen(900, 1);
      sound->Release();
      // Past the start, where the window would see the tone begin.
      Spectrum spectrum(std::vector<float>(heard.Left.begin() + heard.Rate / 5, heard.Left.end()), heard.Rate);
      SCOPED_TRACE(std::to_string(rate) + " Hz file, tone of " + std::to_string(hz) + " Hz");
      EXPECT_NEAR(hz, spectrum.PeakHz(), hz * 1e-4);
      EXPECT_NEAR(0.0, Decibels(spectrum.ToneRms(hz), Spectrum(source, rate).ToneRms(hz)), 0.1);
      EXPECT_LT(spectrum.WorstSpuriousDb(hz), -50.0);
    }
  }
}

TEST_F(GAudioTest, RefusesWhatIsNotAnMp3AndMalformedRequests) {
  std::string path = MakeMp3(dir_, "tone.mp3", 440, 0.2);
  if (path.empty()) GTEST_SKIP() << "lame is not installed";
  dir_.write("empty.mp3", std::vector<uint8_t>{});
  dir_.write("text.mp3", std::string(4000, 'x') + "this is not an mp3 at all");
  std::vector<uint8_t> noise(8192);
  uint32_t x = 12345;
  for (uint8_t& b : noise) b = static_cast<uint8_t>((x = x * 1103515245u + 12345u) >> 24);
  dir_.write("noise.mp3", noise);
  WaveShape pcm;
  pcm.Data = Tone(440, 0.5, 22050, 1, 16, 0.5);
  WriteWave(dir_, "tone.wav", pcm);
  std::vector<std::string> paths;
  for (const char* name : {"missing.mp3", "empty.mp3", "text.mp3", "noise.mp3", "tone.wav"})
    paths.push_back(dir_.file(name));
  const GAudioSoundDesc good = FileDesc(path.c_str());
  std::vector<GAudioSoundDesc> refused = {MemoryDesc(noise.data(), static_cast<uint32_t>(noise.size())),
                                          MemoryDesc(noise.data(), 0), good, good, good};
  refused[2].Header = 0x200;
  refused[3].FromMemory = 2;
  refused[4].Path = 0;
  for (const std::string& p : paths) refused.push_back(FileDesc(p.c_str()));
  for (size_t i = 0; i < refused.size(); ++i) {
    GAudioSound* sound = reinterpret_cast<GAudioSound*>(1);
    EXPECT_EQ(gaudio::ERR_FAIL, audio_->getSoundClass(gaudio::SOUND_CLASS_STREAM, &refused[i], &sound)) << i;
    EXPECT_EQ(nullptr, sound) << i;
  }
  GAudioSound* sound = nullptr;
  EXPECT_EQ(gaudio::ERR_FAIL, audio_->getSoundClass(static_cast<gaudio::SoundClass>(4), &good, &sound));
  EXPECT_EQ(gaudio::ERR_FAIL, audio_->getSoundClass(gaudio::SOUND_CLASS_STREAM, nullptr, &sound));
  EXPECT_EQ(gaudio::ERR_FAIL, audio_->getSoundClass(gaudio::SOUND_CLASS_STREAM, &good, nullptr));
  EXPECT_EQ(nullptr, sound);

  gaudio::GAudio idle;
  EXPECT_EQ(gaudio::ERR_FAIL, idle.getSoundClass(gaudio::SOUND_CLASS_STREAM, &good, &sound));
  EXPECT_EQ(gaudio::ERR_FAIL, idle.init(static_cast<gaudio::DeviceType>(1), 44100, 0));
  ASSERT_EQ(0, kxHost_SetAudioOutput("none"));
  EXPECT_EQ(gaudio::ERR_FAIL, idle.init(gaudio::DEVICE_DEFAULT, 44100, 0));

  // Only the end-of-file event in a record of its own size, one at a time.
  ASSERT_NE(nullptr, sound = Load(good));
  GAudioNotifyDesc notify = EndDesc(), otherEvent = notify, wrongSize = notify;
  otherEvent.Event = 4;
  wrongSize.Size = 20;
  EXPECT_EQ(0, sound->SetNotify(&otherEvent, 1));
  EXPECT_EQ(0, sound->SetNotify(&wrongSize, 1));
  EXPECT_EQ(0, sound->SetNotify(&notify, 2));
  EXPECT_EQ(0, sound->SetNotify(nullptr, 1));
  ASSERT_EQ(1, sound->Play());
  Listen(400, 1);
  EXPECT_EQ(0, g_ended.load());
  sound->Release();
}

// The null output runs in real time: the library's own thread feeds and finds the end.
TEST(GAudioThread, PlaysReportsAndReleasesWhilePlaying) {
  TempDir dir;
  std::vector<std::string> paths = {MakeMp3(dir, "short.mp3", 440, 0.2), MakeMp3(dir, "long.mp3", 440, 10.0)};
  if (paths[0].empty() || paths[1].empty()) GTEST_SKIP() << "lame is needed to make test MP3 files";
  paths.push_back(paths[1]);
  ASSERT_EQ(0, kxHost_SetAudioOutput("null"));
  g_ended = 0;
  {
    gaudio::GAudio audio;
    ASSERT_EQ(gaudio::ERR_OK, audio.init(gaudio::DEVICE_DEFAULT, 44100, 0));
    GAudioSound* sounds[3] = {};
    GAudioNotifyDesc notify = EndDesc();
    for (int i = 0; i < 3; ++i) {
      GAudioSoundDesc desc = FileDesc(paths[i].c_str());
      ASSERT_EQ(gaudio::ERR_OK, audio.getSoundClass(gaudio::SOUND_CLASS_STREAM, &desc, &sounds[i]));
      ASSERT_EQ(1, sounds[i]->SetNotify(&notify, 1));
      ASSERT_EQ(1, sounds[i]->Play());
    }
    // Liveness only: the short one ends long before this limit on any machine.
    for (int i = 0; i < 1000 && g_ended == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(1, g_ended.load());
    EXPECT_EQ(0, sounds[0]->IsPlaying());
    EXPECT_GT(sounds[1]->GetPositionMs(), 0);
    for (int i = 0; i < 20; ++i) {
      sounds[1]->SetVolume(0.05f * i);
      sounds[1]->Pause();
      sounds[1]->Play();
    }
    sounds[1]->Release();
    sounds[0]->Release();
    // sounds[2] is still playing when the library goes.
  }
  EXPECT_EQ(1, g_ended.load());
  kxHost_SetAudioOutput("offline");
}

}  // namespace
