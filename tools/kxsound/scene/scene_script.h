// The lines of a scene: the player's own words, and everything else as a console line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class SceneOp { Nothing, Console, Wait, Ears, Hold, Stream, Save, Print, ExpectPlaying, Help, Quit };
enum class StreamAction { Play, Stop, Pause, Resume, Rewind, Release, At, Circle, Volume, Frequency };

struct SceneLine {
  SceneOp Op = SceneOp::Nothing;
  std::string Text;  // the console line, the text of print, the sound of hold
  std::string Id;    // the stream variable of hold, stream and expect-playing (lower case)
  StreamAction Action = StreamAction::Play;
  float Values[9] = {};  // ears: position, front, top; at: x y z; circle: radius, period
  uint32_t Ms = 0;       // wait
  uint32_t Flags = 0;    // hold
  int Percent = 0;       // volume, frequency
};

// False, with a message, for a line of the player's own words that does not read.
bool ParseSceneLine(const std::string& text, SceneLine* line, std::string* error);

// The player's words, one per line, for help.
extern const char* const kSceneWordsHelp;
