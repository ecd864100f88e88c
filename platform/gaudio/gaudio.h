// gaudio: the music library the module drives. One library object opens the music
// output; it hands out sound objects that decode an MP3 file or memory image with
// libmpg123 and play it by themselves through a streaming OpenAL source.
#ifndef KX_PLATFORM_GAUDIO_H
#define KX_PLATFORM_GAUDIO_H

#include <cstdint>

#include "kxSoundWin32.h"

// The description of a sound to make, 40 bytes. Addresses travel as 32-bit tokens
// of gaudio::Address32, so the record keeps its layout on 64-bit machines.
struct GAudioSoundDesc {
  uint32_t Header;      // 0x201
  uint32_t Path;        // Address32 of a zero-terminated path, or 0
  uint32_t MemoryData;  // Address32 of an MP3 image in memory, or 0
  uint32_t MemorySize;
  uint32_t Flags;  // 4, bit 0 added on request
  uint32_t FromMemory;
  uint32_t Option;  // 1
  uint8_t Reserved[12];
};
static_assert(sizeof(GAudioSoundDesc) == 40, "GAudioSoundDesc is 40 bytes");

// A request for an event, 24 bytes.
struct GAudioNotifyDesc {
  uint32_t Size;   // 24
  uint32_t Event;  // 5: the end of the file
  uint8_t Reserved[12];
  uint32_t Callback;  // Address32 of a void() function
};
static_assert(sizeof(GAudioNotifyDesc) == 24, "GAudioNotifyDesc is 24 bytes");

constexpr uint32_t GAUDIO_DESC_HEADER = 0x201;
constexpr uint32_t GAUDIO_EVENT_END_OF_FILE = 5;
typedef void (*GAudioNotifyCallback)();

// The sound object. The order of the virtual functions is the interface: callers
// reach Play at slot 0, Pause 1, Stop 2, Release 4, SetVolume 10 and SetNotify 20.
// Play, Pause and Stop give 1. A sound starts stopped; Play after Pause goes on where it
// paused, after Stop or the end of the file it starts from the top. The end-of-file callback
// comes once the last sample has been played, from the library's music thread (or, on the
// offline output, from kxHost_Advance), with no lock of the library held. Calls may come
// from any thread. A sound lives until Release or the end of its GAudio object.
class GAudioSound {
public:
  virtual int32_t Play() = 0;                // 0
  virtual int32_t Pause() = 0;               // 1
  virtual int32_t Stop() = 0;                // 2
  virtual int32_t IsPlaying() = 0;           // 3
  virtual void Release() = 0;                // 4
  virtual int32_t GetLengthMs() = 0;         // 5
  virtual int32_t GetPositionMs() = 0;       // 6
  virtual int32_t Reserved7() = 0;           // 7
  virtual int32_t Reserved8() = 0;           // 8
  virtual int32_t Reserved9() = 0;           // 9
  virtual int32_t SetVolume(float volume) = 0;  // 10
  virtual float GetVolume() = 0;             // 11
  virtual int32_t Reserved12() = 0;          // 12
  virtual int32_t Reserved13() = 0;          // 13
  virtual int32_t Reserved14() = 0;          // 14
  virtual int32_t Reserved15() = 0;          // 15
  virtual int32_t Reserved16() = 0;          // 16
  virtual int32_t Reserved17() = 0;          // 17
  virtual int32_t Reserved18() = 0;          // 18
  virtual int32_t Reserved19() = 0;          // 19
  // A GAudioNotifyDesc and the count of records (1).
  virtual int32_t SetNotify(const void* description, int32_t count) = 0;  // 20

protected:
  ~GAudioSound() = default;
};

namespace gaudio {

enum DeviceType : int32_t { DEVICE_DEFAULT = 2 };
enum SoundClass : int32_t { SOUND_CLASS_STREAM = 5 };
enum ErrCode : int32_t { ERR_FAIL = 0, ERR_OK = 1 };

class KX_EXPORT GAudio {
public:
  GAudio();
  ~GAudio();
  GAudio(const GAudio&) = delete;
  GAudio& operator=(const GAudio&) = delete;

  // Opens the music output (the mode of kxHost_SetAudioOutput). The rate asked for is where
  // the caller's music would be mixed; the output mixes at its own, and every sound is
  // converted to it.
  ErrCode init(DeviceType type, unsigned rate, int flags);
  // description: a GAudioSoundDesc. A file or image that libmpg123 cannot decode is refused.
  ErrCode getSoundClass(SoundClass soundClass, const void* description, GAudioSound** sound);

  struct Impl;

private:
  Impl* impl_;
};

// 32-bit tokens for addresses in the records; 0 is null. The same address gives the
// same token while it is among the last few thousand registered.
KX_EXPORT uint32_t Address32(const void* address);
KX_EXPORT const void* FromAddress32(uint32_t token);

}  // namespace gaudio

#endif
