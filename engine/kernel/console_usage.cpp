#include "console_usage.h"

#include <vector>

#include "common/ascii.h"

namespace kx {
namespace {

struct Entry {
  std::string Group, Name;
  CommandWords Words;
};

// The sound module registers its commands with counts only, through a call whose shape a real
// engine shares; this engine keeps their help words, as a real one keeps its own.
const Entry kSoundWords[] = {
    {"Sound", "Enable", {"ON", "1 switches all sound on, 0 off"}},
    {"Sound", "ShowStatistic", {"ON", "1 shows the statistics overlay, 0 hides it"}},
    {"Sound", "SetVolume", {"PERCENT", "the master volume, 0 to 100"}},
    {"Sound", "SetVolumeMP3", {"PERCENT", "the volume of the music"}},
    {"Sound", "RolloffFactor", {"FACTOR", "how fast 3D sounds fade with distance (1: as in the world)"}},
    {"Sound", "DistanceFactor", {"FACTOR", "metres in one unit of distance"}},
    {"Sound", "DopplerFactor", {"FACTOR", "strength of the doppler shift (1: as in the world)"}},
    {"Sound", "VolumeFactor", {"FACTOR", "accepted and ignored: SetVolume sets the master volume"}},
    {"Sound", "FrequencyFactor", {"PERCENT", "the pitch of every sound (100: as recorded)"}},
    {"Sound", "SoundVolume", {"NAME [VOLUME]", "shows a sound's volume, or sets it"}},
    {"Sound", "SoundFrequency", {"NAME [FREQUENCY]", "shows a sound's frequency, or sets it"}},
    {"Sound", "SoundMinDistance", {"NAME [DISTANCE]", "shows a sound's minimum distance, or sets it"}},
    {"Sound", "SoundMaxDistance", {"NAME [DISTANCE]", "shows a sound's maximum distance, or sets it"}},
    {"Sound", "PlaySound", {"NAME [X Y Z]", "plays a sound, at X Y Z when all three are given"}},
    {"Sound", "RedirectSound", {"NAME [TARGET]", "plays TARGET wherever NAME is asked for; no TARGET clears it"}},
    {"Sound", "LoadAmbient", {"NAME", "makes a sound an ambient, with a stream of its own"}},
    {"Sound", "UnloadAmbient", {"NAME", "gives the ambient's stream back"}},
    {"Sound", "PlayAmbientLooped", {"NAME", "plays an ambient without end"}},
    {"Sound", "PlayAmbientDelayed",
     {"NAME SECONDS [PERCENT]", "plays an ambient after waits of SECONDS, give or take PERCENT"}},
    {"Sound", "StopAmbient", {"NAME", "stops an ambient"}},
    {"Sound", "AmbientVolume", {"NAME VOLUME", "the volume of an ambient"}},
    {"Sound", "TestMP3", {"", "plays the built-in music clip"}},
    {"Sound", "LoadMP3", {"PATH FLAG", "loads a music file from the root folder without playing it"}},
    {"Sound", "UnloadMP3", {"", "unloads the music"}},
    {"Sound", "PlayMP3", {"", "plays the loaded music"}},
    {"Sound", "StopMP3", {"", "stops the music"}},
    {"Sound", "RewindMP3", {"", "takes the music back to its start"}},
    {"Sound", "LoadMP3List", {"PATH", "loads an .m3u play list, which wraps around at its end"}},
    {"Sound", "UnloadMP3List", {"", "unloads the play list"}},
    {"Sound", "NextMP3", {"", "loads and plays the next entry of the list"}},
    {"Sound", "PrevMP3", {"", "always fails: the module cannot step back"}},
    {"Sound", "GoPM3Index", {"INDEX", "loads entry INDEX of the list, without playing it"}},
    {"Sound", "UpdateDelay", {"[MS]", "shows the milliseconds between commits of 3D settings, or sets them"}},
};

std::vector<Entry>& hostWords() {
  static std::vector<Entry> list;
  return list;
}

bool same(const Entry& e, const std::string& group, const std::string& name) {
  return equalsNoCase(e.Group, group) && equalsNoCase(e.Name, name);
}

}  // namespace

const CommandWords* findCommandWords(const std::string& group, const std::string& name) {
  for (const Entry& e : hostWords())
    if (same(e, group, name)) return &e.Words;
  for (const Entry& e : kSoundWords)
    if (same(e, group, name)) return &e.Words;
  return nullptr;
}

void setCommandWords(const std::string& group, const std::string& name, CommandWords words) {
  for (Entry& e : hostWords()) {
    if (same(e, group, name)) {
      e.Words = std::move(words);
      return;
    }
  }
  hostWords().push_back({group, name, std::move(words)});
}

void clearHostCommandWords() { hostWords().clear(); }

bool wordsFit(const std::string& words, int parameters, int optional) {
  int total = 0, bracketed = 0, depth = 0;
  bool inWord = false, closedAny = false;
  for (char c : words) {
    if (c == '[') {
      ++depth;
      inWord = false;
    } else if (c == ']') {
      if (--depth < 0) return false;
      closedAny = true;
      inWord = false;
    } else if (c == ' ') {
      inWord = false;
    } else if (!inWord) {
      inWord = true;
      // A required word after an optional one would not be what the console enforces.
      if (depth == 0 && closedAny) return false;
      ++total;
      bracketed += depth > 0;
    }
  }
  return depth == 0 && total == parameters && bracketed == optional;
}

}  // namespace kx
