// The smallest complete host of kxSound, in the order docs/host-guide.md explains it: choose
// the output (going on without sound when there is no sound card), set the root folder, start
// the module, run frames with a walking listener, one-shots and a held stream, show the
// statistics overlay, follow a music list, and shut down.
//
//   kxsound-host [--output device|null|offline|none] [--root DIR] [--sound NAME]
//                [--seconds N] [--music LIST.m3u]
//
// Without --root it makes a folder with one sound, "Beep". With --output offline the frames run
// on the manual clock as fast as the machine can, and at the end the program measures what was
// rendered: exit status 1 when nothing was heard.
#include <kxHost.h>
#include <kxSound.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "sample_catalogue.h"

namespace {

constexpr uint32_t kFrameMs = 20;  // 50 frames a second

struct Options {
  std::string output = "device";
  std::string root;
  std::string sound = "Beep";
  std::string music;
  int seconds = 3;
};

// What the event callback noted, for the frame loop to act on.
struct Events {
  int count[8] = {};
  void* held = nullptr;  // the module writes the new handle here when a stream hands over
  bool heldChanged = false;
} g_events;

// Runs inside qorSound_Update or inside the call that caused the event, on this thread. It may
// call the module; this one only takes notes, and the frame acts on them after the update.
void OnStreamEvent(QORSOUND_STREAM_EVENT event, void* stream, void*) {
  if (event > 0 && event < 8) ++g_events.count[event];
  if (event == STREAM_EVENT_CHANGED && stream == g_events.held) g_events.heldChanged = true;
}

// Every failure, and every success that is not what it seems, as one sentence.
void OnDiagnostic(int code, const char* text, void*) { std::fprintf(stderr, "host: %s [%d]\n", text, code); }

bool Start(const std::string& output) {
  if (kxHost_SetAudioOutput(output.c_str()) != 0) return false;
  // Offline time moves only when the host says so: each kxHost_Advance renders that much.
  kxHost_SetManualClock(output == "offline");
  return qorSound_Initialize(nullptr, 0) == KXSOUND_OK;
}

// The overlay arrives as debug texts in screen-relative coordinates; a game draws them over its
// picture. Here they are printed once a second. Cleared every frame, or they pile up.
void ShowOverlay(bool print) {
  char text[256];
  float x = 0, y = 0;
  for (int i = 0; print && i < kxHost_DebugTextCount(); ++i) {
    if (kxHost_GetDebugText(i, &x, &y, nullptr, text) == 0) std::printf("  overlay %.2f %.2f  %s\n", x, y, text);
  }
  kxHost_ClearDebugText();
}

bool ParseOptions(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (i + 1 >= argc) return false;
    std::string value = argv[++i];
    if (arg == "--output") o.output = value;
    else if (arg == "--root") o.root = value;
    else if (arg == "--sound") o.sound = value;
    else if (arg == "--music") o.music = value;
    else if (arg == "--seconds") o.seconds = std::atoi(value.c_str());
    else return false;
  }
  return o.seconds > 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: kxsound-host [--output device|null|offline|none] [--root DIR] [--sound NAME]\n"
                 "                    [--seconds N] [--music LIST.m3u]\n");
    return 2;
  }
  kxSound_SetDiagnosticSink(&OnDiagnostic, nullptr);

  // The root folder holds Sounds.qorSound and the files it names; it is read at the start.
  bool sample = options.root.empty();
  if (sample) {
    char folder[] = "/tmp/kxsound-host-XXXXXX";
    if (!mkdtemp(folder) || !WriteSampleWave(std::string(folder) + "/")) return 1;
    options.root = folder;
  }
  kxHost_SetRootFolder(options.root.c_str());

  std::string output = options.output;
  if (!Start(output)) {
    if (output == "null" || output == "offline") return 1;
    // No sound card (or none wanted): the game goes on in real time, into nothing.
    std::printf("host: no sound from the '%s' output; going on with 'null'\n", output.c_str());
    output = "null";
    if (!Start(output)) return 1;
  }
  const bool offline = output == "offline";
  if (sample && !AddSampleSound()) return 1;

  qorSound_SetNotifyCallback(&OnStreamEvent);
  kxHost_Execute("ShowStatistic 1");
  if (!options.music.empty() && qorSound_LoadMP3List(options.music.c_str(), 1) == KXSOUND_OK) qorSound_PlayMP3();

  const int frames = options.seconds * 1000 / static_cast<int>(kFrameMs);
  int oneShots = 0, replays = 0;
  auto next = std::chrono::steady_clock::now();
  for (int frame = 0; frame < frames; ++frame) {
    if (offline) {
      kxHost_Advance(kFrameMs);  // the time of one frame passes and is rendered
    } else {
      kxHost_BeginFrame();  // the frame's delta is the time since the last one
    }

    // The listener walks to and fro along x, looking ahead (+z), head up (+y).
    float t = static_cast<float>(frame * kFrameMs) / 1000.0f;
    const float ears[3] = {3.0f * std::sin(t), 0.0f, 0.0f}, front[3] = {0, 0, 1}, top[3] = {0, 1, 0};
    qorSound_SetEarsPosition(ears, front, top);

    // A held stream: the host keeps the handle and steers it until it gives it back.
    if (frame == 0 && qorSound_QueryStream(options.sound.c_str(), &g_events.held, 0)) {
      const float source[3] = {0.0f, 0.0f, 8.0f};
      qorSound_SetStreamPosition(g_events.held, source);
      qorSound_PlayStream(g_events.held);
    }
    // A one-shot every half second, left and right of the path: fired and forgotten.
    if (frame % 25 == 0) {
      const float at[3] = {(frame / 25) % 2 ? 4.0f : -4.0f, 0.0f, 3.0f};
      if (qorSound_PlaySound(options.sound.c_str(), at, 0) == KXSOUND_OK) ++oneShots;
    }

    // After the frame's starts and moves: the update commits the 3D settings they made.
    qorSound_Update();

    // The held stream was started, stopped or ran out. When it ran out it stays ours, so it
    // can play again.
    if (g_events.heldChanged) {
      g_events.heldChanged = false;
      char state[10] = "";
      qorSound_GetStreamState(g_events.held, state);
      if (std::strcmp(state, "[stopped]") == 0 && qorSound_PlayStream(g_events.held) == KXSOUND_OK) ++replays;
    }
    // Music does not move on by itself: one end of a listed file is reported once.
    if (qorSound_IsMP3FileFinished()) qorSound_NextMP3();

    qorSound_Render();
    ShowOverlay(frame % 50 == 49);

    if (!offline) std::this_thread::sleep_until(next += std::chrono::milliseconds(kFrameMs));
  }

  // What a listener would have heard, from the capture the offline output keeps.
  float peak = 0.0f;
  if (offline) {
    std::vector<float> stereo(2 * 4096);
    while (uint32_t n = kxHost_TakeCapture(0, stereo.data(), 4096)) {
      for (uint32_t i = 0; i < 2 * n; ++i) peak = std::fmax(peak, std::fabs(stereo[i]));
    }
  }

  qorSound_ReleaseStream(g_events.held);
  qorSound_SetNotifyCallback(nullptr);
  qorSound_UnloadAllAmbients();
  qorSound_Finalize();
  kxSound_SetDiagnosticSink(nullptr, nullptr);
  if (sample) {
    std::remove((options.root + "/beep.wav").c_str());
    rmdir(options.root.c_str());
  }

  std::printf("host: %d frames on '%s', %d one-shots, held stream played %d more times, events 1:%d 2:%d 5:%d\n",
              frames, output.c_str(), oneShots, replays, g_events.count[1], g_events.count[2], g_events.count[5]);
  if (offline) {
    std::printf("host: peak %.1f dBFS\n", peak > 0 ? 20 * std::log10(peak) : -999.0);
    if (peak < 0.01f) return 1;  // -40 dBFS: the beeps did not come out
  }
  return oneShots > 0 ? 0 : 1;
}
