// A DirectSound device on the offline output, as the module sets it up, and ears to measure
// what it renders: RMS per channel of the capture.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dsound/dsound.h"
#include "kxHost.h"
#include "listen.h"

struct Level {
  double left = 0, right = 0;
  double Both() const { return std::sqrt((left * left + right * right) / 2); }
};

class ListeningTest : public ::testing::Test {
protected:
  static constexpr uint32_t kRate = 22050;     // of the test buffers
  static constexpr uint32_t kPeriod = 50;      // frames of the test tone at kRate: 441 Hz
  static constexpr uint32_t kMixRate = 48000;  // of the offline output, whatever the primary format

  void SetUp() override {
    kxHost_SetManualClock(1);
    ASSERT_EQ(0, kxHost_SetAudioOutput("offline"));
    ASSERT_EQ(DS_OK, DirectSoundCreate(nullptr, &ds_, nullptr));
    ASSERT_EQ(DS_OK, ds_->SetCooperativeLevel(nullptr, DSSCL_PRIORITY));
    DSBUFFERDESC primary{DSBUFFERDESC_SIZE, DSBCAPS_PRIMARYBUFFER | DSBCAPS_CTRL3D, 0, 0, nullptr, {}};
    ASSERT_EQ(DS_OK, ds_->CreateSoundBuffer(&primary, &primary_, nullptr));
    WAVEFORMATEX mix{WAVE_FORMAT_PCM, 2, kRate, kRate * 4, 4, 16, 0};
    ASSERT_EQ(DS_OK, primary_->SetFormat(&mix));
    ASSERT_EQ(DS_OK, primary_->QueryInterface(IID_IDirectSound3DListener, reinterpret_cast<void**>(&listener_)));
    ASSERT_EQ(kMixRate, kxHost_CaptureRate(0));
  }

  void TearDown() override {
    for (IDirectSound3DBuffer* b : parts_) b->Release();
    for (IDirectSoundBuffer* b : buffers_) b->Release();
    if (listener_) listener_->Release();
    if (ds_) ds_->Release();
  }

  static WAVEFORMATEX Pcm(WORD channels, WORD bits, DWORD rate = kRate) {
    WORD align = static_cast<WORD>(channels * bits / 8);
    return WAVEFORMATEX{WAVE_FORMAT_PCM, channels, rate, rate * align, align, bits, 0};
  }

  static DSBUFFERDESC Desc(DWORD flags, WAVEFORMATEX* format, DWORD bytes) {
    return DSBUFFERDESC{DSBUFFERDESC_SIZE, flags, bytes, 0, format, {}};
  }

  // A 16-bit buffer holding these interleaved samples, released by the fixture.
  IDirectSoundBuffer* Make(DWORD flags, WORD channels, DWORD rate, const std::vector<int16_t>& samples) {
    WAVEFORMATEX format = Pcm(channels, 16, rate);
    DSBUFFERDESC desc = Desc(flags, &format, static_cast<DWORD>(samples.size() * 2));
    IDirectSoundBuffer* buffer = nullptr;
    EXPECT_EQ(DS_OK, ds_->CreateSoundBuffer(&desc, &buffer, nullptr));
    if (!buffer) return nullptr;
    buffers_.push_back(buffer);
    void* data = nullptr;
    DWORD bytes = 0;
    EXPECT_EQ(DS_OK, buffer->Lock(0, desc.dwBufferBytes, &data, &bytes, nullptr, nullptr, 0));
    std::memcpy(data, samples.data(), bytes);
    EXPECT_EQ(DS_OK, buffer->Unlock(data, bytes, nullptr, 0));
    return buffer;
  }

  // A 441 Hz tone in every channel but `silent`.
  IDirectSoundBuffer* Tone(DWORD flags, WORD channels, uint32_t frames, DWORD rate = kRate, int silent = -1) {
    std::vector<int16_t> samples(size_t{frames} * channels);
    for (uint32_t i = 0; i < frames; ++i)
      for (WORD c = 0; c < channels; ++c)
        samples[i * channels + c] =
            c == silent ? 0 : static_cast<int16_t>(16000 * std::sin(2 * M_PI * i / kPeriod * kRate / rate));
    return Make(flags, channels, rate, samples);
  }

  IDirectSound3DBuffer* Part3D(IDirectSoundBuffer* buffer) {
    IDirectSound3DBuffer* part = nullptr;
    EXPECT_EQ(DS_OK, buffer->QueryInterface(IID_IDirectSound3DBuffer, reinterpret_cast<void**>(&part)));
    if (part) parts_.push_back(part);
    return part;
  }

  // Renders ms and measures what follows the first skipMs (changes of level glide in).
  Level Listen(uint32_t ms, uint32_t skipMs = 20) {
    DropCapture();
    Capture heard = ::Listen(ms);
    // Whole periods of the tone, so that its phase doesn't move the figure.
    const double hz = double(kRate) / kPeriod;
    double from = skipMs / 1000.0, to = from + std::floor((ms - skipMs) / 1000.0 * hz) / hz;
    return Level{heard.RmsLeft(from, to), heard.RmsRight(from, to)};
  }

  bool Playing(IDirectSoundBuffer* buffer) {
    DWORD status = 0;
    EXPECT_EQ(DS_OK, buffer->GetStatus(&status));
    return (status & DSBSTATUS_PLAYING) != 0;
  }

  // Milliseconds rendered until the buffer stops by itself, in steps of 5.
  uint32_t MsUntilEnd(IDirectSoundBuffer* buffer, uint32_t limit = 5000) {
    uint32_t ms = 0;
    while (Playing(buffer) && ms < limit) {
      kxHost_Advance(5);
      ms += 5;
    }
    return ms;
  }

  DWORD Cursor(IDirectSoundBuffer* buffer) {
    DWORD play = 0;
    EXPECT_EQ(DS_OK, buffer->GetCurrentPosition(&play, nullptr));
    return play;
  }

  IDirectSound* ds_ = nullptr;
  IDirectSoundBuffer* primary_ = nullptr;
  IDirectSound3DListener* listener_ = nullptr;
  std::vector<IDirectSoundBuffer*> buffers_;
  std::vector<IDirectSound3DBuffer*> parts_;
};
