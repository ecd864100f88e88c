#include "commands.h"
int RunDemo(const CommonOptions&) { return 1; }
