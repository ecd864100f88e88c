#include "dsound/sound_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "audio/output_device.h"
#include "dsound/buffer3d.h"
#include "dsound/common.h"
#include "dsound/device.h"
#include "dsound/sample_store.h"

namespace kxdsound {

using kxaudio::ContextScope;

namespace {

ALuint NewSource() {
  alGetError();
  ALuint source = 0;
  alGenSources(1, &source);
  return alGetError() == AL_NO_ERROR ? source : 0;
}

}  // namespace

HRESULT SoundBuffer::Create(Device& device, const DSBUFFERDESC& description, SoundBuffer** buffer) {
  ContextScope scope(device.Context());
  WAVEFORMATEX format = *description.lpwfxFormat;
  format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
  format.cbSize = 0;
  // As DirectSound does, a size that ends inside a frame is rounded up to whole frames of silence.
  DWORD bytes = description.dwBufferBytes + format.nBlockAlign - 1;
  bytes -= bytes % format.nBlockAlign;
  std::shared_ptr<SampleStore> samples = SampleStore::Create(format, bytes);
  if (!samples) return DSERR_OUTOFMEMORY;
  ALuint source = NewSource();
  if (!source) return DSERR_OUTOFMEMORY;
  SoundBuffer* made = new (std::nothrow) SoundBuffer(device, description.dwFlags, format, std::move(samples), source);
  if (!made) {
    alDeleteSources(1, &source);
    return DSERR_OUTOFMEMORY;
  }
  made->SetupSource();
  *buffer = made;
  return DS_OK;
}

SoundBuffer::SoundBuffer(Device& device, DWORD flags, const WAVEFORMATEX& format,
                         std::shared_ptr<SampleStore> samples, ALuint source)
    : device_(&device),
      flags_(flags),
      format_(format),
      samples_(std::move(samples)),
      source_(source),
      frequency_(format.nSamplesPerSec) {
  if (flags_ & DSBCAPS_CTRL3D) part3d_.reset(new Buffer3D(*this));
  CountSource(1);
  device.Add(this);
}

SoundBuffer::~SoundBuffer() {
  if (device_) {
    ContextScope scope(device_->Context());
    Orphan();
  }
}

void SoundBuffer::SetupSource() {
  if (part3d_) {
    part3d_->ApplyAll();
  } else if (format_.nChannels == 1) {
    // A plain mono buffer sits on the listener: centred and at full level.
    alSourcei(source_, AL_SOURCE_RELATIVE, AL_TRUE);
    alSource3f(source_, AL_POSITION, 0, 0, 0);
    alSourcef(source_, AL_ROLLOFF_FACTOR, 0);
  } else {
    // Stereo plays as recorded, left to left and right to right.
    alSourcei(source_, AL_DIRECT_CHANNELS_SOFT, AL_TRUE);
  }
  ApplyGain();
}

// Needs the device's context current.
void SoundBuffer::Orphan() {
  if (!device_) return;
  if (part3d_) part3d_->Unlist();
  device_->Remove(this);
  alDeleteSources(1, &source_);
  CountSource(-1);
  source_ = 0;
  samples_.reset();
  device_ = nullptr;
}

HRESULT SoundBuffer::Duplicate(SoundBuffer** duplicate) {
  if (!device_) return kDeviceGone;
  ContextScope scope(device_->Context());
  ALuint source = NewSource();
  if (!source) return DSERR_OUTOFMEMORY;
  SoundBuffer* made = new (std::nothrow) SoundBuffer(*device_, flags_, format_, samples_, source);
  if (!made) {
    alDeleteSources(1, &source);
    return DSERR_OUTOFMEMORY;
  }
  made->volume_ = volume_;
  made->frequency_ = frequency_;
  alSourcef(source, AL_PITCH, static_cast<ALfloat>(frequency_) / static_cast<ALfloat>(format_.nSamplesPerSec));
  if (part3d_) made->part3d_->CopySettings(*part3d_);
  made->SetupSource();
  *duplicate = made;
  return DS_OK;
}

HRESULT SoundBuffer::QueryInterface(REFIID iid, void** object) {
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

ULONG SoundBuffer::AddRef() { return ++refs_; }

ULONG SoundBuffer::Release() {
  ULONG left = --refs_;
  if (left == 0) delete this;
  return left;
}

HRESULT SoundBuffer::GetCaps(DSBCAPS* caps) {
  if (!caps || caps->dwSize != sizeof(DSBCAPS)) return DSERR_INVALIDPARAM;
  caps->dwFlags = flags_;
  if (!(flags_ & (DSBCAPS_LOCHARDWARE | DSBCAPS_LOCSOFTWARE))) caps->dwFlags |= DSBCAPS_LOCSOFTWARE;
  caps->dwBufferBytes = samples_ ? samples_->Size() : 0;
  caps->dwUnlockTransferRate = 0;
  caps->dwPlayCpuOverhead = 0;
  return device_ ? DS_OK : kDeviceGone;
}

HRESULT SoundBuffer::GetCurrentPosition(DWORD* playCursor, DWORD* writeCursor) {
  if (!playCursor && !writeCursor) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  DWORD cursor = Cursor();
  // The whole buffer is in memory and mixed on demand: one can write right at the play cursor.
  if (playCursor) *playCursor = cursor;
  if (writeCursor) *writeCursor = cursor;
  return DS_OK;
}

HRESULT SoundBuffer::GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) {
  return CopyFormat(format_, format, size, written);
}

HRESULT SoundBuffer::GetVolume(LONG* volume) {
  if (!volume) return DSERR_INVALIDPARAM;
  if (!(flags_ & DSBCAPS_CTRLVOLUME)) return DSERR_CONTROLUNAVAIL;
  *volume = volume_;
  return DS_OK;
}

HRESULT SoundBuffer::GetFrequency(DWORD* frequency) {
  if (!frequency) return DSERR_INVALIDPARAM;
  if (!(flags_ & DSBCAPS_CTRLFREQUENCY)) return DSERR_CONTROLUNAVAIL;
  *frequency = frequency_;
  return DS_OK;
}

HRESULT SoundBuffer::GetStatus(DWORD* status) {
  if (!status) return DSERR_INVALIDPARAM;
  *status = 0;
  if (!device_) return kDeviceGone;
  ContextScope scope(device_->Context());
  ALint state = AL_INITIAL;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  if (state == AL_PLAYING) *status = DSBSTATUS_PLAYING | (looping_ ? DSBSTATUS_LOOPING : 0);
  return DS_OK;
}

// The write cursor is the play cursor (see GetCurrentPosition); a range past the end wraps to
// the start, as in a ring, and then needs the second span.
HRESULT SoundBuffer::Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second,
                          DWORD* secondBytes, DWORD flags) {
  if (second) *second = nullptr;
  if (secondBytes) *secondBytes = 0;
  if (!first || !firstBytes) return DSERR_INVALIDPARAM;
  *first = nullptr;
  *firstBytes = 0;
  if (!device_) return kDeviceGone;
  const DWORD size = samples_->Size();
  if (flags & DSBLOCK_FROMWRITECURSOR) offset = Cursor();
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

HRESULT SoundBuffer::Play(DWORD reserved, DWORD priority, DWORD flags) {
  if (reserved != 0) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  ContextScope scope(device_->Context());
  looping_ = (flags & DSBPLAY_LOOPING) != 0;
  alSourcei(source_, AL_LOOPING, looping_ ? AL_TRUE : AL_FALSE);
  ALint state = AL_INITIAL;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  if (state == AL_PLAYING) return DS_OK;
  if (!attached_) {
    samples_->Attach();
    alSourcei(source_, AL_BUFFER, static_cast<ALint>(samples_->Buffer()));
    attached_ = true;
  }
  // A paused source goes on where it is; otherwise start at the kept cursor.
  if (state != AL_PAUSED) alSourcei(source_, AL_SAMPLE_OFFSET, static_cast<ALint>(cursor_ / format_.nBlockAlign));
  alGetError();
  alSourcePlay(source_);
  return alGetError() == AL_NO_ERROR ? DS_OK : DSERR_GENERIC;
}

HRESULT SoundBuffer::SetCurrentPosition(DWORD position) {
  if (!device_) return kDeviceGone;
  if (position >= samples_->Size()) return DSERR_INVALIDPARAM;
  position -= position % format_.nBlockAlign;  // to the start of its frame, as DirectSound does
  ContextScope scope(device_->Context());
  ALint state = AL_INITIAL;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  if (state == AL_PLAYING || state == AL_PAUSED)
    alSourcei(source_, AL_SAMPLE_OFFSET, static_cast<ALint>(position / format_.nBlockAlign));
  else if (state == AL_STOPPED)
    alSourceRewind(source_);  // so that the end it reached no longer counts as cursor 0
  cursor_ = position;
  return DS_OK;
}

HRESULT SoundBuffer::SetFormat(const WAVEFORMATEX*) { return DSERR_INVALIDCALL; }

HRESULT SoundBuffer::SetVolume(LONG volume) {
  if (!(flags_ & DSBCAPS_CTRLVOLUME)) return DSERR_CONTROLUNAVAIL;
  if (volume < DSBVOLUME_MIN || volume > DSBVOLUME_MAX) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  volume_ = volume;
  ContextScope scope(device_->Context());
  ApplyGain();
  return DS_OK;
}

HRESULT SoundBuffer::SetFrequency(DWORD frequency) {
  if (!(flags_ & DSBCAPS_CTRLFREQUENCY)) return DSERR_CONTROLUNAVAIL;
  if (frequency == DSBFREQUENCY_ORIGINAL) frequency = format_.nSamplesPerSec;
  if (frequency < DSBFREQUENCY_MIN || frequency > DSBFREQUENCY_MAX) return DSERR_INVALIDPARAM;
  if (!device_) return kDeviceGone;
  frequency_ = frequency;
  ContextScope scope(device_->Context());
  alSourcef(source_, AL_PITCH, static_cast<ALfloat>(frequency) / static_cast<ALfloat>(format_.nSamplesPerSec));
  return DS_OK;
}

// DirectSound's Stop is a pause: the cursor stays for the next Play.
HRESULT SoundBuffer::Stop() {
  if (!device_) return kDeviceGone;
  ContextScope scope(device_->Context());
  ALint state = AL_INITIAL;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  if (state == AL_PLAYING) {
    alSourcePause(source_);
    cursor_ = Cursor();
  }
  return DS_OK;
}

HRESULT SoundBuffer::Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) {
  if (!device_) return kDeviceGone;
  auto* base = samples_->Bytes();
  auto* end = base + samples_->Size();
  auto inside = [&](void* p, DWORD n) {
    auto* b = static_cast<uint8_t*>(p);
    return b >= base && b < end && n <= static_cast<size_t>(end - b);
  };
  if (!first || !inside(first, firstBytes)) return DSERR_INVALIDPARAM;
  if (second && !inside(second, secondBytes)) return DSERR_INVALIDPARAM;
  ContextScope scope(device_->Context());
  return samples_->Commit() ? DS_OK : DSERR_INVALIDCALL;
}

void SoundBuffer::SetMuted(bool muted) {
  if (muted == muted_) return;
  muted_ = muted;
  ApplyGain();
}

void SoundBuffer::ApplyGain() { alSourcef(source_, AL_GAIN, muted_ ? 0.0f : VolumeToGain(volume_)); }

DWORD SoundBuffer::Cursor() {
  ContextScope scope(device_->Context());
  ALint state = AL_INITIAL;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  if (state == AL_PLAYING || state == AL_PAUSED) {
    ALint frame = 0;
    alGetSourcei(source_, AL_SAMPLE_OFFSET, &frame);
    cursor_ = static_cast<DWORD>(frame) * format_.nBlockAlign;
  } else if (state == AL_STOPPED) {
    // It played to its end by itself. Rewinding makes the kept cursor the one to start from.
    alSourceRewind(source_);
    cursor_ = 0;
  }
  return cursor_;
}

}  // namespace kxdsound
