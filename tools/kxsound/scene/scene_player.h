// Plays a scene: owns the frame loop (update, overlay, time), the streams a scene holds, and
// the trace of stream events. Shared by run, console and demo; all on the main thread.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "scene/scene_script.h"
#include "scene/stream_trace.h"

class CaptureMixer;
class OverlayBlock;
class WavWriter;

// An --output value: a mode of the audio output, or wav:FILE (the offline output, rendered there).
struct OutputChoice {
  std::string Mode;
  std::string WavPath;
  bool Offline() const { return Mode == "offline"; }
};
// Empty text gives fallback. False, with a message, for an unknown mode or a wav: without a file.
bool ParseOutput(const std::string& text, const char* fallback, OutputChoice* choice, std::string* error);

class ScenePlayer {
public:
  static constexpr uint32_t kFrameMs = 20;

  // manual: the module runs on the offline output with the manual clock, moved by the player.
  ScenePlayer(bool manual, bool trace);

  // Strict: every failure counts (see TakeFailure), not only the lines that cannot run.
  void SetStrict(bool strict) { strict_ = strict; }
  ~ScenePlayer();
  ScenePlayer(const ScenePlayer&) = delete;
  ScenePlayer& operator=(const ScenePlayer&) = delete;

  // After the module started: takes its stream events and console output, and adds the
  // host's own console commands.
  void Attach();
  // Before the module ends.
  void Detach();

  // Manual clock: what the outputs render goes through mixer into wav (null: dropped).
  void SetSink(CaptureMixer* mixer, WavWriter* wav) {
    mixer_ = mixer;
    wav_ = wav;
  }
  // The overlay on a terminal block; without one it is printed once a second.
  void SetOverlay(OverlayBlock* block) { block_ = block; }

  enum class Result { Done, Quit, Failed };
  // Runs one line. A wait only sets the time until which Waiting() holds; frames move it.
  Result Execute(const SceneLine& line, std::string* error);
  bool Waiting() const { return waitUntil_ > sceneMs_; }

  // One frame. With the manual clock it moves time by a frame (less at the end of a wait);
  // otherwise scene time follows the wall clock and Pace() sleeps to the next frame.
  bool Frame();
  void Pace();
  // Milliseconds until the next frame is due (0 with the manual clock).
  int MsToNextFrame() const;

  uint64_t SceneMs() const { return sceneMs_; }

  // Strict only: the first failure since the last call, in *reason; printed: the module's
  // diagnostic has already said it on standard error.
  bool TakeFailure(std::string* reason, bool* printed);
  // False once writing the rendered sound has failed; the message is in error.
  bool SinkFailed(std::string* error) const;

private:
  struct Held {
    void* Stream = nullptr;  // the module writes the new stream here at each hand-over
    bool Circling = false;
    float Radius = 0, Period = 0;
    uint64_t CircleStart = 0;
  };
  static void OnEvent(int event, void* stream, void* second);
  static void OnPrint(const char* text);
  Result RunConsoleLine(const SceneLine& line, std::string* error);
  Result Control(const SceneLine& line, std::string* error);
  void MoveCircles();
  void ShowOverlay();
  uint64_t WallMs() const;

  bool manual_, trace_, strict_ = false;
  // Strict: the console line running, whose printed words are watched, and what failed.
  const std::string* watched_ = nullptr;
  std::string failure_;
  int diagnosticsSeen_ = 0;
  CaptureMixer* mixer_ = nullptr;
  WavWriter* wav_ = nullptr;
  OverlayBlock* block_ = nullptr;
  bool sinkFailed_ = false;

  uint64_t sceneMs_ = 0, waitUntil_ = 0;
  uint64_t startWall_ = 0, nextFrameWall_ = 0;
  float ears_[3] = {0, 0, 0};

  std::map<std::string, std::unique_ptr<Held>> held_;
  StreamTrace tracer_;

  std::vector<std::string> overlay_;
  bool overlayShown_ = false;
  uint64_t overlayPrinted_ = 0;
};
