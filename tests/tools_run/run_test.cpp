// kxsound run: scene scripts rendered offline into WAV files, traced, and refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <vector>

#include "mp3_file.h"
#include "tool_process.h"

namespace {

class KxsoundRunTest : public ::testing::Test {
protected:
  void SetUp() override { MakeTestCatalogue(root); }

  // Runs a script (written into a scratch folder) on the test catalogue.
  ToolRun Run(const std::string& script, std::vector<std::string> extra) {
    work.write("scene.txt", script);
    std::vector<std::string> args = {"run", work.file("scene.txt"), "--root", root.path()};
    args.insert(args.end(), extra.begin(), extra.end());
    return RunTool(args);
  }
  // Renders a script into out.wav, keeping the run in last.
  Capture Render(const std::string& script, std::vector<std::string> extra = {}) {
    extra.insert(extra.end(), {"--output", "wav:" + work.file("out.wav")});
    last = Run(script, extra);
    EXPECT_EQ(last.Status, 0) << last.Err;
    return ReadWav(work.readText("out.wav"));
  }

  TempDir root, work;
  ToolRun last;
};

// 0-0.5 s a centred beep; 0.5-1.5 s the hum held on the right; stopped until 2.0 s;
// then resumed on the left for 0.5 s.
const char kScene[] =
    "# one-shot, then a held stream that moves\n"
    "PlaySound beep\n"
    "wait 500\n"
    "\n"
    "hold hum as h\n"
    "stream h at 3 0 0\n"
    "stream h play\n"
    "wait 1000\n"
    "expect-playing h\n"
    "stream h stop\n"
    "wait 500\n"
    "stream h at -3 0 0\n"
    "STREAM h resume\n"
    "wait 500\n";

// A scene with nothing wrong passes --strict; each part sounds where it belongs, and the trace
// names each stream's sound and file.
TEST_F(KxsoundRunTest, RendersAndTracesEachPartOfTheSceneWhereItBelongs) {
  Capture wav = Render(kScene, {"--trace", "--strict"});
  const std::string& out = last.Out;
  EXPECT_NE(out.find("kxsound: rendered 2.5 s to " + work.file("out.wav") + ", peak -"), std::string::npos) << out;
  EXPECT_NE(out.find(" dBFS, 0 samples clipped\n"), std::string::npos) << out;
  ASSERT_EQ(wav.Rate, 48000u) << "missing or malformed WAV: the file is written at the rate the outputs mix at";
  EXPECT_NEAR(wav.Seconds(), 2.5, 0.01);
  const double quiet = 1e-3;
  // The beep, in the middle.
  EXPECT_GT(wav.RmsLeft(0.05, 0.25), 0.05);
  EXPECT_NEAR(wav.RmsLeft(0.05, 0.25), wav.RmsRight(0.05, 0.25), 0.01);
  EXPECT_LT(wav.RmsLeft(0.35, 0.5), quiet);
  // The hum on the right, in both its files. (A file that takes over sounds from where the
  // listener is until the next commit of 3D settings, so the windows leave those out.)
  for (double from : {0.55, 0.96, 1.36}) {
    EXPECT_GT(wav.RmsRight(from, from + 0.14), 0.02) << "at " << from;
    EXPECT_GT(wav.RmsRight(from, from + 0.14), 2 * wav.RmsLeft(from, from + 0.14)) << "at " << from;
  }
  EXPECT_LT(wav.RmsRight(1.55, 1.95), quiet);
  EXPECT_LT(wav.RmsLeft(1.55, 1.95), quiet);
  // Moved to the left while it stood still.
  EXPECT_GT(wav.RmsLeft(2.1, 2.45), 2 * wav.RmsRight(2.1, 2.45));

  // The beep comes and goes; the hum is held, played, hands over to its second file and back,
  // is stopped, resumed, and hands over again.
  std::string events;
  for (const std::string& line : Lines(out)) {
    std::istringstream in(line);
    unsigned long ms = 0;
    std::string word, rest;
    in >> ms >> word;
    if (word != "acquired" && word != "released" && word != "changed" && word != "replaced") continue;
    std::getline(in, rest);
    events += word + rest + "\n";
    if (word == "acquired" && rest.find("hum") != std::string::npos) {
      EXPECT_EQ(ms, 500u) << "the hold";
    }
  }
  EXPECT_EQ(events,
            "acquired stream 1 of beep (sounds\\beep.wav)\n"
            "released stream 1 of beep (sounds\\beep.wav)\n"
            "acquired stream 2 of hum (sounds\\hum0.wav)\n"
            "changed stream 2 of hum (sounds\\hum0.wav): playing\n"
            "replaced stream 2 of hum (sounds\\hum0.wav) by stream 3 (sounds\\hum1.wav)\n"
            "replaced stream 3 of hum (sounds\\hum1.wav) by stream 2 (sounds\\hum0.wav)\n"
            "changed stream 2 of hum (sounds\\hum0.wav): stopped\n"
            "changed stream 2 of hum (sounds\\hum0.wav): playing\n"
            "replaced stream 2 of hum (sounds\\hum0.wav) by stream 3 (sounds\\hum1.wav)\n")
      << out;
}

// Music 77 dB down, 6 steps of 16 bits: dithered, it keeps its level and shape over a floor
// of noise 96 dB down, with none of the harmonics that rounding alone would give it. Louder
// than full scale: the file is clipped, and the tool says how often and by how much.
TEST_F(KxsoundRunTest, QuietSoundIsDitheredAndLoudSoundClippedAndCounted) {
  if (MakeMp3(root, "music/whisper.mp3", 1000, 1.0, 48000, 0.02).empty()) GTEST_SKIP() << "lame is not installed";
  MakeMp3(root, "music/loud.mp3", 660, 1.0, 48000, 0.9);
  Capture wav = Render("LoadMP3 music\\whisper 0\nSetVolumeMP3 1\nPlayMP3\nwait 1500\n");
  ASSERT_EQ(wav.Rate, 48000u);
  // After the tone: the dither alone, half a step RMS.
  EXPECT_NEAR(-96.3, Decibels(wav.RmsLeft(1.1, 1.5), 1.0), 0.5);
  EXPECT_NEAR(-96.3, Decibels(wav.RmsRight(1.1, 1.5), 1.0), 0.5);

  std::vector<float> tone(wav.Left.begin() + wav.Rate / 10, wav.Left.begin() + wav.Rate * 9 / 10);
  Spectrum spectrum(tone, wav.Rate);
  // The source's tone at a volume of 1 percent.
  EXPECT_NEAR(-40.0, Decibels(spectrum.ToneRms(1000), 0.02 / M_SQRT2), 0.5);
  double floor = 0;
  const double probes[] = {1500, 2500, 3500, 4500, 5500, 6500};
  for (double hz : probes) floor += spectrum.ToneRms(hz) * spectrum.ToneRms(hz) / std::size(probes);
  for (int harmonic = 2; harmonic <= 5; ++harmonic)
    EXPECT_LT(Decibels(spectrum.ToneRms(1000.0 * harmonic), std::sqrt(floor)), 6.0) << "harmonic " << harmonic;

  wav = Render("LoadMP3 music\\loud 0\nPlayMP3\nPlaySound beep\nwait 300\n");
  ASSERT_EQ(wav.Rate, 48000u);
  size_t atTheRails = 0;
  for (const std::vector<float>* side : {&wav.Left, &wav.Right})
    for (float s : *side) atTheRails += s >= 32767 / 32768.0f || s <= -1.0f;
  unsigned long long clipped = 0;
  double peak = 0, over = 0;
  size_t at = last.Out.find("kxsound: rendered 0.3 s to " + work.file("out.wav") + ", peak ");
  ASSERT_NE(at, std::string::npos) << last.Out;
  ASSERT_EQ(3,
            std::sscanf(last.Out.c_str() + last.Out.find(", peak", at),
                        ", peak %lf dBFS, %llu samples clipped (up to %lf dB over full scale)", &peak, &clipped, &over))
      << last.Out;
  EXPECT_GT(clipped, 100u);
  // A sample that only the dither took to the rail counts too, so a few more may sit there.
  EXPECT_LE(clipped, atTheRails);
  EXPECT_GE(clipped + 10, atTheRails);
  EXPECT_GT(peak, 0.5);
  EXPECT_DOUBLE_EQ(peak, over);
}

// A scene with bad lines is refused before anything plays, each bad line named; one that fails
// while it plays stops with its line. Either way no file is left.
TEST_F(KxsoundRunTest, BadLinesAndFailuresStopWithAMessageAndLeaveNoFile) {
  const std::string wav = "wav:" + work.file("out.wav");
  ToolRun bad =
      Run("PlaySound beep\nwait soon\nhold beep as b\nstream x play\nears 1 2\nstream b volume\n", {"--output", wav});
  EXPECT_EQ(bad.Status, 1);
  for (const char* where : {"scene.txt:2:", "scene.txt:4:", "scene.txt:5:", "scene.txt:6:"})
    EXPECT_NE(bad.Err.find(where), std::string::npos) << where << " in " << bad.Err;
  EXPECT_EQ(bad.Err.find("scene.txt:1:"), std::string::npos);
  EXPECT_EQ(bad.Err.find("scene.txt:3:"), std::string::npos);
  struct Case {
    const char* Scene;  // null: no script at all
    std::string Root, Output, Says;
  };
  const Case cases[] = {
      // Too few parameters for the console: refused at run time, with its line.
      {"PlaySound beep\nwait 100\nSoundVolume\nwait 100\n", root.path(), wav,
       "scene.txt:3: the console refused 'SoundVolume'"},
      {"hold nothing as n\n", root.path(), wav, "scene.txt:1: no stream of sound 'nothing'"},
      {"hold hum as h\nexpect-playing h\n", root.path(), wav, "scene.txt:2: stream 'h' is [stopped]"},
      {nullptr, root.path(), wav, "missing.txt"},
      {"wait 100\n", work.file("nowhere"), wav, "nowhere"},
      {"wait 100\n", root.path(), "wav:" + work.file("no/such/folder/x.wav"), "cannot write"},
  };
  for (const Case& c : cases) {
    if (c.Scene) work.write("scene.txt", std::string(c.Scene));
    std::string script = work.file(c.Scene ? "scene.txt" : "missing.txt");
    ToolRun run = RunTool({"run", script, "--root", c.Root, "--output", c.Output});
    EXPECT_EQ(run.Status, 1) << c.Says;
    EXPECT_NE(run.Err.find(c.Says), std::string::npos) << run.Err;
  }
  EXPECT_FALSE(work.exists("out.wav")) << "a scene that failed left a file";
}

// Each failure the console shows, the tool sees or only the module tells stops a strict scene at
// its line, --quiet or not; without --strict the scene goes on past it.
TEST_F(KxsoundRunTest, StrictStopsAtTheFirstFailureWithItsLine) {
  struct Case {
    const char* Scene;
    int Line;
  };
  const Case cases[] = {
      {"LoadAmbient nothing\n", 1},
      {"wait 10\nRedirectSound beep nothing\n", 2},
      {"SoundVolume nothing 50\n", 1},
      {"RolloffFactor -1\n", 1},
      {"PlaySound beep\nPlaySound nothing 1 2 3\n", 2},
      {"hold beep as b\nEnable 0\nstream b play\n", 3},
      {"Enable 0\nSetVolume 50\n", 2},  // sound switched off: the setter fails without a word on the console
  };
  for (const Case& c : cases) {
    std::string scene = std::string(c.Scene) + "wait 100\nprint reached the end\n";
    ToolRun lenient = Run(scene, {"--output", "offline"});
    EXPECT_EQ(lenient.Status, 0) << c.Scene << lenient.Err;
    EXPECT_NE(lenient.Out.find("reached the end"), std::string::npos) << c.Scene;

    ToolRun strict = Run(scene, {"--output", "offline", "--strict", "--quiet"});
    EXPECT_EQ(strict.Status, 1) << c.Scene;
    EXPECT_EQ(strict.Out.find("reached the end"), std::string::npos) << c.Scene;
    std::string where = "kxsound: " + work.file("scene.txt") + ":" + std::to_string(c.Line) + ": ";
    EXPECT_NE(strict.Err.find(where), std::string::npos) << c.Scene << strict.Err;
  }
}

// The module's own account: a failed play is told with its line, and --quiet keeps it off the
// screen; why explains a sound or names the nearest.
TEST_F(KxsoundRunTest, TheModulesOwnAccountNamesTheLineAndQuietHidesIt) {
  const char scene[] = "wait 10\nPlaySound nothing\nwait 10\n";
  ToolRun told = Run(scene, {"--output", "offline"});
  EXPECT_EQ(told.Status, 0);
  EXPECT_NE(told.Err.find("kxsound: " + work.file("scene.txt") + ":2: "), std::string::npos) << told.Err;
  EXPECT_NE(told.Err.find("nothing"), std::string::npos) << told.Err;
  EXPECT_EQ(Run(scene, {"--output", "offline", "--quiet"}).Err, "");

  ToolRun hum = RunTool({"why", "hum", "--root", root.path()});
  EXPECT_EQ(hum.Status, 0) << hum.Err;
  EXPECT_NE(hum.Out.find("hum0.wav"), std::string::npos) << hum.Out;
  EXPECT_NE(hum.Out.find("hum1.wav"), std::string::npos) << hum.Out;
  ToolRun typo = RunTool({"why", "hun", "--root", root.path()});
  EXPECT_EQ(typo.Status, 1);
  EXPECT_NE(typo.Out.find("hum"), std::string::npos) << "the nearest name: " << typo.Out;
}

}  // namespace
