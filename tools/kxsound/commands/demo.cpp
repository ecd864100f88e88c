// kxsound demo: makes a catalogue from sounds it synthesises, then plays a scene of about
// 20 seconds through the module in game mode, on the sound device or into a WAV file.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "scene/scene_player.h"
#include "scene/scene_session.h"
#include "io/synth.h"
#include "io/wav_writer.h"

namespace fs = std::filesystem;

namespace {

constexpr char kDefaultFolder[] = "kxsound-demo";
// Left in the folder so that a later demo may clear it, and only it.
constexpr char kMarker[] = ".made-by-kxsound-demo";
constexpr char kDefaultWav[] = "demo.wav";
constexpr uint32_t kDemoSeed = 2024;

// Clears the folder of an earlier demo; refuses one that holds anything else.
bool PrepareFolder(const fs::path& folder) {
  std::error_code error;
  if (fs::exists(folder, error)) {
    bool ours = fs::exists(folder / kMarker, error);
    if (!ours && !(fs::is_directory(folder, error) && fs::is_empty(folder, error))) {
      std::fprintf(stderr, "kxsound: '%s' exists and was not made by kxsound demo; move it away or name another folder with --root\n",
                   folder.c_str());
      return false;
    }
    fs::remove_all(folder, error);
  }
  fs::create_directories(folder / "sounds", error);
  std::ofstream(folder / kMarker) << "made by kxsound demo; the next demo replaces this folder\n";
  if (error || !fs::exists(folder / kMarker)) {
    std::fprintf(stderr, "kxsound: cannot make the folder '%s': %s\n", folder.c_str(),
                 error ? error.message().c_str() : std::strerror(errno));
    return false;
  }
  return true;
}

struct DemoFile {
  const char* Stored;  // as the catalogue keeps it
  std::vector<float> (*Make)();
};

std::vector<float> Step1() { return synth::Footstep(0); }
std::vector<float> Step2() { return synth::Footstep(1); }
std::vector<float> Step3() { return synth::Footstep(2); }
// Three pitches of the hum; 22050 divided by these gives 55.1, 63 and 70 Hz.
std::vector<float> EngineLow() { return synth::EngineHum(400); }
std::vector<float> EngineMid() { return synth::EngineHum(350); }
std::vector<float> EngineHigh() { return synth::EngineHum(315); }

const DemoFile kFiles[] = {
    {"sounds\\doors\\knock.wav", synth::DoorKnock},  {"sounds\\doors\\creak.wav", synth::DoorCreak},
    {"sounds\\steps\\step1.wav", Step1},             {"sounds\\steps\\step2.wav", Step2},
    {"sounds\\steps\\step3.wav", Step3},             {"sounds\\nature\\bird.wav", synth::BirdSong},
    {"sounds\\nature\\wind.wav", synth::Wind},       {"sounds\\machines\\engine_low.wav", EngineLow},
    {"sounds\\machines\\engine_mid.wav", EngineMid}, {"sounds\\machines\\engine_high.wav", EngineHigh},
    {"sounds\\ui\\chime.wav", synth::Chime},
};

bool WriteSounds(const fs::path& folder) {
  for (const DemoFile& file : kFiles) {
    std::string relative = file.Stored;
    for (char& c : relative)
      if (c == '\\') c = '/';
    fs::path path = folder / relative;
    std::error_code ignored;
    fs::create_directories(path.parent_path(), ignored);
    std::string error;
    if (!WriteMonoWav(path.string(), synth::kRate, file.Make(), &error)) {
      std::fprintf(stderr, "kxsound: %s\n", error.c_str());
      return false;
    }
  }
  return true;
}

struct DemoSound {
  const char* Name;
  const char* Comment;
  int Page;
  bool Is3D;
  float MinDistance, MaxDistance;
  std::vector<const char*> Files;
};

// Through the module in tool mode, as a sound designer's editor would.
bool MakeCatalogue(const CommonOptions& options) {
  if (!StartModule(options, 1, "offline")) return false;
  for (const char* page : {"Doors", "Steps", "Nature", "Machines", "Interface"}) qorSound_NewPage(page);
  const DemoSound sounds[] = {
      {"DoorKnock", "three knocks on a wooden door", 0, true, 3, 40, {"sounds\\doors\\knock.wav"}},
      {"DoorCreak", "a door opening slowly", 0, true, 3, 40, {"sounds\\doors\\creak.wav"}},
      {"Footsteps", "one of three steps at random", 1, true, 3, 30,
       {"sounds\\steps\\step1.wav", "sounds\\steps\\step2.wav", "sounds\\steps\\step3.wav"}},
      {"Bird", "a short song", 2, true, 4, 60, {"sounds\\nature\\bird.wav"}},
      {"Wind", "gusts, for an ambient", 2, false, 0, 0, {"sounds\\nature\\wind.wav"}},
      {"Engine", "a hum that runs through three pitches, looped and crossed", 3, true, 3, 50,
       {"sounds\\machines\\engine_low.wav", "sounds\\machines\\engine_mid.wav", "sounds\\machines\\engine_high.wav"}},
      {"Chime", "a bell for the menus", 4, false, 0, 0, {"sounds\\ui\\chime.wav"}},
  };
  for (const DemoSound& sound : sounds) {
    char name[256];
    std::snprintf(name, sizeof name, "%s", sound.Name);
    qorSound_CreateNewSound(name);
    qorSound_SetSoundComments(name, sound.Comment);
    qorSound_SetSoundPage(name, sound.Page);
    for (const char* file : sound.Files) {
      char path[256];
      std::snprintf(path, sizeof path, "%s", file);
      qorSound_AddFile(name, path);
    }
    if (sound.Is3D) {
      qorSound_Set3D(name, 1);
      qorSound_SetDistances(name, sound.MinDistance, sound.MaxDistance);
    }
  }
  qorSound_SetSoundPlayMode("Footsteps", SOUND_PLAYMODE_RANDOM);
  qorSound_SetNumStreams("Footsteps", 3);
  qorSound_SetNumStreams("Bird", 2);
  qorSound_SetSoundPlayMode("Engine", SOUND_PLAYMODE_SEQUENTIAL);
  qorSound_SetLooped("Engine", 1);
  qorSound_SetCrossed("Engine", 1);
  // Volumes are decibels below full: 100 is full, 94 is -6 dB.
  qorSound_SetVolume("Engine", 97);
  qorSound_SetVolume("Wind", 96);
  LONG saved = qorSound_SaveBase();
  qorSound_Finalize();
  if (saved != S_OK) {
    std::fprintf(stderr, "kxsound: could not write the catalogue into '%s'\n", options.Root.c_str());
    return false;
  }
  return true;
}

// The scene as a script, with the time of each step written into what it prints.
class SceneText {
public:
  void Say(const std::string& text) {
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "print [%5.1f s] ", ms_ / 1000.0);
    text_ << stamp << text << "\n";
  }
  void Do(const std::string& line) { text_ << line << "\n"; }
  void Wait(uint32_t ms) {
    text_ << "wait " << ms << "\n";
    ms_ += ms;
  }
  std::string Text() const { return text_.str(); }

private:
  std::ostringstream text_;
  uint32_t ms_ = 0;
};

std::string DemoScene(const std::string& folder) {
  SceneText s;
  s.Do("# The scene of kxsound demo. The same again, into a file:");
  s.Do("#   kxsound run " + folder + "/demo.scene --root " + folder + " --seed " + std::to_string(kDemoSeed) +
       " --output wav:scene.wav");
  s.Say("The listener stands at the origin, facing ahead (+z); +x is to the right.");
  s.Do("ears 0 0 0 0 0 1");
  s.Do("ShowStatistic 1");
  s.Say("Music: the built-in clip, at 35 percent. A chime, a 2D sound.");
  s.Do("TestMP3");
  s.Do("SetVolumeMP3 35");
  s.Do("PlaySound Chime");
  s.Wait(1000);
  s.Say("An engine circles the listener every 6 s: a held stream, looped across three files.");
  s.Do("hold Engine as engine");
  s.Do("stream engine circle 5 6000");
  s.Do("stream engine play");
  s.Wait(2500);
  s.Say("Someone knocks on a door to the left...");
  s.Do("PlaySound DoorKnock -4 0 2");
  s.Wait(1500);
  s.Say("...and a door creaks open on the right.");
  s.Do("PlaySound DoorCreak 4 0 2");
  s.Wait(1800);
  s.Say("Footsteps pass in front, left to right: one of three files at random each step.");
  for (int step = 0; step < 9; ++step) {
    char line[64];
    std::snprintf(line, sizeof line, "PlaySound Footsteps %.1f 0 3", -6 + step * 1.5);
    s.Do(line);
    s.Wait(450);
  }
  s.Say("Wind, an ambient, rises after random waits of 4 s, give or take half.");
  s.Do("LoadAmbient Wind");
  s.Do("PlayAmbientDelayed Wind 4 50");
  s.Wait(1200);
  s.Say("A bird sings behind, on the right; then again on the left.");
  s.Do("PlaySound Bird 3 2 -6");
  s.Wait(2000);
  s.Do("PlaySound Bird -4 2 -5");
  s.Wait(2000);
  s.Say("The engine stops. The wind goes on.");
  s.Do("stream engine stop");
  s.Do("stream engine release");
  s.Wait(3500);
  s.Do("StopAmbient Wind");
  s.Do("UnloadAmbient Wind");
  s.Do("StopMP3");
  s.Say("The end.");
  return s.Text();
}

}  // namespace

int RunDemo(const CommonOptions& given) {
  CommonOptions options = given;
  if (options.Root.empty()) options.Root = kDefaultFolder;
  OutputChoice output;
  std::string error;
  if (!ParseOutput(options.Output, "device", &output, &error)) {
    std::fprintf(stderr, "kxsound: %s\n", error.c_str());
    return 1;
  }
  fs::path folder = options.Root;
  if (!PrepareFolder(folder) || !WriteSounds(folder) || !MakeCatalogue(options)) return 1;
  std::printf("Made a demo catalogue in %s/: 5 pages, 7 sounds, %zu synthesised wave files.\n",
              folder.c_str(), sizeof kFiles / sizeof kFiles[0]);

  // The scene is a script like any other, left beside the catalogue to be played again.
  std::string scenePath = (folder / "demo.scene").string();
  std::ofstream(scenePath) << DemoScene(folder.string());
  std::vector<ScriptLine> scene;
  uint64_t totalMs = 0;
  if (!LoadScript(scenePath, &scene, &totalMs)) return 1;

  // Game mode on the sound device if there is one; else rendered into a file.
  kxHost_SeedRandom(options.Seeded ? options.Seed : kDemoSeed);
  bool started = false;
  if (options.Output.empty()) {
    kxHost_SetManualClock(0);
    started = StartOnDevice(options, 0) == DeviceStart::Started;
    if (started) {
      std::printf("Playing the scene (%.0f s) on the sound device.\n", totalMs / 1000.0);
    } else {
      output.Mode = "offline";
      output.WavPath = kDefaultWav;
      std::printf("No sound device here: rendering the scene into %s instead.\n", kDefaultWav);
    }
  }
  if (!started) {
    kxHost_SetManualClock(output.Offline() ? 1 : 0);
    if (!StartModule(options, 0, output.Mode.c_str())) return 1;
  }
  WavWriter wav;
  bool render = !output.WavPath.empty();
  if (render && !OpenRender(&wav, output.WavPath)) return 1;
  int status = PlayScene(scene, scenePath, output, render ? &wav : nullptr, options.Trace, false, totalMs);
  if (status != 0) return status;
  std::printf("The catalogue stays in %s/; play its scene again with\n  kxsound run %s/demo.scene --root %s\n",
              folder.c_str(), folder.c_str(), folder.c_str());
  return 0;
}
