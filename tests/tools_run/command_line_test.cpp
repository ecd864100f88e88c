// The kxsound command line: one table behind the parsing, the help and the README.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tool_process.h"

namespace {

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The usage text stands in the README as an indented block; a change to either shows here. The
// help of a command lists the options it takes and no other.
TEST(KxsoundCommandLineTest, HelpIsTheUsageTheReadmeShowsAndNamesEachCommandsOptions) {
  ToolRun help = RunTool({"help"});
  ASSERT_EQ(help.Status, 0) << help.Err;
  std::string block;
  for (const std::string& line : Lines(help.Out)) block += (line.empty() ? "" : "    " + line) + "\n";
  std::ifstream in(KX_SOURCE_DIR "/README.md");
  std::string readme((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_TRUE(Has(readme, "\n\n" + block + "\n")) << "README.md should show, as it is:\n" << block;
  EXPECT_EQ(RunTool({"--help"}).Out, help.Out);
  ToolRun bare = RunTool({});
  EXPECT_EQ(bare.Status, 2);
  EXPECT_EQ(bare.Err, help.Out);
  ToolRun version = RunTool({"--version"});
  EXPECT_EQ(version.Status, 0);
  EXPECT_EQ(version.Out.rfind("kxsound ", 0), 0u) << version.Out;
  EXPECT_TRUE(version.Out.find_first_of("0123456789") != std::string::npos) << version.Out;

  const std::string run = RunTool({"help", "run"}).Out;
  EXPECT_TRUE(Has(run,
                  "usage: kxsound run SCRIPT [--root DIR] [--output MODE|wav:FILE] [--seed N] [--trace] "
                  "[--strict] [--quiet]\n"))
      << run;
  for (const char* option : {"--root", "--output", "--seed", "--trace", "--strict", "--quiet"})
    EXPECT_TRUE(Has(run, "\n  " + std::string(option) + " ")) << option;
  EXPECT_FALSE(Has(run, "--tool"));
  EXPECT_EQ(Lines(RunTool({"help", "why"}).Out).at(0), "usage: kxsound why SOUND [--root DIR] [--quiet]");
  EXPECT_EQ(RunTool({"help", "nothing"}).Status, 2);
}

TEST(KxsoundCommandLineTest, RefusesWhatACommandDoesNotTake) {
  TempDir root;
  struct Case {
    std::vector<std::string> Args;
    int Status;  // 2: a usage error
    const char* Says;
  };
  const Case cases[] = {
      {{"info", "--seed", "5"}, 2, "info does not take --seed"},
      {{"console", "--strict"}, 2, "console does not take --strict"},
      {{"run", "x.scene", "--tool"}, 2, "run does not take --tool"},
      {{"console", "--output", "wav:x.wav"}, 1, "the console plays in real time"},  // takes --output, but no file
      {{"info", "--colour"}, 2, "unknown option '--colour'"},
      {{"info", "extra"}, 2, "info takes no argument"},
      {{"run", "a.scene", "b.scene"}, 2, "run takes one SCRIPT"},
      {{"why"}, 2, "why needs SOUND"},
      {{"import", "--root"}, 2, "--root needs DIR"},
      {{"run", "a.scene", "--seed", "-1"}, 2, "--seed takes a whole number"},
      {{"play"}, 2, "unknown command 'play'"},
  };
  for (const Case& c : cases) {
    ToolRun refused = RunTool(c.Args, "", root.path());
    EXPECT_EQ(refused.Status, c.Status) << c.Says;
    EXPECT_TRUE(Has(refused.Err, std::string("kxsound: ") + c.Says)) << refused.Err;
    EXPECT_TRUE(refused.Out.empty()) << refused.Out;
  }
}

}  // namespace
