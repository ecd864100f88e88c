#include "scene/stream_trace.h"

#include <cstdio>
#include <vector>

#include "io/diagnostics.h"
#include "kxSound.h"

namespace {

const char* EventName(int event) {
  switch (event) {
    case STREAM_EVENT_ACQUIRED: return "acquired";
    case STREAM_EVENT_RELEASED: return "released";
    case STREAM_EVENT_CHANGED: return "changed";
    case STREAM_EVENT_REPLACED: return "replaced";
    case STREAM_EVENT_STOLEN: return "stolen";
  }
  return nullptr;
}

// The module names a stream's file by its stem ("hum0"); the sound's list has the whole path.
std::string Stem(const std::string& path) {
  size_t slash = path.find_last_of("\\/");
  std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
  return file.substr(0, file.find('.'));
}

bool HasFile(const char* sound, const std::string& stem, std::string* path) {
  char stored[64];
  for (int i = 0; qorSound_GetFile(sound, stored, i) == KXSOUND_OK; ++i) {
    if (Stem(stored) == stem) {
      *path = stored;
      return true;
    }
  }
  return false;
}

std::vector<std::string> g_names;
void CollectName(char* name, int) { g_names.emplace_back(name); }

}  // namespace

std::string StreamTrace::SoundOfFile(const std::string& stem, std::string* path) const {
  g_names.clear();
  qorSound_EnumerateSounds(CollectName);
  std::vector<std::string> names = std::move(g_names);
  std::string found;
  for (const std::string& name : names) {
    std::string candidate;
    if (!HasFile(name.c_str(), stem, &candidate)) continue;
    if (!found.empty()) {  // two sounds play that file: no telling which
      path->clear();
      return "?";
    }
    found = name;
    *path = candidate;
  }
  return found.empty() ? "?" : found;
}

const StreamTrace::Known& StreamTrace::Learn(void* stream, bool live, bool acquired, const std::string& soundHint) {
  Known& known = streams_[stream];
  bool fresh = known.Id == 0;
  if (!fresh && !acquired) return known;
  if (!live) {
    // Seen first where it may no longer be asked about (released, stolen).
    known = {nextId_++, "?", "?"};
    return known;
  }
  std::string stem;
  {
    diagnostics::Mute quiet;
    char text[64] = "";
    if (qorSound_GetStreamFile(stream, text) == KXSOUND_OK) stem = text;
  }
  // Acquired again for the same file: the same stream to the reader.
  if (!fresh && stem == Stem(known.File)) return known;
  std::string sound = "?", path;
  {
    diagnostics::Mute quiet;
    // A redirected name leads to the sound that really plays.
    char real[256];
    void* handle = nullptr;
    if (!soundHint.empty() && qorSound_FindSound(soundHint.c_str(), &handle) == KXSOUND_OK &&
        qorSound_GetSoundName(handle, real) == KXSOUND_OK && HasFile(real, stem, &path))
      sound = real;
    else
      sound = SoundOfFile(stem, &path);
  }
  known = {nextId_++, sound, path.empty() ? (stem.empty() ? "?" : stem) : path};
  return known;
}

void StreamTrace::Event(uint64_t ms, int event, void* stream, void* second) {
  const char* name = EventName(event);
  unsigned long long when = ms;
  if (!name) {
    std::printf("%llu event %d\n", when, event);
    return;
  }
  bool acquired = event == STREAM_EVENT_ACQUIRED;
  // Copied: learning the second stream may move the map.
  Known first = Learn(stream, acquired || event == STREAM_EVENT_CHANGED, acquired, acquired ? context_ : std::string());
  std::printf("%llu %s stream %d of %s (%s)", when, name, first.Id, first.Sound.c_str(), first.File.c_str());
  if (event == STREAM_EVENT_CHANGED) {
    char state[16] = "[?]";
    {
      diagnostics::Mute quiet;
      qorSound_GetStreamState(stream, state);
    }
    std::string text = state;
    if (text.size() > 2 && text.front() == '[') text = text.substr(1, text.size() - 2);
    std::printf(": %s", text.c_str());
  }
  if (event == STREAM_EVENT_REPLACED && second) {
    // The stream taking over plays the next file of the same sound.
    const Known& next = Learn(second, true, false, first.Sound == "?" ? std::string() : first.Sound);
    std::printf(" by stream %d (%s)", next.Id, next.File.c_str());
  }
  std::printf("\n");
}
