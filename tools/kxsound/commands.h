// The sub-commands of the kxsound program.
#pragma once

#include <string>
#include <vector>

// Options every sub-command may take.
struct CommonOptions {
  std::string Root;  // empty: the current folder
};

int RunInfo(const CommonOptions& options);
