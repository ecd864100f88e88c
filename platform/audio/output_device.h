// One output of the sound system over OpenAL Soft: 0 carries the effects (the DirectSound
// stand-in), 1 the music. Each has its own device and context, opened in the mode the host
// chose with kxHost_SetAudioOutput. Contexts are made current per thread (ContextScope),
// never process-wide, so that each output can be driven from a thread of its own. Exported for
// the tests and benchmarks that drive an output directly.
#ifndef KX_PLATFORM_AUDIO_OUTPUT_DEVICE_H
#define KX_PLATFORM_AUDIO_OUTPUT_DEVICE_H

#include <stdint.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "audio/openal.h"
#include "audio/output_mode.h"
#include "kxSoundWin32.h"

namespace kxaudio {

constexpr int kEffectsOutput = 0;
constexpr int kMusicOutput = 1;
// The rate the loopback outputs (null, offline) mix at, as a sound card of today would.
constexpr uint32_t kLoopbackRate = 48000;

class KX_EXPORT OutputDevice {
public:
  // The output of that index in the current mode, mixing at the output's own rate: the
  // device's for `device`, kLoopbackRate otherwise. Null when the mode has no device, the
  // system has no real output, or OpenAL refuses. In offline mode the last device opened on an
  // index is the one its capture records.
  static std::unique_ptr<OutputDevice> Open(int index);
  ~OutputDevice();
  OutputDevice(const OutputDevice&) = delete;
  OutputDevice& operator=(const OutputDevice&) = delete;

  // Runs on the rendering thread (offline advance, the null output's clock) before each piece
  // of rendering, with the frames about to be rendered, so that streaming sources can be fed
  // just in time. It must not call into this device. Null removes it.
  using RenderHook = void (*)(uint32_t frames, void* context);
  void SetRenderHook(RenderHook hook, void* context);

  int Index() const { return index_; }
  OutputMode Mode() const { return mode_; }
  uint32_t Rate() const { return rate_; }
  ALCdevice* Device() const { return device_; }
  ALCcontext* Context() const { return context_; }

private:
  OutputDevice(int index, OutputMode mode) : index_(index), mode_(mode) {}
  bool OpenSoundCard();
  bool CreateContext();
  void DestroyContext();
  void Render(uint32_t frames, bool capture);
  static void OnAdvance(uint32_t milliseconds, void* self);
  void RunNull();
  void StopNull();

  const int index_;
  const OutputMode mode_;
  ALCdevice* device_ = nullptr;
  ALCcontext* context_ = nullptr;
  uint32_t rate_ = 0;
  // Offline: milliseconds x rate not yet rendered, in thousandths of a frame.
  uint64_t carry_ = 0;
  // Rendering (offline or the null thread) against the hook and the context's end.
  std::mutex renderLock_;
  std::vector<float> scratch_;
  RenderHook hook_ = nullptr;
  void* hookContext_ = nullptr;
  std::thread nullThread_;
  std::mutex nullLock_;
  std::condition_variable nullWake_;
  bool nullStop_ = false;
};

// Makes a context current on this thread before OpenAL calls. A scope inside another
// one's gives the outer context back at its end; an outermost scope leaves its context
// current, which saves two switches per call on the hot path. A closing device takes
// its context away from the thread.
class KX_EXPORT ContextScope {
public:
  explicit ContextScope(ALCcontext* context);
  ~ContextScope();
  ContextScope(const ContextScope&) = delete;
  ContextScope& operator=(const ContextScope&) = delete;

private:
  ALCcontext* previous_;
  ALCcontext* context_;
};

}  // namespace kxaudio

#endif
