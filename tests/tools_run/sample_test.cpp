// kxsound make-sample: a catalogue that plays as it comes, and that never overwrites one.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tool_process.h"

namespace {

// RMS of a mono 16-bit file as make-sample writes it: the source a listener's level is held to.
double SourceRms(const TempDir& dir, const std::string& file) {
  std::vector<uint8_t> b = dir.read(file);
  double sum = 0;
  for (size_t at = 44; at + 1 < b.size(); at += 2) sum += std::pow(static_cast<int16_t>(b[at] | b[at + 1] << 8), 2);
  return b.size() > 44 ? std::sqrt(sum / static_cast<double>((b.size() - 44) / 2)) / 32768 : 0;
}

TEST(KxsoundSampleTest, TheSamplePlaysEachSoundAtItsLevelAndIsNeverMadeOverAnother) {
  TempDir root, work;
  ToolRun made = RunTool({"make-sample", "--root", root.path()});
  ASSERT_EQ(made.Status, 0) << made.Err;
  work.write("scene", std::string("PlaySound DoorOpen\nwait 1500\nPlaySound Shot 3 0 2\nwait 800\n"
                                  "LoadAmbient Wind\nPlayAmbientLooped Wind\nwait 3500\n"));
  ToolRun run = RunTool(
      {"run", work.file("scene"), "--root", root.path(), "--strict", "--output", "wav:" + work.file("sample.wav")});
  ASSERT_EQ(run.Status, 0) << run.Err;
  Capture wav = ReadWav(work.readText("sample.wav"));
  ASSERT_EQ(wav.Rate, 48000u);
  // The door, a 2D sound in the middle at full volume: the level of its file in both ears.
  double door = SourceRms(root, "sounds/doors/open.wav");
  EXPECT_NEAR(Decibels(wav.RmsLeft(0, 1.4), door), 0.0, 0.5);
  EXPECT_NEAR(Decibels(wav.RmsRight(0, 1.4), door), 0.0, 0.5);
  // The shot, 3D, ahead on the right.
  EXPECT_GT(Decibels(wav.RmsRight(1.5, 2.1), wav.RmsLeft(1.5, 2.1)), 3.0);
  EXPECT_GT(wav.RmsRight(1.5, 2.1), 0.01);
  // The wind at volume 90: 10 dB below its file.
  EXPECT_NEAR(Decibels(wav.RmsLeft(2.3, 5.8), SourceRms(root, "sounds/world/wind.wav")), -10.0, 0.5);

  std::vector<uint8_t> before = root.read("Sounds.qorSound");
  ToolRun again = RunTool({"make-sample", "--root", root.path()});
  EXPECT_EQ(again.Status, 1);
  EXPECT_NE(again.Err.find("already holds a catalogue"), std::string::npos) << again.Err;
  EXPECT_EQ(root.read("Sounds.qorSound"), before);
  // The module finds its catalogue without regard to case, and so does the refusal.
  TempDir other;
  other.write("SOUNDS.QORSOUND", std::string("x"));
  EXPECT_EQ(RunTool({"make-sample", "--root", other.path()}).Status, 1);
  // Nor does it write over a wave file of its own name.
  TempDir third;
  third.write("sounds/world/Wind.wav", std::string("mine"));
  EXPECT_EQ(RunTool({"make-sample", "--root", third.path()}).Status, 1);
  EXPECT_EQ(third.read("sounds/world/Wind.wav"), std::vector<uint8_t>({'m', 'i', 'n', 'e'}));
  EXPECT_FALSE(third.exists("Sounds.qorSound"));
}

}  // namespace
