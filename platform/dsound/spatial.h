// The 3D model: what a listener hears of a mono buffer at a place, as a level for each ear and a
// pitch factor. Pure arithmetic over the settings as applied.
//
// The pan law is DirectSound's shape: the nearer ear at full level, the farther one lowered. The
// far ear follows a normalised constant-power curve of the sideways share of the direction, so
// it falls smoothly from full level straight ahead (or behind) to silence only exactly at the
// side; front and back sound alike, as a stereo pair cannot tell them apart.
#ifndef KX_PLATFORM_DSOUND_SPATIAL_H
#define KX_PLATFORM_DSOUND_SPATIAL_H

#include "dsound.h"
#include "dsound/listener.h"

namespace kxdsound {

struct EarGains {
  float left = 1.0f;
  float right = 1.0f;
  double pitch = 1.0;  // doppler
};

// The far ear's level for a sideways share of the direction, 0 (ahead) to 1 (at the side).
float FarEarGain(float sideways);

// What the listener hears of a buffer with these settings; mute says whether the buffer asked
// for silence beyond its maximum distance.
EarGains Spatialize(const DS3DBUFFER& buffer, const ListenerParams& listener, bool muteAtMaxDistance);

}  // namespace kxdsound

#endif
