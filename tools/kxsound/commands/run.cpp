// kxsound run: plays a scene script, in real time or rendered into a WAV file.
#include <cstdio>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "kxHost.h"
#include "scene/scene_player.h"
#include "scene/scene_session.h"
#include "io/wav_writer.h"

int RunScript(const CommonOptions& options) {
  std::vector<ScriptLine> script;
  uint64_t totalMs = 0;
  if (!LoadScript(options.Argument, &script, &totalMs)) return 1;

  OutputChoice output;
  std::string error;
  if (!ParseOutput(options.Output, "device", &output, &error)) {
    std::fprintf(stderr, "kxsound: %s\n", error.c_str());
    return 1;
  }
  if (options.Seeded) kxHost_SeedRandom(options.Seed);
  kxHost_SetManualClock(output.Offline() ? 1 : 0);
  if (output.Mode == "device") {
    DeviceStart start = StartOnDevice(options, 0);
    if (start == DeviceStart::NoDevice)
      std::fprintf(stderr,
                   "kxsound: no sound device could be opened; use --output null to run silently, or "
                   "--output wav:FILE to render the scene into a file\n");
    if (start != DeviceStart::Started) return 1;
  } else if (!StartModule(options, 0, output.Mode.c_str())) {
    return 1;
  }
  WavWriter wav;
  bool render = !output.WavPath.empty();
  if (render && !OpenRender(&wav, output.WavPath)) return 1;
  return PlayScene(script, options.Argument, output, render ? &wav : nullptr, options.Trace, options.Strict, totalMs);
}
