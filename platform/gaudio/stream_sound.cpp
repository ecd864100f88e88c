#include "gaudio/stream_sound.h"

#include <algorithm>
#include <cstring>

namespace gaudio {

using kxaudio::ContextScope;

StreamSound::StreamSound(GAudio::Impl& owner, std::unique_ptr<Mp3Decoder> decoder)
    : owner_(owner), decoder_(std::move(decoder)) {}

StreamSound* StreamSound::Create(GAudio::Impl& owner, std::unique_ptr<Mp3Decoder> decoder) {
  std::unique_ptr<StreamSound> sound(new StreamSound(owner, std::move(decoder)));
  sound->resampler_ = Resampler::Create(*sound->decoder_, owner.output->Rate());
  if (!sound->resampler_) return nullptr;
  sound->bufferFrames_ = std::max<size_t>(1, size_t{owner.output->Rate()} * kBufferMs / 1000);
  sound->scratch_.resize(sound->bufferFrames_ * 2);
  alGetError();
  alGenSources(1, &sound->source_);
  if (alGetError() != AL_NO_ERROR) return nullptr;
  alGenBuffers(static_cast<ALsizei>(kBufferCount), sound->buffers_.data());
  if (alGetError() != AL_NO_ERROR) {
    alDeleteSources(1, &sound->source_);
    return nullptr;
  }
  sound->free_.assign(sound->buffers_.rbegin(), sound->buffers_.rend());
  // Music is not placed in the world: at the listener, the same at any distance, and the
  // stereo the decoder gives goes straight to the two speakers.
  ALuint s = sound->source_;
  alSourcei(s, AL_SOURCE_RELATIVE, AL_TRUE);
  alSource3f(s, AL_POSITION, 0, 0, 0);
  alSourcef(s, AL_ROLLOFF_FACTOR, 0);
  if (alIsExtensionPresent("AL_SOFT_direct_channels")) alSourcei(s, AL_DIRECT_CHANNELS_SOFT, AL_TRUE);
  return sound.release();
}

StreamSound::~StreamSound() = default;

void StreamSound::FreeSource() {
  if (!source_) return;
  alSourceStop(source_);
  alDeleteSources(1, &source_);
  alDeleteBuffers(static_cast<ALsizei>(kBufferCount), buffers_.data());
  source_ = 0;
}

ALint StreamSound::SourceState() const {
  ALint state = AL_STOPPED;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  return state;
}

ALint StreamSound::Queued() const {
  ALint queued = 0;
  alGetSourcei(source_, AL_BUFFERS_QUEUED, &queued);
  return queued;
}

size_t StreamSound::FramesIn(ALuint buffer) const {
  for (size_t i = 0; i < kBufferCount; ++i) {
    if (buffers_[i] == buffer) return framesIn_[i];
  }
  return 0;
}

// Played buffers back to the free list.
void StreamSound::Reclaim() {
  ALint processed = 0;
  alGetSourcei(source_, AL_BUFFERS_PROCESSED, &processed);
  while (processed-- > 0) {
    ALuint buffer = 0;
    alSourceUnqueueBuffers(source_, 1, &buffer);
    played_ += FramesIn(buffer);
    free_.push_back(buffer);
  }
}

// Decodes into every free buffer and queues it; the count queued.
size_t StreamSound::Fill() {
  size_t queued = 0;
  while (!decoded_ && !free_.empty()) {
    size_t frames = resampler_->Read(scratch_.data(), bufferFrames_);
    if (frames < bufferFrames_) decoded_ = true;
    if (frames == 0) break;
    ALuint buffer = free_.back();
    free_.pop_back();
    alBufferData(buffer, AL_FORMAT_STEREO_FLOAT32, scratch_.data(), static_cast<ALsizei>(frames * 2 * sizeof(float)),
                 static_cast<ALsizei>(resampler_->Rate()));
    for (size_t i = 0; i < kBufferCount; ++i) {
      if (buffers_[i] == buffer) framesIn_[i] = frames;
    }
    alSourceQueueBuffers(source_, 1, &buffer);
    ++queued;
  }
  return queued;
}

// A stopped source counts every queued buffer as processed, also those queued after it
// stopped. Those fresh ones are at the tail: take all out and put only them back.
void StreamSound::Requeue(size_t fresh) {
  std::vector<ALuint> all(static_cast<size_t>(Queued()));
  if (all.empty()) return;
  alSourceUnqueueBuffers(source_, static_cast<ALsizei>(all.size()), all.data());
  fresh = std::min(fresh, all.size());
  for (size_t i = 0; i < all.size() - fresh; ++i) {
    played_ += FramesIn(all[i]);
    free_.push_back(all[i]);
  }
  if (fresh) alSourceQueueBuffers(source_, static_cast<ALsizei>(fresh), &all[all.size() - fresh]);
}

// Keeps a playing sound's source supplied and running, starting or resuming it as needed.
void StreamSound::Feed() {
  ALint was = SourceState();
  Reclaim();
  size_t fresh = Fill();
  if (was == AL_PLAYING) {
    if (SourceState() == AL_PLAYING) return;
    // It ran dry while this call decoded: what it held has played, the fresh buffers have not.
    Requeue(fresh);
  }
  if (Queued() > 0) alSourcePlay(source_);
}

// Back to the start of an empty queue; the decoder is left where it is.
void StreamSound::Empty() {
  alSourceRewind(source_);
  alSourcei(source_, AL_BUFFER, 0);
  free_.assign(buffers_.rbegin(), buffers_.rend());
  played_ = 0;
}

bool StreamSound::Service() {
  if (state_ != State::Playing) return false;
  Feed();
  // Everything decoded has left the queue played: the file is over.
  if (!decoded_ || Queued() > 0) return false;
  state_ = State::Stopped;
  Empty();
  return true;
}

int32_t StreamSound::Play() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  ContextScope scope(owner_.Context());
  if (state_ == State::Playing) return 1;
  if (state_ == State::Stopped) {
    Empty();
    if (!resampler_->Rewind()) return 0;
    decoded_ = false;
  }
  state_ = State::Playing;
  Feed();
  owner_.Kick();
  return 1;
}

int32_t StreamSound::Pause() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  if (state_ != State::Playing) return 1;
  ContextScope scope(owner_.Context());
  alSourcePause(source_);
  state_ = State::Paused;
  return 1;
}

int32_t StreamSound::Stop() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  if (state_ == State::Stopped) return 1;
  ContextScope scope(owner_.Context());
  Empty();
  state_ = State::Stopped;
  return 1;
}

int32_t StreamSound::IsPlaying() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  return state_ == State::Playing ? 1 : 0;
}

void StreamSound::Release() {
  owner_.Remove(this);
  delete this;
}

int32_t StreamSound::GetLengthMs() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  int64_t frames = decoder_->LengthFrames();
  return frames < 0 ? 0 : static_cast<int32_t>(frames * 1000 / decoder_->Rate());
}

int32_t StreamSound::GetPositionMs() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  if (state_ == State::Stopped) return 0;
  ContextScope scope(owner_.Context());
  ALint offset = 0;
  alGetSourcei(source_, AL_SAMPLE_OFFSET, &offset);
  // Frames at the output's rate, told as the file's own time.
  return static_cast<int32_t>((played_ + static_cast<uint64_t>(std::max(offset, 0))) * 1000 / resampler_->Rate());
}

int32_t StreamSound::SetVolume(float volume) {
  if (!(volume > 0.0f)) volume = 0.0f;
  std::lock_guard<std::mutex> hold(owner_.lock);
  ContextScope scope(owner_.Context());
  volume_ = volume;
  alSourcef(source_, AL_GAIN, volume);
  return 1;
}

float StreamSound::GetVolume() {
  std::lock_guard<std::mutex> hold(owner_.lock);
  return volume_;
}

int32_t StreamSound::SetNotify(const void* description, int32_t count) {
  if (!description || count != 1) return 0;
  GAudioNotifyDesc desc;
  std::memcpy(&desc, description, sizeof desc);
  if (desc.Size != sizeof(GAudioNotifyDesc) || desc.Event != GAUDIO_EVENT_END_OF_FILE) return 0;
  std::lock_guard<std::mutex> hold(owner_.lock);
  callback_ = reinterpret_cast<GAudioNotifyCallback>(const_cast<void*>(FromAddress32(desc.Callback)));
  return 1;
}

}  // namespace gaudio
