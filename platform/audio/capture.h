// What the offline outputs rendered, kept per output index until the host takes it.
#ifndef KX_PLATFORM_AUDIO_CAPTURE_H
#define KX_PLATFORM_AUDIO_CAPTURE_H

#include <stdint.h>

namespace kxaudio {

constexpr int kOutputCount = 2;  // 0 effects, 1 music
// An unread capture keeps only its newest frames, so a host that never reads it stays bounded.
constexpr uint32_t kCaptureSeconds = 120;

// Starts the capture of an output afresh at a rate (frames rendered before are dropped).
void RestartCapture(int index, uint32_t rate);
// Appends interleaved stereo frames to the capture of an output.
void AppendCapture(int index, const float* stereo, uint32_t frames);

}  // namespace kxaudio

#endif
