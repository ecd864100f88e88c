// kxSound_Why: what a play of a sound would do now, and why, one line at a time. It
// reads the module and the disk and changes nothing: no login, no random draw.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ambient/ambients.h"
#include "base/base_file.h"
#include "base/catalogue.h"
#include "base/file_list.h"
#include "base/text.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"
#include "wave/wave_check.h"

namespace {

// The lines are gathered first and handed out at the end, so a callback that calls
// back into the module cannot pull the sound from under the walk.
class Lines {
public:
  __attribute__((format(printf, 2, 3))) void Add(const char* format, ...) {
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    lines_.emplace_back(text);
  }
  void Send(KXSOUND_LINE_CALLBACK out, void* user) const {
    for (const std::string& line : lines_) out(line.c_str(), user);
  }

private:
  std::vector<std::string> lines_;
};

const char* StateText(int state) {
  static const char* const TEXTS[] = {"free", "one-shot", "stopped", "playing", "paused"};
  return state >= STREAM_FREE && state <= STREAM_PAUSED ? TEXTS[state] : "unknown";
}

const char* PlayModeText(SOUND_PLAYMODE mode) {
  switch (mode) {
    case SOUND_PLAYMODE_SEQUENTIAL: return "sequential";
    case SOUND_PLAYMODE_RANDOM: return "random";
    default: return "other (always the same file)";
  }
}

// The stream the first search of an acquisition would take from a chain: the oldest
// free stream or one-shot; null when every stream is held.
SoundStream* FirstCandidate(SoundStream* head) {
  SoundStream* chosen = nullptr;
  for (SoundStream* stream = head; stream; stream = stream->ChainNext) {
    if (chosen && stream->StartTick >= chosen->StartTick) continue;
    if (stream->State != STREAM_FREE && stream->State != STREAM_SINGLE) continue;
    chosen = stream;
    if (stream->StartTick == 0) break;
  }
  return chosen;
}

double DistanceToEars(const float* position) {
  double dx = position[0] - EarsPosition[0], dy = position[1] - EarsPosition[1], dz = position[2] - EarsPosition[2];
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

void TellRedirection(Lines& lines, SoundEntry* named, SoundEntry* entry) {
  if (named == entry) {
    lines.Add("sound \"%s\" is not redirected%s", named->Name,
              named->RedirectedBy ? "; other sounds redirect to it" : "");
    return;
  }
  std::string chain = "\"" + std::string(named->Name) + "\"";
  for (SoundEntry* step = named->Redirect; step; step = step->Redirect) chain += " -> \"" + std::string(step->Name) + "\"";
  lines.Add("sound %s is redirected: a play by name plays \"%s\"", chain.c_str(), entry->Name);
}

void TellParameters(Lines& lines, const SoundEntry* entry) {
  lines.Add("\"%s\": %s, %s, %s, play mode %s, Volume %d, Frequency %d, NumStreams %d%s", entry->Name,
            entry->Is3D ? "3D" : "2D", entry->Looped ? "looped" : "not looped", entry->Crossed ? "crossed" : "not crossed",
            PlayModeText(entry->PlayMode), entry->Volume, entry->Frequency, entry->NumStreams,
            entry->Enabled ? "" : ", disabled in the catalogue");
}

// One line per file record: its switch, where it is looked for, and what a load makes of it.
// Gives the index of the first enabled file a login would fail on, or -1.
int TellFiles(Lines& lines, const SoundEntry* entry) {
  if (entry->NumFiles == 0) {
    lines.Add("no files: the sound cannot log in");
    return -1;
  }
  int failing = -1;
  for (int i = 0; i < entry->NumFiles; ++i) {
    const char* stored = entry->Files[i].Path;
    if (!entry->Files[i].Enabled) {
      lines.Add("file %d \"%s\": disabled", i, stored);
      continue;
    }
    char full[PATH_BUFFER_SIZE];
    char shown[PATH_BUFFER_SIZE];
    if (!ResolveSoundPath(stored, full)) {
      lines.Add("file %d \"%s\": enabled, but it does not fit beside the root folder", i, stored);
      continue;
    }
    DisplayPath(full, shown, sizeof shown);
    WaveCheck check;
    CheckWaveFile(full, entry->Is3D, &check);
    if (check.Code == KXSOUND_DIAG_FILE_NOT_FOUND) {
      lines.Add("file %d \"%s\": enabled, not found at \"%s\"", i, stored, shown);
    } else if (check.Code) {
      lines.Add("file %d \"%s\": enabled, found at \"%s\", but it %s", i, stored, shown, check.Why);
    } else {
      char format[96];
      DescribeWaveFormat(check, format, sizeof format);
      lines.Add("file %d \"%s\": enabled, found at \"%s\", %s", i, stored, shown, format);
    }
    if (check.Code && failing < 0) failing = i;
    if (std::strchr(stored, '/')) {
      char reloaded[FILE_PATH_SIZE];
      CopyTruncated(reloaded, sizeof reloaded, stored);
      CleanStoredPath(reloaded, sizeof reloaded);
      lines.Add("file %d \"%s\" has forward slashes: after a save and a load it becomes \"%s\"", i, stored, reloaded);
    }
  }
  return failing;
}

struct ChainCount {
  int All = 0, Free = 0, OneShots = 0, Held = 0, Stealable = 0, Paused3D = 0;
};

ChainCount CountChain(SoundStream* head) {
  ChainCount count;
  for (SoundStream* stream = head; stream; stream = stream->ChainNext) {
    ++count.All;
    if (stream->State == STREAM_FREE) {
      ++count.Free;
    } else if (stream->State == STREAM_SINGLE) {
      ++count.OneShots;
    } else {
      ++count.Held;
      if (stream->Flags & STREAM_FLAG_STEALABLE) ++count.Stealable;
    }
    if (stream->Paused3D) ++count.Paused3D;
  }
  return count;
}

void TellStreams(Lines& lines, SoundEntry* entry) {
  if (!entry->StreamChains) {
    lines.Add("not logged in: a play logs it in first, loading every enabled file");
    return;
  }
  int streams = 0;
  entry->ForEachStream([&streams](SoundStream*) { ++streams; });
  lines.Add("logged in: %d enabled file%s loaded, %d stream%s", entry->NumLoadedFiles,
            entry->NumLoadedFiles == 1 ? "" : "s", streams, streams == 1 ? "" : "s");
  for (int i = 0; i < entry->NumLoadedFiles; ++i) {
    ChainCount count = CountChain(entry->StreamChains[i]);
    const char* path = entry->Files ? entry->Files[entry->EnabledFileIndex(i)].Path : "";
    lines.Add("streams of file \"%s\": %d in all, %d free, %d one-shot%s playing, %d held (%d stealable)%s", path,
              count.All, count.Free, count.OneShots, count.OneShots == 1 ? "" : "s", count.Held, count.Stealable,
              count.Paused3D ? ", some held by qorSound_Pause3DSounds" : "");
  }
}

void TellSpace(Lines& lines, SoundEntry* entry) {
  if (!entry->Is3D) return;
  if (!Play3DEnabled) {
    lines.Add("3D play is off (qorSound_Enable3DPlay(0)): no distance test, one-shots play without 3D");
    return;
  }
  lines.Add("3D: the ears are at (%.2f, %.2f, %.2f); a play without position sounds there (distance 0), a play "
            "farther than MaxDistance %.2f is dropped",
            EarsPosition[0], EarsPosition[1], EarsPosition[2], static_cast<double>(entry->MaxDistance));
  entry->ForEachStream([&](SoundStream* stream) {
    if (stream->State == STREAM_FREE) return;
    double distance = DistanceToEars(stream->LastPosition);
    lines.Add("stream %p (%s) at (%.2f, %.2f, %.2f): distance %.2f of MaxDistance %.2f%s", static_cast<void*>(stream),
              StateText(stream->State), stream->LastPosition[0], stream->LastPosition[1], stream->LastPosition[2], distance,
              static_cast<double>(entry->MaxDistance), distance > entry->MaxDistance ? ", beyond it: muted" : "");
  });
}

// The level a play would set, for the stream it would take; and the switches above it.
int TellLevel(Lines& lines, SoundEntry* entry, const SoundStream* taken) {
  double scale = taken ? taken->VolumeScale : 1.0;
  int level = ScaledPercent(entry->Volume, scale, VolumeFactor);
  if (level < 0 || level > 100) {
    lines.Add("level: Volume %d x VolumeScale %.2f x VolumeFactor %.2f = %d, outside 0..100: the device refuses it and "
              "the sound is not heard",
              entry->Volume, scale, static_cast<double>(VolumeFactor), level);
  } else {
    int hundredths = level * 100 - 10000;
    lines.Add("level: Volume %d x VolumeScale %.2f x VolumeFactor %.2f = %d -> device level %d (%.2f dB)%s",
              entry->Volume, scale, static_cast<double>(VolumeFactor), level, hundredths, hundredths / 100.0,
              level == 0 ? ", silent" : "");
  }
  if (!SoundEnabled) lines.Add("sound is switched off (qorSound_Enable(0)): nothing plays");
  int paused = 0;
  entry->ForEachStream([&paused](SoundStream* stream) { paused += stream->Paused3D ? 1 : 0; });
  if (paused) {
    lines.Add("3D sounds are paused (qorSound_Pause3DSounds): %d %s for qorSound_Resume3DSounds", paused,
              paused == 1 ? "stream of this sound waits" : "streams of this sound wait");
  }
  if (SoundLatency) {
    lines.Add("SoundLatency %u ms: a one-shot starts that far into its clip, and is skipped when the clip is shorter",
              SoundLatency);
  }
  return level;
}

void TellAmbient(Lines& lines, const SoundEntry* entry) {
  for (AmbientEntry* ambient = AmbientList; ambient; ambient = ambient->NextAmbient()) {
    if (!EqualFolded(ambient->Name, entry->Name, NAME_SIZE)) continue;
    if (ambient->Delayed) {
      lines.Add("ambient \"%s\" is loaded: it starts every %u to %u ms%s", ambient->Name, ambient->MinDelay,
                ambient->MaxDelay, ambient->Paused ? ", paused" : "");
    } else {
      lines.Add("ambient \"%s\" is loaded, without delay cycle%s", ambient->Name, ambient->Paused ? ", paused" : "");
    }
  }
}

// What a chain gives a one-shot: the words of the outcome, and the stream it would take.
const char* ChainOutcome(SoundEntry* entry, int chain, SoundStream** taken) {
  SoundStream* head = entry->StreamChains[chain];
  *taken = FirstCandidate(head);
  if (!head) return "fails: the file has no stream (NumStreams is 0)";
  if (!*taken) return "fails: every stream of the file is held, and a one-shot never takes a held stream";
  return (*taken)->State == STREAM_FREE ? "plays on a free stream" : "cuts off the oldest one-shot and plays on its stream";
}

struct Verdict {
  bool Plays = false;
  // The stream it would take, when the sound is logged in.
  SoundStream* Taken = nullptr;
};

// The last lines: what qorSound_PlaySound(name, null) would do now.
Verdict TellVerdict(Lines& lines, SoundEntry* entry, int failingFile) {
  Verdict verdict;
  if (!SoundEnabled) {
    lines.Add("a play now fails: sound is switched off");
    return verdict;
  }
  if (!entry->StreamChains) {
    int enabled = 0;
    for (int i = 0; i < entry->NumFiles; ++i) enabled += entry->Files[i].Enabled ? 1 : 0;
    if (enabled == 0) {
      lines.Add("a play now fails: the sound has no enabled file to log in with");
    } else if (failingFile >= 0) {
      lines.Add("a play now fails: the login fails on file %d \"%s\", and a failing file fails the whole sound",
                failingFile, entry->Files[failingFile].Path);
    } else if (entry->NumStreams == 0) {
      lines.Add("a play now fails: NumStreams is 0, so the login makes no stream");
    } else {
      lines.Add("a play now logs the sound in and plays the first enabled file on a new stream");
      verdict.Plays = true;
    }
    return verdict;
  }
  if (!entry->Files || entry->NumLoadedFiles == 0) {
    lines.Add("a play now fails: the sound lost its files while logged in");
    return verdict;
  }
  SoundStream*& taken = verdict.Taken;
  if (entry->PlayMode == SOUND_PLAYMODE_RANDOM && entry->NumLoadedFiles > 1) {
    lines.Add("a play now draws one of its %d loaded files at random:", entry->NumLoadedFiles);
    for (int i = 0; i < entry->NumLoadedFiles; ++i) {
      SoundStream* candidate = nullptr;
      const char* outcome = ChainOutcome(entry, i, &candidate);
      if (!taken) taken = candidate;
      lines.Add("  file \"%s\" %s", entry->Files[entry->EnabledFileIndex(i)].Path, outcome);
    }
  } else {
    const char* outcome = ChainOutcome(entry, 0, &taken);
    lines.Add("a play now takes file \"%s\" and %s", entry->Files[entry->EnabledFileIndex(0)].Path, outcome);
  }
  verdict.Plays = taken != nullptr;
  if (taken && SoundLatency > SoundBuffer_GetDurationMs(taken->Buffer)) {
    lines.Add("the play is then skipped: SoundLatency %u ms is longer than the clip of %u ms", SoundLatency,
              SoundBuffer_GetDurationMs(taken->Buffer));
    verdict.Plays = false;
  }
  return verdict;
}

int32_t Why(const char* name, Lines& lines) {
  if (!SystemInitialized) {
    lines.Add("the system is not initialised: a play of \"%s\" fails", name ? name : "(null)");
    return E_FAIL;
  }
  SoundEntry* named = FindSoundEntry(name, false);
  if (!named) {
    char nearest[3 * (NAME_SIZE + 4)] = "";
    if (name) NearestSoundNames(name, nearest, sizeof nearest);
    if (!name) {
      lines.Add("unknown sound: the name is null");
    } else if (nearest[0]) {
      lines.Add("unknown sound \"%s\" (nearest: %s)", name, nearest);
    } else {
      lines.Add("unknown sound \"%s\" (%s)", name, SoundList ? "no name in the catalogue is near it" : "the catalogue is empty");
    }
    return E_FAIL;
  }
  SoundEntry* entry = named->ResolveRedirect();
  TellRedirection(lines, named, entry);
  TellParameters(lines, entry);
  TellStreams(lines, entry);
  int failing = TellFiles(lines, entry);
  TellSpace(lines, entry);
  TellAmbient(lines, entry);
  // The verdict picks the stream, whose own scale the level uses; the level line comes first.
  Lines last;
  Verdict verdict = TellVerdict(last, entry, failing);
  int level = TellLevel(lines, entry, verdict.Taken);
  last.Send([](const char* line, void* target) { static_cast<Lines*>(target)->Add("%s", line); }, &lines);
  if (verdict.Plays && (level <= 0 || level > 100)) {
    lines.Add("it is not heard: the level is %s", level == 0 ? "0" : "refused by the device");
  }
  return S_OK;
}

}  // namespace

int32_t kxSound_Why(const char* name, KXSOUND_LINE_CALLBACK out, void* user) {
  if (!out) return E_FAIL;
  try {
    Lines lines;
    int32_t result = Why(name, lines);
    lines.Send(out, user);
    return result;
  } catch (...) {
    return E_FAIL;
  }
}
