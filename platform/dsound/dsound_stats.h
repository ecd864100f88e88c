// Counters of the DirectSound stand-in, for tests and diagnostics.
#ifndef KX_PLATFORM_DSOUND_STATS_H
#define KX_PLATFORM_DSOUND_STATS_H

#include <stdint.h>

#include "kxSoundWin32.h"

extern "C" {
// Bytes of sample storage the stand-in holds; samples shared by duplicates count once.
KX_EXPORT uint64_t kxDSound_SampleBytes(void);
// Voices alive in the mixer: one per secondary buffer.
KX_EXPORT uint32_t kxDSound_LiveSources(void);
}

#endif
