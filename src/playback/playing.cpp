// Playing catalogue sounds: fire and forget, held streams, redirection, and the
// preview of a loose file.
#include <cstring>

#include "base/catalogue.h"
#include "core/state.h"
#include "playback/playing.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"

namespace {

bool Running() { return SystemInitialized && SoundEnabled; }

}  // namespace

void StartAtLevel(SoundStream* stream, int command) {
  int level = ScaledPercent(stream->Owner->Volume, stream->VolumeScale, VolumeFactor);
  SoundBuffer_SetVolumePercent(stream->Buffer, 0);
  SoundBuffer_SetVolumePercent(stream->Buffer, level);
  SoundBuffer_Command(stream->Buffer, command);
  SoundBuffer_SetVolumePercent(stream->Buffer, 0);
  SoundBuffer_SetVolumePercent(stream->Buffer, level);
}

LONG qorSound_PlaySound(void* sound, const void* position, int) {
  if (!Running() || !sound) return E_FAIL;
  auto* entry = static_cast<SoundEntry*>(sound);
  const bool spatial = entry->Is3D && Play3DEnabled;
  float where[3];
  if (spatial) {
    std::memcpy(where, position ? position : EarsPosition, sizeof where);
    // Squares are compared, so exactly the maximum distance still plays.
    double dx = where[0] - EarsPosition[0], dy = where[1] - EarsPosition[1], dz = where[2] - EarsPosition[2];
    double limit = static_cast<double>(entry->MaxDistance) * entry->MaxDistance;
    if (limit < dx * dx + dy * dy + dz * dz) return S_OK;
  }
  SoundStream* stream = entry->AcquireStream(entry->SelectFile(-1), nullptr, STREAM_SINGLE, 0);
  if (!stream) return E_FAIL;
  SoundBuffer_SetLooped(stream->Buffer, 0);
  if (SoundLatency != 0) {
    if (SoundLatency > SoundBuffer_GetDurationMs(stream->Buffer)) {
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
  if (!Running()) return E_FAIL;
  SoundEntry* entry = FindSoundEntry(name, true);
  if (!entry) return E_FAIL;
  return qorSound_PlaySound(static_cast<void*>(entry), position, unused);
}

void* qorSound_QueryStream(void* sound, void** slot, ULONG flags) {
  if (!Running() || !slot || !sound) return nullptr;
  auto* entry = static_cast<SoundEntry*>(sound);
  SoundStream* stream = entry->AcquireStream(entry->SelectFile(-1), slot, STREAM_STOPPED, flags);
  if (!stream) return nullptr;
  // A held stream always has its 3D processing on, whatever the switch says. Set after
  // acquisition, so that a callback on the way sees the host's own switch.
  SoundBuffer_Enable3D(stream->Buffer, 1);
  SoundBuffer_SetLooped(stream->Buffer, (stream->Flags & STREAM_FLAG_EXTRA) ? entry->Looped : entry->BufferLooped);
  NotifyStream(STREAM_EVENT_ACQUIRED, stream, nullptr);
  return stream;
}

void* qorSound_QueryStream(const char* name, void** slot, ULONG flags) {
  if (!SystemInitialized) return nullptr;
  SoundEntry* entry = FindSoundEntry(name, true);
  return entry ? qorSound_QueryStream(static_cast<void*>(entry), slot, flags) : nullptr;
}

void qorSound_ReleaseStream(void* handle) {
  if (!SystemInitialized) return;
  SoundStream* stream = LiveStream(handle);
  if (!stream || stream->State == STREAM_SINGLE) return;
  stream->Owner->ReleaseStream(stream);
}

HRESULT SoundEntry::SetRedirect(SoundEntry* target) {
  if (!target || target == this) {
    LinkRedirect(nullptr);
    return S_OK;
  }
  if (target->ResolveRedirect() == this) return E_FAIL;
  if (Is3D != target->Is3D || Looped != target->Looped) return E_FAIL;
  if (target->NumFiles == 0) return E_FAIL;
  if (target->Login() != S_OK) return E_FAIL;
  LinkRedirect(target);
  return S_OK;
}

LONG qorSound_RedirectSound(const char* name, const char* target) {
  if (!Running()) return E_FAIL;
  SoundEntry* source = FindSoundEntry(name, false);
  if (!source) return E_FAIL;
  SoundEntry* to = nullptr;
  if (target && !(to = FindSoundEntry(target, false))) return E_FAIL;
  return source->SetRedirect(to);
}

LONG qorSound_PlayFile2(const char* path, int loop, QORSOUND_PREVIEW_CALLBACK callback) {
  if (!SystemInitialized) return E_FAIL;
  SoundBuffer_Release(&FilePreviewBuffer);
  if (!path) return S_OK;
  FilePreviewBuffer = SoundBuffer_LoadFile(path, 0);
  if (!FilePreviewBuffer) return E_FAIL;
  FilePreviewCallback = callback;
  SoundBuffer_SetLooped(FilePreviewBuffer, loop);
  SoundBuffer_Command(FilePreviewBuffer, BUFFER_CMD_PLAY);
  return S_OK;
}
