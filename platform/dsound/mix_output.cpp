#include "dsound/mix_output.h"

#include <pthread.h>

#include <chrono>

#include "dsound/mixer.h"

namespace kxdsound {

using kxaudio::ContextScope;

std::unique_ptr<MixOutput> MixOutput::Start(kxaudio::OutputDevice& output, Mixer& mixer) {
  std::unique_ptr<MixOutput> out(new MixOutput(output, mixer));
  ContextScope scope(output.Context());
  alGetError();
  alGenSources(1, &out->source_);
  if (alGetError() != AL_NO_ERROR) return nullptr;
  alGenBuffers(static_cast<ALsizei>(kBuffers), out->buffers_.data());
  if (alGetError() != AL_NO_ERROR) {
    alDeleteSources(1, &out->source_);
    return nullptr;
  }
  out->free_.assign(out->buffers_.begin(), out->buffers_.end());
  // The mix is already placed and at the output's rate: OpenAL only passes it on.
  alSourcei(out->source_, AL_DIRECT_CHANNELS_SOFT, AL_TRUE);
  alSourcei(out->source_, AL_SOURCE_RELATIVE, AL_TRUE);
  alSourcef(out->source_, AL_ROLLOFF_FACTOR, 0.0f);
  if (output.Mode() == kxaudio::OutputMode::Device) {
    out->scratch_.resize(size_t{output.Rate()} * kDeviceMs / 1000 * 2);
    out->feeder_ = std::thread(&MixOutput::RunDevice, out.get());
    pthread_setname_np(out->feeder_.native_handle(), "kxMix");
  } else {
    output.SetRenderHook(&MixOutput::OnRender, out.get());
  }
  return out;
}

MixOutput::~MixOutput() {
  if (feeder_.joinable()) {
    stop_ = true;
    feeder_.join();
  } else {
    output_.SetRenderHook(nullptr, nullptr);
  }
  ContextScope scope(output_.Context());
  alSourceStop(source_);
  alSourcei(source_, AL_BUFFER, 0);
  alDeleteSources(1, &source_);
  alDeleteBuffers(static_cast<ALsizei>(kBuffers), buffers_.data());
}

void MixOutput::Reclaim() {
  ALint done = 0;
  alGetSourcei(source_, AL_BUFFERS_PROCESSED, &done);
  while (done-- > 0) {
    ALuint buffer = 0;
    alSourceUnqueueBuffers(source_, 1, &buffer);
    free_.push_back(buffer);
  }
}

bool MixOutput::Feed(uint32_t frames) {
  Reclaim();
  if (free_.empty()) return false;
  if (scratch_.size() < size_t{frames} * 2) scratch_.resize(size_t{frames} * 2);
  mixer_.Render(scratch_.data(), frames);
  ALuint buffer = free_.back();
  free_.pop_back();
  alBufferData(buffer, AL_FORMAT_STEREO_FLOAT32, scratch_.data(), static_cast<ALsizei>(frames * 2 * sizeof(float)),
               static_cast<ALsizei>(output_.Rate()));
  alSourceQueueBuffers(source_, 1, &buffer);
  ALint state = AL_INITIAL;
  alGetSourcei(source_, AL_SOURCE_STATE, &state);
  if (state != AL_PLAYING) alSourcePlay(source_);
  return true;
}

// Offline and null: the piece about to be rendered is mixed now, so nothing waits in a queue.
void MixOutput::OnRender(uint32_t frames, void* self) {
  auto* out = static_cast<MixOutput*>(self);
  ContextScope scope(out->output_.Context());
  out->Feed(frames);
}

void MixOutput::RunDevice() {
  const uint32_t piece = output_.Rate() * kDeviceMs / 1000;
  alcSetThreadContext(output_.Context());
  while (!stop_) {
    ALint queued = 0, done = 0;
    alGetSourcei(source_, AL_BUFFERS_QUEUED, &queued);
    alGetSourcei(source_, AL_BUFFERS_PROCESSED, &done);
    for (ALint waiting = queued - done; waiting < 3 && Feed(piece); ++waiting) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(kDeviceMs / 4));
  }
  alcSetThreadContext(nullptr);
}

}  // namespace kxdsound
