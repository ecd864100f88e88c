// What the diagnostics sink hears, and what kxSound_Why answers: actions on a small
// catalogue and the code and key words of the lines they must produce.
#include <dlfcn.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/diagnostics.h"
#include "kxEngine.h"
#include "listen.h"
#include "module_fixture.h"
#include "wave_file.h"

namespace {

bool g_stuckDelta = false;

}  // namespace

// A host that never starts its frames: the engine's frame delta stays 0 while time passes.
extern "C" ULONG qorTimer_GetSystemDeltaTicks(void) {
  using Fn = ULONG (*)(void);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "qorTimer_GetSystemDeltaTicks"));
  return g_stuckDelta ? 0 : real();
}

namespace {

using Heard = std::vector<std::pair<int, std::string>>;

void Collect(int code, const char* text, void* user) { static_cast<Heard*>(user)->emplace_back(code, text); }

void CollectLine(const char* line, void* user) { *static_cast<std::string*>(user) += std::string(line) + "\n"; }

WaveShape Mono() {
  WaveShape shape;
  shape.Data = Tone(440, 0.2, 22050, 1, 16, 0.5);
  return shape;
}

void* g_oneShot = nullptr;
void RememberAcquired(QORSOUND_STREAM_EVENT event, void* stream, void*) {
  if (event == STREAM_EVENT_ACQUIRED) g_oneShot = stream;
}

const float FAR_AWAY[3] = {300, 0, 400};

class Diagnostics : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    if (HasFatalFailure()) return;
    g_stuckDelta = false;
    AddSound("Bird", Mono());
    AddSound("Bee3D", Mono(), 1);
    kxSound_SetDiagnosticSink(Collect, &heard);
  }
  // A sound of one file, sounds\<name>.wav, written from shape unless write is false.
  void AddSound(const char* name, const WaveShape& shape, int is3D = 0, bool write = true) {
    std::string file = std::string(name) + ".wav";
    if (write) WriteWave(root, "sounds/" + file, shape);
    Create(name);
    char path[64];
    std::snprintf(path, sizeof path, "sounds\\%s", file.c_str());
    ASSERT_EQ(qorSound_AddFile(name, path), S_OK);
    qorSound_Set3D(name, is3D);
  }
  std::string Why(const char* name, int32_t expected = S_OK) {
    std::string all;
    EXPECT_EQ(kxSound_Why(name, CollectLine, &all), expected);
    return all;
  }
  std::string HeardText() const {
    std::string all;
    for (const auto& [code, text] : heard) all += std::to_string(code) + ": " + text + "\n";
    return all;
  }
  // True when a line of that code holds every word.
  bool HeardWith(int code, const std::vector<std::string>& words) const {
    for (const auto& [got, text] : heard) {
      if (got != code) continue;
      bool all = true;
      for (const std::string& word : words) all = all && text.find(word) != std::string::npos;
      if (all) return true;
    }
    return false;
  }
  void ExpectHeard(int code, const std::vector<std::string>& words) {
    EXPECT_TRUE(HeardWith(code, words)) << words.front() << "\nheard:\n" << HeardText();
  }
  void ExpectWhy(const char* name, int32_t result, const std::vector<std::string>& words) {
    const std::string all = Why(name, result);
    for (const std::string& word : words) EXPECT_NE(all.find(word), std::string::npos) << word << "\nin:\n" << all;
  }

  Heard heard;
  // The module keeps the address of a held handle until it finalizes.
  void* held[2] = {};
};

TEST_F(Diagnostics, NamesAndFilesTheCatalogueLacks) {
  qorSound_PlaySound("bird2", nullptr, 0);
  ExpectHeard(KXSOUND_DIAG_UNKNOWN_SOUND, {"unknown sound \"bird2\" (nearest: \"Bird\")"});
  Create("Empty");
  qorSound_PlaySound("Empty", nullptr, 0);
  ExpectHeard(KXSOUND_DIAG_NO_ENABLED_FILE, {"\"Empty\"", "no files"});
  AddSound("Ghost", WaveShape(), 0, false);
  qorSound_PlaySound("Ghost", nullptr, 0);
  ExpectHeard(KXSOUND_DIAG_FILE_NOT_FOUND, {"sounds/ghost.wav\"", "of sound \"Ghost\" is not found"});
  EXPECT_EQ(qorSound_RedirectSound("Bird", "Bee3D"), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_REFUSED, {"\"Bird\" cannot redirect to \"Bee3D\"", "one is 3D"});
  qorSound_SetFileEnabled("Bird", 0, 0);
  qorSound_LoginSound("Bird");
  ExpectHeard(KXSOUND_DIAG_NO_ENABLED_FILE, {"\"Bird\"", "1 file and none is enabled"});
  char path[64] = "sounds/bird2.wav";
  EXPECT_EQ(qorSound_AddFile("Bird", path), S_OK);
  ExpectHeard(KXSOUND_DIAG_FORWARD_SLASHES, {"\"sounds/bird2.wav\"", "becomes \"sounds\\sounds/bird2.wav\""});
}

TEST_F(Diagnostics, RefusedWavesNameTheFileAndWhy) {
  const struct {
    const char* Name;
    void (*Change)(WaveShape&);  // none: a text file
    const char* Words;
  } cases[] = {
      {"Adpcm", [](WaveShape& s) { s.FormatTag = 2, s.CbSize = 0; },
       "sounds/Adpcm.wav\" of sound \"Adpcm\" is ADPCM (format tag 2), not PCM"},
      {"Wide", [](WaveShape& s) { s.Channels = 2, s.Data = Tone(440, 0.2, 22050, 2, 16, 0.5); },
       "is stereo; a 3D sound must be mono"},
      {"Deep", [](WaveShape& s) { s.Bits = 24, s.Data.assign(3000, 0); }, "24-bit samples"},
      {"Hollow", [](WaveShape& s) { s.Data.clear(); }, "empty data chunk (size 0)"},
      {"Short", [](WaveShape& s) { s.DataSize = 20000; }, "claims 20000 bytes while the file holds 8820"},
      {"Text", nullptr, "is not a RIFF WAVE file"},
  };
  for (const auto& c : cases) {
    WaveShape shape = Mono();
    if (c.Change) c.Change(shape);
    AddSound(c.Name, shape, 1);
    if (!c.Change) root.write(std::string("sounds/") + c.Name + ".wav", "just some text, no RIFF");
    qorSound_LoginSound(c.Name);
    ExpectHeard(KXSOUND_DIAG_FORMAT_REFUSED, {c.Words});
  }
}

// What the sentences claim is what a listener hears.
TEST_F(Diagnostics, LevelsAndDistancesThatAreNotHeard) {
  int volume = -1;
  EXPECT_EQ(qorSound_GetVolume(&volume), S_OK);
  ExpectHeard(KXSOUND_DIAG_VOLUME_NEVER_SET, {"reads 0", "never called", "factor in force is 1.00"});
  qorSound_SetVolume(150);
  ExpectHeard(KXSOUND_DIAG_ADJUSTED, {"master volume 150 counts as 100"});
  EXPECT_EQ(qorSound_PlaySound("Bee3D", FAR_AWAY, 0), S_OK);
  ExpectHeard(KXSOUND_DIAG_BEYOND_MAX_DISTANCE, {"\"Bee3D\"", "500.00 from the ears", "MaxDistance 100.00"});
  EXPECT_LT(Listen(150).Rms(), 1e-6);
  qorSound_SetVolume("Bird", 250);
  ExpectHeard(KXSOUND_DIAG_LEVEL_REFUSED, {"volume 250 of sound \"Bird\" is stored", "refuses"});
  ASSERT_EQ(qorSound_PlaySound("Bird", nullptr, 0), S_OK);
  ExpectHeard(KXSOUND_DIAG_LEVEL_REFUSED, {"\"Bird\" starts silent", "level 250"});
  EXPECT_LT(Listen(150).Rms(), 1e-6) << "volume 250 is stored, not heard";
  qorSound_SetVolume("Bird", 100);
  ASSERT_EQ(qorSound_PlaySound("Bird", nullptr, 0), S_OK);
  EXPECT_GT(Listen(150).Rms(), 0.1);

  g_stuckDelta = true;
  for (int frame = 0; frame < 4; ++frame) {
    kxHost_Advance(400);
    qorSound_Update();
  }
  ExpectHeard(KXSOUND_DIAG_FRAME_DELTA_ZERO, {"stayed 0 for 1200 ms", "delayed ambients never start"});
}

TEST_F(Diagnostics, HeldReleasedAndDeadStreams) {
  qorSound_QueryStream("Bird", &held[0], 0);
  EXPECT_EQ(qorSound_PlaySound("Bird", nullptr, 0), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_NO_FREE_STREAM, {"\"Bird\"", "all 1 are held", "never takes a held stream"});
  EXPECT_EQ(qorSound_QueryStream("Bird", &held[1], 0), nullptr);
  ExpectHeard(KXSOUND_DIAG_NO_FREE_STREAM, {"none is stealable"});
  qorSound_ReleaseStream(held[0]);
  qorSound_SetStreamVolume(held[0], 50);
  ExpectHeard(KXSOUND_DIAG_RELEASED_STREAM, {"released", "qorSound_SetStreamVolume acts on it"});
  EXPECT_EQ(qorSound_StopStream(held[0]), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_DEAD_STREAM, {"released", "qorSound_StopStream fails"});
  qorSound_QueryStream("Bird", &held[0], 0);
  qorSound_LogoutSound("Bird");
  EXPECT_EQ(qorSound_PlayStream(held[0]), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_DEAD_STREAM, {"qorSound_PlayStream", "no longer exists"});
  qorSound_SetNotifyCallback(RememberAcquired);
  qorSound_PlaySound("Bird", nullptr, 0);
  EXPECT_EQ(qorSound_PauseStream(g_oneShot), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_ONE_SHOT_STREAM, {"qorSound_PauseStream fails", "one-shot", "\"Bird\""});
}

TEST_F(Diagnostics, MusicPathsAndLists) {
  qorSound_LoadMP3("music/song", 0);
  ExpectHeard(KXSOUND_DIAG_FORWARD_SLASHES, {"\"music/song\"", "music/song.mp3\""});
  root.write("music/long.m3u", "a.mp3\r\n" + std::string(300, 'x') + "\r\n");
  qorSound_LoadMP3List("music\\long", 0);
  ExpectHeard(KXSOUND_DIAG_PLAYLIST_ENTRY, {"line 2 of play list \"music\\long\" is left out"});
  root.write("music/empty.m3u", "");
  EXPECT_EQ(qorSound_LoadMP3List("music\\empty", 0), S_OK);
  ExpectHeard(KXSOUND_DIAG_NOTHING_DONE, {"empty.m3u\" is empty: the old list stays"});
}

TEST_F(Diagnostics, StartsAndStops) {
  qorSound_Enable(0);
  qorSound_PlaySound("Bird", nullptr, 0);
  ExpectHeard(KXSOUND_DIAG_SOUND_DISABLED, {"switched off", "qorSound_PlaySound"});
  qorSound_Enable(1);
  qorSound_SetSoundEnabled("Bird", 0);
  ASSERT_EQ(qorSound_SaveBase(), S_OK);
  Restart(0);
  ExpectHeard(KXSOUND_DIAG_SOUND_LEFT_OUT, {"sound \"Bird\" is disabled and left out"});
  qorSound_Finalize();
  qorSound_PlaySound("Bird", nullptr, 0);
  ExpectHeard(KXSOUND_DIAG_NOT_INITIALIZED, {"not initialised", "qorSound_PlaySound"});
  kxHost_SetAudioOutput("none");
  EXPECT_EQ(qorSound_Initialize(nullptr, 1), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_DEVICE, {"qorSound_Initialize fails", "could not be opened"});
  kxHost_SetAudioOutput("offline");
  root.write("Sounds.qorSound", std::string(20000, 'x'));
  qorSound_Initialize(nullptr, 1);
  ExpectHeard(KXSOUND_DIAG_BASE_FILE, {"Sounds.qorSound\" is not a sound base"});
  for (const char* folder : {"sounds", "nowhere"}) {
    qorSound_Finalize();
    kxHost_SetRootFolder((root.path() + folder).c_str());
    qorSound_Initialize(nullptr, 1);
  }
  ExpectHeard(KXSOUND_DIAG_ROOT_FOLDER, {"holds no Sounds.qorSound"});
  ExpectHeard(KXSOUND_DIAG_ROOT_FOLDER, {"nowhere/\" does not exist"});

  // Without a sound card the sink hears why in one sentence, standard error stays clean,
  // and the next start on an output that works succeeds.
  qorSound_Finalize();
  heard.clear();
  ASSERT_EQ(0, kxHost_SetAudioOutput("device"));
  testing::internal::CaptureStderr();
  const int32_t started = qorSound_Initialize(nullptr, 0);
  const std::string noise = testing::internal::GetCapturedStderr();
  if (started == S_OK) GTEST_SKIP() << "this machine has an audio output";
  ExpectHeard(KXSOUND_DIAG_DEVICE, {"qorSound_Initialize fails", "no sound card"});
  EXPECT_EQ("", noise);
  kxHost_SetAudioOutput("none");
  EXPECT_EQ(qorSound_Initialize(nullptr, 0), E_FAIL);
  ExpectHeard(KXSOUND_DIAG_DEVICE, {"could not be opened"});  // not the card's old sentence
  kxHost_SetAudioOutput("offline");
  ASSERT_EQ(qorSound_Initialize(nullptr, 0), S_OK);
}

TEST_F(Diagnostics, QuietWhenAllGoesWellAndWhyChangesNothing) {
  int32_t created = 0, after = 0;
  kxHost_GetVar("sounds_created", &created);
  Why("Bird");
  Why("Bee3D");
  kxHost_GetVar("sounds_created", &after);
  EXPECT_EQ(after, created) << "no login, no buffer made";
  ASSERT_EQ(qorSound_PlaySound("Bird", nullptr, 0), S_OK);
  const float near[3] = {30, 0, 40};
  ASSERT_EQ(qorSound_PlaySound("Bee3D", near, 0), S_OK);
  Listen(300);
  qorSound_Update();
  EXPECT_TRUE(heard.empty()) << HeardText();
}

TEST_F(Diagnostics, NoExceptionCrossesAnExportAndTheSinkMayCallBack) {
  kxSound_SetDiagnosticSink([](int, const char*, void*) { throw std::runtime_error("host bug"); }, nullptr);
  EXPECT_EQ(qorSound_PlaySound("Nothing", nullptr, 0), E_FAIL);
  EXPECT_EQ(kxSound_Why(
                "Bird", [](const char*, void*) { throw std::runtime_error("host bug"); }, nullptr),
            E_FAIL);

  // A sink that calls into the module hears its own call's diagnostic once, not its echoes.
  static int calls = 0;
  kxSound_SetDiagnosticSink(
      [](int, const char*, void*) {
        ++calls;
        qorSound_PlaySound("AlsoNothing", nullptr, 0);
      },
      nullptr);
  EXPECT_EQ(qorSound_PlaySound("Nothing", nullptr, 0), E_FAIL);
  EXPECT_EQ(calls, 1);
}

TEST_F(Diagnostics, WhyTellsTheFilesAndTheRedirection) {
  ExpectWhy("Brid", E_FAIL, {"unknown sound \"Brid\" (nearest: \"Bird\")"});
  ExpectWhy("Bird", S_OK,
            {"not logged in", "file 0 \"sounds\\bird.wav\": enabled, found at",
             "sounds/Bird.wav\", PCM 16-bit mono 22050 Hz, 0.200 s",
             "a play now logs the sound in and plays the first enabled file"});
  char missing[64] = "sounds\\gone.wav";
  qorSound_AddFile("Bee3D", missing);
  WaveShape stereo = Mono();
  stereo.Channels = 2, stereo.Data = Tone(440, 0.2, 22050, 2, 16, 0.5);
  WriteWave(root, "sounds/wide.wav", stereo);
  char wide[64] = "sounds\\wide.wav";
  qorSound_AddFile("Bee3D", wide);
  qorSound_SetFileEnabled("Bee3D", 0, 0);
  ExpectWhy("Bee3D", S_OK,
            {"file 0 \"sounds\\bee3d.wav\": disabled", "file 1 \"sounds\\gone.wav\": enabled, not found at",
             "file 2 \"sounds\\wide.wav\": enabled, found at", "but it is stereo; a 3D sound must be mono",
             "a play now fails: the login fails on file 1"});
  AddSound("Owl", Mono());
  ASSERT_EQ(qorSound_RedirectSound("Bird", "Owl"), S_OK);
  ExpectWhy("Bird", S_OK, {"\"Bird\" -> \"Owl\" is redirected: a play by name plays \"Owl\""});
}

TEST_F(Diagnostics, WhyTellsTheStreamsLevelsAndSwitches) {
  qorSound_QueryStream("Bird", &held[0], STREAM_FLAG_STEALABLE);
  ExpectWhy("Bird", S_OK,
            {"logged in: 1 enabled file loaded, 1 stream",
             "1 in all, 0 free, 0 one-shots playing, 1 held (1 stealable)", "every stream of the file is held"});
  qorSound_ReleaseStream(held[0]);
  const float where[3] = {30, 0, 40};
  qorSound_QueryStream("Bee3D", &held[1], 0);
  qorSound_SetStreamPosition(held[1], where);
  qorSound_PlayStream(held[1]);
  ExpectWhy("Bee3D", S_OK, {"(playing) at (30.00, 0.00, 40.00): distance 50.00 of MaxDistance 100.00"});
  qorSound_Pause3DSounds();
  ExpectWhy("Bee3D", S_OK, {"3D sounds are paused (qorSound_Pause3DSounds): 1 stream of this sound waits"});
  qorSound_SetVolume("Bird", 250);
  ExpectWhy("Bird", S_OK, {"= 250, outside 0..100", "it is not heard"});
  qorSound_SetVolume("Bird", 50);
  qorSound_SetVolume(50);
  ExpectWhy("Bird", S_OK, {"Volume 50 x VolumeScale 1.00 x VolumeFactor 0.50 = 25 -> device level -7500 (-75.00 dB)"});
  qorSound_Enable(0);
  ExpectWhy("Bird", S_OK, {"sound is switched off", "a play now fails"});
  qorSound_Finalize();
  ExpectWhy("Bird", E_FAIL, {"not initialised"});
}

}  // namespace
