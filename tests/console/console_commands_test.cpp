// The "Sound" commands as a person types them, and what they print.
#include <cstdlib>
#include <string>
#include <vector>

#include "listen.h"
#include "module_fixture.h"

namespace {

std::vector<std::string> Printed;
void Capture(const char* text) { Printed.emplace_back(text); }

// Every registered command, as "group name parameters/optional".
std::vector<std::string> Registered() {
  std::vector<std::string> seen;
  kxHost_EnumerateCommands(
      [](const char* group, const char* name, int parameters, int optional, void* user) {
        static_cast<std::vector<std::string>*>(user)->push_back(
            std::string(group) + " " + name + " " + std::to_string(parameters) + "/" + std::to_string(optional));
      },
      &seen);
  return seen;
}

class ConsoleCommands : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    Restart(0);  // a game: the commands are registered
    kxHost_SetPrintSink(Capture);
    ToneSound("door", {440}, 0.2);
  }
  void TearDown() override {
    kxHost_SetPrintSink(nullptr);
    kxHost_ClearCommands();
    ModuleTest::TearDown();
  }
  // Runs a line and gives what it printed, or "refused".
  std::string Run(const char* line) {
    Printed.clear();
    if (kxHost_Execute(line) < 0) return "refused";
    std::string all;
    for (const std::string& text : Printed) all += (all.empty() ? "" : "|") + text;
    return all;
  }
};

TEST_F(ConsoleCommands, ThirtyThreeCommandsInTheirOrder) {
  const std::vector<std::string> commands = Registered();
  ASSERT_EQ(commands.size(), 33u);
  EXPECT_EQ(commands.front(), "Sound Enable 1/0");
  EXPECT_EQ(commands[13], "Sound PlaySound 4/3");
  EXPECT_EQ(commands[31], "Sound GoPM3Index 1/0");
  EXPECT_EQ(commands.back(), "Sound UpdateDelay 1/1");
  for (const std::string& c : commands) EXPECT_EQ(c.rfind("Sound ", 0), 0u) << c;

  // A tool has none.
  kxHost_ClearCommands();
  Restart(1);
  EXPECT_TRUE(Registered().empty());
}

TEST_F(ConsoleCommands, OneSoundsParametersPrintOldAndNew) {
  EXPECT_EQ(Run("SoundVolume door"), "\tCurrent volume: 100");
  EXPECT_EQ(Run("soundvolume DOOR 40"), "\tOld volume: 100\n\tNew volume: 40");
  EXPECT_EQ(Run("SoundVolume door -3"), "\tOld volume: 40\n\tNew volume: 40") << "the value the sound holds";
  EXPECT_EQ(Run("SoundFrequency door 150"), "\tOld frequency: 100\n\tNew frequency: 150");
  for (const char* line :
       {"SoundVolume ghost", "SoundFrequency ghost 1", "SoundMinDistance ghost", "SoundMaxDistance ghost 3"}) {
    EXPECT_EQ(Run(line), "Sound not found") << line;
  }
  qorSound_Set3D("door", 1);
  EXPECT_EQ(Run("SoundMinDistance door"), "\tCurrent min distance: 5.00");
  EXPECT_EQ(Run("SoundMinDistance door 0.5"), "\tOld min distance: 5.00\n\tNew min distance: 1.00");
  EXPECT_EQ(Run("SoundMaxDistance door 40"), "\tOld max distance: 100.00\n\tNew max distance: 40.00");
  float minimum = 0, maximum = 0;
  qorSound_GetDistances("door", &minimum, &maximum);
  EXPECT_EQ(minimum, 1.0f) << "the minimum goes back in unchanged";
  EXPECT_EQ(Run("SoundVolume"), "refused");
}

TEST_F(ConsoleCommands, SwitchesFactorsAndTheUpdateDelay) {
  EXPECT_EQ(Run("UpdateDelay"), "Update delay = 50 msec");
  EXPECT_EQ(Run("UpdateDelay abc"), "Update delay = 0 msec");
  EXPECT_EQ(Run("UpdateDelay 20"), "Update delay = 20 msec");
  // The percentage stays a double until the product is made a float.
  int rounded = 0;
  for (const char* percent : {"50", "33.3", "12.345", "66.6", "42.42", "10.01", "0.001"}) {
    EXPECT_EQ(Run(("FrequencyFactor " + std::string(percent)).c_str()), "");
    rounded += FrequencyFactor != static_cast<float>(std::atof(percent) * static_cast<double>(0.01f));
  }
  EXPECT_EQ(rounded, 0);
  EXPECT_EQ(Run("RolloffFactor -1"), "\n\tInvalid value");
  EXPECT_EQ(Run("RolloffFactor 2"), "");
  EXPECT_EQ(Run("DistanceFactor 0"), "\n\tInvalid value") << "the device refuses it";
  EXPECT_EQ(Run("VolumeFactor 10"), "") << "accepted and nothing happens";
  EXPECT_EQ(Run("ShowStatistic 1"), "");
  EXPECT_EQ(ShowStatistic, 1);
  EXPECT_EQ(Run("SetVolume 70"), "");
  EXPECT_EQ(MasterVolume, 70);
  EXPECT_EQ(Run("Enable 0"), "");
  EXPECT_EQ(Run("SetVolume 20"), "") << "silent about its failure";
  EXPECT_EQ(MasterVolume, 70);
  EXPECT_EQ(Run("Enable 1"), "");
}

TEST_F(ConsoleCommands, PlayingRedirectingAndResultLines) {
  for (const char* line : {"PlaySound door 1 2", "PlaySound \"door\""}) {
    EXPECT_EQ(Run(line), "");
    EXPECT_GT(Listen(250).Rms(0, 0.05), 0.1) << line;
  }

  Create("gate");
  EXPECT_EQ(Run("RedirectSound door gate"), "Sound redirection FAILED") << "no files behind the target";
  EXPECT_EQ(Run("RedirectSound door"), "Sound redirection OK");
  EXPECT_EQ(Run("RedirectSound ghost"), "Sound redirection FAILED");

  EXPECT_EQ(Run("LoadAmbient door"), "OK!");
  EXPECT_EQ(Run("LoadAmbient door"), "FAILED");
  EXPECT_EQ(Run("PlayAmbientDelayed door 10"), "OK!");
  EXPECT_EQ(Run("AmbientVolume door 50"), "OK!");
  EXPECT_EQ(Run("AmbientVolume door"), "refused");
  EXPECT_EQ(Run("UnloadAmbient door"), "OK!");
  EXPECT_EQ(Run("PrevMP3"), "FAILED");
  EXPECT_EQ(Run("NextMP3"), "FAILED");
  EXPECT_EQ(Run("LoadMP3 song"), "refused") << "the flag is required";
  EXPECT_EQ(Run("TestMP3"), "OK!");
  EXPECT_EQ(Run("StopMP3"), "OK!");
  EXPECT_EQ(Run("GoPM3Index 0"), "FAILED") << "no list";
}

}  // namespace
