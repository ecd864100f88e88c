// The stand-in's own mixer: every playing voice, summed into stereo floats at the output's rate.
// The effects output pulls from it (render thread); the buffers' calls change their voices
// (caller's thread). One lock keeps the two apart; it is held only for short bookkeeping and
// for the mixing of one piece.
#ifndef KX_PLATFORM_DSOUND_MIXER_H
#define KX_PLATFORM_DSOUND_MIXER_H

#include <stdint.h>

#include <mutex>
#include <vector>

namespace kxdsound {

class Voice;

class Mixer {
public:
  explicit Mixer(uint32_t rate);
  uint32_t Rate() const { return rate_; }
  std::mutex& Lock() { return lock_; }

  // A voice joins or leaves the mixer; room for every voice is made here, so that playing
  // allocates nothing. Lock held.
  void Add(Voice* voice);
  void Remove(Voice* voice);
  // The voice started or began to fade: mix it from the next piece on. Lock held.
  void Wake(Voice* voice);

  // Writes frames of interleaved stereo: the sum of every audible voice. Takes the lock.
  void Render(float* stereo, uint32_t frames);

private:
  const uint32_t rate_;
  std::mutex lock_;
  std::vector<Voice*> voices_;  // every voice, for capacity
  std::vector<Voice*> audible_;
};

}  // namespace kxdsound

#endif
