// A stream handle is a plain address. One whose stream died must never steer a stream
// made later, and one given back to the pool must not take its stream out of it.
#include "buffer_fixture.h"

namespace {

int told;  // stream events sent
bool logoutOnRelease;
std::string released;  // the state of the last released stream when its event came

std::string State(void* stream) {
  char text[16] = "dead";
  qorSound_GetStreamState(stream, text);
  return text;
}

void Tell(QORSOUND_STREAM_EVENT kind, void* stream, void*) {
  ++told;
  if (kind != STREAM_EVENT_RELEASED) return;
  released = State(stream);
  if (logoutOnRelease) qorSound_LogoutSound("s");
}

// Every call on a dead handle fails without touching it and tells nothing; ASan watches the memory.
void ExpectDead(void* stream) {
  float v[3] = {0, 0, 0};
  char text[64];
  for (LONG result :
       {qorSound_PlayStream(stream), qorSound_ResumeStream(stream), qorSound_StopStream(stream),
        qorSound_PauseStream(stream), qorSound_RewindStream(stream), qorSound_SetStreamProgress(stream, 50),
        qorSound_SetStreamPosition(stream, v), qorSound_SetStreamVelocity(stream, v),
        qorSound_GetStreamPosition(stream, v), qorSound_GetStreamFile(stream, text),
        qorSound_GetStreamState(stream, text), qorSound_SetStreamVolume(stream, 50),
        qorSound_SetStreamVolume2(stream, 50), qorSound_SetStreamFrequency(stream, 50)}) {
    EXPECT_EQ(result, E_FAIL);
  }
  qorSound_Enable3D(stream, 0);
  int before = told;
  qorSound_ReleaseStream(stream);
  EXPECT_EQ(told, before);
}

class Handles : public BufferTest {
protected:
  void SetUp() override {
    BufferTest::SetUp();
    told = 0;
    logoutOnRelease = false;
    qorSound_SetNotifyCallback(Tell);
    ToneSound("s", {440});
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
    if (round == 0) ExpectDead(old);
    GetParam().Revive();
    void* later = nullptr;
    ASSERT_NE(qorSound_QueryStream("s", &later, 0), nullptr);
    sameAddress += later == old;
    steered += qorSound_PlayStream(old) == S_OK || State(later) != "[stopped]";
    qorSound_ReleaseStream(later);
  }
  EXPECT_EQ(sameAddress, 0);
  EXPECT_EQ(steered, 0);
}

INSTANTIATE_TEST_SUITE_P(ByEveryDeath, DeadHandles, ::testing::ValuesIn(DEATHS),
                         [](const ::testing::TestParamInfo<Death>& info) { return info.param.Name; });

TEST_F(Handles, ReleasedOnesLeaveTheirStreamInThePoolAndAreToldBeforeItGoes) {
  const std::pair<const char*, LONG (*)(void*)> changes[] = {{"Play", qorSound_PlayStream},
                                                             {"Resume", qorSound_ResumeStream},
                                                             {"Pause", qorSound_PauseStream},
                                                             {"Stop", qorSound_StopStream}};
  for (auto [name, change] : changes) {
    SCOPED_TRACE(name);
    void* stream = Held();
    qorSound_ReleaseStream(stream);
    told = 0;
    EXPECT_EQ(change(stream), E_FAIL);
    EXPECT_EQ(told, 0);
    EXPECT_EQ(State(stream), "[free]");
    EXPECT_EQ(Listen(100).Rms(0.01), 0.0) << "silent once the release has faded";
  }

  // An extra stream is told of its release while it still exists; a holder may log the
  // sound out when told.
  void* stream = nullptr;
  ASSERT_NE(qorSound_QueryStream("s", &stream, STREAM_FLAG_EXTRA), nullptr);
  qorSound_ReleaseStream(stream);
  EXPECT_EQ(released, "[free]");
  ExpectDead(stream);
  logoutOnRelease = true;
  stream = Held();
  qorSound_ReleaseStream(stream);
  ExpectDead(stream);
}

}  // namespace
