#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

// Each listener notes its call in the list it was given.
void first(uint32_t ms, void* seen) {
  static_cast<std::vector<std::string>*>(seen)->push_back("first" + std::to_string(ms) + "@" +
                                                          std::to_string(qorTimer_GetSystemTick()));
}

void second(uint32_t ms, void* seen) {
  static_cast<std::vector<std::string>*>(seen)->push_back("second" + std::to_string(ms));
}

void removesSecond(uint32_t, void* ctx) { kxHost_RemoveAdvanceListener(second, ctx); }

}  // namespace

TEST(Clock, ManualClockMovesOnlyByAdvanceAndCallsListenersInOrder) {
  kxHost_SetManualClock(1);
  EXPECT_EQ(qorTimer_GetSystemTick(), 1000u);
  EXPECT_EQ(qorTimer_GetSystemDeltaTicks(), 0u);

  std::vector<std::string> seen;
  kxHost_AddAdvanceListener(first, &seen);
  kxHost_AddAdvanceListener(second, &seen);
  kxHost_AddAdvanceListener(first, &seen);  // already there
  kxHost_Advance(16);
  EXPECT_EQ(qorTimer_GetSystemTick(), 1016u);
  EXPECT_EQ(qorTimer_GetSystemDeltaTicks(), 16u);
  // Listeners see the clock already moved.
  EXPECT_EQ(seen, (std::vector<std::string>{"first16@1016", "second16"}));

  // A listener removed during a pass is not called afterwards in that pass.
  seen.clear();
  kxHost_RemoveAdvanceListener(first, &seen);
  kxHost_AddAdvanceListener(removesSecond, &seen);
  kxHost_AddAdvanceListener(first, &seen);
  kxHost_RemoveAdvanceListener(second, &seen);
  kxHost_AddAdvanceListener(second, &seen);
  kxHost_Advance(5);
  EXPECT_EQ(seen, (std::vector<std::string>{"first5@1021"}));
  kxHost_RemoveAdvanceListener(removesSecond, &seen);
  kxHost_RemoveAdvanceListener(first, &seen);
  kxHost_SetManualClock(0);
}

TEST(Clock, RealClockIsMonotonicAndFramesMeasureDelta) {
  kxHost_SetManualClock(0);
  EXPECT_NE(qorTimer_GetSystemTick(), 0u);
  kxHost_BeginFrame();
  timespec pause{0, 20 * 1000 * 1000};
  nanosleep(&pause, nullptr);
  kxHost_BeginFrame();
  EXPECT_GE(qorTimer_GetSystemDeltaTicks(), 19u);
  EXPECT_LT(qorTimer_GetSystemDeltaTicks(), 5000u);
}

TEST(Random, QueueComesFirstThenSeededGeneratorRepeats) {
  kxHost_SeedRandom(42);
  kxHost_QueueRandom(5);
  kxHost_QueueRandom(70000);  // passed through untouched
  EXPECT_EQ(qorRandom_Rand(), 5u);
  EXPECT_EQ(qorRandom_Rand(), 70000u);
  std::vector<ULONG> run(200);
  for (ULONG& v : run) v = qorRandom_Rand();
  EXPECT_LE(*std::max_element(run.begin(), run.end()), 32767u);
  EXPECT_LT(std::count(run.begin(), run.end(), run[0]), 200) << "it varies";

  kxHost_QueueRandom(1);
  kxHost_SeedRandom(42);  // also drops the queue
  for (ULONG v : run) ASSERT_EQ(qorRandom_Rand(), v);
}

TEST(DebugText, RecordsBoundedCopiesAndStopsGrowing) {
  kxHost_ClearDebugText();
  std::string longText(600, 'w');
  EXPECT_EQ(qorKernel_DrawDebugText(0, 0, 0, longText.c_str()), 0);
  EXPECT_EQ(qorKernel_DrawDebugText(0, 0, 0, "second"), 0);
  ASSERT_EQ(kxHost_DebugTextCount(), 2);
  // Where and in what colour a text stands is checked through the module's overlay.
  char text[256];
  ASSERT_EQ(kxHost_GetDebugText(0, nullptr, nullptr, nullptr, text), 0);
  EXPECT_EQ(std::string(text), longText.substr(0, 255));
  EXPECT_EQ(kxHost_GetDebugText(2, nullptr, nullptr, nullptr, text), -1);

  for (int i = 0; i < 10000; ++i) qorKernel_DrawDebugText(0, 0, 0, "spam");
  EXPECT_EQ(kxHost_DebugTextCount(), 4096);
  kxHost_ClearDebugText();
  EXPECT_EQ(kxHost_DebugTextCount(), 0);
}

TEST(Registry, TuneKeysAndVarsAreFoundByExactName) {
  int volume = qorTune_CreateKey("test.volume");
  EXPECT_GE(volume, 0);
  EXPECT_EQ(qorTune_CreateKey("test.volume"), volume);
  EXPECT_NE(qorTune_CreateKey("test.Volume"), volume);
  EXPECT_EQ(kxHost_FindTuneKey("test.volume"), volume);
  EXPECT_EQ(kxHost_FindTuneKey("test.missing"), -1);

  LONG h = qorQObj_AllocVar("test_sounds", 3);
  EXPECT_GT(h, 0);
  EXPECT_EQ(qorQObj_AllocVar("test_sounds", 99), h);  // keeps its value
  EXPECT_EQ(qorQObj_GetVar(h), 3);
  qorQObj_SetVar(h, -12);
  int32_t value = 0;
  ASSERT_EQ(kxHost_GetVar("test_sounds", &value), 0);
  EXPECT_EQ(value, -12);
  EXPECT_EQ(kxHost_GetVar("test_other", &value), -1);
  qorQObj_SetVar(0, 5);  // ignored
  EXPECT_EQ(qorQObj_GetVar(0), 0);
  EXPECT_EQ(qorQObj_GetVar(h + 1000), 0);
}
