// A secondary buffer: a voice of the stand-in's mixer over a shared SampleStore. DirectSound's
// cursor survives Stop and a buffer that played to its end starts again from 0; the voice keeps
// both.
#ifndef KX_PLATFORM_DSOUND_SECONDARY_BUFFER_H
#define KX_PLATFORM_DSOUND_SECONDARY_BUFFER_H

#include <memory>

#include "dsound.h"

namespace kxdsound {

class Buffer3D;
class DSoundDevice;
class SampleStore;
class Voice;

class SecondaryBuffer final : public IDirectSoundBuffer {
public:
  // A new buffer of the description (already checked), or an error.
  static HRESULT Create(DSoundDevice& device, const DSBUFFERDESC& description, SecondaryBuffer** buffer);
  // A new buffer on the same samples, with the volume, frequency and 3D settings of this one.
  HRESULT Duplicate(SecondaryBuffer** duplicate);
  // The device is going: leaves the mixer; every later call fails.
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

  DSoundDevice* Owner() const { return device_; }
  DWORD Flags() const { return flags_; }
  Buffer3D* Part3D() const { return part3d_.get(); }
  // Gives the voice the level of each ear and the speed that volume, frequency and the 3D
  // settings make. UpdateMixLocked wants the mixer's lock held.
  void UpdateMix();
  void UpdateMixLocked();

private:
  SecondaryBuffer(DSoundDevice& device, DWORD flags, const WAVEFORMATEX& format, std::shared_ptr<SampleStore> samples);
  ~SecondaryBuffer();

  ULONG refs_ = 1;
  DSoundDevice* device_;
  const DWORD flags_;
  const WAVEFORMATEX format_;
  std::shared_ptr<SampleStore> samples_;
  std::unique_ptr<Voice> voice_;
  LONG volume_ = 0;
  DWORD frequency_;
  std::unique_ptr<Buffer3D> part3d_;
};

}  // namespace kxdsound

#endif
