// The DirectSound device object: owns the effects output and the mixer that feeds it, the
// primary buffer and the listener, and knows every secondary buffer it made so that its release
// can take them down.
#ifndef KX_PLATFORM_DSOUND_DSOUND_DEVICE_H
#define KX_PLATFORM_DSOUND_DSOUND_DEVICE_H

#include <memory>
#include <vector>

#include "audio/output_device.h"
#include "dsound.h"

namespace kxdsound {

class Buffer3D;
class Listener;
class Mixer;
class MixOutput;
class PrimaryBuffer;
class SecondaryBuffer;

class DSoundDevice final : public IDirectSound {
public:
  // Null when the current output mode gives no device.
  static DSoundDevice* Open();

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT CreateSoundBuffer(const DSBUFFERDESC* description, IDirectSoundBuffer** buffer, void* outer) override;
  HRESULT DuplicateSoundBuffer(IDirectSoundBuffer* original, IDirectSoundBuffer** duplicate) override;
  HRESULT SetCooperativeLevel(HWND window, DWORD level) override;

  ALCcontext* Context() const { return output_->Context(); }
  DWORD CooperativeLevel() const { return level_; }
  Listener& GetListener() { return *listener_; }
  Mixer& GetMixer() { return *mixer_; }

  // Bookkeeping of the secondary buffers and their 3D parts.
  void Add(SecondaryBuffer* buffer);
  void Remove(SecondaryBuffer* buffer);
  const std::vector<SecondaryBuffer*>& Buffers() const { return buffers_; }
  void MarkDirty(Buffer3D* buffer);
  void ForgetDirty(Buffer3D* buffer);
  // Applies the deferred settings of the listener and of every buffer, as one update.
  void Commit();
  // The listener moved: every 3D buffer is placed anew, as one update.
  void Respatialize();

private:
  explicit DSoundDevice(std::unique_ptr<kxaudio::OutputDevice> output);
  ~DSoundDevice();

  ULONG refs_ = 1;
  DWORD level_ = 0;
  std::unique_ptr<kxaudio::OutputDevice> output_;
  std::unique_ptr<Mixer> mixer_;
  std::unique_ptr<MixOutput> mixOutput_;
  std::unique_ptr<Listener> listener_;
  std::unique_ptr<PrimaryBuffer> primary_;
  std::vector<SecondaryBuffer*> buffers_;
  std::vector<Buffer3D*> dirty_;
};

}  // namespace kxdsound

#endif
