// kxsound console: the module running at about 50 frames a second, and the engine's console
// on standard input. Input is read only when it is there, so the frames never wait for a
// person; a pipe works as well, and its end ends the program.
#include <cstdio>
#include <deque>
#include <string>

#include "commands/commands.h"
#include "io/catalogue_json.h"
#include "kxHost.h"
#include "kxSound.h"
#include "scene/scene_player.h"
#include "scene/scene_session.h"
#include "io/terminal.h"

namespace {

bool Start(const CommonOptions& options, const OutputChoice& output, int toolMode, std::string* mode) {
  *mode = output.Mode;
  if (output.Mode != "device") return StartModule(options, toolMode, output.Mode.c_str());
  DeviceStart start = StartOnDevice(options, toolMode);
  if (start == DeviceStart::Started) return true;
  if (start == DeviceStart::NoRoot) return false;
  // Asked for by name, the device is a must; by default the console is useful without sound.
  if (!options.Output.empty()) {
    std::fprintf(stderr, "kxsound: no sound device could be opened\n");
    return false;
  }
  std::printf("No sound device here: going on with the null output (nothing is heard).\n");
  *mode = "null";
  return StartModule(options, toolMode, "null");
}

}  // namespace

int RunConsole(const CommonOptions& options) {
  OutputChoice output;
  std::string error, mode;
  if (!ParseOutput(options.Output, "device", &output, &error)) {
    std::fprintf(stderr, "kxsound: %s\n", error.c_str());
    return 1;
  }
  if (!output.WavPath.empty()) {
    std::fprintf(stderr, "kxsound: the console plays in real time; render a scene with kxsound run SCRIPT --output wav:FILE\n");
    return 1;
  }
  if (options.Seeded) kxHost_SeedRandom(options.Seed);
  kxHost_SetManualClock(output.Offline() ? 1 : 0);
  int toolMode = options.Tool ? 1 : 0;
  if (!Start(options, output, toolMode, &mode)) return 1;

  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  bool interactive = IsTerminal(stdin);
  std::printf("kxsound console on the %s output, root %s. 'help' lists the commands, 'quit' ends.\n",
              mode.c_str(), RootName(options).c_str());
  if (options.Tool)
    std::printf("Tool mode: the module registered no console commands; the scene words and why work.\n");
  CatchInterrupt();

  ScenePlayer player(output.Offline(), options.Trace);
  OverlayBlock block(stdout);
  if (IsTerminal(stdout)) player.SetOverlay(&block);
  player.Attach();
  // What the catalogue file holds, as far as this session knows: changes beyond it are unsaved.
  std::string saved = CatalogueSnapshot();
  bool warned = false;
  auto unsaved = [&] { return !warned && CatalogueSnapshot() != saved; };
  LineReader reader;
  std::deque<std::string> lines;
  if (interactive) std::fputs("> ", stdout), std::fflush(stdout);
  while (!Interrupted()) {
    player.Frame();
    // One line a frame, and none while a wait runs, so that piped input plays out in time.
    if (!player.Waiting() && !lines.empty()) {
      std::string text = std::move(lines.front());
      lines.pop_front();
      // Piped in, the commands would not show: each goes before its answer.
      if (!interactive && text.find_first_not_of(" \t\r") != std::string::npos) std::printf("> %s\n", text.c_str());
      SceneLine line;
      if (!ParseSceneLine(text, &line, &error)) {
        std::fprintf(stderr, "kxsound: %s\n", error.c_str());
      } else {
        ScenePlayer::Result result = player.Execute(line, &error);
        // A refused console line has been answered by the console itself.
        if (!error.empty() && line.Op != SceneOp::Console) std::fprintf(stderr, "kxsound: %s\n", error.c_str());
        if (line.Op == SceneOp::Save && error.empty()) saved = CatalogueSnapshot();
        if (result == ScenePlayer::Result::Quit) {
          if (!unsaved()) break;
          std::printf("The catalogue has changes that are not saved: 'save' writes them, 'quit' again leaves without.\n");
          warned = true;
        }
      }
      if (interactive) std::fputs("> ", stdout), std::fflush(stdout);
    } else if (lines.empty() && reader.Ended() && !player.Waiting()) {
      break;
    }
    // Until the next frame is due: take input as it comes, or just sleep once it has ended.
    while (!reader.Ended() && player.MsToNextFrame() > 0) reader.Poll(player.MsToNextFrame(), &lines);
    if (reader.Ended()) player.Pace();
  }
  if (Interrupted()) std::printf("\n");
  // Leaving without a quit (end of input, Ctrl-C): said once, as there is no asking again.
  if (unsaved()) std::printf("The catalogue had changes that were not saved ('save' writes them).\n");
  player.Detach();
  qorSound_Finalize();
  kxHost_SetManualClock(0);
  return 0;
}
