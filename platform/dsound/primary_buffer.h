// The primary buffer: the device's mix. Its format sets the mixing rate, its volume is the
// master gain, and it hands out the listener. It is never written: DSSCL_WRITEPRIMARY isn't
// supported, so Lock and the cursors refuse.
#ifndef KX_PLATFORM_DSOUND_PRIMARY_BUFFER_H
#define KX_PLATFORM_DSOUND_PRIMARY_BUFFER_H

#include "dsound.h"

namespace kxdsound {

class DSoundDevice;

class PrimaryBuffer final : public IDirectSoundBuffer {
public:
  PrimaryBuffer(DSoundDevice& device, DWORD flags);
  // Lives as long as the device: Release only counts down.
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

  // A later CreateSoundBuffer for the primary buffer gets this one with the flags it asks for.
  void SetFlags(DWORD flags) { flags_ = flags; }
  // Pushes the master gain to the current context (after the context was made anew).
  void ApplyVolume();

private:
  DSoundDevice& device_;
  ULONG refs_ = 1;
  DWORD flags_;
  WAVEFORMATEX format_;
  LONG volume_ = 0;
  bool playing_ = false;
};

}  // namespace kxdsound

#endif
