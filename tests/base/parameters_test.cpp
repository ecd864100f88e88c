#include "module_fixture.h"

namespace {

using Parameters = ModuleTest;

// Levels refuse negatives but have no upper bound; flags keep the low byte.
TEST_F(Parameters, LevelsAndFlagsKeepWhatTheirFieldsAllow) {
  Create("s");
  struct Step {
    void (*set)(const char*, int);
    int value;
    int (*get)(const char*);
    int want;
  } steps[] = {
      {qorSound_SetVolume, -5, qorSound_GetVolume, 100},     {qorSound_SetVolume, 250, qorSound_GetVolume, 250},
      {qorSound_SetVolume2, 10, qorSound_GetVolume, 250},    {qorSound_SetFrequency, 0, qorSound_GetFrequency, 0},
      {qorSound_SetFrequency, -1, qorSound_GetFrequency, 0}, {qorSound_SetLooped, 256, qorSound_GetLooped, 0},
      {qorSound_SetLooped, 257, qorSound_GetLooped, 1},      {qorSound_SetCrossed, 0x1FF, qorSound_GetCrossed, 255},
  };
  for (const Step& step : steps) {
    step.set("s", step.value);
    EXPECT_EQ(step.get("s"), step.want) << step.value;
  }
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

}  // namespace
