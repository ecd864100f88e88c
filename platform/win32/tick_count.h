// GetTickCount: milliseconds, following the host kit's manual clock when it is on.
#ifndef KX_PLATFORM_TICK_COUNT_H
#define KX_PLATFORM_TICK_COUNT_H

#include "kxSoundWin32.h"

extern "C" KX_EXPORT DWORD GetTickCount(void);

#endif
