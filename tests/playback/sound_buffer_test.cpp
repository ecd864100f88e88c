#include "buffer_fixture.h"
#include "dsound/dsound_stats.h"

namespace {

TEST(LevelLaws, TruncateTheOneProductAndTheLogarithm) {
  EXPECT_EQ(ScaledPercent(100, 1.0f, 70 * 0.01f), 69) << "the float 0.7 is a little less than 0.7";
  EXPECT_EQ(ScaledPercent(100, 1.0f, 1.0f), 100);
  EXPECT_EQ(ScaledPercent(-50, 1.0f, 0.5f), -25);
  const std::pair<int, int> table[] = {{-5, -9999}, {0, -9999}, {1, -4000},  {2, -3397}, {5, -2602},
                                       {10, -2000}, {25, -1204}, {50, -602}, {70, -309}, {75, -249},
                                       {90, -91},   {99, -8},    {100, 0},   {150, 0}};
  for (auto [percent, hundredths] : table) EXPECT_EQ(LogarithmicVolume(percent), hundredths) << percent;
}

using Buffers = BufferTest;

TEST_F(Buffers, ThePercentLawIsOneDecibelAPercent) {
  SoundBuffer* buffer = Load(2.0);
  ASSERT_NE(buffer, nullptr);
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  double full = Listen(200).Rms(0.05);
  SoundBuffer_SetVolumePercent(buffer, 94);
  double lower = Listen(200).Rms(0.05);
  EXPECT_NEAR(Decibels(lower, full), -6.0, 0.5);
  SoundBuffer_SetVolumePercent(buffer, 101);  // +100: refused, the level stays
  EXPECT_NEAR(Decibels(Listen(200).Rms(0.05), full), -6.0, 0.5);
  SoundBuffer_SetVolumePercent(buffer, 0);
  EXPECT_EQ(Listen(200).Rms(0.05), 0.0);
  SoundBuffer_SetVolumeRaw(buffer, -600);
  EXPECT_NEAR(Decibels(Listen(200).Rms(0.05), full), -6.0, 0.5);
}

TEST_F(Buffers, FrequencyPercentMovesTheEnd) {
  SoundBuffer* buffer = Load(0.4);
  ASSERT_NE(buffer, nullptr);
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  double normal = Listen(600).LastSound();
  SoundBuffer_SetFrequencyPercent(buffer, 200);
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  double doubled = Listen(600).LastSound();
  EXPECT_NEAR(normal, 0.4, 0.02);
  EXPECT_NEAR(doubled, 0.2, 0.02);
  EXPECT_FALSE(SoundBuffer_IsPlaying(buffer));
  EXPECT_EQ(Cursor(buffer), 0u) << "a buffer that ends by itself stands at 0";

  SoundBuffer_SetFrequencyPercent(buffer, -3);
  DWORD hertz = 0;
  buffer->DirectBuffer->GetFrequency(&hertz);
  EXPECT_EQ(hertz, 220u);
}

TEST_F(Buffers, CommandsContinueOrRestartWhereTheyShould) {
  SoundBuffer* buffer = Load(2.0);
  ASSERT_NE(buffer, nullptr);
  // A pause on a buffer never stopped: play continues at the pause, resume goes to 0.
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  Listen(200);
  SoundBuffer_Command(buffer, BUFFER_CMD_PAUSE);
  DWORD paused = Cursor(buffer);
  EXPECT_GT(paused, 0u);
  EXPECT_FALSE(SoundBuffer_IsPlaying(buffer));
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  EXPECT_EQ(Cursor(buffer), paused);
  SoundBuffer_Command(buffer, BUFFER_CMD_PAUSE);
  SoundBuffer_Command(buffer, BUFFER_CMD_RESUME);
  EXPECT_EQ(Cursor(buffer), 0u);

  // Play on a playing buffer restarts it and remembers where it was.
  Listen(100);
  DWORD before = Cursor(buffer);
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  EXPECT_EQ(buffer->SavedCursor, before);
  EXPECT_EQ(Cursor(buffer), 0u);
  // Resume on a playing buffer changes nothing; rewind keeps it playing from 0.
  Listen(100);
  DWORD playing = Cursor(buffer);
  SoundBuffer_Command(buffer, BUFFER_CMD_RESUME);
  EXPECT_EQ(Cursor(buffer), playing);
  SoundBuffer_Command(buffer, BUFFER_CMD_REWIND);
  EXPECT_EQ(Cursor(buffer), 0u);
  EXPECT_TRUE(SoundBuffer_IsPlaying(buffer));

  // Stop remembers the cursor for resume; a second stop remembers 0.
  Listen(100);
  SoundBuffer_Command(buffer, BUFFER_CMD_STOP);
  DWORD stopped = buffer->SavedCursor;
  EXPECT_GT(stopped, 0u);
  EXPECT_EQ(Cursor(buffer), 0u);
  SoundBuffer_Command(buffer, BUFFER_CMD_RESUME);
  EXPECT_EQ(Cursor(buffer), stopped);
  SoundBuffer_Command(buffer, BUFFER_CMD_STOP);
  SoundBuffer_Command(buffer, BUFFER_CMD_STOP);
  EXPECT_EQ(buffer->SavedCursor, 0u);

  for (int unknown : {0, 3, 7}) SoundBuffer_Command(buffer, unknown);
  SoundBuffer_Command(nullptr, BUFFER_CMD_PLAY);
  EXPECT_FALSE(SoundBuffer_IsPlaying(buffer));
}

TEST_F(Buffers, LengthsAndProgressInWholeUnits) {
  WaveSpec spec;
  spec.Channels = 2;
  spec.SampleRate = 22050;
  for (auto [bytes, ms] : {std::pair{88200u, 1000u}, {100u, 1u}, {80u, 0u}}) {
    spec.Data.assign(bytes, 0);
    SoundBuffer* buffer = Keep(SoundBuffer_LoadFile(WriteWave(root, "s.wav", spec).c_str(), 0));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(SoundBuffer_GetDurationMs(buffer), ms) << bytes;
  }
  SoundBuffer* second = made.front();
  SoundBuffer_SetProgress(second, 50);
  EXPECT_EQ(Cursor(second), 44100u);
  EXPECT_EQ(SoundBuffer_GetProgress(second), 50u);
  SoundBuffer_SetPositionMs(second, 250);
  EXPECT_EQ(Cursor(second), 22048u) << "byte 22050, moved back to the start of its frame";
}

TEST_F(Buffers, DuplicatesShareSamplesButNotState) {
  SoundBuffer* buffer = Load(1.0, 1);
  ASSERT_NE(buffer, nullptr);
  uint64_t samples = kxDSound_SampleBytes();
  int32_t created = SoundsCreated();
  buffer->Looped = 1;
  buffer->SavedCursor = 400;
  buffer->BaseFrequency = 12345;
  SoundBuffer* copies[8];
  for (SoundBuffer*& copy : copies) {
    copy = Keep(SoundBuffer_Duplicate(buffer));
    ASSERT_NE(copy, nullptr);
  }
  EXPECT_EQ(kxDSound_SampleBytes(), samples);
  EXPECT_EQ(SoundsCreated(), created + 8);
  EXPECT_EQ(copies[0]->Looped, 0);
  EXPECT_EQ(copies[0]->SavedCursor, 0u);
  EXPECT_EQ(copies[0]->BaseFrequency, 12345u);
  EXPECT_NE(copies[0]->Buffer3D, nullptr);
  EXPECT_EQ(SoundBuffer_Is3DEnabled(copies[0]), 0);
  EXPECT_EQ(SoundBuffer_Duplicate(nullptr), nullptr);
}

TEST_F(Buffers, LoadingTakesPcmAsItIsAndCountsEveryAttempt) {
  int32_t created = SoundsCreated();
  SoundBuffer* small = Load(0.1, 0, 1, 11025, 8);
  ASSERT_NE(small, nullptr);
  EXPECT_EQ(small->BaseFrequency, 11025u);
  EXPECT_EQ(small->BufferBytes, 1102u);

  SoundBuffer* spatial = Load(0.1, 1);
  ASSERT_NE(spatial, nullptr);
  EXPECT_EQ(SoundBuffer_Is3DEnabled(spatial), 0);
  EXPECT_EQ(Load(0.1, 1, 2), nullptr) << "the device takes no stereo 3D buffer";

  WaveSpec adpcm;
  adpcm.FormatTag = 2;
  adpcm.CbSize = 0;
  adpcm.Data.assign(512, 0);
  EXPECT_EQ(SoundBuffer_LoadFile(WriteWave(root, "adpcm.wav", adpcm).c_str(), 0), nullptr);
  EXPECT_EQ(SoundBuffer_LoadFile((root.path() + "missing.wav").c_str(), 0), nullptr);
  WaveSpec cut;
  cut.Data.assign(1000, 1);
  cut.DataSize = 5000;
  EXPECT_EQ(SoundBuffer_LoadFile(WriteWave(root, "cut.wav", cut).c_str(), 0), nullptr);
  EXPECT_EQ(SoundsCreated(), created + 6);
}

TEST_F(Buffers, APlainBufferIgnoresThe3DCalls) {
  SoundBuffer* flat = Load(0.1);
  ASSERT_NE(flat, nullptr);
  float position[3] = {1, 2, 3};
  SoundBuffer_SetPosition(flat, position);
  SoundBuffer_GetPosition(flat, position);
  SoundBuffer_SetDistances(flat, 1, 2);
  EXPECT_EQ(position[2], 3.0f);
  EXPECT_EQ(SoundBuffer_Is3DEnabled(flat), 0);
}

}  // namespace
