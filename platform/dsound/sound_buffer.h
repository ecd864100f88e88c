// A secondary buffer: one OpenAL source playing a shared SampleStore. DirectSound's cursor
// survives Stop (the source is paused, not stopped) and is kept here while OpenAL can't report
// it (before the first play, after the end).
#ifndef KX_PLATFORM_DSOUND_SOUND_BUFFER_H
#define KX_PLATFORM_DSOUND_SOUND_BUFFER_H

#include <memory>

#include "audio/openal.h"
#include "dsound.h"

namespace kxdsound {

class Buffer3D;
class Device;
class SampleStore;

class SoundBuffer final : public IDirectSoundBuffer {
public:
  // A new buffer of the description (already checked), or an error.
  static HRESULT Create(Device& device, const DSBUFFERDESC& description, SoundBuffer** buffer);
  // A new buffer on the same samples, with the volume, frequency and 3D settings of this one.
  HRESULT Duplicate(SoundBuffer** duplicate);
  // The device is going: gives back the OpenAL objects; every later call fails.
  void Orphan();

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT GetCaps(DSBCAPS* caps) override;
  HRESULT GetCurrentPosition(DWORD* playCursor, DWORD* writeCursor) override;
  HRESULT GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) override;
  HRESULT GetVolume(LONG* volume) override;
  HRESULT GetFrequency(DWORD* frequency) override;
  HRESULT GetStatus(DWORD* status) override;
  HRESULT Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second, DWORD* secondBytes,
               DWORD flags) override;
  HRESULT Play(DWORD reserved, DWORD priority, DWORD flags) override;
  HRESULT SetCurrentPosition(DWORD position) override;
  HRESULT SetFormat(const WAVEFORMATEX* format) override;
  HRESULT SetVolume(LONG volume) override;
  HRESULT SetFrequency(DWORD frequency) override;
  HRESULT Stop() override;
  HRESULT Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) override;

  Device* Owner() const { return device_; }
  ALuint Source() const { return source_; }
  DWORD Flags() const { return flags_; }
  // Silence from the 3D rules (beyond max distance), on top of the volume.
  void SetMuted(bool muted);
  Buffer3D* Part3D() const { return part3d_.get(); }

private:
  SoundBuffer(Device& device, DWORD flags, const WAVEFORMATEX& format, std::shared_ptr<SampleStore> samples,
              ALuint source);
  ~SoundBuffer();
  void SetupSource();
  void ApplyGain();
  // The cursor in bytes, from OpenAL while the source has a position, else the kept one.
  DWORD Cursor();

  ULONG refs_ = 1;
  Device* device_;
  const DWORD flags_;
  const WAVEFORMATEX format_;
  std::shared_ptr<SampleStore> samples_;
  ALuint source_;
  bool attached_ = false;
  bool looping_ = false;
  bool muted_ = false;
  LONG volume_ = 0;
  DWORD frequency_;
  DWORD cursor_ = 0;
  std::unique_ptr<Buffer3D> part3d_;
};

}  // namespace kxdsound

#endif
