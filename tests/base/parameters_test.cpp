#include "module_fixture.h"

namespace {

using Parameters = ModuleTest;

TEST_F(Parameters, LevelsRefuseNegativesButHaveNoUpperBound) {
  Create("s");
  qorSound_SetVolume("s", -5);
  EXPECT_EQ(qorSound_GetVolume("s"), 100);
  qorSound_SetVolume("s", 250);
  EXPECT_EQ(qorSound_GetVolume("s"), 250);
  qorSound_SetVolume2("s", 10);
  EXPECT_EQ(qorSound_GetVolume("s"), 250);
  qorSound_SetFrequency("s", 0);
  EXPECT_EQ(qorSound_GetFrequency("s"), 0);
  qorSound_SetFrequency("s", -1);
  EXPECT_EQ(qorSound_GetFrequency("s"), 0);
}

TEST_F(Parameters, DistancesClampTheMinimumOnlyAndNeedA3DSound) {
  Create("s");
  qorSound_SetDistances("s", 0.5f, 50.0f);
  float minimum = 0, maximum = 0;
  qorSound_GetDistances("s", &minimum, &maximum);
  EXPECT_EQ(minimum, 5.0f) << "not 3D: untouched";
  EXPECT_EQ(maximum, 100.0f);

  qorSound_Set3D("s", 1);
  struct Case {
    float min, max, wantMin, wantMax;
  } cases[] = {{0.5f, 50, 1.0f, 50}, {80, 50, 50, 50}, {0.2f, 0.5f, 0.5f, 0.5f}, {2, 3, 2, 3}};
  for (const Case& c : cases) {
    qorSound_SetDistances("s", c.min, c.max);
    qorSound_GetDistances("s", &minimum, &maximum);
    EXPECT_EQ(minimum, c.wantMin) << c.min << " " << c.max;
    EXPECT_EQ(maximum, c.wantMax) << c.min << " " << c.max;
  }

  Create("flat");
  qorSound_SetSoundMinMaxDistances(Entry("flat"), 7.0f, 9.0f);
  qorSound_GetDistances("flat", &minimum, &maximum);
  EXPECT_EQ(minimum, 7.0f);
  EXPECT_EQ(maximum, 9.0f);
}

TEST_F(Parameters, FlagsKeepTheLowByte) {
  Create("s");
  qorSound_SetLooped("s", 256);
  EXPECT_EQ(qorSound_GetLooped("s"), 0);
  qorSound_SetLooped("s", 257);
  EXPECT_EQ(qorSound_GetLooped("s"), 1);
  qorSound_SetCrossed("s", 0x1FF);
  EXPECT_EQ(qorSound_GetCrossed("s"), 255);
}

}  // namespace
