// The frame: commits of deferred 3D settings, ends of one-shots, hand-overs of
// looped and crossed sounds, the preview file, the ambients; and the overlay.
#include <cstdio>

#include "ambient/ambients.h"
#include "base/catalogue.h"
#include "core/device.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"
#include "playback/sound_buffer.h"
#include "playback/sound_stream.h"

namespace {

constexpr ULONG OVERLAY_COLOUR = 0xFFFF8040u;

// The frame calls come every frame: a refusal is told once, until a call gets through.
bool FrameGate(const char* operation, bool& told) {
  if (Running()) {
    told = false;
    return true;
  }
  if (!told && DiagnosticsWanted()) {
    GateRunning(operation);
    told = true;
  }
  return false;
}

bool UpdateRefusalTold = false;
bool RenderRefusalTold = false;
// Numbers the walks of the active streams, whose marks tell a walk what it has done.
uint64_t UpdateWalks = 0;

void DrawLine(float x, int line, const char* text) {
  qorKernel_DrawDebugText(x, static_cast<float>(line * StatisticScale), OVERLAY_COLOUR, text);
}

// A crossed sound's stream has run out: the next file takes over its holder. Events
// reach the host on the way, and it may let go of either stream or of the sound.
void HandOver(SoundEntry* entry, SoundStream* old) {
  StreamUse held(old);
  int next = entry->SelectFile(old->FileIndex);
  SoundStream* fresh = entry->AcquireStream(next, old->HandleSlot, STREAM_STOPPED, old->Flags, Play3DEnabled, old);
  if (!fresh || fresh == old) {
    // No stream for the next file, or only this one: the same file plays again.
    if (held.Same()) SoundBuffer_Command(old->Buffer, BUFFER_CMD_PLAY);
    return;
  }
  fresh->State = STREAM_PLAYING;
  SoundBuffer_SetLooped(fresh->Buffer, 0);
  if (entry->Is3D) {
    float position[3] = {0, 0, 0}, velocity[3] = {0, 0, 0};
    SoundBuffer_GetPosition(old->Buffer, position);
    SoundBuffer_GetVelocity(old->Buffer, velocity);
    SoundBuffer_SetPosition(fresh->Buffer, position);
    SoundBuffer_SetVelocity(fresh->Buffer, velocity);
    for (int i = 0; i < 3; ++i) fresh->LastPosition[i] = position[i];
  }
  StreamUse taking(fresh);
  NotifyStream(STREAM_EVENT_REPLACED, old, fresh);
  if (held.Same()) {
    old->HandleSlot = nullptr;
    old->Release();
    // An extra stream has no place in the pool once its holder has moved on.
    if (old->Flags & STREAM_FLAG_EXTRA) entry->DestroyStream(old);
  }
  // Started only if the holder has neither given it back nor stopped it when told.
  if (taking.Same() && fresh->State == STREAM_PLAYING) SoundBuffer_Command(fresh->Buffer, BUFFER_CMD_PLAY);
}

}  // namespace

void ResetUpdateState() {
  UpdateRefusalTold = RenderRefusalTold = false;
  UpdateWalks = 0;
}

void SoundEntry::UpdateStream(SoundStream* stream) {
  // Streams held by the 3D pause are not over; they wait for the resume.
  bool playing = stream->Paused3D || SoundBuffer_IsPlaying(stream->Buffer);
  if (!playing && stream->State == STREAM_SINGLE) {
    ReleaseStream(stream);
  } else if (!playing && stream->State == STREAM_PLAYING) {
    if (!Looped || BufferLooped) {
      stream->State = STREAM_STOPPED;
      NotifyStream(STREAM_EVENT_CHANGED, stream, nullptr);
    } else {
      HandOver(this, stream);
    }
  }
  if (ShowStatistic && LiveStream(stream)) {
    if (stream->State != STREAM_FREE) StatActive++;
    if (stream->State == STREAM_PLAYING || stream->State == STREAM_SINGLE) StatPlaying++;
  }
}

void SoundEntry::ResetStatistics() {
  StatActive = 0;
  StatPlaying = 0;
}

void SoundEntry::DrawStatistics() {
  if (StatActive == 0) return;
  char text[256];
  std::snprintf(text, sizeof text, "%s: %d/%d", Files ? Files[0].Path : "", StatPlaying, StatActive);
  DrawLine(0.3f, StatisticsLine + 2, text);
  bool shown = false;
  ForEachStream([&](SoundStream* stream) {
    if (shown || stream->State != STREAM_PLAYING) return;
    std::snprintf(text, sizeof text, "(%.0f, %.0f, %.0f)", stream->LastPosition[0], stream->LastPosition[1],
                  stream->LastPosition[2]);
    DrawLine(0.7f, StatisticsLine + 2, text);
    shown = true;
  });
  StatisticsLine++;
}

void qorSound_Update() {
  if (!FrameGate(__func__, UpdateRefusalTold)) return;
  ULONG now = qorTimer_GetSystemTick();
  if (now - LastUpdateTick >= UpdateDelay) {
    LastUpdateTick = now;
    Device_CommitDeferred();
  }
  if (ShowStatistic) {
    for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) entry->ResetStatistics();
  }
  StreamsTotal = 0;
  // A step may unlink its stream, move a neighbour to the tail (a hand-over reuses a
  // one-shot) or, through a callback, do anything at all. A stream whose use has not
  // changed has kept its place: the walk goes on behind it, or behind the stream
  // before it, or from the head, where the marks pass over what this walk or one
  // started inside it has done.
  const uint64_t walk = ++UpdateWalks;
  for (SoundStream* stream = ActiveStreamsHead; stream;) {
    if (stream->UpdateWalk >= walk) {
      stream = stream->ActiveNext;
      continue;
    }
    stream->UpdateWalk = walk;
    SoundStream* prev = stream->ActivePrev;
    StreamUse self(stream), before(prev);
    stream->Owner->UpdateStream(stream);
    StreamsTotal++;
    if (self.Same()) {
      stream = stream->ActiveNext;
    } else if (before.Same()) {
      stream = prev->ActiveNext;
    } else {
      stream = ActiveStreamsHead;
    }
  }
  // A callback may have shut the system down.
  if (!SystemInitialized) return;
  if (FilePreviewBuffer) {
    if (SoundBuffer_IsPlaying(FilePreviewBuffer)) {
      int progress = static_cast<int>(SoundBuffer_GetProgress(FilePreviewBuffer));
      if (FilePreviewCallback) FilePreviewCallback(progress);
    } else {
      SoundBuffer_Release(&FilePreviewBuffer);
      if (FilePreviewCallback) FilePreviewCallback(1000);
    }
  }
  if (SystemInitialized) UpdateAmbients();
}

void qorSound_Render() {
  if (!FrameGate(__func__, RenderRefusalTold) || !ShowStatistic) return;
  StatisticsLine = 0;
  for (SoundEntry* entry = SoundList; entry; entry = entry->NextEntry()) entry->DrawStatistics();
  char text[64];
  if (StreamsTotal != 0) {
    std::snprintf(text, sizeof text, "Total Streams: %d", StreamsTotal);
    DrawLine(0.3f, StatisticsLine + 2, text);
  }
  std::snprintf(text, sizeof text, "Streams created: %d", StreamsCreated);
  DrawLine(0.3f, StatisticsLine + 3, text);
}
