// One playing instance of a catalogue sound: a buffer and its place in the pool.
#ifndef KXSOUND_PLAYBACK_SOUND_STREAM_H
#define KXSOUND_PLAYBACK_SOUND_STREAM_H

#include <cstddef>
#include <cstdint>
#include <new>

#include "base/sound_entry.h"
#include "core/state.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

class SoundBuffer;
class SoundEntry;
class SoundStream;

constexpr int STREAM_FREE = 0;
constexpr int STREAM_SINGLE = 1;
constexpr int STREAM_STOPPED = 2;
constexpr int STREAM_PLAYING = 3;
constexpr int STREAM_PAUSED = 4;


constexpr int MAX_STREAMS_PER_FILE = 4;

// A link of one file's chain of streams.
class ChainNode {
public:
  explicit ChainNode(SoundBuffer* buffer) : Buffer(buffer) {}
  // Destroys the rest of the chain as well; take a stream out with Remove first.
  virtual ~ChainNode();
  ChainNode(const ChainNode&) = delete;
  ChainNode& operator=(const ChainNode&) = delete;

  void Append(SoundStream* stream);
  static SoundStream* Remove(SoundStream* head, SoundStream* stream);

  SoundBuffer* const Buffer;
  SoundStream* ChainNext = nullptr;
};

class SoundStream : public ChainNode {
public:
  SoundStream(SoundEntry* owner, int fileIndex, SoundBuffer* buffer);
  ~SoundStream() override;
  // Streams live at addresses never used by an earlier stream (see stream_arena.h).
  static void* operator new(size_t size, const std::nothrow_t&) noexcept;
  static void operator delete(void* memory) noexcept;
  static void operator delete(void* memory, const std::nothrow_t&) noexcept;

  void Assign(int state, void** slot, uint32_t flags, int enable3D);
  void Stop();
  void Release();
  void LinkActive();
  void UnlinkActive();
  void Pause3D();
  void Resume3D();

  uint32_t StartTick = 0;
  SoundEntry* const Owner;
  const int32_t FileIndex;
  int32_t State = STREAM_FREE;
  void** HandleSlot = nullptr;
  uint32_t Flags = 0;
  float VolumeScale = 1.0f;
  float FrequencyScale = 1.0f;
  SoundStream* ActiveNext = nullptr;
  SoundStream* ActivePrev = nullptr;
  int32_t Paused3D = 0;
  float LastPosition[3] = {0.0f, 0.0f, 0.0f};
  // The frame update's walk that last visited the stream.
  uint64_t UpdateWalk = 0;
  // Counts acquisitions and releases, so that whoever held the stream across a call
  // into the host can tell whether it is still the same use.
  uint32_t Use = 0;
};

// Handles come from outside: a stream destroyed since (logout, deleted sound, a new
// base, a released extra stream) is refused before it is touched. Exact, because no
// stream is ever made at the address of an earlier one.
SoundStream* LiveStream(void* handle);

// One use of a stream, taken before the host is called: afterwards Same() tells
// whether the stream still lives and has been neither released nor acquired since.
class StreamUse {
public:
  explicit StreamUse(SoundStream* stream) : Stream(stream), Use(stream ? stream->Use : 0) {}
  bool Same() const { return LiveStream(Stream) && Stream->Use == Use; }

private:
  SoundStream* Stream;
  uint32_t Use;
};

void NotifyStream(QORSOUND_STREAM_EVENT event, void* first, void* second);
// Releases a held stream for another holder and tells the host. True when the stream
// still stands free afterwards, for the host may have taken or destroyed it meanwhile.
bool StealStream(SoundStream* stream);
// LiveStream that tells the diagnostics sink of a handle that is null or no longer alive.
SoundStream* CheckedStream(void* handle, const char* operation);

template <typename Fn>
void SoundEntry::ForEachStream(Fn fn) {
  if (!StreamChains) return;
  for (int i = 0; i < NumLoadedFiles; ++i) {
    for (SoundStream* stream = StreamChains[i]; stream;) {
      SoundStream* next = stream->ChainNext;
      fn(stream);
      stream = next;
    }
  }
}

#endif
