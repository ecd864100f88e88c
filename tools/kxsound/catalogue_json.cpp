#include "commands.h"
int RunExport(const CommonOptions&) { return 1; }
int RunImport(const CommonOptions&) { return 1; }
