#include "tool_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include <gtest/gtest.h>

#include "wave_file.h"

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
  run.Out = io.readText("out");
  run.Err = io.readText("err");
  return run;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void MakeTestCatalogue(TempDir& root) {
  const struct {
    const char* File;
    double Hz, Seconds;
  } tones[] = {{"beep", 440, 0.3},  {"hum0", 220, 0.4},  {"hum1", 330, 0.4},
               {"pick0", 500, 0.1}, {"pick1", 700, 0.1}, {"pick2", 900, 0.1}};
  for (const auto& tone : tones) {
    WaveShape shape;
    shape.Data = Tone(tone.Hz, tone.Seconds, 22050, 1, 16, 0.5);
    WriteWave(root, std::string("sounds/") + tone.File + ".wav", shape);
  }
  root.write("catalogue.json", std::string(R"({"format": "kxsound-catalogue", "version": 1, "sounds": [
    {"name": "beep", "playMode": 0, "files": [{"path": "sounds/beep.wav"}]},
    {"name": "hum", "playMode": 0, "is3D": 1, "minDistance": 1, "maxDistance": 100, "looped": 1, "crossed": 1,
     "files": [{"path": "sounds/hum0.wav"}, {"path": "sounds/hum1.wav"}]},
    {"name": "pick", "playMode": 1, "numStreams": 2,
     "files": [{"path": "sounds/pick0.wav"}, {"path": "sounds/pick1.wav"}, {"path": "sounds/pick2.wav"}]}]})"));
  ToolRun made = RunTool({"import", root.file("catalogue.json"), "--root", root.path(), "--quiet"});
  ASSERT_EQ(made.Status, 0) << made.Err;
}
