// The 3D part of a secondary buffer. It shares the buffer's reference count, as a COM
// interface of the same object does. Settings are kept as set (what Get* reports, deferred
// ones included) and as applied (what is heard); deferred ones wait for the listener's commit.
#ifndef KX_PLATFORM_DSOUND_BUFFER3D_H
#define KX_PLATFORM_DSOUND_BUFFER3D_H

#include "dsound.h"
#include "dsound/spatial.h"

namespace kxdsound {

class SecondaryBuffer;

class Buffer3D final : public IDirectSound3DBuffer {
public:
  explicit Buffer3D(SecondaryBuffer& owner);

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT GetAllParameters(DS3DBUFFER* parameters) override;
  HRESULT GetMaxDistance(float* distance) override;
  HRESULT GetMinDistance(float* distance) override;
  HRESULT GetMode(DWORD* mode) override;
  HRESULT GetPosition(D3DVECTOR* position) override;
  HRESULT GetVelocity(D3DVECTOR* velocity) override;
  HRESULT SetAllParameters(const DS3DBUFFER* parameters, DWORD apply) override;
  HRESULT SetMaxDistance(float distance, DWORD apply) override;
  HRESULT SetMinDistance(float distance, DWORD apply) override;
  HRESULT SetMode(DWORD mode, DWORD apply) override;
  HRESULT SetPosition(float x, float y, float z, DWORD apply) override;
  HRESULT SetVelocity(float x, float y, float z, DWORD apply) override;

  // Takes over another buffer's settings, set and applied, as a duplicate does.
  void CopySettings(const Buffer3D& other);
  // Applies the deferred settings (the caller places the buffer anew).
  void ApplyPending();
  // The ears' levels and doppler for the applied settings and the listener as applied.
  EarGains Place() const;
  // The buffer is going: out of the device's list of buffers to commit.
  void Unlist();
  SecondaryBuffer& Owner() const { return owner_; }

private:
  enum : unsigned { kPosition = 1, kVelocity = 2, kDistances = 4, kCone = 8, kMode = 16, kAll = 31 };
  HRESULT Changed(unsigned what, DWORD apply);
  void Apply(unsigned what);

  SecondaryBuffer& owner_;
  DS3DBUFFER set_;
  DS3DBUFFER applied_;
  unsigned pending_ = 0;
  bool listed_ = false;  // in the device's list of buffers to commit
};

}  // namespace kxdsound

#endif
