// The host kit: what a game, the kxsound tool or a test needs besides qorSound_*.
#ifndef KX_HOST_H
#define KX_HOST_H

#include <stdint.h>
#include "kxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// The folder qorFileIO_GetFolder reports; a trailing '/' is added when missing.
KX_EXPORT void kxHost_SetRootFolder(const char* folder);

// Non-zero: the engine tick, its delta and GetTickCount move only through
// kxHost_Advance, starting from 1000 ms. Zero: they follow the monotonic clock.
KX_EXPORT void kxHost_SetManualClock(int manual);
// Moves the manual clock; the delta becomes this step. Listeners registered with
// kxHost_AddAdvanceListener (the offline audio output) run after the move.
KX_EXPORT void kxHost_Advance(uint32_t milliseconds);
// With the real clock: marks the start of a frame, so the delta is the time since the last mark.
KX_EXPORT void kxHost_BeginFrame(void);
typedef void (*KX_ADVANCE_LISTENER)(uint32_t milliseconds, void* context);
KX_EXPORT void kxHost_AddAdvanceListener(KX_ADVANCE_LISTENER listener, void* context);
KX_EXPORT void kxHost_RemoveAdvanceListener(KX_ADVANCE_LISTENER listener, void* context);

// Queued values come out of qorRandom_Rand first, in order; then the generator goes on.
KX_EXPORT void kxHost_QueueRandom(uint32_t value);
// Restarts the generator from a seed and drops the queue, so runs repeat.
KX_EXPORT void kxHost_SeedRandom(uint32_t seed);

// Runs one console line as a person would type it: 0 when a command ran,
// negative when the line was refused (unknown command, too few or too many parameters).
KX_EXPORT int32_t kxHost_Execute(const char* line);
// Receives every qorConsole_Print text; null prints to standard output.
KX_EXPORT void kxHost_SetPrintSink(void (*sink)(const char* text));
// Calls fn once per registered command, in order of registration.
KX_EXPORT void kxHost_EnumerateCommands(void (*fn)(const char* group, const char* name, int parameters,
                                                   int optional, void* context),
                                        void* context);
// Forgets every registered command and every description given (a fresh engine).
KX_EXPORT void kxHost_ClearCommands(void);
// What help shows for a command of the host's: its parameters by name, the optional ones last
// and in brackets ("NAME [X Y Z]"), and one line on what it does. Words that do not fit the
// registered counts are not shown. The "Sound" group's words are built in.
KX_EXPORT void kxHost_DescribeCommand(const char* group, const char* name, const char* parameters,
                                      const char* summary);

// The texts drawn with qorKernel_DrawDebugText since the last clear.
KX_EXPORT int kxHost_DebugTextCount(void);
// text: 256 bytes. 0 on success, -1 for an index out of range.
KX_EXPORT int32_t kxHost_GetDebugText(int index, float* x, float* y, uint32_t* colour, char* text);
KX_EXPORT void kxHost_ClearDebugText(void);

// The audio output of devices opened from now on: "device" (the system's default output; the
// default mode), "null" (real time, into nothing), "offline" (time moves only with
// kxHost_Advance, which renders that much into a capture) or "none" (no device: opening fails).
// 0, or -1 for an unknown mode.
KX_EXPORT int32_t kxHost_SetAudioOutput(const char* mode);
// Offline mode: moves up to maxFrames rendered interleaved stereo float frames of output 0
// (effects) or 1 (music) into stereo, oldest first, and gives their count. A null stereo drops
// them. Only the newest 120 seconds of an output are kept.
KX_EXPORT uint32_t kxHost_TakeCapture(int device, float* stereo, uint32_t maxFrames);
// The sample rate of that capture; 0 when there is none.
KX_EXPORT uint32_t kxHost_CaptureRate(int device);
// The rate output 0 (effects) or 1 (music) mixes at, in any mode: the sound card's own for
// "device", 48000 for "null" and "offline"; 0 while that output is not open.
KX_EXPORT uint32_t kxHost_MixRate(int device);

// Reads an engine variable such as "sounds_created": 0 when it exists, -1 otherwise.
KX_EXPORT int32_t kxHost_GetVar(const char* name, int32_t* value);
// Number of the tuning key of that name, or -1.
KX_EXPORT int32_t kxHost_FindTuneKey(const char* name);

#ifdef __cplusplus
}
#endif

#endif
