#include "core/device.h"
#include "buffer_fixture.h"

namespace {

using Device = BufferTest;

// How distance and side sound is heard in tests/platform; here, what the module commits and when.
TEST_F(Device, PositionsWaitForTheCommitAndTheEarsTurnTheListener) {
  SoundBuffer* buffer = Load(2.0, 1);
  ASSERT_NE(buffer, nullptr);
  SoundBuffer_SetDistances(buffer, 1.0f, 100.0f);
  SoundBuffer_Enable3D(buffer, 1);
  float ahead[3] = {0, 0, 2.0f}, right[3] = {2.0f, 0, 0};
  SoundBuffer_SetPosition(buffer, ahead);
  SoundBuffer_Command(buffer, BUFFER_CMD_PLAY);
  Device_CommitDeferred();
  SoundBuffer_SetPosition(buffer, right);
  Capture heard = Listen(200);
  EXPECT_NEAR(Decibels(heard.RmsLeft(0.05), heard.RmsRight(0.05)), 0.0, 0.5) << "not moved until the commit";
  Device_CommitDeferred();
  heard = Listen(200);
  EXPECT_GT(heard.RmsRight(0.05), 2 * heard.RmsLeft(0.05));

  // Turning the ears to face +x puts the sound in front: centred again.
  float ears[3] = {0, 0, 0}, front[3] = {1, 0, 0}, top[3] = {0, 1, 0};
  ASSERT_EQ(qorSound_SetEarsPosition(ears, front, top), S_OK);
  Device_CommitDeferred();
  heard = Listen(200);
  EXPECT_NEAR(Decibels(heard.RmsLeft(0.05), heard.RmsRight(0.05)), 0.0, 0.5);
}

TEST_F(Device, FactorsAndEarsAreCheckedBeforeTheDevice) {
  EXPECT_GE(Device_SetRolloffFactor(0.0f), 0);
  EXPECT_GE(Device_SetRolloffFactor(10.0f), 0);
  EXPECT_EQ(Device_SetRolloffFactor(-0.5f), E_FAIL);
  EXPECT_EQ(Device_SetRolloffFactor(10.5f), E_FAIL);
  float rolloff = 0;
  ASSERT_EQ(ListenerObject->GetRolloffFactor(&rolloff), DS_OK);
  EXPECT_EQ(rolloff, 10.0f) << "the last accepted factor reached the listener";
  EXPECT_GE(Device_SetDopplerFactor(10.0f), 0);
  EXPECT_EQ(Device_SetDopplerFactor(10.5f), E_FAIL);
  EXPECT_GE(Device_SetDistanceFactor(1000.0f), 0);
  EXPECT_EQ(Device_SetDistanceFactor(-1.0f), E_FAIL);
  EXPECT_LT(Device_SetDistanceFactor(0.0f), 0) << "the device refuses what the module lets through";

  // The ears need a running, enabled system and all three vectors.
  float moved[3] = {5, 6, 7}, front[3] = {0, 0, 1}, top[3] = {0, 1, 0};
  SoundEnabled = 0;
  EXPECT_EQ(qorSound_SetEarsPosition(moved, front, top), E_FAIL);
  SoundEnabled = 1;
  EXPECT_EQ(qorSound_SetEarsPosition(moved, nullptr, top), E_FAIL);
  EXPECT_EQ(EarsPosition[0], 0.0f) << "a refused call keeps the ears";
  EXPECT_EQ(qorSound_SetEarsPosition(moved, front, top), S_OK);
  EXPECT_EQ(EarsPosition[2], 7.0f);
  qorSound_Finalize();
  EXPECT_EQ(qorSound_SetEarsPosition(moved, front, top), E_FAIL);
  EXPECT_EQ(Device_SetRolloffFactor(1.0f), E_FAIL) << "the listener went with the device";
}

}  // namespace
