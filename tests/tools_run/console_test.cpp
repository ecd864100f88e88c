// kxsound console driven through its standard input, as a pipe drives it.
#include <gtest/gtest.h>

#include "temp_dir.h"
#include "tool_process.h"

namespace {

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(KxsoundConsoleTest, RunsCommandsAndShowsTheOverlayUntilQuit) {
  TempDir root;
  MakeTestCatalogue(root);
  ToolRun run = RunTool({"console", "--root", root.path(), "--output", "null"},
                        "ShowStatistic 1\nSoundVolume beep\nhold hum as h\nstream h play\nwait 1100\n"
                        "Nonsense\nquit\nPlaySound beep\n");
  EXPECT_EQ(run.Status, 0) << run.Err;
  EXPECT_TRUE(Has(run.Out, "\tCurrent volume: 100")) << run.Out;
  // The overlay: the held stream under its first file, and the stream count.
  EXPECT_TRUE(Has(run.Out, "sounds\\hum0.wav: 1/1")) << run.Out;
  EXPECT_TRUE(Has(run.Out, "Streams created: ")) << run.Out;
  EXPECT_TRUE(Has(run.Out, "Unknown command: Nonsense")) << run.Out;
}

TEST(KxsoundConsoleTest, EndOfInputEndsItAndToolModeHasNoCommands) {
  TempDir root;
  MakeTestCatalogue(root);
  ToolRun plain = RunTool({"console", "--root", root.path(), "--output", "null"}, "help\nUpdateDelay");
  EXPECT_EQ(plain.Status, 0) << plain.Err;
  EXPECT_TRUE(Has(plain.Out, "PlaySound NAME [X Y Z]")) << plain.Out;
  EXPECT_FALSE(Has(plain.Out, " p1")) << "every Sound command has its parameters named";
  EXPECT_TRUE(Has(plain.Out, "wait MS")) << "help lists the scene words too";
  EXPECT_TRUE(Has(plain.Out, "Update delay = 50 msec")) << "the last line had no newline";

  ToolRun tool = RunTool({"console", "--root", root.path(), "--output", "null", "--tool"}, "PlaySound beep\n");
  EXPECT_EQ(tool.Status, 0) << tool.Err;
  EXPECT_TRUE(Has(tool.Out, "Tool mode")) << tool.Out;
  EXPECT_TRUE(Has(tool.Out, "Unknown command: PlaySound")) << tool.Out;
}

}  // namespace
