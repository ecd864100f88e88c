// Steering a held stream: start, stop, pause, seek, place, level and pitch; and the
// pause of all 3D sounds at once.
#include <cstring>

#include "base/catalogue.h"
#include "core/percent.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "playback/playing.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"

namespace {

// Which streams an operation refuses besides dead ones: none, one-shots, or every
// stream that nobody holds (a one-shot, or a free stream whose handle was given back),
// so that a released handle cannot take its stream out of the pool.
enum class Refuses { Nothing, OneShots, Unheld };

// What an operation asks of the gate beside a living stream: that sound is switched on, and
// whether it only reads (a read may ask about a released stream without a word).
enum GateFlag : unsigned { NEEDS_SOUND = 1u << 0, READS_ONLY = 1u << 1 };

// The checks every operation makes, in this order: the system, the sound switch
// where asked, a handle of a living stream, and the streams it refuses. A call that only
// reads may ask about a released stream without a word.
SoundStream* Checked(void* handle, Refuses refuses, const char* operation, unsigned gate = 0) {
  if (!((gate & NEEDS_SOUND) ? GateRunning(operation) : GateInitialized(operation))) return nullptr;
  SoundStream* stream = CheckedStream(handle, operation);
  if (!stream) return nullptr;
  if (refuses != Refuses::Nothing && stream->State == STREAM_SINGLE) {
    Diagnose(KXSOUND_DIAG_ONE_SHOT_STREAM,
             "%s fails: stream %p of sound \"%s\" is a one-shot of qorSound_PlaySound, which nobody holds", operation,
             handle, stream->Owner->Name);
    return nullptr;
  }
  if (stream->State == STREAM_FREE) {
    if (refuses == Refuses::Unheld) {
      Diagnose(KXSOUND_DIAG_DEAD_STREAM,
               "%s fails: stream %p of sound \"%s\" was released and is free in its pool, which nobody holds",
               operation, handle, stream->Owner->Name);
      return nullptr;
    }
    if (!(gate & READS_ONLY)) {
      Diagnose(KXSOUND_DIAG_RELEASED_STREAM,
               "stream %p of sound \"%s\" was released and is free in its pool: %s acts on it all the same", handle,
               stream->Owner->Name, operation);
    }
  }
  return stream;
}

LONG Start(void* handle, int command, const char* operation) {
  SoundStream* stream = Checked(handle, Refuses::Unheld, operation, NEEDS_SOUND);
  if (!stream) return E_FAIL;
  StartAtLevel(stream, command);
  stream->State = STREAM_PLAYING;
  // The holder has taken over from the 3D pause: its resume must not restart this.
  stream->Paused3D = 0;
  NotifyStream(STREAM_EVENT_CHANGED, stream, nullptr);
  return S_OK;
}

}  // namespace

LONG qorSound_PlayStream(void* stream) { return Start(stream, BUFFER_CMD_PLAY, __func__); }

LONG qorSound_ResumeStream(void* stream) { return Start(stream, BUFFER_CMD_RESUME, __func__); }

LONG qorSound_StopStream(void* handle) {
  SoundStream* stream = Checked(handle, Refuses::Unheld, __func__);
  if (!stream) return E_FAIL;
  stream->Stop();
  NotifyStream(STREAM_EVENT_CHANGED, stream, nullptr);
  return S_OK;
}

LONG qorSound_PauseStream(void* handle) {
  SoundStream* stream = Checked(handle, Refuses::Unheld, __func__);
  if (!stream) return E_FAIL;
  SoundBuffer_Command(stream->Buffer, BUFFER_CMD_PAUSE);
  stream->State = STREAM_PAUSED;
  stream->Paused3D = 0;
  NotifyStream(STREAM_EVENT_CHANGED, stream, nullptr);
  return S_OK;
}

LONG qorSound_RewindStream(void* handle) {
  SoundStream* stream = Checked(handle, Refuses::OneShots, __func__);
  if (!stream) return E_FAIL;
  SoundBuffer_Command(stream->Buffer, BUFFER_CMD_REWIND);
  return S_OK;
}

LONG qorSound_SetStreamProgress(void* handle, int percent) {
  SoundStream* stream = Checked(handle, Refuses::OneShots, __func__);
  if (!stream) return E_FAIL;
  SoundBuffer_SetProgress(stream->Buffer, static_cast<uint32_t>(percent));
  return S_OK;
}

LONG qorSound_SetStreamPosition(void* handle, const void* position) {
  SoundStream* stream = Checked(handle, Refuses::OneShots, __func__);
  if (!stream || !position) return E_FAIL;
  SoundBuffer_SetPosition(stream->Buffer, static_cast<const float*>(position));
  std::memcpy(stream->LastPosition, position, sizeof stream->LastPosition);
  return S_OK;
}

LONG qorSound_SetStreamVelocity(void* handle, const void* velocity) {
  SoundStream* stream = Checked(handle, Refuses::OneShots, __func__);
  if (!stream || !velocity) return E_FAIL;
  SoundBuffer_SetVelocity(stream->Buffer, static_cast<const float*>(velocity));
  return S_OK;
}

LONG qorSound_GetStreamPosition(void* handle, void* position) {
  SoundStream* stream = Checked(handle, Refuses::Nothing, __func__, READS_ONLY);
  if (!stream || !position) return E_FAIL;
  SoundBuffer_GetPosition(stream->Buffer, static_cast<float*>(position));
  return S_OK;
}

LONG qorSound_GetStreamFile(void* handle, char* name) {
  SoundStream* stream = Checked(handle, Refuses::Nothing, __func__, READS_ONLY);
  if (!stream || !name) return E_FAIL;
  const SoundEntry* owner = stream->Owner;
  // The list may have been emptied while the sound stayed logged in.
  if (!owner->Files) {
    name[0] = 0;
    return S_OK;
  }
  const char* path = owner->Files[owner->EnabledFileIndex(stream->FileIndex)].Path;
  const char* slash = std::strrchr(path, '\\');
  const char* file = slash ? slash + 1 : path;
  size_t length = std::strcspn(file, ".");
  std::memcpy(name, file, length);
  name[length] = 0;
  return S_OK;
}

LONG qorSound_GetStreamState(void* handle, char* state) {
  SoundStream* stream = Checked(handle, Refuses::Nothing, __func__, READS_ONLY);
  if (!stream || !state) return E_FAIL;
  static const char* const TEXTS[] = {"[free]", "[single]", "[stopped]", "[playing]", "[paused]"};
  const char* text = stream->State >= STREAM_FREE && stream->State <= STREAM_PAUSED ? TEXTS[stream->State] : "[???]";
  std::memcpy(state, text, std::strlen(text) + 1);
  return S_OK;
}

LONG qorSound_SetStreamVolume(void* handle, int percent) {
  SoundStream* stream = Checked(handle, Refuses::Nothing, __func__);
  if (!stream) return E_FAIL;
  stream->VolumeScale = static_cast<float>(PercentScale(percent));
  int level = ScaledPercent(stream->Owner->Volume, PercentScale(percent), VolumeFactor);
  if (level < 0 || level > 100) {
    Diagnose(KXSOUND_DIAG_LEVEL_REFUSED,
             "stream volume %d%% of sound \"%s\" gives level %d, outside 0..100: the device refuses it and the stream "
             "keeps the level it had",
             percent, stream->Owner->Name, level);
  }
  SoundBuffer_SetVolumePercent(stream->Buffer, level);
  return S_OK;
}

LONG qorSound_SetStreamVolume2(void* handle, int percent) {
  SoundStream* stream = Checked(handle, Refuses::Nothing, __func__);
  if (!stream) return E_FAIL;
  stream->VolumeScale = static_cast<float>(PercentScale(percent));
  double raised = (LogarithmicVolume(percent) + 10000.0) * static_cast<double>(VolumeFactor) - 10000.0;
  SoundBuffer_SetVolumeRaw(stream->Buffer, static_cast<int>(raised));
  return S_OK;
}

LONG qorSound_SetStreamFrequency(void* handle, int percent) {
  SoundStream* stream = Checked(handle, Refuses::Nothing, __func__);
  if (!stream) return E_FAIL;
  stream->FrequencyScale = static_cast<float>(PercentScale(percent));
  SoundBuffer_SetFrequencyPercent(stream->Buffer,
                                  ScaledPercent(stream->Owner->Frequency, PercentScale(percent), FrequencyFactor));
  return S_OK;
}

void qorSound_Enable3D(void* handle, int enable) {
  if (SoundStream* stream = Checked(handle, Refuses::Nothing, __func__)) SoundBuffer_Enable3D(stream->Buffer, enable);
}

LONG qorSound_Pause3DSounds() {
  if (!GateRunning(__func__)) return E_FAIL;
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) {
    if (entry->Is3D) entry->Pause3DStreams();
  }
  return S_OK;
}

LONG qorSound_Resume3DSounds() {
  if (!GateRunning(__func__)) return E_FAIL;
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) {
    if (entry->Is3D) entry->Resume3DStreams();
  }
  return S_OK;
}
