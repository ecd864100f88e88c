// Music heard on the offline music output (device 1).
#include <cmath>

#include "listen.h"
#include "module_fixture.h"
#include "mp3_file.h"
#include "music/music_state.h"

namespace {

constexpr double MP3_FRAME = 1152.0 / 44100.0;
// The built-in clip holds 722 frames.
constexpr double CLIP_SECONDS = 722 * MP3_FRAME;

class Music : public ModuleTest {
protected:
  void TearDown() override {
    qorSound_UnloadMP3List();
    ModuleTest::TearDown();
  }
};

TEST_F(Music, TheBuiltInClipPlaysForItsLengthAndRefusalsLeaveNoSound) {
  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  Capture heard = Listen(20000, 1);
  EXPECT_GT(heard.Rms(0, 2), 0.01);
  EXPECT_NEAR(heard.LastSound(), CLIP_SECONDS, MP3_FRAME + 0.01);
  EXPECT_EQ(heard.Rms(CLIP_SECONDS + MP3_FRAME + 0.01), 0.0);
  EXPECT_EQ(qorSound_IsMP3FileFinished(), 0) << "no list, no report";

  // A refused volume is not remembered; the level itself is heard in the music library's tests.
  ASSERT_EQ(qorSound_SetVolumeMP3(50), S_OK);
  ASSERT_EQ(qorSound_UnloadMP3(), S_OK);
  EXPECT_EQ(qorSound_SetVolumeMP3(20), E_FAIL);
  int volume = 0;
  ASSERT_EQ(qorSound_GetVolumeMP3(&volume), S_OK);
  EXPECT_EQ(volume, 50);

  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  root.write("junk.mp3", std::string(5000, 'j'));
  EXPECT_EQ(qorSound_LoadMP3("junk", 0), E_FAIL);
  EXPECT_EQ(qorSound_PlayMP3(), E_FAIL) << "the old sound is gone too";
  EXPECT_EQ(qorSound_LoadMP3("nothing", 1), E_FAIL);
  qorSound_Finalize();
  EXPECT_EQ(qorSound_TestMP3(), E_FAIL) << "no library after shutdown";
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

TEST_F(Playlist, PlaysInOrderThenEndsOrWraps) {
  ASSERT_EQ(qorSound_LoadMP3List("Music\\List", 0), S_OK);
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
  int ends = 0;
  EXPECT_EQ(RunList(20, &ends), (std::vector<int>{330, 550, 880}));
  EXPECT_EQ(ends, 3);
  EXPECT_EQ(qorSound_PlayMP3(), E_FAIL) << "past the last entry nothing is loaded";
  EXPECT_EQ(MP3ListIndex, 2);
  EXPECT_EQ(qorSound_NextMP3(), E_FAIL);

  ASSERT_EQ(qorSound_LoadMP3List("music\\list", 1), S_OK);
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
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
  ASSERT_EQ(qorSound_NextMP3(), S_OK);
  EXPECT_NEAR(Listen(200, 1).Hz(0.05, 0.15), 550, 10);

  // One entry in random order plays that entry again instead of drawing for ever.
  root.write("music/one.m3u", "song2\n");
  ASSERT_EQ(qorSound_LoadMP3List("music\\one", 0), S_OK);
  ASSERT_EQ(qorSound_RandomizeMP3List(1), S_OK);
  ASSERT_EQ(qorSound_PlayMP3(), S_OK);
  EXPECT_NEAR(Listen(200, 1).Hz(0.05, 0.15), 880, 10);
  EXPECT_EQ(qorSound_PrevMP3(), E_FAIL);
  // A test clip ends the list.
  ASSERT_EQ(qorSound_TestMP3(), S_OK);
  EXPECT_EQ(qorSound_NextMP3(), E_FAIL);
}

}  // namespace
