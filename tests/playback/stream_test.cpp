// Streams heard on the offline output and counted through their events.
#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "buffer_fixture.h"
#include "kxEngine.h"

namespace {

struct Event {
  int Kind;
  void *First, *Second;
  void* Held;   // the watched handle variable when the event arrived
  double Time;  // seconds into the last Run
};

using Kinds = std::vector<int>;
std::vector<Event> events;
void** watched = nullptr;
double clockNow = 0;

void Record(QORSOUND_STREAM_EVENT kind, void* first, void* second) {
  events.push_back({kind, first, second, watched ? *watched : nullptr, clockNow});
}

Kinds Sent() {
  Kinds kinds;
  for (const Event& e : events) kinds.push_back(e.Kind);
  return kinds;
}

std::string State(void* stream) {
  char text[16];
  return qorSound_GetStreamState(stream, text) == S_OK ? text : "dead";
}

SoundStream* S(void* handle) { return static_cast<SoundStream*>(handle); }

bool Play(const char* name, const float* at = nullptr) { return qorSound_PlaySound(name, at, -1) == S_OK; }

// The overlay of one frame as "x y colour text" lines.
std::vector<std::string> Overlay() {
  kxHost_ClearDebugText();
  qorSound_Update();
  qorSound_Render();
  std::vector<std::string> lines;
  for (int i = 0; i < kxHost_DebugTextCount(); ++i) {
    float x = 0, y = 0;
    uint32_t colour = 0;
    char text[256], line[300];
    kxHost_GetDebugText(i, &x, &y, &colour, text);
    std::snprintf(line, sizeof line, "%.3f %.3f %08X %s", x, y, colour, text);
    lines.push_back(line);
  }
  return lines;
}

class Streams : public BufferTest {
protected:
  void SetUp() override {
    BufferTest::SetUp();
    events.clear();
    watched = nullptr;
    qorSound_SetNotifyCallback(Record);
  }
  void TearDown() override {
    kxHost_SeedRandom(1);
    BufferTest::TearDown();
  }

  std::string ToneFile(const std::string& file, double hz, double seconds) {
    WaveShape shape;
    shape.Data = Tone(hz, seconds, 22050, 1, 16, 0.5);
    return WriteWave(root, file, shape);
  }
  SoundEntry* Sound(const char* name, std::initializer_list<double> tones, double seconds = 1.0, int streams = 1,
                    int is3D = 0) {
    ToneSound(name, tones, seconds);
    qorSound_SetNumStreams(name, streams);
    qorSound_Set3D(name, is3D);
    return Entry(name);
  }
  void* Held(const char* name, void** slot, ULONG flags = 0) {
    void* stream = qorSound_QueryStream(name, slot, flags);
    EXPECT_EQ(qorSound_PlayStream(stream), S_OK);
    return stream;
  }
  // Renders in steps of 10 ms with a frame update after each, as a game would.
  static Capture Run(uint32_t ms) {
    clockNow = 0;
    return ListenFrames(ms, [] {
      clockNow += 0.01;
      qorSound_Update();
    });
  }
};

TEST_F(Streams, AOneShotIsFreedAfterItsEndAndReplaysCutOffTheOldest) {
  Sound("one", {440}, 0.2);
  ASSERT_TRUE(Play("one"));
  ASSERT_EQ(Sent(), Kinds{1});
  void* stream = events[0].First;
  EXPECT_EQ(State(stream), "[single]");
  EXPECT_GT(Run(190).Rms(0.01, 0.18), 0.1);
  EXPECT_EQ(events.size(), 1u) << "still playing";
  Run(20);
  ASSERT_EQ(Sent(), (Kinds{1, 2}));
  EXPECT_EQ(events[1].First, stream);
  EXPECT_EQ(State(stream), "[free]");
  ASSERT_TRUE(Play("one") && Play("one"));
  ASSERT_EQ(Sent(), (Kinds{1, 2, 1, 2, 1}));
  EXPECT_TRUE(events[3].First == stream && events[4].First == stream);

  Sound("four", {440}, 1.0, 4);
  ASSERT_EQ(qorSound_LoginSound("four"), S_OK);
  SoundStream* chain = Entry("four")->StreamChains[0];
  // Equal ticks: the first of the chain.
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(Play("four"));
  EXPECT_EQ(events.end()[-2].Kind, 2);
  EXPECT_EQ(events.end()[-2].First, chain);
  // Rising ticks: the oldest, wherever it stands in the chain.
  for (int i = 0; i < 6; ++i) {
    kxHost_Advance(10);
    ASSERT_TRUE(Play("four"));
  }
  EXPECT_EQ(events.end()[-2].First, chain->ChainNext);
  EXPECT_EQ(events.end()[-1].First, chain->ChainNext);
}

TEST_F(Streams, ALoopedCrossedSoundHandsOverFromFileToFile) {
  Sound("cross", {300, 600, 1200}, 0.15);
  qorSound_SetSoundPlayMode("cross", SOUND_PLAYMODE_SEQUENTIAL);
  qorSound_SetLooped("cross", 1);
  qorSound_SetCrossed("cross", 1);
  void* handle = nullptr;
  watched = &handle;
  void* first = Held("cross", &handle);
  events.clear();

  Capture heard = Run(640);
  ASSERT_EQ(Sent(), (Kinds{6, 6, 6, 6})) << "four ends of 150 ms files";
  std::vector<double> tones{heard.Hz(0.02, 0.12)};
  void* previous = first;
  double started = 0;
  for (const Event& e : events) {
    EXPECT_EQ(e.First, previous);
    EXPECT_EQ(e.Held, e.Second) << "the caller's variable holds the new stream when told";
    EXPECT_NEAR(e.Time - started, 0.155, 0.006) << "taken over in the first update after the end";
    tones.push_back(heard.Hz(e.Time + 0.02, e.Time + 0.12));
    previous = e.Second;
    started = e.Time;
  }
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(tones[i], (300 << (i % 3)), 15) << "file " << i;
  EXPECT_EQ(events[2].Second, first) << "one stream per file: file 0 comes back on its stream";
  EXPECT_EQ(handle, events.back().Second);
  EXPECT_EQ(State(events[0].First), "[free]");
}

TEST_F(Streams, AHandOverThatCutsTheNextOneShotSkipsNoStream) {
  // A crossed sound whose hand-over cuts off its own one-shot, which stands next in the
  // list; behind it a one-shot of another sound ends in the same frame.
  ToneSound("x", {330}, 0.1);
  char longer[] = "sounds\\x1.wav";
  ToneFile("sounds/x1.wav", 550, 1.0);
  qorSound_AddFile("x", longer);
  qorSound_SetLooped("x", 1);
  qorSound_SetCrossed("x", 1);
  Sound("y", {880}, 0.1);
  for (uint32_t draw : {0u, 20000u, 20000u}) kxHost_QueueRandom(draw);  // files 0, then 1, then 1
  void* held = nullptr;
  Held("x", &held);
  ASSERT_TRUE(Play("x"));
  ASSERT_TRUE(Play("y"));
  void* y = events.back().First;
  events.clear();
  // The frame in which both 0.1 s sounds have ended hands over and releases y at once.
  Listen(110);
  qorSound_Update();
  Kinds kinds = Sent();
  ASSERT_EQ(std::count(kinds.begin(), kinds.end(), 6), 1);
  EXPECT_TRUE(std::any_of(events.begin(), events.end(), [&](const Event& e) { return e.Kind == 2 && e.First == y; }))
      << "y's end must not wait for the next frame";
}

TEST_F(Streams, AHandOverWithNowhereToGoRestartsTheSameStream) {
  // Random order with one file, looped only after the login: there is no other file to draw.
  Sound("solo", {440}, 0.1);
  ASSERT_EQ(qorSound_LoginSound("solo"), S_OK);
  qorSound_SetLooped("solo", 1);
  for (int i = 0; i < 200; ++i) kxHost_QueueRandom(0);
  void* solo = nullptr;
  Held("solo", &solo);

  // Another mode, stealable, one stream per file: the only candidate is the stream itself.
  Sound("self", {880, 880}, 0.1);
  qorSound_SetSoundPlayMode("self", static_cast<SOUND_PLAYMODE>(2));
  qorSound_SetLooped("self", 1);
  qorSound_SetCrossed("self", 1);
  void* self = nullptr;
  Held("self", &self, STREAM_FLAG_STEALABLE);
  events.clear();

  Capture heard = Run(350);
  EXPECT_TRUE(events.empty()) << "a restart sends nothing";
  for (double from : {0.05, 0.15, 0.25, 0.33}) EXPECT_GT(heard.Rms(from, from + 0.04), 0.1) << from;
  EXPECT_EQ(qorRandom_Rand(), 0u) << "no endless redraw drained the queue";
  for (void* stream : {solo, self}) {
    EXPECT_EQ(State(stream), "[playing]");
    EXPECT_TRUE(SoundBuffer_IsPlaying(S(stream)->Buffer));
  }
}

TEST_F(Streams, FarThreeDSoundsAreCutOffAndTheVolumesReachTheRest) {
  Sound("far", {440}, 1.0, 1, 1);
  qorSound_SetDistances("far", 1.0f, 10.0f);
  const float edge[3] = {0, 0, 10.0f}, beyond[3] = {0, 0, std::nextafter(10.0f, 11.0f)}, away[3] = {0, 0, 1e3f};
  ASSERT_TRUE(Play("far", edge));
  ASSERT_TRUE(Play("far", beyond));
  EXPECT_EQ(Sent(), Kinds{1}) << "nothing played beyond, and nothing cut off";
  qorSound_Enable3DPlay(0);
  ASSERT_TRUE(Play("far", away));
  EXPECT_EQ(Sent(), (Kinds{1, 2, 1}));
  double full = Run(100).Rms(0.02);
  EXPECT_GT(full, 0.1) << "at full level, 3D processing off";

  // The master volume reaches the playing stream and the next start; 94 × 0.01f lies just
  // below 0.94, so the level truncates to 93.
  ASSERT_EQ(qorSound_SetVolume(94), S_OK);
  EXPECT_NEAR(Decibels(Run(100).Rms(0.02), full), -7.0, 0.3);
  ASSERT_TRUE(Play("far", away));
  EXPECT_NEAR(Decibels(Run(100).Rms(0.02), full), -7.0, 0.3) << "a new start at the same level";

  // A one-shot's handle, known only from its event: no control, but its own level.
  ASSERT_EQ(qorSound_SetVolume(100), S_OK);
  void* shot = events.back().First;
  EXPECT_EQ(qorSound_StopStream(shot), E_FAIL);
  EXPECT_EQ(qorSound_PauseStream(shot), E_FAIL);
  qorSound_ReleaseStream(shot);
  ASSERT_EQ(qorSound_SetStreamVolume(shot, 94), S_OK);
  EXPECT_NEAR(Decibels(Run(100).Rms(0.02), full), -7.0, 0.3) << "truncated to 93, as for the master volume";
  EXPECT_EQ(State(shot), "[single]");
}

TEST_F(Streams, HeldStreamsContinueWhereTheyLeftOffAndSwitchingSoundOffRestartsNothing) {
  Create("door");
  ToneFile("sounds/door.old.wav", 440, 2.0);
  char path[64] = "Sounds\\Door.Old.wav", name[64];
  ASSERT_EQ(qorSound_AddFile("door", path), S_OK);
  qorSound_SetNumStreams("door", 3);
  void *door = nullptr, *loose = nullptr;
  ASSERT_EQ(qorSound_QueryStream("door", &door, 0), door);
  ASSERT_EQ(qorSound_GetStreamFile(door, name), S_OK);
  EXPECT_STREQ(name, "door");
  SoundBuffer* buffer = S(door)->Buffer;
  ASSERT_EQ(qorSound_PlayStream(door), S_OK);
  Run(200);
  ASSERT_EQ(qorSound_StopStream(door), S_OK);
  EXPECT_EQ(State(door), "[stopped]");
  DWORD stopped = buffer->SavedCursor;
  EXPECT_GT(stopped, 8000u);
  EXPECT_EQ(Run(50).Rms(0.01), 0.0);
  ASSERT_EQ(qorSound_ResumeStream(door), S_OK);
  EXPECT_EQ(Cursor(buffer), stopped);
  Run(100);
  ASSERT_EQ(qorSound_PauseStream(door), S_OK);
  EXPECT_EQ(State(door), "[paused]");
  DWORD paused = Cursor(buffer);
  EXPECT_GT(paused, stopped);
  EXPECT_EQ(Run(50).Rms(0.01), 0.0);
  ASSERT_EQ(qorSound_PlayStream(door), S_OK);
  EXPECT_EQ(Cursor(buffer), paused);
  EXPECT_GT(Run(50).Rms(0.01), 0.1);
  EXPECT_EQ(Sent(), (Kinds{1, 5, 5, 5, 5, 5}));

  // Off: one-shots and stealable streams are freed, held ones stop where they are, all untold.
  ASSERT_TRUE(Play("door"));
  void* shot = events.back().First;
  Held("door", &loose, STREAM_FLAG_STEALABLE);
  static int ends;
  ends = 0;
  ASSERT_EQ(qorSound_PlayFile2(ToneFile("p.wav", 440, 0.05).c_str(), 0, [](int p) { ends += p == 1000; }), S_OK);
  Run(20);
  DWORD place = Cursor(buffer);
  events.clear();
  ASSERT_EQ(qorSound_Enable(0), S_OK);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(State(shot), "[free]");
  EXPECT_EQ(State(loose), "[free]");
  EXPECT_EQ(State(door), "[stopped]");
  EXPECT_EQ(Listen(100).Rms(0.04), 0.0);
  ShowStatistic = 1;
  EXPECT_TRUE(Overlay().empty());
  EXPECT_EQ(ends, 0) << "the ended preview isn't noticed while off";
  EXPECT_FALSE(Play("door"));
  ASSERT_EQ(qorSound_Enable(1), S_OK);
  EXPECT_EQ(Listen(100).Rms(), 0.0);
  qorSound_Update();
  EXPECT_EQ(ends, 1);
  ASSERT_EQ(qorSound_ResumeStream(door), S_OK);
  EXPECT_EQ(Cursor(buffer), place) << "continues where sound was switched off";
  qorSound_ReleaseStream(door);
  EXPECT_EQ(State(door), "[free]");
}

TEST_F(Streams, ThePauseOfThreeDSoundsHoldsThemAcrossUpdates) {
  Sound("near", {440}, 0.3, 1, 1);
  Sound("hum", {440}, 2.0, 3, 1);
  void *on = nullptr, *before = nullptr, *during = nullptr;
  ASSERT_TRUE(Play("near"));
  SoundStream* shot = S(events[0].First);
  Held("hum", &on);
  Held("hum", &before);
  Held("hum", &during);
  ASSERT_EQ(qorSound_PauseStream(before), S_OK);
  Run(100);
  events.clear();

  ASSERT_EQ(qorSound_Pause3DSounds(), S_OK);
  ASSERT_EQ(qorSound_Pause3DSounds(), S_OK);
  DWORD place = Cursor(shot->Buffer);
  ASSERT_EQ(qorSound_PauseStream(during), S_OK);
  EXPECT_EQ(Run(400).Rms(0.01), 0.0);
  EXPECT_EQ(Sent(), Kinds{5}) << "only the holder's own pause: a held one-shot isn't over";
  EXPECT_EQ(State(on), "[playing]");
  ASSERT_EQ(qorSound_Resume3DSounds(), S_OK);
  ASSERT_EQ(qorSound_Resume3DSounds(), S_OK);
  EXPECT_EQ(Cursor(shot->Buffer), place) << "continues at the pause, and only once";
  EXPECT_GT(Run(300).Rms(0.01, 0.15), 0.1);
  ASSERT_EQ(Sent(), (Kinds{5, 2}));
  EXPECT_NEAR(events[1].Time, 0.2, 0.015) << "the one-shot plays out the rest of its 300 ms";
  for (void* paused : {before, during}) {
    EXPECT_EQ(State(paused), "[paused]");
    EXPECT_FALSE(SoundBuffer_IsPlaying(S(paused)->Buffer))
        << "paused by its holder " << (paused == before ? "before" : "during") << " the 3D pause";
  }
  // Streams that leave the 3D pause some other way are not started by its end.
  ASSERT_TRUE(Play("near"));
  ASSERT_EQ(qorSound_Pause3DSounds(), S_OK);
  qorSound_ReleaseStream(on);
  ASSERT_EQ(qorSound_StopStream(before), S_OK);
  ASSERT_EQ(qorSound_Enable(0), S_OK);
  ASSERT_EQ(qorSound_Enable(1), S_OK);
  ASSERT_EQ(qorSound_Resume3DSounds(), S_OK);
  EXPECT_EQ(Run(100).Rms(0.01), 0.0) << "a free or stopped stream sounds";
}

TEST_F(Streams, TheOverlayListsTheSoundsInUse) {
  using Lines = std::vector<std::string>;
  ShowStatistic = 1;
  EXPECT_EQ(Overlay(), Lines{"0.300 0.060 FFFF8040 Streams created: 0"});
  Sound("alpha", {440}, 1.0, 2);
  Sound("beta", {440}, 1.0, 1, 1);
  ASSERT_TRUE(Play("alpha"));
  void* beta = nullptr;
  Held("beta", &beta);
  const float where[3] = {3, 4, -5};
  ASSERT_EQ(qorSound_SetStreamPosition(beta, where), S_OK);
  EXPECT_EQ(Overlay(), (Lines{"0.300 0.040 FFFF8040 sounds\\alpha0.wav: 1/1",
                              "0.300 0.060 FFFF8040 sounds\\beta0.wav: 1/1", "0.700 0.060 FFFF8040 (3, 4, -5)",
                              "0.300 0.080 FFFF8040 Total Streams: 2", "0.300 0.100 FFFF8040 Streams created: 3"}));

  // A stopped held stream is in use but silent, and shows no position.
  ASSERT_EQ(qorSound_StopStream(beta), S_OK);
  EXPECT_EQ(Overlay()[1], "0.300 0.060 FFFF8040 sounds\\beta0.wav: 0/1");
}

TEST_F(Streams, LoginAndLogoutAreSilentAndBoundTheStreams) {
  SoundEntry* many = Sound("many", {440, 660}, 1.0, 7);
  ASSERT_EQ(qorSound_LoginSound("many"), S_OK);
  EXPECT_EQ(qorSound_GetNumStreams("many"), 4);
  EXPECT_EQ(StreamsCreated, 8);
  ASSERT_EQ(qorSound_LogoutSound("many"), S_OK);
  EXPECT_EQ(StreamsCreated, 0);
  EXPECT_EQ(many->LoggedIn, 0);
  EXPECT_TRUE(events.empty());
  SoundEntry* none = Sound("none", {440}, 1.0, 0);
  ASSERT_EQ(qorSound_LoginSound("none"), S_OK);
  EXPECT_FALSE(Play("none"));
  void* stream = &stream;
  EXPECT_EQ(qorSound_QueryStream("none", &stream, 3), nullptr);
  EXPECT_EQ(stream, &stream) << "a refused query leaves the variable";
  ASSERT_NE(qorSound_QueryStream("none", &stream, STREAM_FLAG_EXTRA), nullptr);
  EXPECT_EQ(Sent(), Kinds{1});
  EXPECT_EQ(none->LoggedIn, 1);
  EXPECT_EQ(StreamsCreated, 1);
  qorSound_ReleaseStream(stream);
  EXPECT_EQ(none->LoggedIn, 0) << "its last stream is gone";
  EXPECT_EQ(StreamsCreated, 0);
}

TEST_F(Streams, APreviewReportsItsProgressThenEndsOnce) {
  static std::vector<int> progress;
  progress.clear();
  std::string path = ToneFile("preview.wav", 440, 0.1);
  ASSERT_EQ(qorSound_PlayFile2(path.c_str(), 0, [](int p) { progress.push_back(p); }), S_OK);
  EXPECT_GT(Run(200).Rms(0.01, 0.09), 0.1);
  ASSERT_GE(progress.size(), 8u);
  EXPECT_EQ(std::count(progress.begin(), progress.end(), 1000), 1);
  EXPECT_EQ(progress.back(), 1000);
  EXPECT_LE(progress.end()[-2], 99);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_EQ(FilePreviewBuffer, nullptr);
  ASSERT_EQ(qorSound_PlayFile2(path.c_str(), 1, nullptr), S_OK);
  EXPECT_GT(Run(50).Rms(0.01), 0.1);
  ASSERT_EQ(qorSound_PlayFile2(nullptr, 0, nullptr), S_OK);
  EXPECT_EQ(Run(50).Rms(), 0.0);
  ASSERT_EQ(qorSound_PlayFile2(path.c_str(), 1, nullptr), S_OK);
  EXPECT_EQ(qorSound_PlayFile2((path + ".missing").c_str(), 0, nullptr), E_FAIL);
  EXPECT_EQ(Run(50).Rms(), 0.0) << "the running file was stopped";
}

TEST_F(Streams, AStoredPathThatDoesNotFitBesideTheRootIsRefusedNotCut) {
  // A root of 245 characters leaves room for a stored path of 10: "sounds\\lon" fits,
  // "sounds\\long.wav" would be cut to it.
  std::string deep(244 - root.path().size(), 'd');
  kxHost_SetRootFolder((root.path() + deep).c_str());
  Restart(1);
  ASSERT_EQ(std::strlen(RootFolder), 245u);
  ToneFile(deep + "/sounds/lon", 440, 1.0);
  for (auto [sound, stored, heard] : {std::tuple{"edge", "sounds\\lon", true}, {"long", "sounds\\long.wav", false}}) {
    Create(sound);
    char path[64];
    std::snprintf(path, sizeof path, "%s", stored);
    ASSERT_EQ(qorSound_AddFile(sound, path), S_OK);
    EXPECT_EQ(qorSound_LoginSound(sound), heard ? S_OK : E_FAIL) << stored;
    EXPECT_EQ(Play(sound), heard);
    EXPECT_EQ(Run(100).Rms(0.02) > 0.1, heard) << stored;
    qorSound_LogoutSound(sound);
  }
}

TEST_F(Streams, ARedirectedNamePlaysItsTarget) {
  Sound("low", {300}, 0.1);
  SoundEntry* high = Sound("high", {1200}, 0.1);
  void* lowHandle = Entry("low");
  EXPECT_EQ(qorSound_RedirectSound("low", "high"), S_OK);
  EXPECT_EQ(high->LoggedIn, 1) << "the target is ready to play";
  EXPECT_EQ(qorSound_RedirectSound("high", "low"), E_FAIL) << "a cycle";
  ASSERT_TRUE(Play("low"));
  EXPECT_NEAR(Run(150).Hz(0.01, 0.09), 1200, 30);
  ASSERT_EQ(qorSound_PlaySound(lowHandle, nullptr, -1), S_OK);
  EXPECT_NEAR(Run(150).Hz(0.01, 0.09), 300, 30) << "a handle plays its own entry";
  for (const char* clear : {"low", static_cast<const char*>(nullptr)}) {
    ASSERT_TRUE(qorSound_RedirectSound("low", "high") == S_OK && qorSound_RedirectSound("low", clear) == S_OK);
    EXPECT_EQ(Entry("low")->Redirect, nullptr);
  }
  EXPECT_EQ(qorSound_RedirectSound("high", "low"), S_OK) << "no cycle once cleared";
}

}  // namespace
