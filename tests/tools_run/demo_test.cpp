// kxsound demo, rendered: it makes its own catalogue and leaves a scene that run can play.
#include <gtest/gtest.h>

#include "tool_process.h"

namespace {

TEST(KxsoundDemoTest, RendersAScenePlayableAgainFromWhatItLeaves) {
  TempDir here;
  ToolRun demo = RunTool({"demo", "--output", "wav:demo.wav"}, "", here.path());
  ASSERT_EQ(demo.Status, 0) << demo.Err;
  Capture wav = ReadWav(here.readText("demo.wav"));
  ASSERT_EQ(wav.Rate, 48000u);
  EXPECT_GT(wav.Seconds(), 15);
  EXPECT_LT(wav.Seconds(), 25);
  // Something is heard all through, and it moves: both sides lead somewhere.
  int leftLouder = 0, rightLouder = 0;
  for (double at = 0; at + 1 < wav.Seconds() - 1; at += 1) {
    double left = wav.RmsLeft(at, at + 1), right = wav.RmsRight(at, at + 1);
    EXPECT_GT(left + right, 0.01) << "silent second at " << at;
    leftLouder += left > 1.3 * right;
    rightLouder += right > 1.3 * left;
  }
  EXPECT_GT(leftLouder, 0);
  EXPECT_GT(rightLouder, 0);

  // A second demo replaces its own folder; the scene it leaves plays the same sound again with
  // the demo's seed, and another with another seed (random footsteps, random waits of the wind).
  ASSERT_EQ(RunTool({"demo", "--output", "wav:again.wav"}, "", here.path()).Status, 0);
  EXPECT_TRUE(here.read("demo.wav") == here.read("again.wav"));
  for (const char* seed : {"2024", "7"}) {
    ToolRun replay = RunTool(
        {"run", "kxsound-demo/demo.scene", "--root", "kxsound-demo", "--seed", seed, "--output", "wav:replay.wav"}, "",
        here.path());
    ASSERT_EQ(replay.Status, 0) << replay.Err;
    EXPECT_EQ(here.read("demo.wav") == here.read("replay.wav"), seed == std::string("2024")) << seed;
  }

  // A folder of that name that the demo did not make is left alone.
  here.write("other/kxsound-demo/mine.txt", std::string("keep"));
  ToolRun refused = RunTool({"demo", "--output", "wav:x.wav"}, "", here.file("other"));
  EXPECT_EQ(refused.Status, 1);
  EXPECT_TRUE(here.exists("other/kxsound-demo/mine.txt"));
}

}  // namespace
