// Playing catalogue sounds: fire and forget, held streams, redirection, and the
// preview of a loose file.
#include <cmath>
#include <cstring>

#include "base/catalogue.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "playback/playing.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"

namespace {

SoundEntry* SoundHandle(void* sound, const char* operation) {
  if (!sound) Diagnose(KXSOUND_DIAG_REFUSED, "%s fails: the sound handle is null", operation);
  return static_cast<SoundEntry*>(sound);
}

}  // namespace

void StartAtLevel(SoundStream* stream, int command) {
  int level = ScaledPercent(stream->Owner->Volume, stream->VolumeScale, VolumeFactor);
  if (level < 0 || level > 100) {
    Diagnose(KXSOUND_DIAG_LEVEL_REFUSED,
             "sound \"%s\" starts silent: its level %d (Volume %d x VolumeScale %.2f x VolumeFactor %.2f) is outside "
             "0..100 and the device refuses it",
             stream->Owner->Name, level, stream->Owner->Volume, static_cast<double>(stream->VolumeScale),
             static_cast<double>(VolumeFactor));
  }
  SoundBuffer_SetVolumePercent(stream->Buffer, 0);
  SoundBuffer_SetVolumePercent(stream->Buffer, level);
  SoundBuffer_Command(stream->Buffer, command);
  SoundBuffer_SetVolumePercent(stream->Buffer, 0);
  SoundBuffer_SetVolumePercent(stream->Buffer, level);
}

LONG qorSound_PlaySound(void* sound, const void* position, int) {
  if (!GateRunning(__func__)) return E_FAIL;
  SoundEntry* entry = SoundHandle(sound, __func__);
  if (!entry) return E_FAIL;
  const bool spatial = entry->Is3D && Play3DEnabled;
  float where[3];
  if (spatial) {
    std::memcpy(where, position ? position : EarsPosition, sizeof where);
    // Squares are compared, so exactly the maximum distance still plays.
    double dx = where[0] - EarsPosition[0], dy = where[1] - EarsPosition[1], dz = where[2] - EarsPosition[2];
    double limit = static_cast<double>(entry->MaxDistance) * entry->MaxDistance;
    if (limit < dx * dx + dy * dy + dz * dz) {
      Diagnose(KXSOUND_DIAG_BEYOND_MAX_DISTANCE,
               "3D sound \"%s\" is not played: it is %.2f from the ears, beyond its MaxDistance %.2f (the call succeeds)",
               entry->Name, std::sqrt(dx * dx + dy * dy + dz * dz), static_cast<double>(entry->MaxDistance));
      return S_OK;
    }
  }
  SoundStream* stream = entry->AcquireStream(entry->SelectFile(-1), nullptr, STREAM_SINGLE, 0, Play3DEnabled);
  if (!stream) return E_FAIL;
  SoundBuffer_SetLooped(stream->Buffer, 0);
  if (SoundLatency != 0) {
    if (SoundLatency > SoundBuffer_GetDurationMs(stream->Buffer)) {
      Diagnose(KXSOUND_DIAG_NOTHING_DONE,
               "sound \"%s\" is skipped: SoundLatency %u ms is longer than its clip of %u ms (the call succeeds)",
               entry->Name, SoundLatency, SoundBuffer_GetDurationMs(stream->Buffer));
      entry->ReleaseStream(stream);
      return S_OK;
    }
    SoundBuffer_SetPositionMs(stream->Buffer, SoundLatency);
  }
  if (spatial) {
    const float still[3] = {0.0f, 0.0f, 0.0f};
    SoundBuffer_SetPosition(stream->Buffer, where);
    SoundBuffer_SetVelocity(stream->Buffer, still);
    std::memcpy(stream->LastPosition, where, sizeof where);
    LastUpdateTick = 0;
  }
  StartAtLevel(stream, BUFFER_CMD_PLAY);
  NotifyStream(STREAM_EVENT_ACQUIRED, stream, nullptr);
  return S_OK;
}

LONG qorSound_PlaySound(const char* name, const void* position, int unused) {
  if (!GateRunning(__func__)) return E_FAIL;
  SoundEntry* entry = FindKnownSound(name, true);
  if (!entry) return E_FAIL;
  return qorSound_PlaySound(static_cast<void*>(entry), position, unused);
}

void* qorSound_QueryStream(void* sound, void** slot, ULONG flags) {
  if (!GateRunning(__func__)) return nullptr;
  if (!slot) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_QueryStream fails: the variable for the handle is null");
    return nullptr;
  }
  SoundEntry* entry = SoundHandle(sound, __func__);
  if (!entry) return nullptr;
  SoundStream* stream = entry->AcquireStream(entry->SelectFile(-1), slot, STREAM_STOPPED, flags, Play3DEnabled);
  if (!stream) return nullptr;
  // A held stream always has its 3D processing on, whatever the switch says. Set after
  // acquisition, so that a callback on the way sees the host's own switch.
  SoundBuffer_Enable3D(stream->Buffer, 1);
  SoundBuffer_SetLooped(stream->Buffer, (stream->Flags & STREAM_FLAG_EXTRA) ? entry->Looped : entry->BufferLooped);
  NotifyStream(STREAM_EVENT_ACQUIRED, stream, nullptr);
  return stream;
}

void* qorSound_QueryStream(const char* name, void** slot, ULONG flags) {
  SoundEntry* entry = FindRunningSound(name, __func__);
  return entry ? qorSound_QueryStream(static_cast<void*>(entry), slot, flags) : nullptr;
}

void qorSound_ReleaseStream(void* handle) {
  if (!GateInitialized(__func__)) return;
  SoundStream* stream = CheckedStream(handle, __func__);
  if (!stream) return;
  if (stream->State == STREAM_SINGLE) {
    Diagnose(KXSOUND_DIAG_ONE_SHOT_STREAM,
             "stream %p of sound \"%s\" is a one-shot of qorSound_PlaySound: qorSound_ReleaseStream leaves it playing",
             handle, stream->Owner->Name);
    return;
  }
  if (stream->State == STREAM_FREE) {
    Diagnose(KXSOUND_DIAG_RELEASED_STREAM,
             "stream %p of sound \"%s\" was released already: it is released again and event 2 is sent again", handle,
             stream->Owner->Name);
  }
  stream->Owner->ReleaseStream(stream);
}

HRESULT SoundEntry::SetRedirect(SoundEntry* target) {
  if (!target || target == this) {
    LinkRedirect(nullptr);
    return S_OK;
  }
  const char* why = nullptr;
  if (target->ResolveRedirect() == this) {
    why = "the link would close a cycle";
  } else if (Is3D != target->Is3D) {
    why = "one is 3D and the other is not";
  } else if (Looped != target->Looped) {
    why = "one is looped and the other is not";
  } else if (target->NumFiles == 0) {
    why = "the target has no files";
  } else if (target->Login() != S_OK) {
    why = "the target cannot log in";
  }
  if (why) {
    Diagnose(KXSOUND_DIAG_REFUSED, "sound \"%s\" cannot redirect to \"%s\": %s", Name, target->Name, why);
    return E_FAIL;
  }
  LinkRedirect(target);
  return S_OK;
}

LONG qorSound_RedirectSound(const char* name, const char* target) {
  if (!GateRunning(__func__)) return E_FAIL;
  SoundEntry* source = FindKnownSound(name, false);
  if (!source) return E_FAIL;
  SoundEntry* to = nullptr;
  if (target && !(to = FindKnownSound(target, false))) return E_FAIL;
  return source->SetRedirect(to);
}

LONG qorSound_PlayFile2(const char* path, int loop, QORSOUND_PREVIEW_CALLBACK callback) {
  if (!GateInitialized(__func__)) return E_FAIL;
  SoundBuffer_Release(&FilePreviewBuffer);
  if (!path) return S_OK;
  FilePreviewBuffer = SoundBuffer_LoadFile(path, 0);
  if (!FilePreviewBuffer) return E_FAIL;
  FilePreviewCallback = callback;
  SoundBuffer_SetLooped(FilePreviewBuffer, loop);
  SoundBuffer_Command(FilePreviewBuffer, BUFFER_CMD_PLAY);
  return S_OK;
}
