// One named sound of the catalogue: name, comment, file list and play parameters.
#ifndef KXSOUND_BASE_SOUND_ENTRY_H
#define KXSOUND_BASE_SOUND_ENTRY_H

#include <cstdint>

#include "base/named_node.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

class SoundStream;
struct FileCursor;
class FileWriter;

constexpr int FILE_PATH_SIZE = 63;

// One record of a sound's file list, the same in memory and in the base file.
struct SoundFileRef {
  char Path[FILE_PATH_SIZE];
  uint8_t Enabled;
};
static_assert(sizeof(SoundFileRef) == 64, "a file record is 64 bytes");

constexpr int PARAMETER_BLOCK_SIZE = 10240;

// Bit patterns of the default distances, 5.0 and 100.0.
constexpr float DEFAULT_MIN_DISTANCE = 5.0f;
constexpr float DEFAULT_MAX_DISTANCE = 100.0f;

class SoundEntry : public NamedNode {
public:
  explicit SoundEntry(const char* name);
  ~SoundEntry() override;

  // The last entry of the redirection chain that starts here.
  SoundEntry* ResolveRedirect();
  // Points this entry's redirection at target (or clears it with null), keeping the
  // count of links into each entry so that destroying an entry can cut them.
  void LinkRedirect(SoundEntry* target);
  // The checked redirection of a name: no cycle, the same 3D and loop kind, a target
  // with files that logs in.
  HRESULT SetRedirect(SoundEntry* target);

  void GetParameterBlock(uint8_t* block) const;
  void SetParameterBlock(const uint8_t* block);
  void SetComments(const char* text);

  // File list. AddFile lowers path in place on success.
  HRESULT AddFile(char* path);
  void DeleteFile(int index);
  void SwapFiles(int first, int second);
  bool IsFileIndexValid(int index) const { return index >= 0 && index < NumFiles; }

  // Parameters that reach existing streams. -1 applies the present value again.
  void SetVolume(int volume);
  // The momentary, logarithmic level: changes no field.
  void SetVolume2(int volume);
  void SetFrequency(int frequency);
  void SetDistances(float minimum, float maximum);

  // The stream pool.
  HRESULT Login();
  HRESULT Logout();
  int SelectFile(int previous);
  int EnabledFileIndex(int i) const;
  SoundStream* LoadStream(int i);
  SoundStream* DuplicateStream(int i);
  // self: the held stream whose holder asks (a hand-over). The steal search gives it
  // back untouched rather than steal it from itself, and acquisition gives null when
  // the host lets go of it in an event sent on the way.
  SoundStream* AcquireStream(int fileIndex, void** slot, int state, uint32_t flags, int enable3D,
                             SoundStream* self = nullptr);
  // Releases with event 2. True when the stream stands free in its chain afterwards:
  // the host's callback may have destroyed it or taken it again.
  bool ReleaseStream(SoundStream* stream);
  void DestroyStream(SoundStream* stream);
  void Pause3DStreams();
  void Resume3DStreams();
  // The frame update's step for one stream in use.
  void UpdateStream(SoundStream* stream);
  void ResetStatistics();
  void DrawStatistics();
  // Calls fn on every stream of every chain, free or in use (defined with the stream, in
  // playback/sound_stream.h).
  template <typename Fn>
  void ForEachStream(Fn fn);

  // The base file. The cursor knows the bytes left, so absurd stored counts fail before allocating.
  HRESULT ReadFrom(FileCursor& cursor);
  HRESULT WriteTo(FileWriter& writer) const;

  // Stored fields.
  int32_t Enabled = 1;
  char* Comments = nullptr;
  int32_t NumFiles = 0;
  SoundFileRef* Files = nullptr;
  SOUND_PLAYMODE PlayMode = SOUND_PLAYMODE_RANDOM;
  SoundStream** StreamChains = nullptr;
  int32_t NumStreams = 1;
  int32_t Volume = 100;
  int32_t Frequency = 100;
  uint8_t Looped = 0;
  uint8_t Is3D = 0;
  uint8_t Crossed = 0;
  float MinDistance = DEFAULT_MIN_DISTANCE;
  float MaxDistance = DEFAULT_MAX_DISTANCE;
  // Run-time fields.
  int32_t LoggedIn = 0;
  uint8_t BufferLooped = 0;
  int32_t Page = 0;
  int32_t StatActive = 0;
  int32_t StatPlaying = 0;
  SoundEntry* Redirect = nullptr;
  int32_t NumLoadedFiles = 0;
  // Entries whose Redirect points here.
  int32_t RedirectedBy = 0;
  // Place in the order of joining SoundList: rises along the list.
  uint64_t Serial = 0;

  SoundEntry* NextEntry() const { return static_cast<SoundEntry*>(Next); }
};

#endif
