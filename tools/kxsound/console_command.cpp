#include "commands.h"
int RunConsole(const CommonOptions&) { return 1; }
