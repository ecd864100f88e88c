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

uint32_t Get32(const std::string& b, size_t at) {
  uint32_t v = 0;
  for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<uint8_t>(b[at + i]);
  return v;
}

uint16_t Get16(const std::string& b, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(b[at]) | (static_cast<uint8_t>(b[at + 1]) << 8));
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

WavSound ReadWav(const std::string& path) {
  WavSound sound;
  std::string b = Slurp(path);
  // Exactly the layout kxsound writes: RIFF, a 16-byte fmt chunk, data, and sizes that add up.
  if (b.size() < 44 || b.compare(0, 4, "RIFF") || b.compare(8, 8, "WAVEfmt ") || b.compare(36, 4, "data")) return sound;
  uint32_t dataBytes = Get32(b, 40);
  if (Get32(b, 4) != b.size() - 8 || dataBytes != b.size() - 44 || Get32(b, 16) != 16 || Get16(b, 20) != 1 ||
      Get16(b, 34) != 16)
    return sound;
  uint16_t channels = Get16(b, 22);
  uint32_t rate = Get32(b, 24);
  if (channels != 2 || Get16(b, 32) != 4 || Get32(b, 28) != rate * 4) return sound;
  sound.Rate = rate;
  sound.Channels = channels;
  for (size_t at = 44; at + 4 <= b.size(); at += 4) {
    sound.Left.push_back(static_cast<int16_t>(Get16(b, at)) / 32768.0f);
    sound.Right.push_back(static_cast<int16_t>(Get16(b, at + 2)) / 32768.0f);
  }
  return sound;
}

double WavSound::Rms(bool left, double from, double to) const {
  const std::vector<float>& s = left ? Left : Right;
  size_t a = static_cast<size_t>(from * Rate), z = std::min(s.size(), static_cast<size_t>(to * Rate));
  if (a >= z) return 0;
  double sum = 0;
  for (size_t i = a; i < z; ++i) sum += double{s[i]} * s[i];
  return std::sqrt(sum / static_cast<double>(z - a));
}

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
