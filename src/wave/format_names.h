// Display names of wave format tags.
#ifndef KXSOUND_WAVE_FORMAT_NAMES_H
#define KXSOUND_WAVE_FORMAT_NAMES_H

#include <cstdint>

// The name of a tag, "UNKNOWN" for a tag without one; at most 21 characters.
const char* WaveFormatName(uint32_t tag);

#endif
