#include "playback/sound_stream.h"

#include "base/sound_entry.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "playback/sound_buffer.h"
#include "playback/stream_arena.h"
#include "win32/tick_count.h"

SoundStream* ActiveStreamsHead = nullptr;
SoundStream* ActiveStreamsTail = nullptr;
int StreamsCreated = 0;
int StreamsTotal = 0;

static_assert(sizeof(SoundStream) <= STREAM_SLOT_SIZE && alignof(SoundStream) <= 16, "a stream fits its slot");

SoundStream* LiveStream(void* handle) {
  return handle && StreamArena_IsLive(handle) ? static_cast<SoundStream*>(handle) : nullptr;
}

SoundStream* CheckedStream(void* handle, const char* operation) {
  SoundStream* stream = LiveStream(handle);
  if (stream) return stream;
  if (!handle) {
    Diagnose(KXSOUND_DIAG_DEAD_STREAM, "%s fails: the stream handle is null", operation);
  } else {
    Diagnose(KXSOUND_DIAG_DEAD_STREAM,
             "%s fails: stream %p no longer exists (its sound was logged out or deleted, or it was an extra stream "
             "that was released)",
             operation, handle);
  }
  return nullptr;
}

// ---- ChainNode ----

ChainNode::~ChainNode() {
  // Iterative, like the catalogue's lists.
  SoundStream* stream = ChainNext;
  ChainNext = nullptr;
  while (stream) {
    SoundStream* after = stream->ChainNext;
    stream->ChainNext = nullptr;
    delete stream;
    stream = after;
  }
}

void ChainNode::Append(SoundStream* stream) {
  ChainNode* last = this;
  while (last->ChainNext) last = last->ChainNext;
  last->ChainNext = stream;
}

SoundStream* ChainNode::Remove(SoundStream* head, SoundStream* stream) {
  SoundStream* result = head;
  if (head == stream) {
    result = stream->ChainNext;
  } else {
    SoundStream* before = head;
    while (before && before->ChainNext != stream) before = before->ChainNext;
    if (!before) return head;
    before->ChainNext = stream->ChainNext;
  }
  stream->ChainNext = nullptr;
  return result;
}

// ---- SoundStream ----

SoundStream::SoundStream(SoundEntry* owner, int fileIndex, SoundBuffer* buffer)
    : ChainNode(buffer), Owner(owner), FileIndex(fileIndex) {}

void* SoundStream::operator new(size_t size, const std::nothrow_t&) noexcept {
  return size <= STREAM_SLOT_SIZE ? StreamArena_Allocate() : nullptr;
}

void SoundStream::operator delete(void* memory) noexcept { StreamArena_Free(memory); }

void SoundStream::operator delete(void* memory, const std::nothrow_t&) noexcept { StreamArena_Free(memory); }

SoundStream::~SoundStream() {
  // A stream destroyed while in use must not stay linked.
  if (State != STREAM_FREE) UnlinkActive();
  SoundBuffer* buffer = Buffer;
  SoundBuffer_Release(&buffer);
  StreamsCreated--;
}

void SoundStream::Assign(int state, void** slot, uint32_t flags, int enable3D) {
  StartTick = GetTickCount();
  Flags = flags;
  State = state;
  HandleSlot = slot;
  Paused3D = 0;
  ++Use;
  if (slot) *slot = this;
  LinkActive();
  SoundBuffer_Enable3D(Buffer, enable3D);
}

void SoundStream::Stop() {
  SoundBuffer_Command(Buffer, BUFFER_CMD_STOP);
  // Stopped by other hands, the stream is no longer the 3D pause's to continue.
  Paused3D = 0;
  if (State == STREAM_PLAYING) {
    State = STREAM_STOPPED;
  } else if (State == STREAM_SINGLE) {
    State = STREAM_FREE;
  }
}

void SoundStream::Release() {
  if (State == STREAM_FREE) return;
  Stop();
  StartTick = 0;
  State = STREAM_FREE;
  UnlinkActive();
  ++Use;
}

void SoundStream::LinkActive() {
  ActiveNext = nullptr;
  ActivePrev = ActiveStreamsTail;
  if (ActiveStreamsTail) {
    ActiveStreamsTail->ActiveNext = this;
  } else {
    ActiveStreamsHead = this;
  }
  ActiveStreamsTail = this;
}

void SoundStream::UnlinkActive() {
  if (ActiveStreamsHead == this) ActiveStreamsHead = ActiveNext;
  if (ActiveStreamsTail == this) ActiveStreamsTail = ActivePrev;
  if (ActivePrev) ActivePrev->ActiveNext = ActiveNext;
  if (ActiveNext) ActiveNext->ActivePrev = ActivePrev;
  ActiveNext = nullptr;
  ActivePrev = nullptr;
}

void SoundStream::Pause3D() {
  if (Paused3D == 0 && (State == STREAM_PLAYING || State == STREAM_SINGLE)) {
    SoundBuffer_Command(Buffer, BUFFER_CMD_PAUSE);
    Paused3D = 1;
  }
}

void SoundStream::Resume3D() {
  if (Paused3D != 0) {
    SoundBuffer_Command(Buffer, BUFFER_CMD_PLAY);
    Paused3D = 0;
  }
}

// ---- events ----

void NotifyStream(QORSOUND_STREAM_EVENT event, void* first, void* second) {
  if (NotifyCallback) NotifyCallback(event, first, second);
}

bool StealStream(SoundStream* stream) {
  stream->Release();
  StreamUse stolen(stream);
  NotifyStream(STREAM_EVENT_STOLEN, stream, nullptr);
  return stolen.Same();
}
