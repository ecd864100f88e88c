// The sub-commands of the kxsound program.
#pragma once

#include <string>
#include <vector>

// Options every sub-command may take.
struct CommonOptions {
  std::string Root;  // empty: the current folder
};

// Points the engine at the root folder and starts the module; false, with a
// message, when the folder is missing or the module does not start.
bool StartModule(const CommonOptions& options, int toolMode);

int RunInfo(const CommonOptions& options);
int RunMakeSample(const CommonOptions& options);
