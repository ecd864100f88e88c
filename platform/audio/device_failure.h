// Why the sound card did not open, as one sentence. With no sound card, alsa-lib and OpenAL
// Soft would print a screenful of their own on standard error; the outputs silence them and
// say it once here instead. No OpenAL in this header: the module may include it.
#ifndef KX_PLATFORM_AUDIO_DEVICE_FAILURE_H
#define KX_PLATFORM_AUDIO_DEVICE_FAILURE_H

#include <string>

#include "kxTypes.h"

namespace kxaudio {

// Why the last attempt to open an output failed at the sound card; empty when that attempt
// succeeded or did not ask for the `device` output.
KX_EXPORT std::string DeviceFailure();

// Receives that sentence at each failure, on the thread that tried to open. Without one, the
// first failure of the process is printed on standard error as "kxSound: <sentence>". The
// module sets one while the host has a diagnostics sink, so the sentence goes there instead.
using DeviceFailureReporter = void (*)(const char* text, void* user);
KX_EXPORT void SetDeviceFailureReporter(DeviceFailureReporter reporter, void* user);

// ---- for the outputs ----

// Before the first OpenAL call of the process: OpenAL Soft logs nothing unless the user asked
// for it with ALSOFT_LOGLEVEL.
void QuietOpenAL();

// While alive, what alsa-lib would print from this thread is kept instead: the first message.
class AlsaMessages {
public:
  AlsaMessages();
  ~AlsaMessages();
  AlsaMessages(const AlsaMessages&) = delete;
  AlsaMessages& operator=(const AlsaMessages&) = delete;
  const std::string& First() const { return first_; }

private:
  std::string first_;
  std::string* outer_;
  void (*previous_)() = nullptr;
};

// what: why it failed; detail: the audio library's own first word on it, or empty.
void ReportDeviceFailure(const char* what, const std::string& detail);
void ClearDeviceFailure();

}  // namespace kxaudio

#endif
