// The joints of a sound's life as heard: an ambient's cycles after the pause of all start from
// the beginning; a stop, a pause, a cut-off or a steal ends the old wave without a click.
#include <cmath>
#include <functional>

#include "kxEngine.h"
#include "listen.h"
#include "module_fixture.h"
#include "wave_file.h"

namespace {

using Replays = ModuleTest;

// That a replay of what ran out starts from the beginning is the stand-in's, proved in tests/platform.
TEST_F(Replays, AnAmbientKeepsItsBeginningAfterThePauseOfAll) {
  // 100 ms at 441 Hz, then 200 ms at 1764 Hz: the first tone heard tells where a play began.
  Create("door");
  WaveShape shape;
  shape.Data = Tone(441, 0.1, 22050, 1, 16, 0.5);
  std::vector<uint8_t> high = Tone(1764, 0.2, 22050, 1, 16, 0.5);
  shape.Data.insert(shape.Data.end(), high.begin(), high.end());
  char file[] = "door.wav";
  WriteWave(root, file, shape);
  ASSERT_EQ(qorSound_AddFile("door", file), S_OK);
  ASSERT_EQ(qorSound_LoadAmbient("door"), S_OK);
  ASSERT_EQ(qorSound_PlayAmbientDelayed("door", 1, 0), S_OK);
  ListenFrames(160, qorSound_Update);
  ASSERT_EQ(qorSound_PauseAllAmbiemts(), S_OK);
  ListenFrames(100, qorSound_Update);
  ASSERT_EQ(qorSound_ResumeAllAmbiemts(), S_OK);
  // Every cycle after the pause of all starts with the low tone.
  Capture heard = ListenFrames(3000, qorSound_Update);
  int cycles = 0;
  bool quiet = true;
  for (double t = 0; t < 2.9; t += 0.01) {
    const bool loud = heard.Rms(t, t + 0.01) > 0.01;
    if (loud && quiet) {
      ++cycles;
      EXPECT_NEAR(heard.Hz(t + 0.01, t + 0.08), 441, 30) << "the cycle starting at " << t << " s";
    }
    quiet = !loud;
  }
  EXPECT_GE(cycles, 3);
}

TEST_F(Replays, StopsPausesCutOffsAndStealsEndTheWaveWithoutAClick) {
  ToneSound("hum", {441});
  qorSound_SetNumStreams("hum", 1);
  const double ownStep = 0.5 * 2 * std::sin(M_PI * 441 / 48000);
  void *held = nullptr, *thief = nullptr;
  const std::pair<const char*, std::function<void()>> joints[] = {
      {"stop", [&] { qorSound_StopStream(held); }},
      {"pause", [&] { qorSound_PauseStream(held); }},
      {"steal",
       [&] {
         ASSERT_EQ(qorSound_QueryStream("hum", &thief, 0), thief);
         qorSound_PlayStream(thief);
       }},
      {"cut-off", [&] { qorSound_PlaySound("hum", nullptr, -1); }},
  };
  for (const auto& [name, cut] : joints) {
    const bool oneShot = std::string(name) == "cut-off";
    if (oneShot) {
      ASSERT_EQ(qorSound_PlaySound("hum", nullptr, -1), S_OK);
    } else {
      ASSERT_NE(qorSound_QueryStream("hum", &held, std::string(name) == "steal" ? STREAM_FLAG_STEALABLE : 0), nullptr);
      ASSERT_EQ(qorSound_PlayStream(held), S_OK);
    }
    DropCapture();
    // Left in the capture, so that the joint is heard: mid-period, far from a zero crossing.
    for (int ms = 0; ms < 103; ms += 1) {
      kxHost_Advance(1);
      qorSound_Update();
    }
    cut();
    Capture heard = ListenFrames(50, qorSound_Update);
    EXPECT_LT(LargestStep(heard.Left), 1.5 * ownStep) << name;
    qorSound_ReleaseStream(held);
    qorSound_ReleaseStream(thief);
    qorSound_LogoutSound("hum");
    held = thief = nullptr;
  }
}

}  // namespace
