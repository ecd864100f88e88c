// The inside of a GAudio object: the music output, the sounds it made, and the work that
// keeps their sources fed. One mutex guards the sounds and every OpenAL call on them, so
// the caller's thread and the music thread (or the offline advance) never meet half-way.
#ifndef KX_PLATFORM_GAUDIO_LIBRARY_H
#define KX_PLATFORM_GAUDIO_LIBRARY_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "audio/output_device.h"
#include "gaudio/gaudio.h"

namespace gaudio {

class StreamSound;

struct GAudio::Impl {
  ~Impl();

  bool Open();
  ALCcontext* Context() const { return output->Context(); }
  bool Offline() const { return output->Mode() == kxaudio::OutputMode::Offline; }

  // Gives a sound's OpenAL objects back and forgets it. Lock not held.
  void Remove(StreamSound* sound);
  // A sound started: the music thread turns to it at once. Lock held.
  void Kick();

  std::unique_ptr<kxaudio::OutputDevice> output;
  std::mutex lock;
  std::vector<StreamSound*> sounds;

private:
  // Feeds every sound and collects the callbacks of those that have just played to their
  // end. Lock held, music context current.
  void Serve(std::vector<GAudioNotifyCallback>& ended);
  static void Call(const std::vector<GAudioNotifyCallback>& ended);
  void Run();
  static void BeforeRender(uint32_t frames, void* self);
  static void AfterAdvance(uint32_t milliseconds, void* self);

  // Offline: ends found between rendered pieces, called once the advance has rendered.
  std::vector<GAudioNotifyCallback> due_;
  bool listening_ = false;
  std::thread music_;
  std::condition_variable wake_;
  bool kicked_ = false;
  bool stopping_ = false;
};

}  // namespace gaudio

#endif
