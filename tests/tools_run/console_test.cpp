// kxsound console driven through its standard input, as a pipe drives it.
#include <gtest/gtest.h>

#include "tool_process.h"

namespace {

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Piped commands are echoed before their answers; help names every parameter; the overlay shows
// the held stream; the end of input ends the console, even without a last newline.
TEST(KxsoundConsoleTest, RunsPipedCommandsUntilTheInputEndsAndInToolModeOnlyWhy) {
  TempDir root;
  MakeTestCatalogue(root);
  ToolRun run = RunTool({"console", "--root", root.path(), "--output", "null"},
                        "ShowStatistic 1\nSoundVolume beep\n\nhelp PlaySound\nhelp why\nLoadMP3 no/such 0\n"
                        "hold hum as h\nstream h play\nwait 1100\nhelp\nUpdateDelay");
  EXPECT_EQ(run.Status, 0) << run.Err;
  const std::string& out = run.Out;
  EXPECT_TRUE(Has(out, "> SoundVolume beep\n\tCurrent volume: 100\n")) << out;
  EXPECT_TRUE(Has(out, "> help PlaySound\nPlaySound NAME [X Y Z]\n")) << out;
  EXPECT_TRUE(Has(out, "> help why\nwhy SOUND\n  what a play of SOUND would do now, and why (group kxsound)\n")) << out;
  EXPECT_FALSE(Has(out, ">  \n")) << "a blank line is no command";
  // A path typed as on Linux reaches the module in its own form, and the tool says so.
  EXPECT_TRUE(Has(run.Err, "kxsound: path \"no/such\" given as \"no\\such\"")) << run.Err;
  EXPECT_TRUE(Has(out, "> LoadMP3 no/such 0\nFAILED\n")) << out;
  // The overlay: the held stream under its first file, and the stream count.
  EXPECT_TRUE(Has(out, "sounds\\hum0.wav: 1/1")) << out;
  EXPECT_TRUE(Has(out, "Streams created: ")) << out;
  EXPECT_FALSE(Has(out, " p1")) << "every Sound command has its parameters named";
  EXPECT_TRUE(Has(out, "wait MS")) << "help lists the scene words too";
  EXPECT_TRUE(Has(out, "Update delay = 50 msec")) << "the last line had no newline";

  // Tool mode has no Sound commands, but the host's own why.
  ToolRun tool =
      RunTool({"console", "--root", root.path(), "--output", "null", "--tool"}, "help\nwhy hum\nPlaySound beep\n");
  EXPECT_EQ(tool.Status, 0) << tool.Err;
  EXPECT_TRUE(Has(tool.Out, "Tool mode")) << tool.Out;
  EXPECT_TRUE(Has(tool.Out, "Unknown command: PlaySound")) << tool.Out;
  EXPECT_TRUE(Has(tool.Out, "kxsound:\n  why SOUND ")) << tool.Out;
  EXPECT_FALSE(Has(tool.Out, "Unknown command: why")) << tool.Out;
  // What it says is the module's; each of the sound's files is in it.
  EXPECT_TRUE(Has(tool.Out, "hum0.wav")) << tool.Out;
  EXPECT_TRUE(Has(tool.Out, "hum1.wav")) << tool.Out;
}

size_t Count(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

TEST(KxsoundConsoleTest, QuittingWithUnsavedChangesWarnsOnce) {
  TempDir root;
  MakeTestCatalogue(root);
  const char warning[] = "The catalogue has changes that are not saved";
  std::vector<std::string> args = {"console", "--root", root.path(), "--output", "null"};

  ToolRun twice = RunTool(args, "SoundVolume beep 80\nquit\nprint still here\nquit\nprint gone\n");
  EXPECT_EQ(twice.Status, 0) << twice.Err;
  EXPECT_EQ(Count(twice.Out, warning), 1u) << twice.Out;
  EXPECT_TRUE(Has(twice.Out, "still here\n")) << "the first quit only warned";
  EXPECT_FALSE(Has(twice.Out, "gone\n")) << "the second quit left";

  ToolRun saved = RunTool(args, "SoundVolume beep 80\nsave\nquit\nprint gone\n");
  EXPECT_FALSE(Has(saved.Out, warning)) << saved.Out;
  EXPECT_FALSE(Has(saved.Out, "gone\n"));
  // Reopened, it holds the saved value; set back to what the file holds, there is nothing to lose.
  ToolRun reopened = RunTool(args, "SoundVolume beep\nSoundVolume beep 70\nSoundVolume beep 80\nquit\n");
  EXPECT_TRUE(Has(reopened.Out, "\tCurrent volume: 80")) << reopened.Out;
  EXPECT_FALSE(Has(reopened.Out, warning)) << reopened.Out;

  ToolRun ended = RunTool(args, "SoundVolume beep 60\n");
  EXPECT_TRUE(Has(ended.Out, "The catalogue had changes that were not saved")) << ended.Out;
}

}  // namespace
