// The kxsound command line: one table behind the parsing, the help and the README.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "temp_dir.h"
#include "tool_process.h"

namespace {

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The usage text stands in the README as an indented block; a change to either shows here.
TEST(KxsoundCommandLineTest, HelpIsTheUsageTheReadmeShows) {
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
}

TEST(KxsoundCommandLineTest, HelpOfACommandListsTheOptionsItTakesAndNoOther) {
  ToolRun run = RunTool({"help", "run"});
  ASSERT_EQ(run.Status, 0);
  EXPECT_EQ(Lines(run.Out).at(0),
            "usage: kxsound run SCRIPT [--root DIR] [--output MODE|wav:FILE] [--seed N] [--trace] [--strict] [--quiet]");
  for (const char* option : {"--root", "--output", "--seed", "--trace", "--strict", "--quiet"})
    EXPECT_TRUE(Has(run.Out, "\n  " + std::string(option) + " ")) << option;
  EXPECT_FALSE(Has(run.Out, "--tool"));

  ToolRun why = RunTool({"help", "why"});
  EXPECT_EQ(Lines(why.Out).at(0), "usage: kxsound why SOUND [--root DIR] [--quiet]");
  EXPECT_EQ(RunTool({"help", "nothing"}).Status, 2);
}

TEST(KxsoundCommandLineTest, RefusesWhatACommandDoesNotTake) {
  TempDir root;
  struct Case {
    std::vector<std::string> Args;
    const char* Says;
  };
  const Case cases[] = {
      {{"info", "--seed", "5"}, "info does not take --seed"},
      {{"console", "--strict"}, "console does not take --strict"},
      {{"run", "x.scene", "--tool"}, "run does not take --tool"},
      {{"console", "--output", "wav:x.wav"}, nullptr},  // takes --output, but not a file
      {{"info", "--colour"}, "unknown option '--colour'"},
      {{"info", "extra"}, "info takes no argument"},
      {{"run", "a.scene", "b.scene"}, "run takes one SCRIPT"},
      {{"why"}, "why needs SOUND"},
      {{"import", "--root"}, "--root needs DIR"},
      {{"run", "a.scene", "--seed", "-1"}, "--seed takes a whole number"},
      {{"play"}, "unknown command 'play'"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = c.Args;
    ToolRun refused = RunTool(args, "", root.path());
    if (!c.Says) {
      EXPECT_EQ(refused.Status, 1) << args[0];
      continue;
    }
    EXPECT_EQ(refused.Status, 2) << c.Says;
    EXPECT_TRUE(Has(refused.Err, std::string("kxsound: ") + c.Says)) << refused.Err;
    EXPECT_TRUE(refused.Out.empty()) << refused.Out;
  }
}

}  // namespace
