// The output modes and the offline capture.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "audio/device_failure.h"
#include "audio/output_device.h"
#include "dsound/dsound.h"
#include "kxHost.h"

namespace {

class Output : public ::testing::Test {
protected:
  void SetUp() override { kxHost_SetManualClock(1); }
  void TearDown() override { kxHost_SetAudioOutput("offline"); }
};

// Machines without a sound card fail like a Windows machine without one, and say why in one
// sentence instead of the audio library's screenful. Where a real output exists there is
// nothing to check here.
TEST_F(Output, TheDeviceModeOpensOnlyRealHardware) {
  ASSERT_EQ(0, kxHost_SetAudioOutput("device"));
  std::vector<std::string> reported;
  kxaudio::SetDeviceFailureReporter(
      [](const char* text, void* user) { static_cast<std::vector<std::string>*>(user)->push_back(text); }, &reported);
  IDirectSound* ds = nullptr;
  testing::internal::CaptureStderr();
  HRESULT result = DirectSoundCreate(nullptr, &ds, nullptr);
  std::string printed = testing::internal::GetCapturedStderr();
  kxaudio::SetDeviceFailureReporter(nullptr, nullptr);
  if (result == DS_OK) {
    EXPECT_GE(kxHost_MixRate(0), 8000u) << "the sound card's own rate";
    EXPECT_EQ("", kxaudio::DeviceFailure());
    ds->Release();
    GTEST_SKIP() << "this machine has an audio output";
  }
  EXPECT_EQ(DSERR_NODRIVER, result);
  EXPECT_EQ(nullptr, ds);
  EXPECT_EQ("", printed) << "nothing of the audio library's own";
  ASSERT_EQ(1u, reported.size());
  EXPECT_EQ(0u, reported[0].find("no sound card: ")) << reported[0];
  EXPECT_NE(std::string::npos, reported[0].find("\"offline\" output with kxHost_SetAudioOutput")) << reported[0];
  EXPECT_EQ(reported[0], kxaudio::DeviceFailure());

  // Without a reporter the sentence goes to standard error, once in a process.
  testing::internal::CaptureStderr();
  EXPECT_EQ(DSERR_NODRIVER, DirectSoundCreate(nullptr, &ds, nullptr));
  EXPECT_EQ(DSERR_NODRIVER, DirectSoundCreate(nullptr, &ds, nullptr));
  EXPECT_EQ("kxSound: " + reported[0] + "\n", testing::internal::GetCapturedStderr());
}

// The null output keeps real time by itself and captures nothing; without a device
// DirectSoundCreate fails.
TEST_F(Output, TheNullModePlaysInRealTimeIntoNothingAndNoneFails) {
  EXPECT_EQ(-1, kxHost_SetAudioOutput("speakers"));
  EXPECT_EQ(-1, kxHost_SetAudioOutput(nullptr));
  ASSERT_EQ(0, kxHost_SetAudioOutput("none"));
  IDirectSound* ds = reinterpret_cast<IDirectSound*>(1);
  EXPECT_EQ(DSERR_NODRIVER, DirectSoundCreate(nullptr, &ds, nullptr));
  EXPECT_EQ(nullptr, ds);
  EXPECT_EQ(DSERR_INVALIDPARAM, DirectSoundCreate(nullptr, nullptr, nullptr));

  ASSERT_EQ(0, kxHost_SetAudioOutput("null"));
  ASSERT_EQ(DS_OK, DirectSoundCreate(nullptr, &ds, nullptr));
  EXPECT_EQ(48000u, kxHost_MixRate(0));
  WAVEFORMATEX format{WAVE_FORMAT_PCM, 1, 22050, 44100, 2, 16, 0};
  DSBUFFERDESC desc{DSBUFFERDESC_SIZE, DSBCAPS_STATIC, 44100, 0, &format, {}};
  IDirectSoundBuffer* b = nullptr;
  ASSERT_EQ(DS_OK, ds->CreateSoundBuffer(&desc, &b, nullptr));
  kxHost_TakeCapture(0, nullptr, UINT32_MAX);
  ASSERT_EQ(DS_OK, b->Play(0, 0, 0));
  DWORD cursor = 0;
  for (int i = 0; i < 200 && cursor == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_EQ(DS_OK, b->GetCurrentPosition(&cursor, nullptr));
  }
  EXPECT_GT(cursor, 0u);
  kxHost_Advance(100);
  float frame[2];
  EXPECT_EQ(0u, kxHost_TakeCapture(0, frame, 1));
  b->Release();
  ds->Release();
}

// Both outputs mix at 48 kHz and render exactly the time advanced; each has its own context.
TEST_F(Output, OfflineRendersExactlyTheTimeAdvancedAndContextScopesNest) {
  ASSERT_EQ(0, kxHost_SetAudioOutput("offline"));
  auto effects = kxaudio::OutputDevice::Open(kxaudio::kEffectsOutput);
  auto music = kxaudio::OutputDevice::Open(kxaudio::kMusicOutput);
  ASSERT_TRUE(effects && music);
  EXPECT_EQ(48000u, kxHost_MixRate(1));
  for (int i = 0; i < 1000; ++i) kxHost_Advance(1);
  kxHost_Advance(3);
  std::vector<float> pcm(2 * 50000);
  EXPECT_EQ(48000u + 144, kxHost_TakeCapture(0, pcm.data(), 50000));
  EXPECT_EQ(48000u + 144, kxHost_TakeCapture(1, pcm.data(), 50000));
  EXPECT_EQ(0u, kxHost_TakeCapture(0, pcm.data(), 50000));

  // Taken in parts, oldest first; an unread capture keeps only its newest 120 s.
  kxHost_Advance(10);
  EXPECT_EQ(100u, kxHost_TakeCapture(0, pcm.data(), 100));
  EXPECT_EQ(380u, kxHost_TakeCapture(0, pcm.data(), 50000));
  kxHost_Advance(125000);
  EXPECT_EQ(120u * 48000, kxHost_TakeCapture(0, nullptr, UINT32_MAX));
  EXPECT_EQ(0u, kxHost_TakeCapture(2, pcm.data(), 1));
  EXPECT_EQ(0u, kxHost_CaptureRate(-1));
  EXPECT_EQ(0u, kxHost_MixRate(2));

  // Context scopes nest and the outermost stays.
  ALCcontext* before = alcGetThreadContext();
  {
    kxaudio::ContextScope outer(effects->Context());
    EXPECT_EQ(effects->Context(), alcGetThreadContext());
    {
      kxaudio::ContextScope inner(music->Context());
      EXPECT_EQ(music->Context(), alcGetThreadContext());
    }
    EXPECT_EQ(effects->Context(), alcGetThreadContext());
    // Another thread has its own current context.
    std::thread([] { EXPECT_EQ(nullptr, alcGetThreadContext()); }).join();
  }
  EXPECT_EQ(before ? before : effects->Context(), alcGetThreadContext());
  // Closing a device takes its context off the thread.
  ALCcontext* closed = effects->Context();
  effects.reset();
  EXPECT_NE(alcGetThreadContext(), closed);

  music.reset();
  EXPECT_EQ(0u, kxHost_MixRate(1));
  kxHost_Advance(1000);
  kxHost_TakeCapture(1, nullptr, UINT32_MAX);
  EXPECT_EQ(0u, kxHost_TakeCapture(1, pcm.data(), 1)) << "a closed output renders nothing";
}

}  // namespace
