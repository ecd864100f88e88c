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

void capture(const char* text) { g_printed.emplace_back(text); }

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
    kxHost_SetPrintSink(capture);
    g_printed.clear();
    g_args.clear();
    g_calls = 0;
    qorConsole_RegisterCommand("Sound", "SoundVolume", 2, record, 7, 1, 0);
    qorConsole_RegisterCommand("Sound", "SoundPlay", 6, record, 8, 0, 0);
    qorConsole_RegisterCommand("Debug", "ShowVoices", 0, record, 9, 0, 0);
  }
  void TearDown() override {
    kxHost_SetPrintSink(nullptr);
    kxHost_ClearCommands();
  }
  std::string printed() const {
    std::string all;
    for (const auto& line : g_printed) all += line + "\n";
    return all;
  }
};

}  // namespace

TEST_F(Console, SplitsOnBlanksAndKeepsQuotedTextTogether) {
  EXPECT_EQ(kxHost_Execute("  soundvolume \t\"music bus\"   0.5 "), 0);
  EXPECT_EQ(g_lastId, 7u);
  EXPECT_EQ(g_args, (std::vector<std::string>{"music bus", "0.5"}));

  // An empty quoted word still counts as a parameter.
  EXPECT_EQ(kxHost_Execute("SOUNDVOLUME \"\""), 0);
  EXPECT_EQ(g_args, (std::vector<std::string>{""}));

  std::string big(10000, 'a');
  EXPECT_EQ(kxHost_Execute(("SoundVolume " + big).c_str()), 0);
  EXPECT_EQ(g_args, (std::vector<std::string>{big}));
}

TEST_F(Console, RefusesWrongCountsUnknownCommandsAndBlankLines) {
  EXPECT_EQ(kxHost_Execute("SoundVolume"), -2);
  EXPECT_EQ(kxHost_Execute("SoundVolume a b c"), -2);
  EXPECT_EQ(kxHost_Execute("SoundPlay 1 2 3 4 5"), -2);
  EXPECT_EQ(kxHost_Execute("ShowVoices x"), -2);
  EXPECT_EQ(g_calls, 0);
  EXPECT_NE(printed().find("Usage: SoundVolume NAME [VOLUME]"), std::string::npos) << printed();
  EXPECT_NE(printed().find("Usage: SoundPlay p1 p2 p3 p4 p5 p6"), std::string::npos) << printed();

  EXPECT_EQ(kxHost_Execute("SoundVolume master"), 0);  // the optional one left out
  EXPECT_EQ(kxHost_Execute("SoundPlay 1 2 3 4 5 6"), 0);
  EXPECT_EQ(kxHost_Execute("showvoices"), 0);
  EXPECT_EQ(g_calls, 3);
  EXPECT_TRUE(g_args.empty());

  EXPECT_EQ(kxHost_Execute("Nope 1"), -1);
  EXPECT_NE(printed().find("Unknown command: Nope"), std::string::npos);
  g_printed.clear();
  EXPECT_EQ(kxHost_Execute(" \t "), -1);
  EXPECT_TRUE(g_printed.empty());
}

TEST_F(Console, HelpListsCommandsByGroupWithTheirParametersByName) {
  kxHost_DescribeCommand("Debug", "ShowVoices", "", "lists the voices");
  EXPECT_EQ(kxHost_Execute("HELP"), 0);
  EXPECT_EQ(printed(),
            "Sound:\n"
            "  SoundVolume NAME [VOLUME]             shows a sound's volume, or sets it\n"
            "  SoundPlay p1 p2 p3 p4 p5 p6\n"
            "Debug:\n"
            "  ShowVoices                            lists the voices\n");
  g_printed.clear();
  EXPECT_EQ(kxHost_Execute("help debug"), 0);
  EXPECT_EQ(printed(), "Debug:\n  ShowVoices                            lists the voices\n");

  g_printed.clear();
  EXPECT_EQ(kxHost_Execute("help soundvolume"), 0);
  EXPECT_EQ(printed(), "SoundVolume NAME [VOLUME]\n  shows a sound's volume, or sets it (group Sound)\n");
  g_printed.clear();
  EXPECT_EQ(kxHost_Execute("help Nothing"), -1);
  EXPECT_EQ(printed(), "No command or group: Nothing\n");

  // A registered help command takes the word over.
  qorConsole_RegisterCommand("Game", "Help", 0, record, 11, 0, 0);
  EXPECT_EQ(kxHost_Execute("help"), 0);
  EXPECT_EQ(g_lastId, 11u);
}

// Names are shown only where they fit the registration, so help never names a parameter
// the console would refuse, nor hides one it wants.
TEST_F(Console, ParameterNamesThatDoNotFitTheCountsAreNotShown) {
  struct Case {
    const char* Words;
    int Parameters, Optional;
    const char* Usage;
  };
  const Case cases[] = {
      {"NAME [X Y Z]", 4, 3, "Usage: Probe NAME [X Y Z]"},
      {"NAME SECONDS [PERCENT]", 3, 1, "Usage: Probe NAME SECONDS [PERCENT]"},
      {"[MS]", 1, 1, "Usage: Probe [MS]"},
      {"NAME [X Y Z]", 4, 0, "Usage: Probe p1 p2 p3 p4"},        // brackets where the console wants all
      {"NAME [X] Y", 3, 1, "Usage: Probe p1 p2 [p3]"},           // a required word after an optional one
      {"NAME", 2, 1, "Usage: Probe p1 [p2]"},                    // too few names
      {"NAME [X", 2, 1, "Usage: Probe p1 [p2]"},                 // unbalanced
  };
  for (const Case& c : cases) {
    kxHost_ClearCommands();
    qorConsole_RegisterCommand("Test", "Probe", c.Parameters, record, 1, c.Optional, 0);
    kxHost_DescribeCommand("Test", "Probe", c.Words, nullptr);
    g_printed.clear();
    EXPECT_EQ(kxHost_Execute("Probe 1 2 3 4 5"), -2);
    EXPECT_EQ(printed(), std::string(c.Usage) + "\n") << c.Words;
  }
  // The built-in words belong to their group: a command of that name elsewhere has none.
  kxHost_ClearCommands();
  qorConsole_RegisterCommand("Game", "PlaySound", 4, record, 1, 3, 0);
  qorConsole_RegisterCommand("Sound", "LoadAmbient", 2, record, 2, 0, 0);  // counts out of step
  g_printed.clear();
  kxHost_Execute("help");
  EXPECT_EQ(printed(), "Game:\n  PlaySound p1 [p2] [p3] [p4]\nSound:\n  LoadAmbient p1 p2\n");
}

TEST_F(Console, PrintHasNoFixedLimit) {
  std::string longText(5000, 'q');
  EXPECT_EQ(qorConsole_Print("%s|%d", longText.c_str(), 42), 0);
  ASSERT_EQ(g_printed.size(), 1u);
  EXPECT_EQ(g_printed[0], longText + "|42");
}
