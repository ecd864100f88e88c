#include "dsound/buffer3d.h"

#include "dsound/common.h"
#include "dsound/dsound_device.h"
#include "dsound/listener.h"
#include "dsound/secondary_buffer.h"

namespace kxdsound {
namespace {

constexpr DWORD kFullCone = 360;  // degrees: no cone

bool ValidDistance(float d) { return d >= 0.0f && std::isfinite(d); }

}  // namespace

Buffer3D::Buffer3D(SecondaryBuffer& owner) : owner_(owner) {
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
  DSoundDevice* device = owner_.Owner();
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
  Apply(what);
  owner_.UpdateMix();
  return DS_OK;
}

void Buffer3D::ApplyPending() {
  listed_ = false;
  Apply(pending_);
  pending_ = 0;
}

void Buffer3D::Apply(unsigned what) {
  if (what & kPosition) applied_.vPosition = set_.vPosition;
  if (what & kVelocity) applied_.vVelocity = set_.vVelocity;
  if (what & kDistances) {
    applied_.flMinDistance = set_.flMinDistance;
    applied_.flMaxDistance = set_.flMaxDistance;
  }
  if (what & kCone) {
    applied_.dwInsideConeAngle = set_.dwInsideConeAngle;
    applied_.dwOutsideConeAngle = set_.dwOutsideConeAngle;
    applied_.vConeOrientation = set_.vConeOrientation;
    applied_.lConeOutsideVolume = set_.lConeOutsideVolume;
  }
  if (what & kMode) applied_.dwMode = set_.dwMode;
}

void Buffer3D::CopySettings(const Buffer3D& other) {
  set_ = other.set_;
  applied_ = other.applied_;
}

EarGains Buffer3D::Place() const {
  DSoundDevice* device = owner_.Owner();
  if (!device) return EarGains{};
  return Spatialize(applied_, device->GetListener().Applied(), (owner_.Flags() & DSBCAPS_MUTE3DATMAXDISTANCE) != 0);
}

void Buffer3D::Unlist() {
  if (listed_ && owner_.Owner()) owner_.Owner()->ForgetDirty(this);
  listed_ = false;
}

}  // namespace kxdsound
