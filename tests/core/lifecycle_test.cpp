#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "base/catalogue.h"
#include "core/state.h"
#include "kxEngine.h"
#include "kxHost.h"
#include "kxSound.h"
#include "temp_dir.h"

namespace {

class Lifecycle : public ::testing::Test {
protected:
  void SetUp() override {
    kxHost_SetRootFolder(root.path().c_str());
    kxHost_SetAudioOutput("offline");
  }
  void TearDown() override {
    if (SystemInitialized) qorSound_Finalize();
    ResetProcessState();
  }
  TempDir root;
};

TEST_F(Lifecycle, StartsOnlyWithAnOutputAndFinalizesOnlyAfterAStart) {
  EXPECT_EQ(qorSound_Finalize(), E_FAIL);
  kxHost_SetAudioOutput("none");
  EXPECT_EQ(qorSound_Initialize(nullptr, 1), E_FAIL);
  EXPECT_EQ(qorSound_Finalize(), E_FAIL) << "a failed start leaves nothing to finalize";
  kxHost_SetAudioOutput("offline");
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  EXPECT_EQ(qorSound_Finalize(), S_OK);
  EXPECT_EQ(qorSound_Finalize(), E_FAIL);
  EXPECT_EQ(kxHost_FindTuneKey("qorSound_Update"), -1) << "only a game registers its tuning key";
  ASSERT_EQ(qorSound_Initialize(nullptr, 0), S_OK);
  EXPECT_GE(kxHost_FindTuneKey("qorSound_Update"), 0);

  // A root too long for the base file's path loads and saves nothing, not even under a cut name.
  qorSound_Finalize();
  const std::string deep = root.path() + std::string(230, 'd');
  std::filesystem::create_directory(deep);
  kxHost_SetRootFolder(deep.c_str());
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  EXPECT_EQ(qorSound_SaveBase(), E_FAIL);
}

TEST_F(Lifecycle, GatedOperationsRefuseUntilStarted) {
  char name[256] = "door";
  qorSound_CreateNewSound(name);
  EXPECT_EQ(qorSound_FindSound("door", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_NewPage("p"), E_FAIL);
  EXPECT_EQ(qorSound_GetVolume("door"), 0);
  char format[22] = "untouched";
  qorSound_WaveFormatStr(1, format);
  EXPECT_STREQ(format, "untouched");
  // The base file has no gate but has no path before a start either.
  EXPECT_EQ(qorSound_SaveBase(), E_FAIL);

  qorSound_Enable3DPlay(0);
  qorSound_SetLatency(40);
  EXPECT_EQ(Play3DEnabled, 1);
  EXPECT_EQ(SoundLatency, 0u);

  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  EXPECT_EQ(SoundList, nullptr) << "no base file: an empty catalogue";
  qorSound_SetLatency(40);
  EXPECT_EQ(SoundLatency, 40u);
  std::string names;
  for (ULONG tag : std::initializer_list<ULONG>{1, 2, 0x55, 0x13, 0x203, 0x1400, 0, 3, 0x10001, 0xFFFF}) {
    std::memset(format, 'x', sizeof format);
    qorSound_WaveFormatStr(tag, format);
    names += std::string(format) + "|";
  }
  EXPECT_EQ(names, "PCM|ADPCM|MPEGLAYER3|SIERRA_ADPCM|CREATIVE FASTSPEECH10|NORRIS|UNKNOWN|UNKNOWN|UNKNOWN|UNKNOWN|");
  qorSound_Finalize();
  // Settings outlive the system.
  EXPECT_EQ(SoundLatency, 40u);
}

int Threads() {
  int count = 0;
  for ([[maybe_unused]] auto& task : std::filesystem::directory_iterator("/proc/self/task")) ++count;
  return count;
}

TEST_F(Lifecycle, ASecondStartWhileRunningIsRefusedAndLeavesTheFirstAlone) {
  // A real-time output, so that the device has threads to count.
  kxHost_SetAudioOutput("null");
  int before = Threads();
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  int running = Threads();
  char name[256] = "kept";
  qorSound_CreateNewSound(name);
  EXPECT_EQ(qorSound_Initialize(nullptr, 0), E_FAIL);
  EXPECT_EQ(Threads(), running) << "no second device or music object";
  EXPECT_EQ(ToolMode, 1);
  EXPECT_EQ(qorSound_FindSound("kept", nullptr), S_OK) << "the running catalogue stays";
  ASSERT_EQ(qorSound_Finalize(), S_OK);
  EXPECT_EQ(Threads(), before);
  EXPECT_EQ(qorSound_Finalize(), E_FAIL);
}

}  // namespace
