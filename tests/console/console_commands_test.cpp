// The "Sound" commands as a person types them, and what they print.
#include <cstdlib>
#include <string>
#include <vector>

#include "module_fixture.h"

namespace {

std::vector<std::string> Printed;
void Capture(const char* text) { Printed.emplace_back(text); }

struct Registered {
  std::string Group, Name;
  int Parameters, Optional;
};
std::vector<Registered> Commands;
void Collect(const char* group, const char* name, int parameters, int optional, void*) {
  Commands.push_back({group, name, parameters, optional});
}

class ConsoleCommands : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    kxHost_ClearCommands();
    Restart(0);  // a game: the commands are registered
    kxHost_SetPrintSink(Capture);
    Printed.clear();
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
  Commands.clear();
  kxHost_EnumerateCommands(Collect, nullptr);
  ASSERT_EQ(Commands.size(), 33u);
  EXPECT_EQ(Commands.front().Name, "Enable");
  EXPECT_EQ(Commands[13].Name, "PlaySound");
  EXPECT_EQ(Commands[13].Parameters, 4);
  EXPECT_EQ(Commands[13].Optional, 3);
  EXPECT_EQ(Commands[31].Name, "GoPM3Index");
  EXPECT_EQ(Commands.back().Name, "UpdateDelay");
  for (const Registered& c : Commands) EXPECT_EQ(c.Group, "Sound");

  // A tool has none.
  kxHost_ClearCommands();
  Restart(1);
  Commands.clear();
  kxHost_EnumerateCommands(Collect, nullptr);
  EXPECT_TRUE(Commands.empty());
}

TEST_F(ConsoleCommands, OneSoundsParametersPrintOldAndNew) {
  EXPECT_EQ(Run("SoundVolume door"), "\tCurrent volume: 100");
  EXPECT_EQ(Run("soundvolume DOOR 40"), "\tOld volume: 100\n\tNew volume: 40");
  EXPECT_EQ(Run("SoundVolume door -3"), "\tOld volume: 40\n\tNew volume: 40") << "the value the sound holds";
  EXPECT_EQ(Run("SoundFrequency door 150"), "\tOld frequency: 100\n\tNew frequency: 150");
  for (const char* line : {"SoundVolume ghost", "SoundFrequency ghost 1", "SoundMinDistance ghost", "SoundMaxDistance ghost 3"}) {
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
  ShowStatistic = 0;
  EXPECT_EQ(Run("SetVolume 70"), "");
  EXPECT_EQ(MasterVolume, 70);
  EXPECT_EQ(Run("Enable 0"), "");
  EXPECT_EQ(Run("SetVolume 20"), "") << "silent about its failure";
  EXPECT_EQ(MasterVolume, 70);
  EXPECT_EQ(Run("Enable 1"), "");
  qorSound_SetVolume(100);
}

TEST_F(ConsoleCommands, PlayingRedirectingAndResultLines) {
  int events = 0;
  static int* counter;
  counter = &events;
  qorSound_SetNotifyCallback([](QORSOUND_STREAM_EVENT event, void*, void*) {
    if (event == STREAM_EVENT_ACQUIRED) ++*counter;
  });
  EXPECT_EQ(Run("PlaySound door 1 2"), "");
  EXPECT_EQ(Run("PlaySound \"door\""), "");
  EXPECT_EQ(events, 2);
  qorSound_SetNotifyCallback(nullptr);

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
