// The sound object gaudio hands out: an MP3 decoder, converted to the output's rate, feeding a
// streaming OpenAL source through a small ring of buffers. The source plays at the rate the
// output mixes at, so OpenAL's own resampler has nothing to do. The library's work (music thread or offline advance)
// calls Service; the caller's thread calls the GAudioSound operations. Both hold the
// library's lock around everything here.
#ifndef KX_PLATFORM_GAUDIO_STREAM_SOUND_H
#define KX_PLATFORM_GAUDIO_STREAM_SOUND_H

#include <array>
#include <memory>
#include <vector>

#include "audio/openal.h"
#include "gaudio/gaudio.h"
#include "gaudio/library.h"
#include "gaudio/mp3_decoder.h"
#include "gaudio/resampler.h"

namespace gaudio {

class StreamSound final : public GAudioSound {
public:
  // A stopped sound on a source of the owner's context; null when OpenAL or the resampler refuses.
  // Lock held, music context current.
  static StreamSound* Create(GAudio::Impl& owner, std::unique_ptr<Mp3Decoder> decoder);
  ~StreamSound();

  int32_t Play() override;
  int32_t Pause() override;
  int32_t Stop() override;
  int32_t IsPlaying() override;
  void Release() override;
  int32_t GetLengthMs() override;
  int32_t GetPositionMs() override;
  int32_t Reserved7() override { return 0; }
  int32_t Reserved8() override { return 0; }
  int32_t Reserved9() override { return 0; }
  // Gain as OpenAL takes it: 1 is the file's own level, 0.5 half the amplitude. Negative
  // (and NaN) is silence. More than 1 is kept, but the source's AL_MAX_GAIN of 1 plays it at 1.
  int32_t SetVolume(float volume) override;
  float GetVolume() override;
  int32_t Reserved12() override { return 0; }
  int32_t Reserved13() override { return 0; }
  int32_t Reserved14() override { return 0; }
  int32_t Reserved15() override { return 0; }
  int32_t Reserved16() override { return 0; }
  int32_t Reserved17() override { return 0; }
  int32_t Reserved18() override { return 0; }
  int32_t Reserved19() override { return 0; }
  // Event 5 (end of file) only; a null callback turns the event off.
  int32_t SetNotify(const void* description, int32_t count) override;

  // The library's work, lock held and context current: keeps the source fed and tells once
  // when the file has played out, after which the sound counts as stopped.
  bool Service();
  bool Busy() const { return state_ == State::Playing; }
  GAudioNotifyCallback Callback() const { return callback_; }
  // Gives the OpenAL objects back. Lock held, context current.
  void FreeSource();

private:
  static constexpr size_t kBufferCount = 4;
  static constexpr uint32_t kBufferMs = 50;
  enum class State { Stopped, Playing, Paused };

  StreamSound(GAudio::Impl& owner, std::unique_ptr<Mp3Decoder> decoder);
  void Feed();
  void Reclaim();
  size_t Fill();
  void Requeue(size_t fresh);
  void Empty();
  ALint SourceState() const;
  ALint Queued() const;
  size_t FramesIn(ALuint buffer) const;

  GAudio::Impl& owner_;
  std::unique_ptr<Mp3Decoder> decoder_;
  std::unique_ptr<Resampler> resampler_;
  ALuint source_ = 0;
  std::array<ALuint, kBufferCount> buffers_{};
  std::array<size_t, kBufferCount> framesIn_{};
  std::vector<ALuint> free_;
  std::vector<float> scratch_;
  size_t bufferFrames_ = 0;
  State state_ = State::Stopped;
  bool decoded_ = false;  // the decoder has given its last sample
  uint64_t played_ = 0;   // frames, at the output's rate, of the buffers that have left the queue played
  float volume_ = 1.0f;
  GAudioNotifyCallback callback_ = nullptr;
};

}  // namespace gaudio

#endif
