#include "dsound/listener.h"

#include "dsound/buffer3d.h"
#include "dsound/common.h"
#include "dsound/dsound_device.h"
#include "dsound/secondary_buffer.h"

namespace kxdsound {
namespace {

D3DVECTOR Normalized(const D3DVECTOR& v, const D3DVECTOR& fallback) {
  float length = Length(v);
  if (!(length > 1e-6f)) return fallback;
  return D3DVECTOR{v.x / length, v.y / length, v.z / length};
}

D3DVECTOR Cross(const D3DVECTOR& a, const D3DVECTOR& b) {
  return D3DVECTOR{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

}  // namespace

HRESULT Listener::QueryInterface(REFIID iid, void** object) {
  if (!object) return DSERR_INVALIDPARAM;
  *object = nullptr;
  if (!SameIid(iid, IID_IDirectSound3DListener)) return DSERR_NOINTERFACE;
  AddRef();
  *object = static_cast<IDirectSound3DListener*>(this);
  return DS_OK;
}

ULONG Listener::AddRef() { return ++refs_; }

ULONG Listener::Release() { return refs_ ? --refs_ : 0; }

HRESULT Listener::GetDistanceFactor(float* factor) {
  if (!factor) return DSERR_INVALIDPARAM;
  *factor = set_.distanceFactor;
  return DS_OK;
}

HRESULT Listener::GetDopplerFactor(float* factor) {
  if (!factor) return DSERR_INVALIDPARAM;
  *factor = set_.doppler;
  return DS_OK;
}

HRESULT Listener::GetRolloffFactor(float* factor) {
  if (!factor) return DSERR_INVALIDPARAM;
  *factor = set_.rolloff;
  return DS_OK;
}

HRESULT Listener::GetOrientation(D3DVECTOR* front, D3DVECTOR* top) {
  if (!front || !top) return DSERR_INVALIDPARAM;
  *front = set_.front;
  *top = set_.top;
  return DS_OK;
}

HRESULT Listener::GetPosition(D3DVECTOR* position) {
  if (!position) return DSERR_INVALIDPARAM;
  *position = set_.position;
  return DS_OK;
}

HRESULT Listener::SetDistanceFactor(float factor, DWORD apply) {
  if (!ValidApply(apply) || !(factor > 0.0f) || !std::isfinite(factor)) return DSERR_INVALIDPARAM;
  set_.distanceFactor = factor;
  Changed(kDistanceFactor, apply);
  return DS_OK;
}

HRESULT Listener::SetDopplerFactor(float factor, DWORD apply) {
  if (!ValidApply(apply) || !(factor >= DS3D_MINDOPPLERFACTOR && factor <= DS3D_MAXDOPPLERFACTOR))
    return DSERR_INVALIDPARAM;
  set_.doppler = factor;
  Changed(kDoppler, apply);
  return DS_OK;
}

HRESULT Listener::SetRolloffFactor(float factor, DWORD apply) {
  if (!ValidApply(apply) || !(factor >= DS3D_MINROLLOFFFACTOR && factor <= DS3D_MAXROLLOFFFACTOR))
    return DSERR_INVALIDPARAM;
  set_.rolloff = factor;
  Changed(kRolloff, apply);
  return DS_OK;
}

HRESULT Listener::SetOrientation(float frontX, float frontY, float frontZ, float topX, float topY, float topZ,
                                 DWORD apply) {
  if (!ValidApply(apply) || !Finite(frontX, frontY, frontZ) || !Finite(topX, topY, topZ)) return DSERR_INVALIDPARAM;
  set_.front = D3DVECTOR{frontX, frontY, frontZ};
  set_.top = D3DVECTOR{topX, topY, topZ};
  Changed(kOrientation, apply);
  return DS_OK;
}

HRESULT Listener::SetPosition(float x, float y, float z, DWORD apply) {
  if (!ValidApply(apply) || !Finite(x, y, z)) return DSERR_INVALIDPARAM;
  set_.position = D3DVECTOR{x, y, z};
  Changed(kPosition, apply);
  return DS_OK;
}

HRESULT Listener::SetVelocity(float x, float y, float z, DWORD apply) {
  if (!ValidApply(apply) || !Finite(x, y, z)) return DSERR_INVALIDPARAM;
  set_.velocity = D3DVECTOR{x, y, z};
  Changed(kVelocity, apply);
  return DS_OK;
}

HRESULT Listener::CommitDeferredSettings() {
  device_.Commit();
  return DS_OK;
}

void Listener::Changed(unsigned what, DWORD apply) {
  if (apply == DS3D_DEFERRED) {
    pending_ |= what;
    return;
  }
  pending_ &= ~what;
  Apply(what);
  device_.Respatialize();
}

bool Listener::ApplyPending() {
  unsigned what = pending_;
  pending_ = 0;
  if (what) Apply(what);
  return what != 0;
}

void Listener::Apply(unsigned what) {
  if (what & kPosition) applied_.position = set_.position;
  if (what & kVelocity) applied_.velocity = set_.velocity;
  if (what & kOrientation) {
    applied_.front = set_.front;
    applied_.top = set_.top;
  }
  if (what & kDistanceFactor) applied_.distanceFactor = set_.distanceFactor;
  if (what & kDoppler) applied_.doppler = set_.doppler;
  if (what & kRolloff) applied_.rolloff = set_.rolloff;
}

D3DVECTOR ListenerRight(const ListenerParams& l) {
  D3DVECTOR front = Normalized(l.front, D3DVECTOR{0, 0, 1});
  D3DVECTOR top = Normalized(l.top, D3DVECTOR{0, 1, 0});
  if (Length(Cross(front, top)) < 1e-4f) {
    D3DVECTOR helper = std::fabs(front.y) < 0.9f ? D3DVECTOR{0, 1, 0} : D3DVECTOR{0, 0, 1};
    top = Normalized(Cross(Cross(front, helper), front), D3DVECTOR{0, 1, 0});
  }
  return Normalized(Cross(top, front), D3DVECTOR{1, 0, 0});
}

}  // namespace kxdsound
