// A stream handle is a plain address. One whose stream died must never steer a stream
// made later, and one given back to the pool must not take its stream out of it.
#include "buffer_fixture.h"

namespace {

class Handles : public BufferTest {
protected:
  void SetUp() override {
    BufferTest::SetUp();
    Create("s");
    WaveShape shape;
    shape.Data = Tone(440, 1.0, 22050, 1, 16, 0.5);
    WriteWave(root, "sounds/s.wav", shape);
    char path[64] = "sounds\\s.wav";
    ASSERT_EQ(qorSound_AddFile("s", path), S_OK);
    ASSERT_EQ(qorSound_SaveBase(), S_OK);
  }
  static void* Held() {
    void* stream = nullptr;
    qorSound_QueryStream("s", &stream, 0);
    EXPECT_EQ(qorSound_PlayStream(stream), S_OK);
    return stream;
  }
};

struct Death {
  const char* Name;
  void (*Kill)();
  void (*Revive)();
};
void PrintTo(const Death& death, std::ostream* out) { *out << death.Name; }
const Death DEATHS[] = {
    {"Logout", [] { qorSound_LogoutSound("s"); }, [] {}},
    {"Delete", [] { qorSound_DeleteSound("s"); }, [] { qorSound_LoadBase(); }},
    {"Reload", [] { qorSound_LoadBase(); }, [] {}},
    {"Finalize", [] { qorSound_Finalize(); }, [] { qorSound_Initialize(nullptr, 1); }},
};

class DeadHandles : public Handles, public ::testing::WithParamInterface<Death> {};

TEST_P(DeadHandles, NeverSteerALaterStream) {
  int sameAddress = 0, steered = 0;
  for (int round = 0; round < 200; ++round) {
    void* old = Held();
    GetParam().Kill();
    GetParam().Revive();
    void* later = nullptr;
    ASSERT_NE(qorSound_QueryStream("s", &later, 0), nullptr);
    sameAddress += later == old;
    char state[16] = "";
    steered += qorSound_PlayStream(old) == S_OK || qorSound_GetStreamState(later, state) != S_OK ||
               std::string(state) != "[stopped]";
    qorSound_ReleaseStream(later);
  }
  EXPECT_EQ(sameAddress, 0);
  EXPECT_EQ(steered, 0);
}

INSTANTIATE_TEST_SUITE_P(ByEveryDeath, DeadHandles, ::testing::ValuesIn(DEATHS),
                         [](const ::testing::TestParamInfo<Death>& info) { return info.param.Name; });

struct Change {
  const char* Name;
  LONG (*Call)(void*);
};
void PrintTo(const Change& change, std::ostream* out) { *out << change.Name; }
const Change CHANGES[] = {{"Play", qorSound_PlayStream},
                          {"Resume", qorSound_ResumeStream},
                          {"Pause", qorSound_PauseStream},
                          {"Stop", qorSound_StopStream}};

class ReleasedHandles : public Handles, public ::testing::WithParamInterface<Change> {};

TEST_P(ReleasedHandles, LeaveTheirStreamInThePool) {
  static int events;
  events = 0;
  qorSound_SetNotifyCallback([](QORSOUND_STREAM_EVENT, void*, void*) { ++events; });
  void* stream = Held();
  qorSound_ReleaseStream(stream);
  events = 0;
  EXPECT_EQ(GetParam().Call(stream), E_FAIL);
  EXPECT_EQ(events, 0);
  char state[16];
  ASSERT_EQ(qorSound_GetStreamState(stream, state), S_OK);
  EXPECT_STREQ(state, "[free]");
  EXPECT_EQ(ActiveStreamsHead, nullptr);
  EXPECT_EQ(Listen(100).Rms(0.01), 0.0) << "silent once the release has faded";
}

INSTANTIATE_TEST_SUITE_P(ByEveryChange, ReleasedHandles, ::testing::ValuesIn(CHANGES),
                         [](const ::testing::TestParamInfo<Change>& info) { return info.param.Name; });

}  // namespace
