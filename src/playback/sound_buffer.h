// Wrappers of one device buffer, the numbered buffer commands, and the laws that
// turn the system's percentages into device volume and frequency.
#ifndef KXSOUND_PLAYBACK_SOUND_BUFFER_H
#define KXSOUND_PLAYBACK_SOUND_BUFFER_H

#include <cstdint>

class IDirectSoundBuffer;
class IDirectSound3DBuffer;

constexpr int BUFFER_CMD_PLAY = 1;
constexpr int BUFFER_CMD_RESUME = 2;
constexpr int BUFFER_CMD_STOP = 4;
constexpr int BUFFER_CMD_PAUSE = 5;
constexpr int BUFFER_CMD_REWIND = 6;

class SoundBuffer {
public:
  // Takes over the caller's reference to the device buffer.
  explicit SoundBuffer(IDirectSoundBuffer* buffer);
  virtual ~SoundBuffer();
  SoundBuffer(const SoundBuffer&) = delete;
  SoundBuffer& operator=(const SoundBuffer&) = delete;

  // A new object of this object's class around another device buffer; null without memory.
  virtual SoundBuffer* Create(IDirectSoundBuffer* buffer);
  // A second buffer on the same samples; null for every failure.
  virtual SoundBuffer* Duplicate();

  IDirectSoundBuffer* DirectBuffer;
  int Looped = 0;
  uint32_t BaseFrequency = 0;
  uint32_t BufferBytes = 0;
  uint32_t DurationMs = 0;
  uint32_t SavedCursor = 0;
  IDirectSound3DBuffer* Buffer3D = nullptr;
  int Spatialized = 0;

protected:
  // Makes the duplicate's device buffer and object; shared by both classes.
  SoundBuffer* DuplicatePlain();
};

class SoundBuffer3D : public SoundBuffer {
public:
  explicit SoundBuffer3D(IDirectSoundBuffer* buffer);
  ~SoundBuffer3D() override;
  SoundBuffer* Create(IDirectSoundBuffer* buffer) override;
  SoundBuffer* Duplicate() override;
};

void SoundBuffer_Command(SoundBuffer* buffer, int command);
void SoundBuffer_SetLooped(SoundBuffer* buffer, int looped);
void SoundBuffer_SetPositionMs(SoundBuffer* buffer, uint32_t milliseconds);
uint32_t SoundBuffer_GetDurationMs(const SoundBuffer* buffer);
void SoundBuffer_SetFrequencyPercent(SoundBuffer* buffer, int percent);
void SoundBuffer_SetVolumePercent(SoundBuffer* buffer, int percent);
void SoundBuffer_SetVolumeRaw(SoundBuffer* buffer, int hundredths);
void SoundBuffer_SetDistances(SoundBuffer* buffer, float minimum, float maximum);
void SoundBuffer_SetPosition(SoundBuffer* buffer, const float* position);
void SoundBuffer_GetPosition(SoundBuffer* buffer, float* position);
void SoundBuffer_SetVelocity(SoundBuffer* buffer, const float* velocity);
void SoundBuffer_GetVelocity(SoundBuffer* buffer, float* velocity);
int SoundBuffer_IsPlaying(SoundBuffer* buffer);
uint32_t SoundBuffer_GetProgress(SoundBuffer* buffer);
void SoundBuffer_SetProgress(SoundBuffer* buffer, uint32_t percent);
void SoundBuffer_Enable3D(SoundBuffer* buffer, int enable);
int SoundBuffer_Is3DEnabled(SoundBuffer* buffer);
SoundBuffer* SoundBuffer_Duplicate(SoundBuffer* buffer);
void SoundBuffer_Release(SoundBuffer** buffer);

// A PCM wave file as a new buffer (SoundBuffer3D when is3D is non-zero); null for every failure.
// owner names the sound the file belongs to in a diagnostic; null for a loose file.
SoundBuffer* SoundBuffer_LoadFile(const char* path, int is3D, const char* owner = nullptr);

// The level laws, exact to the truncation.
// value × scale × factor in one double product, truncated toward zero.
int ScaledPercent(int32_t value, double scale, double factor);
// Hundredths of a decibel of the logarithmic (amplitude) law.
int LogarithmicVolume(int percent);
// Adds one to the engine variable "sounds_created".
void CountSoundCreated();

#endif
