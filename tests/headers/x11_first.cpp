#define KX_TEST_WITH_X11
#include "game_first.h"

static_assert(sizeof(BOOL) == 1, "X11's BOOL, not ours");
static_assert(CREATE_NEW == 3, "the game's own CREATE_NEW");
static_assert(KXSOUND_FAIL < 0, "the failure code is negative in 32 bits");
