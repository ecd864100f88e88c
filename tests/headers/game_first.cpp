#include "game_first.h"

static_assert(sizeof(LONG) == sizeof(long), "the game's own LONG");
static_assert(E_FAIL == 8 && sizeof(BOOL) == sizeof(bool), "the game's own names");
