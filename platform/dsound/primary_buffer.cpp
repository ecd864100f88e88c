#include "dsound/primary_buffer.h"

#include <cstring>

#include "audio/output_device.h"
#include "dsound/common.h"
#include "dsound/dsound_device.h"
#include "dsound/listener.h"
#include "dsound/mixer.h"

namespace kxdsound {

PrimaryBuffer::PrimaryBuffer(DSoundDevice& device, DWORD flags) : device_(device), flags_(flags) {
  // Until SetFormat: the mix's own rate, 16-bit stereo.
  const DWORD rate = device.GetMixer().Rate();
  format_ = WAVEFORMATEX{WAVE_FORMAT_PCM, 2, rate, rate * 4, 4, 16, 0};
}

HRESULT PrimaryBuffer::QueryInterface(REFIID iid, void** object) {
  if (!object) return DSERR_INVALIDPARAM;
  *object = nullptr;
  if (SameIid(iid, IID_IDirectSoundBuffer)) {
    AddRef();
    *object = static_cast<IDirectSoundBuffer*>(this);
    return DS_OK;
  }
  if (SameIid(iid, IID_IDirectSound3DListener) && (flags_ & DSBCAPS_CTRL3D)) {
    device_.GetListener().AddRef();
    *object = static_cast<IDirectSound3DListener*>(&device_.GetListener());
    return DS_OK;
  }
  return DSERR_NOINTERFACE;
}

ULONG PrimaryBuffer::AddRef() { return ++refs_; }

ULONG PrimaryBuffer::Release() { return refs_ ? --refs_ : 0; }

HRESULT PrimaryBuffer::GetCaps(DSBCAPS* caps) {
  if (!caps || caps->dwSize != sizeof(DSBCAPS)) return DSERR_INVALIDPARAM;
  caps->dwFlags = flags_ | DSBCAPS_LOCSOFTWARE;
  // A tenth of a second of the mix, as a figure for callers that size things by it.
  caps->dwBufferBytes = format_.nBlockAlign * (format_.nSamplesPerSec / 10);
  caps->dwUnlockTransferRate = 0;
  caps->dwPlayCpuOverhead = 0;
  return DS_OK;
}

HRESULT PrimaryBuffer::GetCurrentPosition(DWORD* playCursor, DWORD* writeCursor) {
  if (!playCursor && !writeCursor) return DSERR_INVALIDPARAM;
  if (playCursor) *playCursor = 0;
  if (writeCursor) *writeCursor = 0;
  return DS_OK;
}

HRESULT PrimaryBuffer::GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) {
  return CopyFormat(format_, format, size, written);
}

HRESULT PrimaryBuffer::GetVolume(LONG* volume) {
  if (!volume) return DSERR_INVALIDPARAM;
  if (!(flags_ & DSBCAPS_CTRLVOLUME)) return DSERR_CONTROLUNAVAIL;
  *volume = volume_;
  return DS_OK;
}

// The mix has no frequency control in DirectSound.
HRESULT PrimaryBuffer::GetFrequency(DWORD* frequency) {
  if (!frequency) return DSERR_INVALIDPARAM;
  return DSERR_CONTROLUNAVAIL;
}

HRESULT PrimaryBuffer::GetStatus(DWORD* status) {
  if (!status) return DSERR_INVALIDPARAM;
  *status = playing_ ? DSBSTATUS_PLAYING | DSBSTATUS_LOOPING : 0;
  return DS_OK;
}

HRESULT PrimaryBuffer::Lock(DWORD, DWORD, void** first, DWORD* firstBytes, void** second, DWORD* secondBytes,
                            DWORD) {
  if (first) *first = nullptr;
  if (firstBytes) *firstBytes = 0;
  if (second) *second = nullptr;
  if (secondBytes) *secondBytes = 0;
  return DSERR_INVALIDCALL;
}

// OpenAL mixes whenever a source plays; the primary's own play state is only reported.
HRESULT PrimaryBuffer::Play(DWORD reserved, DWORD priority, DWORD flags) {
  if (reserved != 0) return DSERR_INVALIDPARAM;
  playing_ = true;
  return DS_OK;
}

HRESULT PrimaryBuffer::SetCurrentPosition(DWORD) { return DSERR_INVALIDCALL; }

HRESULT PrimaryBuffer::SetFormat(const WAVEFORMATEX* format) {
  if (!format) return DSERR_INVALIDPARAM;
  if (device_.CooperativeLevel() < DSSCL_PRIORITY) return DSERR_PRIOLEVELNEEDED;
  HRESULT result = CheckPcmFormat(*format);
  if (result != DS_OK) return result;
  format_ = *format;
  format_.nAvgBytesPerSec = format_.nSamplesPerSec * format_.nBlockAlign;
  format_.cbSize = 0;
  // Reported as asked; the mix stays at the output's rate, as on current DirectSound.
  return DS_OK;
}

HRESULT PrimaryBuffer::SetVolume(LONG volume) {
  if (!(flags_ & DSBCAPS_CTRLVOLUME)) return DSERR_CONTROLUNAVAIL;
  if (volume < DSBVOLUME_MIN || volume > DSBVOLUME_MAX) return DSERR_INVALIDPARAM;
  volume_ = volume;
  kxaudio::ContextScope scope(device_.Context());
  ApplyVolume();
  return DS_OK;
}

HRESULT PrimaryBuffer::SetFrequency(DWORD) { return DSERR_CONTROLUNAVAIL; }

HRESULT PrimaryBuffer::Stop() {
  playing_ = false;
  return DS_OK;
}

HRESULT PrimaryBuffer::Unlock(void*, DWORD, void*, DWORD) { return DSERR_INVALIDCALL; }

void PrimaryBuffer::ApplyVolume() { alListenerf(AL_GAIN, VolumeToGain(volume_)); }

}  // namespace kxdsound
