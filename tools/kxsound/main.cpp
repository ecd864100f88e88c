// kxsound: the command-line host of the sound module.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"

namespace {

void PrintUsage() {
  std::fprintf(stderr,
               "usage: kxsound COMMAND [options]\n"
               "  demo [--output MODE|wav:FILE]            make a demo catalogue and play a scene\n"
               "  console [--root DIR] [--tool] [--output MODE]\n"
               "                                           the module with an interactive console\n"
               "  run SCRIPT [--root DIR] [--output MODE|wav:FILE] [--seed N] [--trace]\n"
               "                                           play a scene script\n"
               "  info [--root DIR]                        pages and sounds of the catalogue\n"
               "  export [--root DIR]                      the catalogue as JSON on standard output\n"
               "  import FILE [--root DIR]                 replace the catalogue with a JSON file\n"
               "  make-sample [--root DIR]                 write a small sample catalogue\n"
               "MODE is device (the default output), null, offline or none.\n");
}

bool TakesArgument(const std::string& command) { return command == "run" || command == "import"; }

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    PrintUsage();
    return argc < 2 ? 2 : 0;
  }
  std::string command = argv[1];
  CommonOptions options;
  for (int i = 2; i < argc; ++i) {
    std::string word = argv[i];
    auto value = [&](const char* name) -> const char* {
      if (i + 1 >= argc) {
        std::fprintf(stderr, "kxsound: %s needs a value\n", name);
        std::exit(2);
      }
      return argv[++i];
    };
    if (word == "--root") {
      options.Root = value("--root");
    } else if (word == "--output") {
      options.Output = value("--output");
    } else if (word == "--seed") {
      char* end = nullptr;
      const char* text = value("--seed");
      unsigned long seed = std::strtoul(text, &end, 10);
      if (!*text || *end || seed > 0xFFFFFFFFul) {
        std::fprintf(stderr, "kxsound: --seed takes a whole number, not '%s'\n", text);
        return 2;
      }
      options.Seed = static_cast<uint32_t>(seed);
      options.Seeded = true;
    } else if (word == "--tool") {
      options.Tool = true;
    } else if (word == "--trace") {
      options.Trace = true;
    } else if (TakesArgument(command) && options.Argument.empty() && word[0] != '-') {
      options.Argument = word;
    } else {
      std::fprintf(stderr, "kxsound: unknown option '%s'\n", word.c_str());
      PrintUsage();
      return 2;
    }
  }
  if (TakesArgument(command) && options.Argument.empty()) {
    std::fprintf(stderr, "kxsound: %s needs a file\n", command.c_str());
    return 2;
  }
  if (command == "demo") return RunDemo(options);
  if (command == "console") return RunConsole(options);
  if (command == "run") return RunScript(options);
  if (command == "info") return RunInfo(options);
  if (command == "export") return RunExport(options);
  if (command == "import") return RunImport(options);
  if (command == "make-sample") return RunMakeSample(options);
  std::fprintf(stderr, "kxsound: unknown command '%s'\n", command.c_str());
  PrintUsage();
  return 2;
}
