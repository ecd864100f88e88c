// Running the kxsound program and reading what it wrote.
#pragma once

#include <string>
#include <vector>

#include "listen.h"
#include "temp_dir.h"

struct ToolRun {
  int Status = -1;  // the exit status; -1 when it did not exit normally
  std::string Out, Err;
};

// Runs kxsound with args, input on its standard input, in folder cwd (empty: this one).
ToolRun RunTool(const std::vector<std::string>& args, const std::string& input = "", const std::string& cwd = "");

std::vector<std::string> Lines(const std::string& text);

// A catalogue imported by kxsound, with its wave files, in root:
//   beep  2D, a 440 Hz tone of 0.3 s
//   hum   3D, looped and crossed over two files of 0.4 s (220 and 330 Hz), in order
//   pick  2D, one of three short tones at random
void MakeTestCatalogue(TempDir& root);
