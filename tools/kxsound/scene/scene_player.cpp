#include "scene/scene_player.h"

#include <strings.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "commands/commands.h"
#include "common/words.h"
#include "io/diagnostics.h"
#include "kxEngine.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "io/module_paths.h"
#include "scene/scene_mixer.h"
#include "io/terminal.h"
#include "io/wav_writer.h"

namespace {

// The callbacks of the module carry no context: the one player that is attached.
ScenePlayer* g_player = nullptr;

void PrintLine(const char* text) {
  std::fputs(text, stdout);
  std::fputc('\n', stdout);
}

// What the "Sound" commands print when their operation failed.
bool IsFailureText(const char* text) {
  for (const char* failed : {"FAILED", "Sound redirection FAILED", "Sound not found", "\n\tInvalid value"})
    if (std::strcmp(text, failed) == 0) return true;
  return false;
}

// Asked by the tool, not by the scene: no diagnostic for a name that is not there.
bool SoundExists(const std::string& name) {
  diagnostics::Mute quiet;
  return qorSound_FindSound(name.c_str(), nullptr) == S_OK;
}

// The overlay as text lines: the module draws at two columns, one text per line and column.
std::vector<std::string> ReadOverlay() {
  struct Text {
    long Line;
    float X;
    std::string Body;
  };
  std::vector<Text> texts;
  int count = kxHost_DebugTextCount();
  for (int i = 0; i < count; ++i) {
    float x = 0, y = 0;
    char body[256];
    if (kxHost_GetDebugText(i, &x, &y, nullptr, body) == 0) texts.push_back({std::lround(y / 0.02f), x, body});
  }
  std::stable_sort(texts.begin(), texts.end(),
                   [](const Text& a, const Text& b) { return a.Line != b.Line ? a.Line < b.Line : a.X < b.X; });
  std::vector<std::string> lines;
  for (size_t i = 0; i < texts.size(); ++i) {
    if (i > 0 && texts[i].Line == texts[i - 1].Line) {
      std::string& line = lines.back();
      if (line.size() < 36) line.resize(36, ' ');
      line += "  " + texts[i].Body;
    } else {
      lines.push_back(texts[i].Body);
    }
  }
  return lines;
}

}  // namespace

bool ParseOutput(const std::string& text, const char* fallback, OutputChoice* choice, std::string* error) {
  *choice = OutputChoice();
  std::string mode = text.empty() ? fallback : text;
  if (mode.compare(0, 4, "wav:") == 0) {
    choice->Mode = "offline";
    choice->WavPath = mode.substr(4);
    if (choice->WavPath.empty()) {
      *error = "--output wav: needs a file name, as in wav:scene.wav";
      return false;
    }
    return true;
  }
  if (mode != "device" && mode != "null" && mode != "offline" && mode != "none") {
    *error = "unknown output '" + mode + "': device, null, offline, none or wav:FILE";
    return false;
  }
  choice->Mode = mode;
  return true;
}

ScenePlayer::ScenePlayer(bool manual, bool trace) : manual_(manual), trace_(trace) {}

ScenePlayer::~ScenePlayer() {
  if (g_player == this) Detach();
}

uint64_t ScenePlayer::WallMs() const {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
}

void ScenePlayer::Attach() {
  g_player = this;
  qorSound_SetNotifyCallback(
      [](QORSOUND_STREAM_EVENT event, void* stream, void* second) { OnEvent(event, stream, second); });
  kxHost_SetPrintSink(OnPrint);
  RegisterWhyCommand();
  diagnosticsSeen_ = diagnostics::Failures();
  startWall_ = nextFrameWall_ = WallMs();
}

void ScenePlayer::Detach() {
  qorSound_SetNotifyCallback(nullptr);
  kxHost_SetPrintSink(nullptr);
  if (block_) block_->Show({});
  if (g_player == this) g_player = nullptr;
}

void ScenePlayer::OnEvent(int event, void* stream, void* second) {
  ScenePlayer* self = g_player;
  if (!self) return;
  if (event == STREAM_EVENT_STOLEN) {
    // The stream has a new holder now: the scene's variable must not steer it any more.
    for (auto& entry : self->held_)
      if (entry.second->Stream == stream) entry.second->Stream = nullptr;
  }
  if (self->trace_) self->tracer_.Event(self->sceneMs_, event, stream, second);
}

void ScenePlayer::OnPrint(const char* text) {
  PrintLine(text);
  ScenePlayer* self = g_player;
  if (self && self->watched_ && self->failure_.empty() && IsFailureText(text)) {
    std::string said = text;
    said.erase(0, said.find_first_not_of("\n\t"));
    self->failure_ = "'" + *self->watched_ + "' printed " + said;
  }
}

bool ScenePlayer::TakeFailure(std::string* reason, bool* printed) {
  if (!strict_) return false;
  // The module's own account first: it says more than the tool can.
  if (diagnostics::Failures() != diagnosticsSeen_) {
    diagnosticsSeen_ = diagnostics::Failures();
    *reason = diagnostics::LastFailure();
    *printed = diagnostics::Printing();
    failure_.clear();
    return true;
  }
  if (failure_.empty()) return false;
  *reason = std::move(failure_);
  *printed = false;
  failure_.clear();
  return true;
}

ScenePlayer::Result ScenePlayer::RunConsoleLine(const SceneLine& line, std::string* error) {
  std::string text = ConsoleLineToModule(line.Text);
  std::vector<std::string> words = kx::splitWords(text);
  // A stream acquired by this line belongs, most likely, to the sound it names first.
  tracer_.SetContext(words.size() > 1 ? words[1] : std::string());
  if (strict_ && words.size() > 1 && strcasecmp(words[0].c_str(), "PlaySound") == 0 && !SoundExists(words[1]))
    failure_ = "PlaySound of an unknown sound, '" + words[1] + "'";
  watched_ = strict_ ? &text : nullptr;
  int32_t result = kxHost_Execute(text.c_str());
  watched_ = nullptr;
  tracer_.SetContext("");
  if (result < 0) {
    *error = "the console refused '" + line.Text + "'";
    return Result::Failed;
  }
  return Result::Done;
}

ScenePlayer::Result ScenePlayer::Execute(const SceneLine& line, std::string* error) {
  error->clear();
  switch (line.Op) {
    case SceneOp::Nothing:
      return Result::Done;
    case SceneOp::Console:
      return RunConsoleLine(line, error);
    case SceneOp::Help:
      kxHost_Execute("help");
      std::fputs(kSceneWordsHelp, stdout);
      return Result::Done;
    case SceneOp::Wait:
      waitUntil_ = sceneMs_ + line.Ms;
      return Result::Done;
    case SceneOp::Ears:
      if (qorSound_SetEarsPosition(line.Values, line.Values + 3, line.Values + 6) < 0)
        *error = "the module refused the listener's position";
      else
        std::copy(line.Values, line.Values + 3, ears_);
      return Result::Done;
    case SceneOp::Hold: {
      auto found = held_.find(line.Id);
      if (found != held_.end()) {
        qorSound_ReleaseStream(found->second->Stream);
        held_.erase(found);
      }
      auto held = std::make_unique<Held>();
      tracer_.SetContext(line.Text);
      void* taken = qorSound_QueryStream(line.Text.c_str(), &held->Stream, line.Flags);
      tracer_.SetContext("");
      if (!taken) {
        *error = "no stream of sound '" + line.Text + "' (no such sound, no wave file, or all its streams are held)";
        return Result::Failed;
      }
      held_.emplace(line.Id, std::move(held));
      return Result::Done;
    }
    case SceneOp::Stream:
      return Control(line, error);
    case SceneOp::ExpectPlaying: {
      auto found = held_.find(line.Id);
      if (found == held_.end()) {
        *error = "no stream variable '" + line.Id + "' (take one with hold first)";
        return Result::Failed;
      }
      char state[16] = "[gone]";
      void* stream = found->second->Stream;
      if (stream) qorSound_GetStreamState(stream, state);
      if (std::strcmp(state, "[playing]") != 0) {
        *error = "stream '" + line.Id + "' is " + state + ", not playing";
        return Result::Failed;
      }
      return Result::Done;
    }
    case SceneOp::Save:
      if (qorSound_SaveBase() < 0) {
        *error = "could not write the catalogue (Sounds.qorSound in the root folder)";
        return Result::Failed;
      }
      return Result::Done;
    case SceneOp::Print:
      PrintLine(line.Text.c_str());
      return Result::Done;
    case SceneOp::Quit:
      return Result::Quit;
  }
  return Result::Done;
}

ScenePlayer::Result ScenePlayer::Control(const SceneLine& line, std::string* error) {
  auto found = held_.find(line.Id);
  if (found == held_.end()) {
    *error = "no stream variable '" + line.Id + "' (take one with hold first)";
    return Result::Failed;
  }
  Held& held = *found->second;
  void* stream = held.Stream;
  if (line.Action == StreamAction::Release) {
    qorSound_ReleaseStream(stream);
    held_.erase(found);
    return Result::Done;
  }
  if (!stream) {
    *error = "stream '" + line.Id + "' was taken by another holder";
    return Result::Done;
  }
  LONG result = S_OK;
  const char* what = "";
  switch (line.Action) {
    case StreamAction::Play:
      result = qorSound_PlayStream(stream), what = "play";
      break;
    case StreamAction::Stop:
      result = qorSound_StopStream(stream), what = "stop";
      break;
    case StreamAction::Pause:
      result = qorSound_PauseStream(stream), what = "pause";
      break;
    case StreamAction::Resume:
      result = qorSound_ResumeStream(stream), what = "resume";
      break;
    case StreamAction::Rewind:
      result = qorSound_RewindStream(stream), what = "rewind";
      break;
    case StreamAction::At:
      held.Circling = false;
      result = qorSound_SetStreamPosition(stream, line.Values), what = "at";
      break;
    case StreamAction::Circle:
      held.Circling = true;
      held.Radius = line.Values[0];
      held.Period = line.Values[1];
      held.CircleStart = sceneMs_;
      MoveCircles();
      break;
    case StreamAction::Volume:
      result = qorSound_SetStreamVolume(stream, line.Percent), what = "volume";
      break;
    case StreamAction::Frequency:
      result = qorSound_SetStreamFrequency(stream, line.Percent), what = "frequency";
      break;
    case StreamAction::Release:
      break;
  }
  // The module refuses quietly (a sound switched off, say); the scene goes on, as on the console.
  if (result < 0) *error = "stream " + line.Id + " " + what + " FAILED";
  return Result::Done;
}

void ScenePlayer::MoveCircles() {
  constexpr double kTurn = 6.283185307179586;
  for (auto& entry : held_) {
    Held& held = *entry.second;
    if (!held.Circling || !held.Stream) continue;
    double angle = kTurn * std::fmod(static_cast<double>(sceneMs_ - held.CircleStart), held.Period) / held.Period;
    // Starting ahead of the listener and turning to the right.
    float position[3] = {ears_[0] + static_cast<float>(held.Radius * std::sin(angle)), ears_[1],
                         ears_[2] + static_cast<float>(held.Radius * std::cos(angle))};
    qorSound_SetStreamPosition(held.Stream, position);
  }
}

bool ScenePlayer::Frame() {
  uint64_t now = WallMs();
  if (!manual_) {
    kxHost_BeginFrame();
    sceneMs_ = now - startWall_;
  }
  MoveCircles();
  qorSound_Update();
  kxHost_ClearDebugText();
  qorSound_Render();
  ShowOverlay();
  if (manual_) {
    uint64_t step = kFrameMs;
    if (Waiting()) step = std::min<uint64_t>(step, waitUntil_ - sceneMs_);
    kxHost_Advance(static_cast<uint32_t>(step));
    sceneMs_ += step;
    if (mixer_) {
      if (!sinkFailed_ && !mixer_->Drain(wav_)) sinkFailed_ = true;
    } else {
      kxHost_TakeCapture(0, nullptr, UINT32_MAX);
      kxHost_TakeCapture(1, nullptr, UINT32_MAX);
    }
  }
  // A frame that came late does not make the next ones hurry.
  if (nextFrameWall_ + kFrameMs < now) nextFrameWall_ = now;
  nextFrameWall_ += kFrameMs;
  return !sinkFailed_;
}

int ScenePlayer::MsToNextFrame() const {
  uint64_t now = WallMs();
  return nextFrameWall_ > now ? static_cast<int>(nextFrameWall_ - now) : 0;
}

void ScenePlayer::Pace() {
  int ms = MsToNextFrame();
  if (ms <= 0) return;
  timespec pause{0, static_cast<long>(ms) * 1000000L};
  nanosleep(&pause, nullptr);
}

bool ScenePlayer::SinkFailed(std::string* error) const {
  if (sinkFailed_ && mixer_) *error = mixer_->Error();
  return sinkFailed_;
}

void ScenePlayer::ShowOverlay() {
  std::vector<std::string> lines = ReadOverlay();
  if (block_) {
    block_->Show(lines);
    return;
  }
  bool on = !lines.empty();
  // Printed when it appears, then once a second of scene time.
  if (on && (!overlayShown_ || sceneMs_ / 1000 != overlayPrinted_ / 1000)) {
    std::printf("-- statistics at %.1f s --\n", static_cast<double>(sceneMs_) / 1000.0);
    for (const std::string& line : lines) std::printf("   %s\n", line.c_str());
    overlayPrinted_ = sceneMs_;
  }
  overlayShown_ = on;
}
