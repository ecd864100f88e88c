// The sub-commands of the kxsound program.
#pragma once

#include <cstdint>
#include <string>

// Options every sub-command may take; each uses those that concern it.
struct CommonOptions {
  std::string Root;        // empty: the current folder
  std::string Output;      // device, null, offline, none, or wav:FILE; empty: the command's default
  std::string Argument;    // the script of run, the JSON file of import, the sound of why
  bool Tool = false;       // start the module in tool mode
  bool Trace = false;      // print every stream event with its time
  bool Strict = false;     // a scene stops at its first failure
  bool Quiet = false;      // no diagnostics on standard error
  bool Seeded = false;     // a seed was given
  uint32_t Seed = 0;
  int Port = 0;            // studio: 0 for any free port
};

// The folder a message names: the root, or "." for the current one.
inline std::string RootName(const CommonOptions& options) { return options.Root.empty() ? "." : options.Root; }

// Points the engine at the root folder and starts the module; false, with a
// message, when the folder is missing or the module does not start. Commands that
// make no sound pass the "offline" output.
bool StartModule(const CommonOptions& options, int toolMode, const char* output);

// The host's own console command "why SOUND", in the group "kxsound".
void RegisterWhyCommand();

int RunInfo(const CommonOptions& options);
int RunMakeSample(const CommonOptions& options);
int RunExport(const CommonOptions& options);
int RunImport(const CommonOptions& options);
int RunConsole(const CommonOptions& options);
int RunScript(const CommonOptions& options);
int RunDemo(const CommonOptions& options);
int RunWhy(const CommonOptions& options);
// The studio's own folder: studio/studio_command.cpp.
int RunStudio(const CommonOptions& options);
