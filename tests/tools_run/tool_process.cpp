#include "tool_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "temp_dir.h"
#include "wave_file.h"

namespace {

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

ToolRun RunTool(const std::vector<std::string>& args, const std::string& input, const std::string& cwd) {
  // Files, not pipes: the program may write more than a pipe holds before it reads.
  TempDir io;
  io.write("in", input);
  std::string in = io.file("in"), out = io.file("out"), err = io.file("err");
  std::vector<std::string> words = {KXSOUND_BIN};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  std::fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    int fds[3] = {open(in.c_str(), O_RDONLY), open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600),
                  open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600)};
    for (int i = 0; i < 3; ++i) dup2(fds[i], i);
    if (!cwd.empty() && chdir(cwd.c_str()) != 0) _exit(126);
    execv(argv[0], argv.data());
    _exit(127);
  }
  ToolRun run;
  int status = 0;
  if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) run.Status = WEXITSTATUS(status);
  run.Out = Slurp(out);
  run.Err = Slurp(err);
  return run;
}

Capture ReadWavFile(const std::string& path) { return ReadWav(Slurp(path)); }

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

bool ModuleExplains(const TempDir& root) {
  ToolRun why = RunTool({"why", "beep", "--root", root.path()});
  return why.Err.find("cannot explain a play") == std::string::npos;
}

void MakeTestCatalogue(TempDir& root) {
  auto tone = [&](const char* file, double hz, double seconds) {
    WaveShape shape;
    shape.Data = Tone(hz, seconds, 22050, 1, 16, 0.5);
    WriteWave(root, file, shape);
  };
  tone("sounds/beep.wav", 440, 0.3);
  tone("sounds/hum0.wav", 220, 0.4);
  tone("sounds/hum1.wav", 330, 0.4);
  tone("sounds/pick0.wav", 500, 0.1);
  tone("sounds/pick1.wav", 700, 0.1);
  tone("sounds/pick2.wav", 900, 0.1);

  kxHost_SetRootFolder(root.path().c_str());
  kxHost_SetAudioOutput("offline");
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  auto create = [](const char* name, std::vector<const char*> files) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, "%s", name);
    qorSound_CreateNewSound(buffer);
    for (const char* file : files) {
      char path[64];
      std::snprintf(path, sizeof path, "%s", file);
      qorSound_AddFile(name, path);
    }
  };
  create("beep", {"sounds\\beep.wav"});
  qorSound_SetSoundPlayMode("beep", SOUND_PLAYMODE_SEQUENTIAL);
  create("hum", {"sounds\\hum0.wav", "sounds\\hum1.wav"});
  qorSound_Set3D("hum", 1);
  qorSound_SetDistances("hum", 1, 100);
  qorSound_SetLooped("hum", 1);
  qorSound_SetCrossed("hum", 1);
  qorSound_SetSoundPlayMode("hum", SOUND_PLAYMODE_SEQUENTIAL);
  create("pick", {"sounds\\pick0.wav", "sounds\\pick1.wav", "sounds\\pick2.wav"});
  qorSound_SetSoundPlayMode("pick", SOUND_PLAYMODE_RANDOM);
  qorSound_SetNumStreams("pick", 2);
  EXPECT_EQ(qorSound_SaveBase(), S_OK);
  qorSound_Finalize();
}
