#include "scene_session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "commands.h"
#include "kxHost.h"
#include "kxSound.h"
#include "scene_mixer.h"
#include "scene_player.h"
#include "terminal.h"
#include "wav_writer.h"

DeviceStart StartOnDevice(const CommonOptions& options, int toolMode) {
  struct stat info;
  if (!options.Root.empty() && (stat(options.Root.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))) {
    std::fprintf(stderr, "kxsound: root folder '%s' does not exist\n", options.Root.c_str());
    return DeviceStart::NoRoot;
  }
  std::fflush(stderr);
  int saved = dup(2);
  int null = open("/dev/null", O_WRONLY);
  if (saved >= 0 && null >= 0) dup2(null, 2);
  bool started = StartModule(options, toolMode, "device");
  if (saved >= 0 && null >= 0) {
    std::fflush(stderr);
    dup2(saved, 2);
  }
  if (saved >= 0) close(saved);
  if (null >= 0) close(null);
  return started ? DeviceStart::Started : DeviceStart::NoDevice;
}

bool LoadScript(const std::string& path, std::vector<ScriptLine>* script, uint64_t* totalMs) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "kxsound: cannot read the script '%s': %s\n", path.c_str(), std::strerror(errno));
    return false;
  }
  // The script has no branches, so the use of variables can be checked here too.
  std::set<std::string> held;
  std::string text, error;
  int number = 0, errors = 0;
  *totalMs = 0;
  while (std::getline(in, text)) {
    ++number;
    SceneLine line;
    if (ParseSceneLine(text, &line, &error)) {
      if (line.Op == SceneOp::Hold) {
        held.insert(line.Id);
      } else if ((line.Op == SceneOp::Stream || line.Op == SceneOp::ExpectPlaying) && !held.count(line.Id)) {
        error = "no stream variable '" + line.Id + "' (take one with hold first)";
      } else if (line.Op == SceneOp::Stream && line.Action == StreamAction::Release) {
        held.erase(line.Id);
      }
      if (line.Op == SceneOp::Wait) *totalMs += line.Ms;
    }
    if (!error.empty()) {
      std::fprintf(stderr, "kxsound: %s:%d: %s\n", path.c_str(), number, error.c_str());
      error.clear();
      ++errors;
    } else if (line.Op != SceneOp::Nothing) {
      script->push_back({number, line});
    }
  }
  return errors == 0;
}

int PlayScene(const std::vector<ScriptLine>& script, const std::string& source, const OutputChoice& output,
              WavWriter* wav, bool trace, uint64_t totalMs) {
  CatchInterrupt();
  bool manual = output.Offline();
  ScenePlayer player(manual, trace);
  CaptureMixer mixer;
  if (wav) player.SetSink(&mixer, wav);
  player.Attach();
  // Progress only where a person watches; a render of a long scene can take a while.
  bool progress = wav && totalMs > 0 && IsTerminal(stderr);
  uint64_t shownTenth = 0;
  std::string error;
  int status = 0;
  for (const ScriptLine& entry : script) {
    ScenePlayer::Result result = player.Execute(entry.Line, &error);
    if (!error.empty()) std::fprintf(stderr, "kxsound: %s:%d: %s\n", source.c_str(), entry.Number, error.c_str());
    if (result == ScenePlayer::Result::Failed) status = 1;
    if (result != ScenePlayer::Result::Done) break;
    while (player.Waiting() && status == 0) {
      if (!player.Frame()) {
        player.SinkFailed(&error);
        std::fprintf(stderr, "kxsound: %s\n", error.c_str());
        status = 1;
      }
      if (!manual) player.Pace();
      if (Interrupted()) status = 130;
      uint64_t tenth = player.SceneMs() * 10 / (totalMs ? totalMs : 1);
      if (progress && tenth > shownTenth && tenth < 10) {
        shownTenth = tenth;
        std::fprintf(stderr, "kxsound: rendered %.1f of %.1f s\n", player.SceneMs() / 1000.0, totalMs / 1000.0);
      }
    }
    if (status != 0) break;
  }
  player.Detach();
  qorSound_Finalize();
  kxHost_SetManualClock(0);
  if (status == 130) std::fprintf(stderr, "kxsound: interrupted\n");
  if (!wav) return status;
  if (status != 0) {
    wav->Abort();
    return status;
  }
  if (!mixer.Flush(wav) || !wav->Commit()) {
    std::fprintf(stderr, "kxsound: %s\n", wav->Error().c_str());
    return 1;
  }
  std::printf("Rendered %.1f s of sound into %s\n", static_cast<double>(wav->Frames()) / wav->Rate(),
              wav->Path().c_str());
  return 0;
}
