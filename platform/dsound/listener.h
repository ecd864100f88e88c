// The 3D listener, reached through the primary buffer. It holds the world's settings as set
// (what Get* reports, deferred ones included) and as applied (what the mixer hears).
#ifndef KX_PLATFORM_DSOUND_LISTENER_H
#define KX_PLATFORM_DSOUND_LISTENER_H

#include "dsound.h"

namespace kxdsound {

class DSoundDevice;

struct ListenerParams;
// The listener's right, in the world's left-handed axes; a frame that says nothing (a vector of no
// length, a top along the front) falls back to the default one.
D3DVECTOR ListenerRight(const ListenerParams& listener);

struct ListenerParams {
  D3DVECTOR position{0, 0, 0};
  D3DVECTOR velocity{0, 0, 0};
  D3DVECTOR front{0, 0, 1};
  D3DVECTOR top{0, 1, 0};
  float distanceFactor = DS3D_DEFAULTDISTANCEFACTOR;
  float rolloff = 1.0f;
  float doppler = 1.0f;
};

class Listener final : public IDirectSound3DListener {
public:
  explicit Listener(DSoundDevice& device) : device_(device) {}
  // Lives as long as the device: Release only counts down.
  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;

  HRESULT GetDistanceFactor(float* factor) override;
  HRESULT GetDopplerFactor(float* factor) override;
  HRESULT GetRolloffFactor(float* factor) override;
  HRESULT GetOrientation(D3DVECTOR* front, D3DVECTOR* top) override;
  HRESULT GetPosition(D3DVECTOR* position) override;
  HRESULT SetDistanceFactor(float factor, DWORD apply) override;
  HRESULT SetDopplerFactor(float factor, DWORD apply) override;
  HRESULT SetRolloffFactor(float factor, DWORD apply) override;
  HRESULT SetOrientation(float frontX, float frontY, float frontZ, float topX, float topY, float topZ,
                         DWORD apply) override;
  HRESULT SetPosition(float x, float y, float z, DWORD apply) override;
  HRESULT SetVelocity(float x, float y, float z, DWORD apply) override;
  HRESULT CommitDeferredSettings() override;

  // What the 3D buffers are heard against.
  const ListenerParams& Applied() const { return applied_; }
  // Applies the deferred settings; true when anything changed. The caller places the buffers anew.
  bool ApplyPending();

private:
  enum : unsigned {
    kPosition = 1,
    kVelocity = 2,
    kOrientation = 4,
    kDistanceFactor = 8,
    kRolloff = 16,
    kDoppler = 32,
    kAll = 63,
  };
  // Immediate settings replace a deferred one of the same kind.
  void Changed(unsigned what, DWORD apply);
  void Apply(unsigned what);

  DSoundDevice& device_;
  ULONG refs_ = 1;
  ListenerParams set_;
  ListenerParams applied_;
  unsigned pending_ = 0;
};

}  // namespace kxdsound

#endif
