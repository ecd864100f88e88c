// What the tool tells on standard error beside its errors: the module's diagnostics and the
// tool's own notes, each as "kxsound: [PLACE: ]TEXT". --quiet turns both off.
#pragma once

#include <string>

namespace diagnostics {

// print: lines go to standard error. watch: failures are counted even when not printed
// (run --strict). Neither: the module gets no sink at all, and behaves as with no host asking.
void Start(bool print, bool watch);
void Stop();

// A note of the tool's own: a path it rewrote, a value stored as given.
void Note(const std::string& text);

// The place in a scene put before each line ("scene.txt:3"); empty for none.
void SetPlace(const std::string& place);

// Keeps lines back until Release prints them, while standard error points elsewhere.
void Hold();
void Release();

// Whether lines reach standard error (no --quiet).
bool Printing();

// Failures the module reported since Start, and the text of the last one.
int Failures();
std::string LastFailure();

// Drops the module's diagnostics while one lives: the tool's own questions to the module
// (does this sound exist? which file does this stream play?) are not the user's mistakes.
class Mute {
public:
  Mute();
  ~Mute();
  Mute(const Mute&) = delete;
  Mute& operator=(const Mute&) = delete;
};

}  // namespace diagnostics
