#include "dsound/spatial.h"

#include <algorithm>
#include <cmath>

#include "dsound/common.h"

namespace kxdsound {
namespace {

constexpr float kSpeedOfSound = 343.3f;  // metres per second
constexpr DWORD kFullCone = 360;

D3DVECTOR Sub(const D3DVECTOR& a, const D3DVECTOR& b) { return D3DVECTOR{a.x - b.x, a.y - b.y, a.z - b.z}; }
float Dot(const D3DVECTOR& a, const D3DVECTOR& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// Level from distance: full inside the minimum, then the inverse law scaled by rolloff, held
// at the maximum distance.
float DistanceGain(float distance, float minDistance, float maxDistance, float rolloff) {
  const float d = std::min(distance, maxDistance);
  if (d <= minDistance) return 1.0f;
  const float denominator = minDistance + rolloff * (d - minDistance);
  return denominator > 0 ? minDistance / denominator : 1.0f;
}

// Cone: full inside the inner angle, the outside volume beyond the outer one, a straight line
// between. toListener is the unit direction from the sound to the listener.
float ConeGain(const DS3DBUFFER& b, const D3DVECTOR& toListener) {
  if (b.dwInsideConeAngle >= kFullCone) return 1.0f;
  const float length = Length(b.vConeOrientation);
  if (!(length > 1e-6f)) return 1.0f;
  const float cosine = std::clamp(Dot(b.vConeOrientation, toListener) / length, -1.0f, 1.0f);
  const float angle = std::acos(cosine) * (360.0f / static_cast<float>(M_PI));  // full cone angle
  const float outside = VolumeToGain(b.lConeOutsideVolume);
  const float inner = static_cast<float>(b.dwInsideConeAngle), outer = static_cast<float>(b.dwOutsideConeAngle);
  if (angle <= inner) return 1.0f;
  if (angle >= outer || outer <= inner) return outside;
  return 1.0f + (outside - 1.0f) * (angle - inner) / (outer - inner);
}

}  // namespace

float FarEarGain(float sideways) {
  const float share = std::clamp(sideways, 0.0f, 1.0f);
  return std::tan((1.0f - share) * static_cast<float>(M_PI) / 4);
}

EarGains Spatialize(const DS3DBUFFER& b, const ListenerParams& l, bool muteAtMaxDistance) {
  EarGains ears;
  if (b.dwMode == DS3DMODE_DISABLE) return ears;
  const bool relative = b.dwMode == DS3DMODE_HEADRELATIVE;
  // The offset from the ears; a head-relative position is one already.
  const D3DVECTOR offset = relative ? b.vPosition : Sub(b.vPosition, l.position);
  const float distance = Length(offset);
  if (muteAtMaxDistance && distance > b.flMaxDistance) {
    ears.left = ears.right = 0.0f;
    return ears;
  }
  float level = DistanceGain(distance, b.flMinDistance, b.flMaxDistance, l.rolloff);
  if (distance > 1e-6f) {
    const D3DVECTOR toSound{offset.x / distance, offset.y / distance, offset.z / distance};
    const D3DVECTOR right = relative ? D3DVECTOR{1, 0, 0} : ListenerRight(l);
    const float sideways = Dot(toSound, right);
    if (sideways > 0) ears.left = FarEarGain(sideways);
    if (sideways < 0) ears.right = FarEarGain(-sideways);
    level *= ConeGain(b, D3DVECTOR{-toSound.x, -toSound.y, -toSound.z});
    if (l.doppler > 0) {
      // Speeds toward each other along the line between them, capped below the speed of sound.
      const D3DVECTOR toListener{-toSound.x, -toSound.y, -toSound.z};
      const float speed = kSpeedOfSound / l.distanceFactor;
      const float cap = speed / l.doppler * 0.999f;
      const float listenerSpeed = relative ? 0.0f : std::min(Dot(l.velocity, toListener), cap);
      const float soundSpeed = std::min(Dot(b.vVelocity, toListener), cap);
      ears.pitch = (speed - l.doppler * listenerSpeed) / (speed - l.doppler * soundSpeed);
    }
  }
  ears.left *= level;
  ears.right *= level;
  return ears;
}

}  // namespace kxdsound
