#define KX_TEST_WITH_X11
#include "game_first.h"

int kxHeaderCUnitWithX11(void) {
  BOOL done = 1;
  return done && sizeof(BOOL) == 1 && CREATE_NEW == 3;
}
