// The C-compatible headers in C, after a game's own names; the other unit does the same with X11.
#include "game_first.h"

int kxHeaderCUnitUsesTheirOwnNames(void) {
  BOOL done = 1;
  return done && CREATE_NEW == 3 && KX_CREATE_NEW == 1u;
}
