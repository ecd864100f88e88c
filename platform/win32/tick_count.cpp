#include "win32/tick_count.h"

#include "kxEngine.h"

// One clock for the engine and the platform, so that stream ages and frame times agree.
DWORD GetTickCount(void) { return qorTimer_GetSystemTick(); }
