#include "dsound/buffer3d.h"

#include "audio/output_device.h"
#include "dsound/common.h"
#include "dsound/device.h"
#include "dsound/listener.h"
#include "dsound/sound_buffer.h"

namespace kxdsound {
namespace {

constexpr DWORD kFullCone = 360;  // degrees: no cone

bool ValidDistance(float d) { return d >= 0.0f && std::isfinite(d); }

}  // namespace

Buffer3D::Buffer3D(SoundBuffer& owner) : owner_(owner) {
  set_ = DS3DBUFFER{sizeof(DS3DBUFFER),
                    {0, 0, 0},
                    {0, 0, 0},
                    kFullCone,
                    kFullCone,
                    {0, 0, 1},
                    0,
                    DS3D_DEFAULTMINDISTANCE,
                    DS3D_DEFAULTMAXDISTANCE,
                    DS3DMODE_NORMAL};
  applied_ = set_;
}

HRESULT Buffer3D::QueryInterface(REFIID iid, void** object) { return owner_.QueryInterface(iid, object); }
ULONG Buffer3D::AddRef() { return owner_.AddRef(); }
ULONG Buffer3D::Release() { return owner_.Release(); }

// Reads give what was set last, deferred or not: DirectSound reports the values it holds,
// which a commit only makes audible.
HRESULT Buffer3D::GetAllParameters(DS3DBUFFER* parameters) {
  if (!parameters || parameters->dwSize != sizeof(DS3DBUFFER)) return DSERR_INVALIDPARAM;
  if (!owner_.Owner()) return kDeviceGone;
  *parameters = set_;
  return DS_OK;
}

HRESULT Buffer3D::GetMaxDistance(float* distance) {
  if (!distance) return DSERR_INVALIDPARAM;
  if (!owner_.Owner()) return kDeviceGone;
  *distance = set_.flMaxDistance;
  return DS_OK;
}

HRESULT Buffer3D::GetMinDistance(float* distance) {
  if (!distance) return DSERR_INVALIDPARAM;
  if (!owner_.Owner()) return kDeviceGone;
  *distance = set_.flMinDistance;
  return DS_OK;
}

HRESULT Buffer3D::GetMode(DWORD* mode) {
  if (!mode) return DSERR_INVALIDPARAM;
  if (!owner_.Owner()) return kDeviceGone;
  *mode = set_.dwMode;
  return DS_OK;
}

HRESULT Buffer3D::GetPosition(D3DVECTOR* position) {
  if (!position) return DSERR_INVALIDPARAM;
  if (!owner_.Owner()) return kDeviceGone;
  *position = set_.vPosition;
  return DS_OK;
}

HRESULT Buffer3D::GetVelocity(D3DVECTOR* velocity) {
  if (!velocity) return DSERR_INVALIDPARAM;
  if (!owner_.Owner()) return kDeviceGone;
  *velocity = set_.vVelocity;
  return DS_OK;
}

HRESULT Buffer3D::SetAllParameters(const DS3DBUFFER* p, DWORD apply) {
  if (!p || p->dwSize != sizeof(DS3DBUFFER) || !ValidApply(apply)) return DSERR_INVALIDPARAM;
  if (!Finite(p->vPosition.x, p->vPosition.y, p->vPosition.z) ||
      !Finite(p->vVelocity.x, p->vVelocity.y, p->vVelocity.z) ||
      !Finite(p->vConeOrientation.x, p->vConeOrientation.y, p->vConeOrientation.z))
    return DSERR_INVALIDPARAM;
  if (p->dwInsideConeAngle > kFullCone || p->dwOutsideConeAngle > kFullCone ||
      p->dwInsideConeAngle > p->dwOutsideConeAngle)
    return DSERR_INVALIDPARAM;
  if (p->lConeOutsideVolume < DSBVOLUME_MIN || p->lConeOutsideVolume > DSBVOLUME_MAX) return DSERR_INVALIDPARAM;
  if (!ValidDistance(p->flMinDistance) || !ValidDistance(p->flMaxDistance)) return DSERR_INVALIDPARAM;
  if (p->dwMode > DS3DMODE_DISABLE) return DSERR_INVALIDPARAM;
  set_ = *p;
  return Changed(kAll, apply);
}

HRESULT Buffer3D::SetMaxDistance(float distance, DWORD apply) {
  if (!ValidApply(apply) || !ValidDistance(distance)) return DSERR_INVALIDPARAM;
  set_.flMaxDistance = distance;
  return Changed(kDistances, apply);
}

HRESULT Buffer3D::SetMinDistance(float distance, DWORD apply) {
  if (!ValidApply(apply) || !ValidDistance(distance)) return DSERR_INVALIDPARAM;
  set_.flMinDistance = distance;
  return Changed(kDistances, apply);
}

HRESULT Buffer3D::SetMode(DWORD mode, DWORD apply) {
  if (!ValidApply(apply) || mode > DS3DMODE_DISABLE) return DSERR_INVALIDPARAM;
  set_.dwMode = mode;
  return Changed(kMode, apply);
}

HRESULT Buffer3D::SetPosition(float x, float y, float z, DWORD apply) {
  if (!ValidApply(apply) || !Finite(x, y, z)) return DSERR_INVALIDPARAM;
  set_.vPosition = D3DVECTOR{x, y, z};
  return Changed(kPosition, apply);
}

HRESULT Buffer3D::SetVelocity(float x, float y, float z, DWORD apply) {
  if (!ValidApply(apply) || !Finite(x, y, z)) return DSERR_INVALIDPARAM;
  set_.vVelocity = D3DVECTOR{x, y, z};
  return Changed(kVelocity, apply);
}

// An immediate setting replaces a deferred one of the same kind, which the commit then leaves alone.
HRESULT Buffer3D::Changed(unsigned what, DWORD apply) {
  Device* device = owner_.Owner();
  if (!device) return kDeviceGone;
  if (apply == DS3D_DEFERRED) {
    pending_ |= what;
    if (!listed_) {
      listed_ = true;
      device->MarkDirty(this);
    }
    return DS_OK;
  }
  pending_ &= ~what;
  kxaudio::ContextScope scope(device->Context());
  Apply(what);
  return DS_OK;
}

void Buffer3D::ApplyPending() {
  listed_ = false;
  unsigned what = pending_;
  pending_ = 0;
  if (what) Apply(what);
}

void Buffer3D::ApplyAll() { Apply(kAll); }

void Buffer3D::Unlist() {
  if (listed_ && owner_.Owner()) owner_.Owner()->ForgetDirty(this);
  listed_ = false;
}

void Buffer3D::Apply(unsigned what) {
  const ALuint source = owner_.Source();
  if (what & kPosition) applied_.vPosition = set_.vPosition;
  if (what & kVelocity) applied_.vVelocity = set_.vVelocity;
  if (what & kDistances) {
    applied_.flMinDistance = set_.flMinDistance;
    applied_.flMaxDistance = set_.flMaxDistance;
    alSourcef(source, AL_REFERENCE_DISTANCE, applied_.flMinDistance);
    alSourcef(source, AL_MAX_DISTANCE, applied_.flMaxDistance);
  }
  if (what & kCone) {
    applied_.dwInsideConeAngle = set_.dwInsideConeAngle;
    applied_.dwOutsideConeAngle = set_.dwOutsideConeAngle;
    applied_.vConeOrientation = set_.vConeOrientation;
    applied_.lConeOutsideVolume = set_.lConeOutsideVolume;
    alSourcef(source, AL_CONE_INNER_ANGLE, static_cast<ALfloat>(applied_.dwInsideConeAngle));
    alSourcef(source, AL_CONE_OUTER_ANGLE, static_cast<ALfloat>(applied_.dwOutsideConeAngle));
    alSourcef(source, AL_CONE_OUTER_GAIN, VolumeToGain(applied_.lConeOutsideVolume));
  }
  if (what & kMode) {
    applied_.dwMode = set_.dwMode;
    alSourcei(source, AL_SOURCE_RELATIVE, applied_.dwMode == DS3DMODE_NORMAL ? AL_FALSE : AL_TRUE);
    what |= kPosition | kVelocity | kCone;
    ApplyRolloff();
  }
  // Without 3D processing the sound sits on the listener: centred, at full level, no doppler.
  const bool disabled = applied_.dwMode == DS3DMODE_DISABLE;
  static const D3DVECTOR kZero{0, 0, 0};
  ALfloat v[3];
  if (what & kPosition) {
    ToAl(disabled ? kZero : applied_.vPosition, v);
    alSourcefv(source, AL_POSITION, v);
  }
  if (what & kVelocity) {
    ToAl(disabled ? kZero : applied_.vVelocity, v);
    alSourcefv(source, AL_VELOCITY, v);
  }
  if (what & kCone) {
    // A full cone is no cone: OpenAL then takes the source as omnidirectional.
    bool cone = !disabled && applied_.dwInsideConeAngle < kFullCone;
    ToAl(cone ? applied_.vConeOrientation : kZero, v);
    alSourcefv(source, AL_DIRECTION, v);
  }
  if (what & (kPosition | kDistances | kMode)) UpdateMute();
}

void Buffer3D::ApplyRolloff() {
  Device* device = owner_.Owner();
  if (!device) return;
  float rolloff = applied_.dwMode == DS3DMODE_DISABLE ? 0.0f : device->GetListener().Applied().rolloff;
  alSourcef(owner_.Source(), AL_ROLLOFF_FACTOR, rolloff);
}

// Distance is taken when settings are applied, from what OpenAL has been given.
void Buffer3D::UpdateMute() {
  Device* device = owner_.Owner();
  if (!device || !(owner_.Flags() & DSBCAPS_MUTE3DATMAXDISTANCE)) return;
  bool muted = false;
  if (applied_.dwMode != DS3DMODE_DISABLE) {
    D3DVECTOR d = applied_.vPosition;
    if (applied_.dwMode == DS3DMODE_NORMAL) {
      const D3DVECTOR& ears = device->GetListener().Applied().position;
      d = D3DVECTOR{d.x - ears.x, d.y - ears.y, d.z - ears.z};
    }
    muted = Length(d) > applied_.flMaxDistance;
  }
  owner_.SetMuted(muted);
}

}  // namespace kxdsound
