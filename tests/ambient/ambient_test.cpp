#include "ambient/ambients.h"
#include "kxEngine.h"
#include "listen.h"
#include "module_fixture.h"

namespace {

class Ambients : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    // Ticks measured from here: the first frame's delta is its own step.
    kxHost_Advance(10);
    ToneSound("wind", {330}, 0.1);
    ToneSound("rain", {330}, 0.1);
  }
  void TearDown() override {
    kxHost_SeedRandom(1);
    ModuleTest::TearDown();
  }
  static AmbientEntry* Find(const char* name) {
    return static_cast<AmbientEntry*>(NamedNode::Find(AmbientList, name, 256));
  }
};

TEST_F(Ambients, LoadingTakesAStreamOfItsOwnPlaysNothingAndDrawsTheDelays) {
  EXPECT_EQ(qorSound_LoadAmbient("ghost"), E_FAIL);
  qorSound_Set3D("rain", 1);
  EXPECT_EQ(qorSound_LoadAmbient("rain"), E_FAIL) << "no 3D ambients";
  ASSERT_EQ(qorSound_LoginSound("wind"), S_OK);
  int streams = StreamsCreated;
  ASSERT_EQ(qorSound_LoadAmbient("wind"), S_OK);
  EXPECT_EQ(qorSound_LoadAmbient("WIND"), E_FAIL);
  EXPECT_EQ(StreamsCreated, streams + 1);
  EXPECT_EQ(ListenFrames(200, qorSound_Update).Rms(), 0.0);

  ASSERT_EQ(qorSound_PlayAmbientLooped("wind"), S_OK);
  EXPECT_GT(ListenFrames(50, qorSound_Update).Rms(), 0.1);
  ASSERT_EQ(qorSound_UnloadAmbient("wind"), S_OK);
  EXPECT_EQ(StreamsCreated, streams) << "the extra stream goes with the ambient";
  EXPECT_EQ(qorSound_UnloadAmbient("wind"), E_FAIL);
  EXPECT_EQ(qorSound_UnloadAllAmbients(), S_OK);

  // The delays spread around the mean by the percentage, drawn from the engine's numbers.
  ASSERT_EQ(qorSound_LoadAmbient("wind"), S_OK);
  AmbientEntry* wind = Find("wind");
  struct Case {
    int seconds, percent;
    uint32_t random, min, max, next;
  } cases[] = {{10, 50, 0, 5000, 15000, 5000},
               {10, 50, 32767, 5000, 15000, 15000},
               {10, 200, 16384, 1000, 19000, 10000},
               {10, -5, 12345, 10000, 10000, 10000},
               {0, 50, 32767, 0, 0, 0}};
  for (const Case& c : cases) {
    kxHost_QueueRandom(c.random);
    ASSERT_EQ(qorSound_PlayAmbientDelayed("wind", c.seconds, c.percent), S_OK);
    EXPECT_EQ(wind->MinDelay, c.min);
    EXPECT_EQ(wind->MaxDelay, c.max);
    EXPECT_EQ(wind->NextDelay, c.next) << c.random;
    EXPECT_EQ(wind->Elapsed, 0u);
  }
  EXPECT_EQ(qorSound_PlayAmbientDelayed("wind", -1, 0), E_FAIL);
  EXPECT_EQ(qorSound_PlayAmbientDelayed("ghost", 1, 0), E_FAIL);
}

TEST_F(Ambients, TheCycleStartsAfterEachDrawnWait) {
  ASSERT_EQ(qorSound_LoadAmbient("wind"), S_OK);
  // 500..1500 ms: drawn 1000 ms first, then 500 ms.
  kxHost_QueueRandom(16384);
  kxHost_QueueRandom(0);
  ASSERT_EQ(qorSound_PlayAmbientDelayed("wind", 1, 50), S_OK);
  Capture heard = ListenFrames(1700, qorSound_Update);
  // Started in the frame whose elapsed time first passes the wait (strictly), heard from the
  // step after it, and the next wait runs from that start, not from the end of the sound.
  EXPECT_EQ(heard.Rms(0.0, 1.02), 0.0);
  EXPECT_GT(heard.Rms(1.02, 1.03), 0.1);
  EXPECT_EQ(heard.Rms(1.13, 1.53), 0.0);
  EXPECT_GT(heard.Rms(1.53, 1.54), 0.1);
}

TEST_F(Ambients, StopSilencesOnlyUntilTheNextWait) {
  ASSERT_EQ(qorSound_LoadAmbient("wind"), S_OK);
  kxHost_QueueRandom(0);
  ASSERT_EQ(qorSound_PlayAmbientDelayed("wind", 0, 0), S_OK);  // a start on every frame
  EXPECT_GT(ListenFrames(50, qorSound_Update).Rms(0.02), 0.1);
  ASSERT_EQ(qorSound_StopAmbient("wind"), S_OK);
  EXPECT_GT(ListenFrames(50, qorSound_Update).Rms(0.02), 0.1) << "the cycle goes on";
  ASSERT_EQ(qorSound_PlayAmbientLooped("wind"), S_OK);
  ListenFrames(150, qorSound_Update);
  EXPECT_EQ(ListenFrames(100, qorSound_Update).Rms(), 0.0) << "played once, cycle over";
}

TEST_F(Ambients, PauseHoldsTheWaitAndResumeStartsTheSound) {
  ASSERT_EQ(qorSound_LoadAmbient("wind"), S_OK);
  ASSERT_EQ(qorSound_LoadAmbient("rain"), S_OK);
  kxHost_QueueRandom(0);
  ASSERT_EQ(qorSound_PlayAmbientDelayed("wind", 1, 0), S_OK);
  ListenFrames(400, qorSound_Update);
  ASSERT_EQ(qorSound_PauseAllAmbiemts(), S_OK);
  ASSERT_EQ(qorSound_PauseAllAmbiemts(), S_OK);
  ListenFrames(2000, qorSound_Update, 0, 100);
  ASSERT_EQ(qorSound_ResumeAllAmbiemts(), S_OK);
  ASSERT_EQ(qorSound_ResumeAllAmbiemts(), S_OK);
  Capture heard = ListenFrames(800, qorSound_Update);
  EXPECT_GT(heard.Rms(0, 0.05), 0.1) << "both were silent and both sound at the resume";
  // The paused wait stood still: the next start comes when 1000 ms of it have run, 600 ms on.
  EXPECT_EQ(heard.Rms(0.15, 0.6), 0.0);
  EXPECT_GT(heard.Rms(0.61, 0.7), 0.1);

  // Unloading from the middle of the chain keeps the rest.
  ASSERT_EQ(qorSound_LoadAmbient("Sound#x"), E_FAIL);
  ASSERT_EQ(qorSound_UnloadAmbient("wind"), S_OK);
  EXPECT_NE(Find("rain"), nullptr);
  qorSound_Enable(0);
  EXPECT_EQ(qorSound_UnloadAllAmbients(), E_FAIL);
  qorSound_Enable(1);

  // Their streams die with the catalogue, unannounced.
  ASSERT_EQ(qorSound_PlayAmbientLooped("rain"), S_OK);
  static int events;
  events = 0;
  qorSound_SetNotifyCallback([](QORSOUND_STREAM_EVENT, void*, void*) { ++events; });
  ASSERT_EQ(qorSound_Finalize(), S_OK);
  EXPECT_EQ(events, 0);
  EXPECT_EQ(AmbientList, nullptr);
  EXPECT_EQ(StreamsCreated, 0);
}

}  // namespace
