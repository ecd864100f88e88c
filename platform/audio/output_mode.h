// Which kind of output devices are opened: chosen by the host before the sound system starts.
#ifndef KX_PLATFORM_AUDIO_OUTPUT_MODE_H
#define KX_PLATFORM_AUDIO_OUTPUT_MODE_H

namespace kxaudio {

enum class OutputMode {
  Device,   // the system's default output
  Null,     // real time, into nothing
  Offline,  // time moves only with kxHost_Advance; the output is captured
  None,     // no device at all
};

OutputMode CurrentOutputMode();

}  // namespace kxaudio

#endif
