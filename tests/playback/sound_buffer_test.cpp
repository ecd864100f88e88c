#include <sys/resource.h>

#include <climits>

#include "buffer_fixture.h"
#include "dsound/dsound_stats.h"

namespace {

TEST(LevelLaws, TruncateTheOneProductAndTheLogarithm) {
  EXPECT_EQ(ScaledPercent(100, 1.0f, 70 * 0.01f), 69) << "the float 0.7 is a little less than 0.7";
  EXPECT_EQ(ScaledPercent(100, 1.0f, 1.0f), 100);
  EXPECT_EQ(ScaledPercent(-50, 1.0f, 0.5f), -25);
  const std::pair<int, int> table[] = {{-5, -9999}, {0, -9999},  {1, -4000}, {2, -3397}, {5, -2602},
                                       {10, -2000}, {25, -1204}, {50, -602}, {70, -309}, {75, -249},
                                       {90, -91},   {99, -8},    {100, 0},   {150, 0}};
  for (auto [percent, hundredths] : table) EXPECT_EQ(LogarithmicVolume(percent), hundredths) << percent;
}

using Buffers = BufferTest;

// The device's side of volume and frequency is heard in tests/platform; here, what reaches it.
TEST_F(Buffers, PercentsReachTheDeviceAsHundredthsAndHertzAnd3DCallsPassAPlainBufferBy) {
  SoundBuffer* buffer = Load(0.1);
  ASSERT_NE(buffer, nullptr);
  float position[3] = {1, 2, 3};
  SoundBuffer_SetPosition(buffer, position);
  SoundBuffer_GetPosition(buffer, position);
  SoundBuffer_SetDistances(buffer, 1, 2);
  EXPECT_EQ(position[2], 3.0f);
  EXPECT_EQ(SoundBuffer_Is3DEnabled(buffer), 0);
  LONG volume = 0;
  DWORD hertz = 0;
  // One decibel a percent; out of range stays out of range, so the device keeps the last level.
  for (auto [percent, hundredths] : {std::pair{94, -600}, {101, -600}, {INT_MIN, -600}, {INT_MAX, -600}, {0, -10000}}) {
    SoundBuffer_SetVolumePercent(buffer, percent);
    buffer->DirectBuffer->GetVolume(&volume);
    EXPECT_EQ(volume, hundredths) << percent;
  }
  // Below 1 % counts as 1 %; 19478311 % of 22050 Hz is past 32 bits and must not wrap to 279 Hz.
  for (auto [percent, hz] : {std::pair{200, 44100u}, {19478311, 44100u}, {-3, 220u}}) {
    SoundBuffer_SetFrequencyPercent(buffer, percent);
    buffer->DirectBuffer->GetFrequency(&hertz);
    EXPECT_EQ(hertz, hz) << percent;
  }
}

// That a play after a pause, or a resume after a stop, continues is heard through the streams.
TEST_F(Buffers, CommandsContinueOrRestartWhereTheyShould) {
  SoundBuffer* buffer = Load(2.0);
  ASSERT_NE(buffer, nullptr);
  // A resume after a pause, never stopped, goes to 0.
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  Listen(200);
  SoundBuffer_Command(buffer, BUFFER_CMD_PAUSE);
  EXPECT_FALSE(SoundBuffer_IsPlaying(buffer));
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

  // A second stop remembers 0.
  Listen(100);
  SoundBuffer_Command(buffer, BUFFER_CMD_STOP);
  SoundBuffer_Command(buffer, BUFFER_CMD_STOP);
  EXPECT_EQ(buffer->SavedCursor, 0u);

  for (int unknown : {0, 3, 7}) SoundBuffer_Command(buffer, unknown);
  SoundBuffer_Command(nullptr, BUFFER_CMD_PLAY);
  EXPECT_FALSE(SoundBuffer_IsPlaying(buffer));
}

// That the samples are shared is the stand-in's own, proved in tests/platform.
TEST_F(Buffers, DuplicatesKeepTheFrequencyButNotTheState) {
  SoundBuffer* buffer = Load(1.0, 1);
  ASSERT_NE(buffer, nullptr);
  int32_t created = SoundsCreated();
  buffer->Looped = 1;
  buffer->SavedCursor = 400;
  buffer->BaseFrequency = 12345;
  SoundBuffer* copy = Keep(SoundBuffer_Duplicate(buffer));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SoundsCreated(), created + 1);
  EXPECT_EQ(copy->Looped, 0);
  EXPECT_EQ(copy->SavedCursor, 0u);
  EXPECT_EQ(copy->BaseFrequency, 12345u);
  EXPECT_NE(copy->Buffer3D, nullptr);
  EXPECT_EQ(SoundBuffer_Is3DEnabled(copy), 0);
  EXPECT_EQ(SoundBuffer_Duplicate(nullptr), nullptr);
}

TEST_F(Buffers, LoadingTakesPcmAsItIsCountsEveryAttemptAndMeasuresInWholeUnits) {
  int32_t created = SoundsCreated();
  SoundBuffer* small = Load(0.1, 0, 1, 11025, 8);
  ASSERT_NE(small, nullptr);
  EXPECT_EQ(small->BaseFrequency, 11025u);
  EXPECT_EQ(small->BufferBytes, 1102u);

  SoundBuffer* spatial = Load(0.1, 1);
  ASSERT_NE(spatial, nullptr);
  EXPECT_EQ(SoundBuffer_Is3DEnabled(spatial), 0);
  EXPECT_EQ(Load(0.1, 1, 2), nullptr) << "the device takes no stereo 3D buffer";

  EXPECT_EQ(SoundBuffer_LoadFile((root.path() + "missing.wav").c_str(), 0), nullptr);
  // A few bytes that claim 250 MB fail before anything of that size is made.
  WaveShape hostile;
  hostile.Data.assign(16, 1);
  hostile.DataSize = 250u << 20;
  const std::string path = WriteWave(root, "hostile.wav", hostile);
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  EXPECT_EQ(SoundBuffer_LoadFile(path.c_str(), 0), nullptr);
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 * 1024) << "kilobytes of peak memory";
  EXPECT_EQ(SoundsCreated(), created + 5);

  // Lengths and progress in whole units.
  WaveShape shape;
  shape.Channels = 2;
  shape.SampleRate = 22050;
  for (auto [bytes, ms] : {std::pair{88200u, 1000u}, {100u, 1u}, {80u, 0u}}) {
    shape.Data.assign(bytes, 0);
    SoundBuffer* buffer = Keep(SoundBuffer_LoadFile(WriteWave(root, "s.wav", shape).c_str(), 0));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(SoundBuffer_GetDurationMs(buffer), ms) << bytes;
  }
  SoundBuffer* second = made.end()[-3];  // the one of 1000 ms
  SoundBuffer_SetProgress(second, 50);
  EXPECT_EQ(Cursor(second), 44100u);
  EXPECT_EQ(SoundBuffer_GetProgress(second), 50u);
  SoundBuffer_SetPositionMs(second, 250);
  EXPECT_EQ(Cursor(second), 22048u) << "byte 22050, moved back to the start of its frame";
}

}  // namespace
