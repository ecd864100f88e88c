#include "scene/scene_session.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "commands/commands.h"
#include "io/diagnostics.h"
#include "kxHost.h"
#include "kxSound.h"
#include "scene/scene_mixer.h"
#include "scene/scene_player.h"
#include "io/terminal.h"
#include "io/wav_writer.h"

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
  // The module's diagnostics wait until standard error is back.
  diagnostics::Hold();
  bool started = StartModule(options, toolMode, "device");
  if (saved >= 0 && null >= 0) {
    std::fflush(stderr);
    dup2(saved, 2);
  }
  if (saved >= 0) close(saved);
  if (null >= 0) close(null);
  diagnostics::Release();
  return started ? DeviceStart::Started : DeviceStart::NoDevice;
}

bool LoadScript(const std::string& path, std::vector<ScriptLine>* script, uint64_t* totalMs) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "kxsound: cannot read the script '%s': %s\n", path.c_str(), std::strerror(errno));
    return false;
  }
  return ReadScript(in, path, stderr, script, totalMs);
}

bool ReadScript(std::istream& in, const std::string& source, std::FILE* messages, std::vector<ScriptLine>* script,
                uint64_t* totalMs) {
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
      std::fprintf(messages, "kxsound: %s:%d: %s\n", source.c_str(), number, error.c_str());
      error.clear();
      ++errors;
    } else if (line.Op != SceneOp::Nothing) {
      script->push_back({number, line});
    }
  }
  return errors == 0;
}

bool OpenRender(WavWriter* wav, const std::string& path) {
  if (wav->Open(path, kxHost_MixRate(0), 2)) return true;
  std::fprintf(stderr, "kxsound: %s\n", wav->Error().c_str());
  qorSound_Finalize();
  return false;
}

namespace {

// The level of what was written: peak against full scale, and what did not fit.
void PrintRendered(const WavWriter& wav) {
  const double seconds = static_cast<double>(wav.Frames()) / wav.Rate();
  std::string peak = "silent";
  if (wav.Peak() > 0) {
    char text[32];
    std::snprintf(text, sizeof text, "peak %+.1f dBFS", 20 * std::log10(double{wav.Peak()}));
    peak = text;
  }
  std::printf("kxsound: rendered %.1f s to %s, %s, %llu samples clipped", seconds, wav.Path().c_str(), peak.c_str(),
              static_cast<unsigned long long>(wav.Clipped()));
  if (wav.Clipped() > 0)
    std::printf(" (up to %.1f dB over full scale)", std::max(0.0, 20 * std::log10(double{wav.Peak()})));
  std::printf("\n");
}

}  // namespace

int PlayScene(const std::vector<ScriptLine>& script, const std::string& source, const OutputChoice& output,
              WavWriter* wav, bool trace, bool strict, uint64_t totalMs) {
  CatchInterrupt();
  bool manual = output.Offline();
  ScenePlayer player(manual, trace);
  player.SetStrict(strict);
  CaptureMixer mixer;
  if (wav) player.SetSink(&mixer, wav);
  player.Attach();
  // Progress only where a person watches; a render of a long scene can take a while.
  bool progress = wav && totalMs > 0 && IsTerminal(stderr);
  uint64_t shownTenth = 0;
  std::string error;
  int status = 0;
  for (const ScriptLine& entry : script) {
    std::string place = source + ":" + std::to_string(entry.Number);
    // What the module says while this line runs, and while its wait lasts, names the line.
    diagnostics::SetPlace(place);
    auto strictStop = [&] {
      std::string reason;
      bool printed = false;
      if (!player.TakeFailure(&reason, &printed)) return false;
      if (!printed) std::fprintf(stderr, "kxsound: %s: %s\n", place.c_str(), reason.c_str());
      std::fprintf(stderr, "kxsound: %s: the scene stops here (--strict)\n", place.c_str());
      return true;
    };
    ScenePlayer::Result result = player.Execute(entry.Line, &error);
    if (!error.empty()) std::fprintf(stderr, "kxsound: %s: %s\n", place.c_str(), error.c_str());
    if (result == ScenePlayer::Result::Failed || (strict && !error.empty())) status = 1;
    if (status == 0 && strictStop()) status = 1;
    if (status != 0 || result != ScenePlayer::Result::Done) break;
    while (player.Waiting() && status == 0) {
      if (!player.Frame()) {
        player.SinkFailed(&error);
        std::fprintf(stderr, "kxsound: %s\n", error.c_str());
        status = 1;
      }
      if (status == 0 && strictStop()) status = 1;
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
  diagnostics::SetPlace("");
  player.Detach();
  qorSound_Finalize();
  kxHost_SetManualClock(0);
  if (status == 130) std::fprintf(stderr, "kxsound: interrupted\n");
  if (!wav) return status;
  if (status != 0) {
    wav->Abort();
    return status;
  }
  if (!mixer.Flush(wav)) {
    std::fprintf(stderr, "kxsound: %s\n", mixer.Error().c_str());
    wav->Abort();
    return 1;
  }
  if (!wav->Commit()) {
    std::fprintf(stderr, "kxsound: %s\n", wav->Error().c_str());
    return 1;
  }
  PrintRendered(*wav);
  return 0;
}
