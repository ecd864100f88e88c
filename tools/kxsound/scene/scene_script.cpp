#include "scene/scene_script.h"

#include "common/ascii.h"
#include "common/words.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <strings.h>

const char* const kSceneWordsHelp =
    "Scene words (besides the console commands):\n"
    "  wait MS                             let the scene run for MS milliseconds\n"
    "  ears X Y Z [FX FY FZ [TX TY TZ]]    place the listener (front 0 0 1, top 0 1 0)\n"
    "  hold SOUND as ID [stealable|extra]  take a stream of SOUND into the variable ID\n"
    "  stream ID play|stop|pause|resume|rewind|release\n"
    "  stream ID at X Y Z                  place a held 3D stream\n"
    "  stream ID circle RADIUS MS          move it round the listener, a round in MS ms\n"
    "  stream ID volume PERCENT            level of the stream (100: the sound's own)\n"
    "  stream ID frequency PERCENT         pitch of the stream (100: the sound's own)\n"
    "  expect-playing ID                   an error unless the stream is playing\n"
    "  save                                write the catalogue (Sounds.qorSound)\n"
    "  print TEXT                          print TEXT\n"
    "  quit                                end here\n";

namespace {

bool Is(const std::string& word, const char* name) { return strcasecmp(word.c_str(), name) == 0; }

bool ReadFloat(const std::string& text, float* value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  float v = std::strtof(text.c_str(), &end);
  if (*end || errno == ERANGE || !std::isfinite(v)) return false;
  *value = v;
  return true;
}

bool ReadInt(const std::string& text, long low, long high, long* value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  long v = std::strtol(text.c_str(), &end, 10);
  if (*end || errno == ERANGE || v < low || v > high) return false;
  *value = v;
  return true;
}

// Reads words[first..] as floats into values.
bool ReadFloats(const std::vector<std::string>& words, size_t first, float* values, std::string* error) {
  for (size_t i = first; i < words.size(); ++i) {
    if (!ReadFloat(words[i], &values[i - first])) {
      *error = "'" + words[i] + "' is not a number";
      return false;
    }
  }
  return true;
}

bool ParseStream(const std::vector<std::string>& w, SceneLine* line, std::string* error) {
  if (w.size() < 3) {
    *error = "stream needs a variable and an action: stream ID play|stop|pause|resume|rewind|release|at|circle|volume|frequency";
    return false;
  }
  line->Op = SceneOp::Stream;
  line->Id = kx::asciiLowered(w[1]);
  const std::string& action = w[2];
  struct Simple {
    const char* Name;
    StreamAction Action;
  };
  static const Simple simple[] = {{"play", StreamAction::Play},     {"stop", StreamAction::Stop},
                                  {"pause", StreamAction::Pause},   {"resume", StreamAction::Resume},
                                  {"rewind", StreamAction::Rewind}, {"release", StreamAction::Release}};
  for (const Simple& s : simple) {
    if (!Is(action, s.Name)) continue;
    if (w.size() != 3) {
      *error = "stream ID " + std::string(s.Name) + " takes nothing more";
      return false;
    }
    line->Action = s.Action;
    return true;
  }
  if (Is(action, "at")) {
    line->Action = StreamAction::At;
    if (w.size() != 6) {
      *error = "stream ID at takes three numbers: X Y Z";
      return false;
    }
    return ReadFloats(w, 3, line->Values, error);
  }
  if (Is(action, "circle")) {
    line->Action = StreamAction::Circle;
    if (w.size() != 5) {
      *error = "stream ID circle takes a radius and the milliseconds of one round";
      return false;
    }
    if (!ReadFloats(w, 3, line->Values, error)) return false;
    if (line->Values[1] < 1) {
      *error = "one round takes at least 1 millisecond";
      return false;
    }
    return true;
  }
  if (Is(action, "volume") || Is(action, "frequency")) {
    line->Action = Is(action, "volume") ? StreamAction::Volume : StreamAction::Frequency;
    long percent = 0;
    if (w.size() != 4 || !ReadInt(w[3], 0, 100000, &percent)) {
      *error = "stream ID " + kx::asciiLowered(action) + " takes a whole percentage";
      return false;
    }
    line->Percent = static_cast<int>(percent);
    return true;
  }
  *error = "unknown stream action '" + action + "'";
  return false;
}

bool ParseHold(const std::vector<std::string>& w, SceneLine* line, std::string* error) {
  line->Op = SceneOp::Hold;
  if (w.size() < 4 || !Is(w[2], "as")) {
    *error = "hold reads: hold SOUND as ID [stealable] [extra]";
    return false;
  }
  line->Text = w[1];
  line->Id = kx::asciiLowered(w[3]);
  for (size_t i = 4; i < w.size(); ++i) {
    long number = 0;
    if (Is(w[i], "stealable")) {
      line->Flags |= 1u;
    } else if (Is(w[i], "extra")) {
      line->Flags |= 2u;
    } else if (ReadInt(w[i], 0, 0xFFFFFFFFl, &number)) {
      line->Flags |= static_cast<uint32_t>(number);
    } else {
      *error = "unknown flag '" + w[i] + "' (stealable, extra or a number)";
      return false;
    }
  }
  return true;
}

}  // namespace


bool ParseSceneLine(const std::string& text, SceneLine* line, std::string* error) {
  *line = SceneLine();
  size_t start = text.find_first_not_of(" \t\r\n");
  if (start == std::string::npos || text[start] == '#') return true;
  std::vector<std::string> w = kx::splitWords(text);
  const std::string& word = w[0];

  if (Is(word, "wait")) {
    line->Op = SceneOp::Wait;
    long ms = 0;
    if (w.size() != 2 || !ReadInt(w[1], 0, 24L * 3600 * 1000, &ms)) {
      *error = "wait takes the milliseconds to wait, a whole number";
      return false;
    }
    line->Ms = static_cast<uint32_t>(ms);
    return true;
  }
  if (Is(word, "ears")) {
    line->Op = SceneOp::Ears;
    if (w.size() != 4 && w.size() != 7 && w.size() != 10) {
      *error = "ears takes 3, 6 or 9 numbers: X Y Z [FX FY FZ [TX TY TZ]]";
      return false;
    }
    // Facing ahead (+z), upright, unless told otherwise.
    const float defaults[9] = {0, 0, 0, 0, 0, 1, 0, 1, 0};
    std::copy(defaults, defaults + 9, line->Values);
    return ReadFloats(w, 1, line->Values, error);
  }
  if (Is(word, "hold")) return ParseHold(w, line, error);
  if (Is(word, "stream")) return ParseStream(w, line, error);
  if (Is(word, "expect-playing")) {
    line->Op = SceneOp::ExpectPlaying;
    if (w.size() != 2) {
      *error = "expect-playing takes one stream variable";
      return false;
    }
    line->Id = kx::asciiLowered(w[1]);
    return true;
  }
  if (Is(word, "save") || Is(word, "quit") || Is(word, "exit")) {
    line->Op = Is(word, "save") ? SceneOp::Save : SceneOp::Quit;
    if (w.size() != 1) {
      *error = kx::asciiLowered(word) + " takes nothing more";
      return false;
    }
    return true;
  }
  if (Is(word, "print")) {
    line->Op = SceneOp::Print;
    size_t at = text.find_first_not_of(" \t", start + 5);
    line->Text = at == std::string::npos ? "" : text.substr(at);
    while (!line->Text.empty() && (line->Text.back() == '\r' || line->Text.back() == '\n')) line->Text.pop_back();
    return true;
  }
  // "help GROUP" is the engine's alone; plain "help" lists the scene words too.
  line->Op = Is(word, "help") && w.size() == 1 ? SceneOp::Help : SceneOp::Console;
  line->Text = text.substr(start);
  while (!line->Text.empty() && (line->Text.back() == '\r' || line->Text.back() == '\n')) line->Text.pop_back();
  return true;
}
