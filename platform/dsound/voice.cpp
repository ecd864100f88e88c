#include "dsound/voice.h"

#include <algorithm>
#include <cmath>

#include "dsound/sample_store.h"
#include "dsound/sinc_table.h"

namespace kxdsound {
namespace {

uint64_t WholeFrame(uint64_t pos) { return (pos + Voice::kUnit - 1) & ~(Voice::kUnit - 1); }

// Frame i of channel c, or silence (or the other end, looping) outside the samples.
float Fetch(const MixFrames& f, int64_t i, uint32_t c, bool looping) {
  const int64_t count = static_cast<int64_t>(f.count);
  if (i < 0 || i >= count) {
    if (!looping) return 0.0f;
    i %= count;
    if (i < 0) i += count;
  }
  return f.samples[static_cast<size_t>(i) * f.channels + c];
}

// At the voice's own pitch and on a whole frame: the converted frames as they are.
template <uint32_t Channels>
void MixCopy(const MixFrames& f, uint64_t pos, float* out, uint32_t n, float g[2], const float d[2]) {
  const float* s = &f.samples[static_cast<size_t>(pos >> 32) * Channels];
  float gl = g[0], gr = g[1];
  for (uint32_t i = 0; i < n; ++i) {
    const float l = s[i * Channels];
    const float r = s[i * Channels + Channels - 1];
    out[2 * i] += l * gl;
    out[2 * i + 1] += r * gr;
    gl += d[0];
    gr += d[1];
  }
  g[0] = gl;
  g[1] = gr;
}

// One channel of the frames under the kernel. Eight running sums let the compiler keep the
// products in vector registers instead of waiting on one sum.
template <uint32_t Channels>
float Dot(const float* kernel, const float* s) {
  float lanes[8] = {};
  for (int t = 0; t < SincTable::kTaps; t += 8)
    for (int k = 0; k < 8; ++k) lanes[k] += kernel[t + k] * s[(t + k) * Channels];
  return ((lanes[0] + lanes[4]) + (lanes[1] + lanes[5])) + ((lanes[2] + lanes[6]) + (lanes[3] + lanes[7]));
}

template <uint32_t Channels>
void MixSinc(const MixFrames& f, uint64_t pos, uint64_t step, bool looping, float* out, uint32_t n, float g[2],
             const float d[2]) {
  const SincTable& table = SincTable::For(step, f.content);
  float kernel[SincTable::kTaps];
  float edge[SincTable::kTaps * Channels];  // the frames under the kernel near the ends
  float gl = g[0], gr = g[1];
  const int64_t count = static_cast<int64_t>(f.count);
  for (uint32_t i = 0; i < n; ++i, pos += step) {
    table.Kernel(static_cast<uint32_t>(pos), kernel);
    const int64_t first = static_cast<int64_t>(pos >> 32) - SincTable::kBefore;
    const float* s;
    if (first >= 0 && first + SincTable::kTaps <= count) {
      s = &f.samples[static_cast<size_t>(first) * Channels];
    } else {
      for (int t = 0; t < SincTable::kTaps; ++t)
        for (uint32_t c = 0; c < Channels; ++c) edge[t * Channels + c] = Fetch(f, first + t, c, looping);
      s = edge;
    }
    const float left = Dot<Channels>(kernel, s);
    const float right = Channels == 1 ? left : Dot<Channels>(kernel, s + 1);
    out[2 * i] += left * gl;
    out[2 * i + 1] += right * gr;
    gl += d[0];
    gr += d[1];
  }
  g[0] = gl;
  g[1] = gr;
}

}  // namespace

Voice::Voice(std::shared_ptr<SampleStore> samples) : samples_(std::move(samples)) {}

const MixFrames& Voice::Source(const Run& run) const {
  return run.original ? samples_->Original() : samples_->Frames();
}

uint64_t Voice::StepFor(bool original) const {
  double step = speed_;
  if (original) step *= static_cast<double>(samples_->Format().nSamplesPerSec) / samples_->MixRate();
  return static_cast<uint64_t>(std::llround(step * static_cast<double>(kUnit)));
}

uint64_t Voice::PositionOf(uint32_t frame, bool original) const {
  return original ? uint64_t{frame} << 32 : WholeFrame(samples_->MixPosition(frame));
}

void Voice::Rebase(bool original) {
  if (main_.original == original) return;
  const unsigned __int128 pos = main_.pos;
  const uint32_t rate = samples_->Format().nSamplesPerSec, mix = samples_->MixRate();
  main_.pos = original ? static_cast<uint64_t>(pos * rate / mix) : WholeFrame(static_cast<uint64_t>(pos * mix / rate));
  main_.original = original;
  main_.step = StepFor(original);
}

void Voice::Play(bool looping) {
  const bool original = looping && samples_->Converted();
  looping_ = looping;
  if (playing_) {
    Rebase(original);
    return;
  }
  if (cursorSet_) {
    main_.original = original;
    main_.pos = PositionOf(cursor_, original);
    main_.step = StepFor(original);
    cursorSet_ = false;
  } else {
    Rebase(original);
  }
  const uint64_t end = Source(main_).count << 32;
  if (main_.pos >= end) {
    if (!looping || end == 0) {
      // Nothing left to play: it has played to its end.
      cursorSet_ = true;
      cursor_ = 0;
      return;
    }
    main_.pos = 0;
  }
  // A start is as sharp as the samples: only changes while playing glide.
  main_.gain[0] = main_.target[0];
  main_.gain[1] = main_.target[1];
  main_.ramp = 0;
  playing_ = true;
}

void Voice::Stop() {
  if (!playing_) return;
  StartTail();
  playing_ = false;
}

uint32_t Voice::Cursor() const {
  if (cursorSet_) return cursor_;
  const uint32_t frames = samples_->Size() / samples_->Format().nBlockAlign;
  const uint32_t at = main_.original ? static_cast<uint32_t>(main_.pos >> 32) : samples_->BufferFrame(main_.pos);
  return std::min(at, frames);
}

void Voice::SetCursor(uint32_t frame) {
  if (playing_) {
    StartTail();
    main_.pos = PositionOf(frame, main_.original);
    const uint64_t end = Source(main_).count << 32;
    if (main_.pos >= end && looping_ && end) main_.pos = 0;
    return;
  }
  cursor_ = frame;
  cursorSet_ = true;
}

void Voice::SetGains(float left, float right) {
  main_.target[0] = left;
  main_.target[1] = right;
  if (!playing_) {
    main_.gain[0] = left;
    main_.gain[1] = right;
    main_.ramp = 0;
    return;
  }
  const uint32_t glide = GlideFrames(samples_->MixRate());
  main_.ramp = glide;
  main_.delta[0] = (left - main_.gain[0]) / glide;
  main_.delta[1] = (right - main_.gain[1]) / glide;
}

void Voice::SetSpeed(double speed) {
  speed_ = std::clamp(speed, 1.0 / 1024, 64.0);
  main_.step = StepFor(main_.original);
}

void Voice::StartTail() {
  tail_ = main_;
  tailLooping_ = looping_;
  const uint32_t fade = FadeFrames(samples_->MixRate());
  tail_.target[0] = tail_.target[1] = 0;
  tail_.delta[0] = -tail_.gain[0] / fade;
  tail_.delta[1] = -tail_.gain[1] / fade;
  tail_.ramp = fade;
}

void Voice::Glide(Run& run, uint32_t frames) {
  if (!run.ramp) return;
  run.ramp -= frames;
  if (run.ramp) return;
  run.gain[0] = run.target[0];
  run.gain[1] = run.target[1];
  run.delta[0] = run.delta[1] = 0;
}

bool Voice::Mix(Run& run, bool looping, float* out, uint32_t frames) {
  const MixFrames& f = Source(run);
  const uint64_t end = f.count << 32;
  static const float kSteady[2] = {0, 0};
  while (true) {
    if (run.pos >= end) {
      if (!looping || end == 0) return false;
      run.pos %= end;
    }
    if (!frames) return true;
    uint64_t left = (end - run.pos + run.step - 1) / run.step;
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(frames, left));
    if (run.ramp) n = std::min(n, run.ramp);
    const float* delta = run.ramp ? run.delta : kSteady;
    const bool copy = run.step == kUnit && (run.pos & (kUnit - 1)) == 0;
    if (f.channels == 1) {
      if (copy) MixCopy<1>(f, run.pos, out, n, run.gain, delta);
      else MixSinc<1>(f, run.pos, run.step, looping, out, n, run.gain, delta);
    } else {
      if (copy) MixCopy<2>(f, run.pos, out, n, run.gain, delta);
      else MixSinc<2>(f, run.pos, run.step, looping, out, n, run.gain, delta);
    }
    run.pos += run.step * n;
    Glide(run, n);
    out += 2 * size_t{n};
    frames -= n;
  }
}

void Voice::Render(float* out, uint32_t frames) {
  if (playing_ && !Mix(main_, looping_, out, frames)) {
    playing_ = false;
    cursorSet_ = true;
    cursor_ = 0;
  }
  if (tail_.ramp && !Mix(tail_, tailLooping_, out, std::min(frames, tail_.ramp))) tail_.ramp = 0;
}

}  // namespace kxdsound
