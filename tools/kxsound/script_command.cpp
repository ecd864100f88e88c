#include "commands.h"
int RunScript(const CommonOptions&) { return 1; }
