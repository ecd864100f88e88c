#include "dsound/secondary_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "dsound/buffer3d.h"
#include "dsound/common.h"
#include "dsound/dsound_device.h"
#include "dsound/mixer.h"
#include "dsound/sample_store.h"
#include "dsound/voice.h"

namespace kxdsound {

HRESULT SecondaryBuffer::Create(DSoundDevice& device, const DSBUFFERDESC& description, SecondaryBuffer** buffer) {
  WAVEFORMATEX format = *description.lpwfxFormat;
  format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
  format.cbSize = 0;
  // As DirectSound does, a size that ends inside a frame is rounded up to whole frames of silence.
  DWORD bytes = description.dwBufferBytes + format.nBlockAlign - 1;
  bytes -= bytes % format.nBlockAlign;
  std::shared_ptr<SampleStore> samples = SampleStore::Create(format, bytes, device.GetMixer().Rate());
  if (!samples) return DSERR_OUTOFMEMORY;
  SecondaryBuffer* made = new (std::nothrow) SecondaryBuffer(device, description.dwFlags, format, std::move(samples));
  if (!made) return DSERR_OUTOFMEMORY;
  *buffer = made;
  return DS_OK;
}

SecondaryBuffer::SecondaryBuffer(DSoundDevice& device, DWORD flags, const WAVEFORMATEX& format,
                         std::shared_ptr<SampleStore> samples)
    : device_(&device),
      flags_(flags),
      format_(format),
      samples_(std::move(samples)),
      voice_(new Voice(samples_)),
      frequency_(format.nSamplesPerSec) {
  if (flags_ & DSBCAPS_CTRL3D) part3d_.reset(new Buffer3D(*this));
  CountVoice(1);
  device.Add(this);
  Mixer& mixer = device.GetMixer();
  std::lock_guard<std::mutex> hold(mixer.Lock());
  mixer.Add(voice_.get());
  UpdateMixLocked();
}

SecondaryBuffer::~SecondaryBuffer() { Orphan(); }

void SecondaryBuffer::Orphan() {
  if (!device_) return;
  if (part3d_) part3d_->Unlist();
  device_->Remove(this);
  {
    Mixer& mixer = device_->GetMixer();
    std::lock_guard<std::mutex> hold(mixer.Lock());
    mixer.Remove(voice_.get());
  }
  CountVoice(-1);
  device_ = nullptr;
}

HRESULT SecondaryBuffer::Duplicate(SecondaryBuffer** duplicate) {
  if (!device_) return kDeviceGone;
  SecondaryBuffer* made = new (std::nothrow) SecondaryBuffer(*device_, flags_, format_, samples_);
  if (!made) return DSERR_OUTOFMEMORY;
  made->volume_ = volume_;
  made->frequency_ = frequency_;
  if (part3d_) made->part3d_->CopySettings(*part3d_);
  made->UpdateMix();
  *duplicate = made;
  return DS_OK;
}

HRESULT SecondaryBuffer::QueryInterface(REFIID iid, void** object) {
  if (!object) return DSERR_INVALIDPARAM;
  *object = nullptr;
  if (SameIid(iid, IID_IDirectSoundBuffer)) {
    AddRef();
    *object = static_cast<IDirectSoundBuffer*>(this);
    return DS_OK;
  }
  if (SameIid(iid, IID_IDirectSound3DBuffer) && part3d_) {
    AddRef();
    *object = static_cast<IDirectSound3DBuffer*>(part3d_.get());
    return DS_OK;
  }
  return DSERR_NOINTERFACE;
}

ULONG SecondaryBuffer::AddRef() { return ++refs_; }

ULONG SecondaryBuffer::Release() {
  ULONG left = --refs_;
  if (left == 0) delete this;
  return left;
}

HRESULT SecondaryBuffer::GetCaps(DSBCAPS* caps) {
  if (!caps || caps->dwSize != sizeof(DSBCAPS)) return DSERR_INVALIDPARAM;
  caps->dwFlags = flags_;
  if (!(flags_ & (DSBCAPS_LOCHARDWARE | DSBCAPS_LOCSOFTWARE))) caps->dwFlags |= DSBCAPS_LOCSOFTWARE;
  caps->dwBufferBytes = samples_->Size();
  caps->dwUnlockTransferRate = 0;
  caps->dwPlayCpuOverhead = 0;
  return device_ ? DS_OK : kDeviceGone;
}

HRESULT SecondaryBuffer::GetCurrentPosition(DWORD* playCursor, DWORD* writeCursor) {
  if (!playCursor && !writeCursor) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  DWORD cursor;
  {
    std::lock_guard<std::mutex> hold(device_->GetMixer().Lock());
    cursor = voice_->Cursor() * format_.nBlockAlign;
  }
  // The whole buffer is in memory and mixed on demand: one can write right at the play cursor.
  if (playCursor) *playCursor = cursor;
  if (writeCursor) *writeCursor = cursor;
  return DS_OK;
}

HRESULT SecondaryBuffer::GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) {
  return CopyFormat(format_, format, size, written);
}

HRESULT SecondaryBuffer::GetVolume(LONG* volume) {
  if (!volume) return DSERR_INVALIDPARAM;
  if (!(flags_ & DSBCAPS_CTRLVOLUME)) return DSERR_CONTROLUNAVAIL;
  *volume = volume_;
  return DS_OK;
}

HRESULT SecondaryBuffer::GetFrequency(DWORD* frequency) {
  if (!frequency) return DSERR_INVALIDPARAM;
  if (!(flags_ & DSBCAPS_CTRLFREQUENCY)) return DSERR_CONTROLUNAVAIL;
  *frequency = frequency_;
  return DS_OK;
}

HRESULT SecondaryBuffer::GetStatus(DWORD* status) {
  if (!status) return DSERR_INVALIDPARAM;
  *status = 0;
  if (!device_) return kDeviceGone;
  std::lock_guard<std::mutex> hold(device_->GetMixer().Lock());
  if (voice_->Playing()) *status = DSBSTATUS_PLAYING | (voice_->Looping() ? DSBSTATUS_LOOPING : 0);
  return DS_OK;
}

// The write cursor is the play cursor (see GetCurrentPosition); a range past the end wraps to
// the start, as in a ring, and then needs the second span.
HRESULT SecondaryBuffer::Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second,
                          DWORD* secondBytes, DWORD flags) {
  if (second) *second = nullptr;
  if (secondBytes) *secondBytes = 0;
  if (!first || !firstBytes) return DSERR_INVALIDPARAM;
  *first = nullptr;
  *firstBytes = 0;
  if (!device_) return kDeviceGone;
  const DWORD size = samples_->Size();
  if (flags & DSBLOCK_FROMWRITECURSOR) GetCurrentPosition(nullptr, &offset);
  if (flags & DSBLOCK_ENTIREBUFFER) bytes = size;
  if (bytes == 0 || bytes > size || offset >= size) return DSERR_INVALIDPARAM;
  DWORD head = std::min(bytes, size - offset);
  DWORD tail = bytes - head;
  if (tail && (!second || !secondBytes)) return DSERR_INVALIDPARAM;
  uint8_t* base = samples_->Bytes();
  *first = base + offset;
  *firstBytes = head;
  if (tail) {
    *second = base;
    *secondBytes = tail;
  }
  return DS_OK;
}

HRESULT SecondaryBuffer::Play(DWORD reserved, DWORD priority, DWORD flags) {
  if (reserved != 0) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  Mixer& mixer = device_->GetMixer();
  std::lock_guard<std::mutex> hold(mixer.Lock());
  voice_->Play((flags & DSBPLAY_LOOPING) != 0);
  if (voice_->Audible()) mixer.Wake(voice_.get());
  return DS_OK;
}

// The end of the buffer is a place too: a play from there has nothing left to play.
HRESULT SecondaryBuffer::SetCurrentPosition(DWORD position) {
  if (!device_) return kDeviceGone;
  if (position > samples_->Size()) return DSERR_INVALIDPARAM;
  Mixer& mixer = device_->GetMixer();
  std::lock_guard<std::mutex> hold(mixer.Lock());
  voice_->SetCursor(position / format_.nBlockAlign);  // to the start of its frame, as DirectSound does
  if (voice_->Audible()) mixer.Wake(voice_.get());
  return DS_OK;
}

HRESULT SecondaryBuffer::SetFormat(const WAVEFORMATEX*) { return DSERR_INVALIDCALL; }

HRESULT SecondaryBuffer::SetVolume(LONG volume) {
  if (!(flags_ & DSBCAPS_CTRLVOLUME)) return DSERR_CONTROLUNAVAIL;
  if (volume < DSBVOLUME_MIN || volume > DSBVOLUME_MAX) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  volume_ = volume;
  UpdateMix();
  return DS_OK;
}

HRESULT SecondaryBuffer::SetFrequency(DWORD frequency) {
  if (!(flags_ & DSBCAPS_CTRLFREQUENCY)) return DSERR_CONTROLUNAVAIL;
  if (frequency == DSBFREQUENCY_ORIGINAL) frequency = format_.nSamplesPerSec;
  if (frequency < DSBFREQUENCY_MIN || frequency > DSBFREQUENCY_MAX) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  frequency_ = frequency;
  UpdateMix();
  return DS_OK;
}

// DirectSound's Stop is a pause: the cursor stays for the next Play. What was heard fades out.
HRESULT SecondaryBuffer::Stop() {
  if (!device_) return kDeviceGone;
  Mixer& mixer = device_->GetMixer();
  std::lock_guard<std::mutex> hold(mixer.Lock());
  voice_->Stop();
  if (voice_->Audible()) mixer.Wake(voice_.get());
  return DS_OK;
}

HRESULT SecondaryBuffer::Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) {
  if (!device_) return kDeviceGone;
  auto* base = samples_->Bytes();
  auto* end = base + samples_->Size();
  auto inside = [&](void* p, DWORD n) {
    auto* b = static_cast<uint8_t*>(p);
    return b >= base && b < end && n <= static_cast<size_t>(end - b);
  };
  if (!first || !inside(first, firstBytes)) return DSERR_INVALIDPARAM;
  if (second && !inside(second, secondBytes)) return DSERR_INVALIDPARAM;
  return samples_->Commit(device_->GetMixer()) ? DS_OK : DSERR_OUTOFMEMORY;
}

void SecondaryBuffer::UpdateMix() {
  if (!device_) return;
  std::lock_guard<std::mutex> hold(device_->GetMixer().Lock());
  UpdateMixLocked();
}

void SecondaryBuffer::UpdateMixLocked() {
  const EarGains ears = part3d_ ? part3d_->Place() : EarGains{};
  const float level = VolumeToGain(volume_);
  voice_->SetGains(level * ears.left, level * ears.right);
  voice_->SetSpeed(static_cast<double>(frequency_) / format_.nSamplesPerSec * ears.pitch);
}

}  // namespace kxdsound
