#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

std::vector<std::string> g_printed;
std::vector<std::string> g_args;
ULONG g_lastId = 0;
int g_calls = 0;

LONG record(ULONG id, int argc, char** argv) {
  ++g_calls;
  g_lastId = id;
  g_args.clear();
  for (int i = 0; i < argc; ++i) {
    argv[i][0] = argv[i][0];  // must be writable
    g_args.emplace_back(argv[i]);
  }
  EXPECT_EQ(argv[argc], nullptr);
  return 0;
}

class Console : public ::testing::Test {
protected:
  void SetUp() override {
    kxHost_ClearCommands();
    kxHost_SetPrintSink([](const char* text) { g_printed.emplace_back(text); });
    g_calls = 0;
    qorConsole_RegisterCommand("Sound", "SoundVolume", 2, record, 7, 1, 0);
    qorConsole_RegisterCommand("Sound", "SoundPlay", 6, record, 8, 0, 0);
    qorConsole_RegisterCommand("Debug", "ShowVoices", 0, record, 9, 0, 0);
  }
  void TearDown() override {
    kxHost_SetPrintSink(nullptr);
    kxHost_ClearCommands();
  }
  // Runs a line, checks what it returns, and gives what it printed.
  static std::string Run(const std::string& line, int result) {
    g_printed.clear();
    EXPECT_EQ(kxHost_Execute(line.c_str()), result) << line;
    std::string all;
    for (const auto& printed : g_printed) all += printed + "\n";
    return all;
  }
};

}  // namespace

TEST_F(Console, SplitsOnBlanksAndKeepsQuotedTextTogether) {
  Run("  soundvolume \t\"music bus\"   0.5 ", 0);
  EXPECT_EQ(g_lastId, 7u);
  EXPECT_EQ(g_args, (std::vector<std::string>{"music bus", "0.5"}));
  // An empty quoted word still counts as a parameter.
  Run("SOUNDVOLUME \"\"", 0);
  EXPECT_EQ(g_args, (std::vector<std::string>{""}));
  // Neither a line nor a printed text has a fixed limit.
  std::string big(10000, 'a');
  Run("SoundVolume " + big, 0);
  EXPECT_EQ(g_args, (std::vector<std::string>{big}));
  g_printed.clear();
  EXPECT_EQ(qorConsole_Print("%s|%d", big.c_str(), 42), 0);
  EXPECT_EQ(g_printed, (std::vector<std::string>{big + "|42"}));
}

TEST_F(Console, RefusesWrongCountsUnknownCommandsAndBlankLines) {
  struct Case {
    const char* Line;
    int Result;
    const char* Printed;
  };
  for (const Case& c : {Case{"SoundVolume", -2, "Usage: SoundVolume NAME [VOLUME]\n"},
                        Case{"SoundVolume a b c", -2, "Usage: SoundVolume NAME [VOLUME]\n"},
                        Case{"SoundPlay 1 2 3 4 5", -2, "Usage: SoundPlay p1 p2 p3 p4 p5 p6\n"},
                        Case{"ShowVoices x", -2, "Usage: ShowVoices\n"}, Case{"Nope 1", -1, "Unknown command: Nope\n"},
                        Case{" \t ", -1, ""}})
    EXPECT_EQ(Run(c.Line, c.Result), c.Printed);
  EXPECT_EQ(g_calls, 0);
  Run("SoundVolume master", 0);  // the optional one left out
  Run("SoundPlay 1 2 3 4 5 6", 0);
  Run("showvoices", 0);
  EXPECT_EQ(g_calls, 3);
  EXPECT_TRUE(g_args.empty());
}

// Help lists the commands by group with their parameters by name. Names are shown only
// where they fit the registration, so help never names a parameter the console would
// refuse, nor hides one it wants.
TEST_F(Console, HelpNamesParametersOnlyWhereTheyFitTheCounts) {
  kxHost_DescribeCommand("Debug", "ShowVoices", "", "lists the voices");
  EXPECT_EQ(Run("HELP", 0),
            "Sound:\n"
            "  SoundVolume NAME [VOLUME]             shows a sound's volume, or sets it\n"
            "  SoundPlay p1 p2 p3 p4 p5 p6\n"
            "Debug:\n"
            "  ShowVoices                            lists the voices\n");
  EXPECT_EQ(Run("help debug", 0), "Debug:\n  ShowVoices                            lists the voices\n");
  EXPECT_EQ(Run("help soundvolume", 0),
            "SoundVolume NAME [VOLUME]\n  shows a sound's volume, or sets it (group Sound)\n");
  EXPECT_EQ(Run("help Nothing", -1), "No command or group: Nothing\n");
  struct Case {
    const char* Words;
    int Parameters, Optional;
    const char* Usage;
  };
  const Case cases[] = {
      {"NAME [X Y Z]", 4, 3, "Usage: Probe NAME [X Y Z]\n"},
      {"NAME SECONDS [PERCENT]", 3, 1, "Usage: Probe NAME SECONDS [PERCENT]\n"},
      {"[MS]", 1, 1, "Usage: Probe [MS]\n"},
      {"NAME [X Y Z]", 4, 0, "Usage: Probe p1 p2 p3 p4\n"},  // brackets where the console wants all
      {"NAME [X] Y", 3, 1, "Usage: Probe p1 p2 [p3]\n"},     // a required word after an optional one
      {"NAME", 2, 1, "Usage: Probe p1 [p2]\n"},              // too few names
      {"NAME [X", 2, 1, "Usage: Probe p1 [p2]\n"},           // unbalanced
  };
  for (const Case& c : cases) {
    kxHost_ClearCommands();
    qorConsole_RegisterCommand("Test", "Probe", c.Parameters, record, 1, c.Optional, 0);
    kxHost_DescribeCommand("Test", "Probe", c.Words, nullptr);
    EXPECT_EQ(Run("Probe 1 2 3 4 5", -2), c.Usage) << c.Words;
  }
  // The built-in words belong to their group: a command of that name elsewhere has none.
  kxHost_ClearCommands();
  qorConsole_RegisterCommand("Game", "PlaySound", 4, record, 1, 3, 0);
  qorConsole_RegisterCommand("Sound", "LoadAmbient", 2, record, 2, 0, 0);  // counts out of step
  EXPECT_EQ(Run("help", 0), "Game:\n  PlaySound p1 [p2] [p3] [p4]\nSound:\n  LoadAmbient p1 p2\n");
  // A registered help command takes the word over.
  qorConsole_RegisterCommand("Game", "Help", 0, record, 11, 0, 0);
  Run("help", 0);
  EXPECT_EQ(g_lastId, 11u);
}
