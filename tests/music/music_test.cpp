// Music heard on the offline music output (device 1).
#include <cmath>

#include "module_fixture.h"
#include "gaudio/gaudio.h"
#include "listen.h"
#include "mp3_file.h"
#include "music/music_state.h"

namespace {

constexpr double MP3_FRAME = 1152.0 / 44100.0;

// Frames of a plain CBR MPEG-1 Layer III stream, from its frame headers.
int CountFrames(const uint8_t* data, uint32_t size) {
  static const int KBPS[16] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
  static const int RATE[4] = {44100, 48000, 32000, 0};
  int frames = 0;
  for (uint32_t at = 0; at + 4 <= size;) {
    if (data[at] != 0xFF || (data[at + 1] & 0xE0) != 0xE0) break;
    int kbps = KBPS[data[at + 2] >> 4], rate = RATE[(data[at + 2] >> 2) & 3], padding = (data[at + 2] >> 1) & 1;
    if (!kbps || !rate) break;
    at += 144000 * kbps / rate + padding;
    frames++;
  }
  return frames;
}

class Music : public ModuleTest {
protected:
  void TearDown() override {
    qorSound_UnloadMP3List();
    ModuleTest::TearDown();
  }
  // Plays the current sound in 10 ms frames until it stops; seconds played.
  static double PlayedUntilStopped(double limit) {
    double played = 0;
    while (MP3Sound && MP3Sound->IsPlaying() && played < limit) {
      Listen(10, 1);
      played += 0.01;
    }
    return played;
  }
};

TEST_F(Music, TheBuiltInClipPlaysForItsLength) {
  ASSERT_EQ(GAudioReady, 1);
  ASSERT_NE(TestClipData, nullptr);
  int frames = CountFrames(TestClipData, TestClipSize);
  EXPECT_GT(frames, 600);
  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  EXPECT_GT(Listen(2000, 1).Rms(), 0.01);
  double played = 2.0 + PlayedUntilStopped(30);
  EXPECT_NEAR(played, frames * MP3_FRAME, MP3_FRAME + 0.01);
  EXPECT_EQ(Listen(200, 1).Rms(), 0.0);
  EXPECT_EQ(qorSound_IsMP3FileFinished(), 0) << "no list, no report";
}

// The level itself is heard in the music library's tests and through kxsound run.
TEST_F(Music, ARefusedVolumeIsNotRemembered) {
  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  ASSERT_EQ(qorSound_SetVolumeMP3(50), S_OK);
  ASSERT_EQ(qorSound_UnloadMP3(), S_OK);
  EXPECT_EQ(qorSound_SetVolumeMP3(20), E_FAIL);
  int volume = 0;
  ASSERT_EQ(qorSound_GetVolumeMP3(&volume), S_OK);
  EXPECT_EQ(volume, 50);
}

class Playlist : public Music {
protected:
  void SetUp() override {
    Music::SetUp();
    const double tones[] = {330, 550, 880};
    for (int i = 0; i < 3; ++i) {
      if (MakeMp3(root, "music/song" + std::to_string(i) + ".mp3", tones[i], 0.3).empty()) GTEST_SKIP() << "no lame";
    }
    root.write("music/list.m3u", "#EXTM3U\r\nsong0\r\n#EXTINF:1,Two\r\nSONG1.mp3\r\nsong2\r\n");
  }
  // Plays the list as a game would: poll for the end and move on. The tones heard,
  // in order, and how many ends were reported.
  std::vector<int> RunList(int steps, int* ends, int stopAfter = 1000) {
    std::vector<int> heard;
    *ends = 0;
    for (int i = 0; i < steps && *ends < stopAfter; ++i) {
      Capture c = Listen(100, 1);
      double measured = c.Hz(0.02, 0.08);
      int hz = 330;
      for (int tone : {550, 880}) {
        if (std::fabs(measured - tone) < std::fabs(measured - hz)) hz = tone;
      }
      if (c.Rms(0.02, 0.08) > 0.05 && (heard.empty() || heard.back() != hz)) heard.push_back(hz);
      if (qorSound_IsMP3FileFinished()) {
        ++*ends;
        EXPECT_EQ(qorSound_IsMP3FileFinished(), 0) << "each end is reported once";
        if (qorSound_NextMP3() != S_OK) break;
      }
    }
    return heard;
  }
};

TEST_F(Playlist, PlaysInOrderAndEndsWithoutWrap) {
  ASSERT_EQ(qorSound_LoadMP3List("Music\\List", 0), S_OK);
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
  int ends = 0;
  EXPECT_EQ(RunList(20, &ends), (std::vector<int>{330, 550, 880}));
  EXPECT_EQ(ends, 3);
  EXPECT_EQ(MP3Sound, nullptr) << "past the last entry nothing is loaded";
  EXPECT_EQ(MP3ListIndex, 2);
  EXPECT_EQ(qorSound_NextMP3(), E_FAIL);
}

TEST_F(Playlist, WrapsAroundWhenAsked) {
  ASSERT_EQ(qorSound_LoadMP3List("music\\list", 1), S_OK);
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
  int ends = 0;
  EXPECT_EQ(RunList(40, &ends, 4), (std::vector<int>{330, 550, 880, 330}));
  EXPECT_EQ(MP3ListIndex, 1) << "after the fourth end the second entry plays again";
  ASSERT_EQ(qorSound_GoMP3Index(7, 0), S_OK);
  EXPECT_EQ(MP3ListIndex, 1);
  EXPECT_EQ(qorSound_GoMP3Index(-1, 0), E_FAIL);
  EXPECT_EQ(MP3ListIndex, 1);
}

TEST_F(Playlist, BadListsLeaveTheOldOne) {
  ASSERT_EQ(qorSound_LoadMP3List("music\\list", 0), S_OK);
  EXPECT_EQ(qorSound_LoadMP3List("music\\missing", 0), E_FAIL);
  root.write("music/empty.m3u", "");
  EXPECT_EQ(qorSound_LoadMP3List("music\\empty", 0), S_OK);
  root.write("music/comments.m3u", "#EXTM3U\n#nothing\n");
  EXPECT_EQ(qorSound_LoadMP3List("music\\comments", 0), E_FAIL);
  EXPECT_EQ(MP3ListCount, 3);
  EXPECT_EQ(MP3ListLoaded, 1);

  // One entry in random order plays that entry again instead of drawing for ever.
  root.write("music/one.m3u", "song2\n");
  ASSERT_EQ(qorSound_LoadMP3List("music\\one", 0), S_OK);
  ASSERT_EQ(qorSound_RandomizeMP3List(1), S_OK);
  EXPECT_EQ(MP3ListIndex, 0);
  EXPECT_NE(MP3Sound, nullptr);
  EXPECT_EQ(qorSound_PrevMP3(), E_FAIL);
  // A test clip ends the list.
  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  EXPECT_EQ(MP3ListLoaded, 0);
}

TEST_F(Playlist, ListsAsLinuxEditorsWriteThem) {
  // A byte-order mark in front, absolute paths, and an absolute path to the list itself.
  root.write("music/bom.m3u", "\xEF\xBB\xBFsong1\n");
  ASSERT_EQ(qorSound_LoadMP3List("music\\bom", 0), S_OK);
  EXPECT_STREQ(MP3List->Name, "music\\song1");
  ASSERT_NE(MP3Sound, nullptr) << "the first entry loads";
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
  EXPECT_NEAR(Listen(200, 1).Hz(0.05, 0.15), 550, 10);

  root.write("music/absolute.m3u", root.path() + "music/song2.mp3\n");
  ASSERT_EQ(qorSound_LoadMP3List((root.path() + "music/absolute.m3u").c_str(), 0), S_OK);
  ASSERT_NE(MP3Sound, nullptr);
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
  EXPECT_NEAR(Listen(200, 1).Hz(0.05, 0.15), 880, 10);
}

TEST_F(Music, RefusedFilesLeaveNoSound) {
  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  root.write("junk.mp3", std::string(5000, 'j'));
  EXPECT_EQ(qorSound_LoadMP3("junk", 0), E_FAIL);
  EXPECT_EQ(MP3Sound, nullptr) << "the old sound is gone too";
  EXPECT_EQ(qorSound_LoadMP3("nothing", 1), E_FAIL);
  EXPECT_EQ(qorSound_PlayMP3(), E_FAIL);
  qorSound_Finalize();
  EXPECT_EQ(qorSound_TestMP3(), E_FAIL) << "no library after shutdown";
}

}  // namespace
