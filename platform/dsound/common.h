// Small rules shared by the objects of the DirectSound stand-in.
#ifndef KX_PLATFORM_DSOUND_COMMON_H
#define KX_PLATFORM_DSOUND_COMMON_H

#include <cmath>
#include <cstring>

#include "audio/openal.h"
#include "dsound.h"

namespace kxdsound {

// Volume in hundredths of a decibel to an amplitude; the bottom of the range is true silence.
inline float VolumeToGain(LONG volume) {
  if (volume <= DSBVOLUME_MIN) return 0.0f;
  return static_cast<float>(std::pow(10.0, volume / 2000.0));
}

inline bool SameIid(REFIID a, REFIID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }

inline bool Finite(float x, float y, float z) { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }

inline bool ValidApply(DWORD apply) { return apply == DS3D_IMMEDIATE || apply == DS3D_DEFERRED; }

// DirectSound's axes are left-handed (+z ahead), OpenAL's right-handed (-z ahead).
inline void ToAl(const D3DVECTOR& v, ALfloat out[3]) {
  out[0] = v.x;
  out[1] = v.y;
  out[2] = -v.z;
}

inline float Length(const D3DVECTOR& v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }

// What a buffer may hold: PCM, 8-bit unsigned or 16-bit signed, mono or stereo, frames as the
// channels and bits say. DSERR_BADFORMAT for formats the mixer doesn't take, DSERR_INVALIDPARAM
// for a description that contradicts itself.
inline HRESULT CheckPcmFormat(const WAVEFORMATEX& f) {
  if (f.wFormatTag != WAVE_FORMAT_PCM) return DSERR_BADFORMAT;
  if (f.nChannels != 1 && f.nChannels != 2) return DSERR_BADFORMAT;
  if (f.wBitsPerSample != 8 && f.wBitsPerSample != 16) return DSERR_BADFORMAT;
  if (f.nBlockAlign != f.nChannels * f.wBitsPerSample / 8) return DSERR_INVALIDPARAM;
  if (f.nSamplesPerSec < DSBFREQUENCY_MIN || f.nSamplesPerSec > DSBFREQUENCY_MAX) return DSERR_INVALIDPARAM;
  return DS_OK;
}

// Methods of objects whose device was released fail with this.
constexpr HRESULT kDeviceGone = DSERR_NODRIVER;

// GetFormat of every buffer: with no format block, the size one needs.
inline HRESULT CopyFormat(const WAVEFORMATEX& source, WAVEFORMATEX* format, DWORD size, DWORD* written) {
  if (!format) {
    if (!written) return DSERR_INVALIDPARAM;
    *written = sizeof(WAVEFORMATEX);
    return DS_OK;
  }
  if (size < sizeof(WAVEFORMATEX)) return DSERR_INVALIDPARAM;
  std::memcpy(format, &source, sizeof(WAVEFORMATEX));
  if (written) *written = sizeof(WAVEFORMATEX);
  return DS_OK;
}

}  // namespace kxdsound

#endif
