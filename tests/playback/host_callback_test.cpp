// A host's callbacks run in the middle of the module's work and may do anything to it.
// Every event, with every action a host might take inside it; then the enumerations
// with a callback that deletes. ASan watches the memory, the checks below the lists.
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "ambient/ambients.h"
#include "buffer_fixture.h"

namespace {

// What the host does, once, at the first event of the armed kind.
struct Host {
  int Event = 0, Armed = 0;
  void (*Act)(const char* sound) = nullptr;
  const char* Sound = nullptr;
  void* Inner = nullptr;
  std::vector<int> Events;
} host;

void OnEvent(QORSOUND_STREAM_EVENT kind, void*, void*) {
  host.Events.push_back(kind);
  if (kind != host.Armed) return;
  host.Armed = 0;
  host.Act(host.Sound);
}

const std::pair<const char*, void (*)(const char* sound)> ACTIONS[] = {
    {"Logout", [](const char* s) { qorSound_LogoutSound(s); }},
    {"Delete", [](const char* s) { qorSound_DeleteSound(s); }},
    {"Reload", [](const char*) { qorSound_LoadBase(); }},
    {"PlayAgain", [](const char* s) { qorSound_PlaySound(s, nullptr, -1); }},
    {"Query", [](const char* s) { qorSound_QueryStream(s, &host.Inner, 0); }},
    {"UnloadAmbient", [](const char* s) { qorSound_UnloadAmbient(s); }},
    {"Finalize", [](const char*) { qorSound_Finalize(); }},
};

// The handles a trigger takes, given back before the fresh play.
struct Holders {
  void *Held = nullptr, *Taker = nullptr, *Outer = nullptr;
};
void Arm() { host.Armed = host.Event; }
void Shot(const char* s) { qorSound_PlaySound(s, nullptr, -1); }
void Frames(uint32_t ms) { ListenFrames(ms, qorSound_Update); }
void Hold(const char* s, void** slot, ULONG flags) { qorSound_PlayStream(qorSound_QueryStream(s, slot, flags)); }
void HoldToTheEnd(const char* s, Holders& h) { Hold(s, &h.Held, 0), Arm(), Frames(150); }

struct Trigger {
  const char* Name;
  int Event;
  const char* Sound;  // "s": one 0.1 s file and one stream; "x": two files, looped and crossed
  void (*Fire)(const char* sound, Holders& holders);
};
const Trigger TRIGGERS[] = {
    {"Play", 1, "s", [](const char* s, Holders&) { Arm(), Shot(s); }},
    {"CutOff", 2, "s", [](const char* s, Holders&) { Shot(s), Arm(), Shot(s); }},
    {"OneShotEnds", 2, "s", [](const char* s, Holders&) { Shot(s), Arm(), Frames(150); }},
    {"Release", 2, "s", [](const char* s, Holders& h) { Hold(s, &h.Held, 0), Arm(), qorSound_ReleaseStream(h.Held); }},
    {"AmbientTick", 5, "s", [](const char* s, Holders&) { qorSound_PlayAmbientDelayed(s, 0, 0), Arm(), Frames(30); }},
    {"RunsOut", 5, "s", HoldToTheEnd},
    {"HandOver", 6, "x", HoldToTheEnd},
    {"Steal", 7, "s",
     [](const char* s, Holders& h) {
       Hold(s, &h.Held, STREAM_FLAG_STEALABLE), Arm();
       h.Outer = qorSound_QueryStream(s, &h.Taker, STREAM_FLAG_STEALABLE);
     }},
};

// Each stream of every chain is in ActiveStreams exactly while in use, once; the list
// holds nothing else; an ambient's living stream is held by that ambient.
void ExpectEachStreamInOnePlace() {
  std::set<SoundStream*> chained, linked;
  size_t inUse = 0;
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) {
    entry->ForEachStream([&](SoundStream* stream) {
      EXPECT_TRUE(chained.insert(stream).second) << "in two chains";
      inUse += stream->State != STREAM_FREE;
    });
  }
  SoundStream* last = nullptr;
  for (SoundStream* stream = ActiveStreamsHead; stream; stream = stream->ActiveNext) {
    ASSERT_TRUE(chained.count(stream)) << "linked, but in no chain";
    ASSERT_TRUE(linked.insert(stream).second) << "linked twice";
    EXPECT_NE(stream->State, STREAM_FREE);
    EXPECT_EQ(stream->ActivePrev, last);
    last = stream;
  }
  EXPECT_EQ(ActiveStreamsTail, last);
  EXPECT_EQ(linked.size(), inUse);
  for (AmbientEntry* ambient = AmbientList; ambient; ambient = ambient->NextAmbient()) {
    if (SoundStream* stream = LiveStream(ambient->Stream)) {
      EXPECT_EQ(stream->HandleSlot, &ambient->Stream);
    }
  }
}

class HostCallback : public BufferTest, public ::testing::WithParamInterface<std::tuple<int, int>> {
protected:
  void SetUp() override {
    BufferTest::SetUp();
    host = Host();
    qorSound_SetNotifyCallback(OnEvent);
    ToneSound("s", {440}, 0.1);
    ToneSound("x", {300, 600}, 0.1);
    for (const char* name : {"s", "x"}) qorSound_SetSoundPlayMode(name, SOUND_PLAYMODE_SEQUENTIAL);
    qorSound_SetLooped("x", 1);
    qorSound_SetCrossed("x", 1);
    ASSERT_EQ(qorSound_SaveBase(), S_OK) << "a reload brings both back";
  }
  void TearDown() override {
    NotifyCallback = nullptr;
    BufferTest::TearDown();
    EXPECT_EQ(StreamsCreated, 0);
  }
};

TEST_P(HostCallback, NothingBreaksAndAFreshPlayWorks) {
  const Trigger& trigger = TRIGGERS[std::get<0>(GetParam())];
  const char* name = host.Sound = trigger.Sound;
  host.Event = trigger.Event;
  host.Act = ACTIONS[std::get<1>(GetParam())].second;
  ASSERT_EQ(qorSound_LoadAmbient(name), S_OK) << "an ambient of the same sound takes part";
  Holders holders;
  trigger.Fire(name, holders);
  ASSERT_EQ(host.Armed, 0) << "the event never came";
  ExpectEachStreamInOnePlace();
  if (holders.Outer && host.Inner) {
    EXPECT_NE(holders.Outer, host.Inner) << "one stream given to two holders";
  }
  Frames(200);
  ExpectEachStreamInOnePlace();

  // A start or a reload that fails shows in the fresh play.
  if (!SystemInitialized) qorSound_Initialize(nullptr, 1);
  if (qorSound_FindSound(name, nullptr) != S_OK) qorSound_LoadBase();
  // Whatever still holds a stream lets go: one stream per file must come free.
  for (void* handle : {holders.Held, holders.Taker, host.Inner}) qorSound_ReleaseStream(handle);
  ASSERT_EQ(qorSound_UnloadAllAmbients(), S_OK);
  ASSERT_EQ(qorSound_Enable(0), S_OK);
  ASSERT_EQ(qorSound_Enable(1), S_OK);
  host.Events.clear();
  ASSERT_EQ(qorSound_PlaySound(name, nullptr, -1), S_OK);
  EXPECT_EQ(host.Events, std::vector<int>{1});
  EXPECT_GT(Listen(50).Rms(0.01), 0.1);
}

INSTANTIATE_TEST_SUITE_P(EveryEventEveryAction, HostCallback,
                         ::testing::Combine(::testing::Range(0, 8), ::testing::Range(0, 7)),
                         [](const ::testing::TestParamInfo<std::tuple<int, int>>& info) {
                           return std::string(TRIGGERS[std::get<0>(info.param)].Name) + "_" +
                                  ACTIONS[std::get<1>(info.param)].first;
                         });

// The enumerations with a callback that deletes, then reads the text it was given.
struct Enumeration {
  const char* Name;
  bool Files;
  void (*Visit)(char* text);
  std::vector<std::string> Seen;
};
std::vector<std::string> seen;

const Enumeration ENUMERATIONS[] = {
    {"DeleteTheSoundShown", false, [](char* name) { qorSound_DeleteSound(name); }, {"a", "b", "c", "d"}},
    {"DeleteTheNextSound",
     false,
     [](char* name) { qorSound_DeleteSound(std::string(1, name[0] + 1).c_str()); },
     {"a", "c"}},
    {"DeleteEverySound",
     false,
     [](char*) {
       for (const char* sound : {"a", "b", "c", "d"}) qorSound_DeleteSound(sound);
     },
     {"a"}},
    {"ReloadTheBase", false, [](char*) { qorSound_LoadBase(); }, {"a"}},
    {"FinalizeOnTheWay", false, [](char*) { qorSound_Finalize(); }, {"a"}},
    {"DeleteTheSoundOfTheFiles", true, [](char*) { qorSound_DeleteSound("a"); }, {"a0.wav"}},
    {"DeleteTheFileShown", true, [](char*) { qorSound_DeleteFile("a", 0); }, {"a0.wav", "a2.wav"}},
};

class EnumerationCallback : public ModuleTest, public ::testing::WithParamInterface<Enumeration> {};

TEST_P(EnumerationCallback, SeesEachLivingItemOnceAndReadsNothingFreed) {
  for (const char* name : {"a", "b", "c", "d"}) Create(name);
  for (std::string file : {"a0.wav", "a1.wav", "a2.wav"}) qorSound_AddFile("a", file.data());
  ASSERT_EQ(qorSound_SaveBase(), S_OK);
  seen.clear();
  static void (*visit)(char*);
  visit = GetParam().Visit;
  if (GetParam().Files) {
    qorSound_EnumerateFiles("a", [](char* path) { visit(path), seen.push_back(path); });
  } else {
    qorSound_EnumerateSounds([](char* name, int) { visit(name), seen.push_back(name); });
  }
  EXPECT_EQ(seen, GetParam().Seen);
}

INSTANTIATE_TEST_SUITE_P(WithDeletes, EnumerationCallback, ::testing::ValuesIn(ENUMERATIONS),
                         [](const ::testing::TestParamInfo<Enumeration>& info) { return info.param.Name; });

}  // namespace
