// The sub-commands of the kxsound program.
#pragma once

#include <cstdint>
#include <string>

// Options every sub-command may take; each uses those that concern it.
struct CommonOptions {
  std::string Root;        // empty: the current folder
  std::string Output;      // device, null, offline, none, or wav:FILE; empty: the command's default
  std::string Argument;    // the script or JSON file of run and import
  bool Tool = false;       // start the module in tool mode
  bool Trace = false;      // print every stream event with its time
  bool Seeded = false;     // a seed was given
  uint32_t Seed = 0;
};

// Points the engine at the root folder and starts the module; false, with a
// message, when the folder is missing or the module does not start. Commands that
// make no sound pass the "offline" output.
bool StartModule(const CommonOptions& options, int toolMode, const char* output);

int RunInfo(const CommonOptions& options);
int RunMakeSample(const CommonOptions& options);
int RunExport(const CommonOptions& options);
int RunImport(const CommonOptions& options);
int RunConsole(const CommonOptions& options);
int RunScript(const CommonOptions& options);
int RunDemo(const CommonOptions& options);
