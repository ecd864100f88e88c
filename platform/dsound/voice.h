// The playing state of one secondary buffer inside the mixer: where it is, how fast it moves
// through its frames, and its level in each ear. Everything here runs under the mixer's lock;
// the buffer's calls change it and the mixer plays it.
//
// Changes of level glide over a few milliseconds, and a stop (or a jump of the cursor while
// playing) lets what was heard fade out as a tail while the voice itself stops, or starts at
// its new place, at once: the calls report exactly what DirectSound reports, without its click.
//
// A voice played once reads the frames converted to the mix rate; a looping one reads those at
// the buffer's own rate through the interpolator, so that its seam stays seamless.
#ifndef KX_PLATFORM_DSOUND_VOICE_H
#define KX_PLATFORM_DSOUND_VOICE_H

#include <stdint.h>

#include <memory>

namespace kxdsound {

class SampleStore;
struct MixFrames;

class Voice {
public:
  static constexpr uint64_t kUnit = uint64_t{1} << 32;  // one frame in 32.32 positions and steps

  explicit Voice(std::shared_ptr<SampleStore> samples);

  bool Playing() const { return playing_; }
  bool Looping() const { return looping_; }
  // Playing or still fading out: the mixer keeps it in its list.
  bool Audible() const { return playing_ || tail_.ramp > 0; }

  // Starts from the cursor; one at the end of the samples has nothing left and stops at once
  // (a looping one goes round).
  void Play(bool looping);
  void Stop();
  // The cursor in frames of the buffer's own rate.
  uint32_t Cursor() const;
  // frame may equal the buffer's length: the end.
  void SetCursor(uint32_t frame);
  // Targets for each ear, reached over a short glide while the voice plays.
  void SetGains(float left, float right);
  // Speed against the buffer's own pitch: 1 plays it as recorded.
  void SetSpeed(double speed);

  // Adds frames of stereo output to out.
  void Render(float* out, uint32_t frames);

  // Glide and fade lengths at the mix rate.
  static uint32_t GlideFrames(uint32_t mixRate) { return mixRate / 400; }  // 2.5 ms
  static uint32_t FadeFrames(uint32_t mixRate) { return mixRate / 200; }   // 5 ms

private:
  // One reading of the samples: the voice itself, or the tail of what it played before.
  struct Run {
    bool original = false;  // reads the frames at the buffer's own rate, not the converted ones
    uint64_t pos = 0;
    uint64_t step = kUnit;
    float gain[2] = {0, 0};
    float target[2] = {0, 0};
    float delta[2] = {0, 0};
    uint32_t ramp = 0;  // frames left of the glide toward target
  };
  void Glide(Run& run, uint32_t frames);
  const MixFrames& Source(const Run& run) const;
  uint64_t StepFor(bool original) const;
  uint64_t PositionOf(uint32_t frame, bool original) const;
  // Moves the main run onto the other frames, at the same place.
  void Rebase(bool original);
  // Mixes up to frames of run; false when it ran off the end of the samples (not looping).
  bool Mix(Run& run, bool looping, float* out, uint32_t frames);
  void StartTail();

  std::shared_ptr<SampleStore> samples_;
  Run main_;
  Run tail_;
  bool tailLooping_ = false;
  bool playing_ = false;
  bool looping_ = false;
  double speed_ = 1.0;
  // A cursor set while stopped is reported as set, not as the mix position it maps to.
  bool cursorSet_ = true;
  uint32_t cursor_ = 0;
};

}  // namespace kxdsound

#endif
