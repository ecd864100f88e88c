// kxsound: the command-line host of the sound module.
#include <cstdio>
#include <cstring>
#include <string>

#include "commands.h"

namespace {

void PrintUsage() {
  std::fprintf(stderr,
               "usage: kxsound COMMAND [--root DIR]\n"
               "  info          print the pages and sounds of the catalogue in DIR (default: current folder)\n"
               "  make-sample   write a small sample catalogue into DIR\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    PrintUsage();
    return 2;
  }
  std::string command = argv[1];
  CommonOptions options;
  for (int i = 2; i < argc; ++i) {
    if (std::strcmp(argv[i], "--root") == 0 && i + 1 < argc) {
      options.Root = argv[++i];
    } else {
      std::fprintf(stderr, "kxsound: unknown option '%s'\n", argv[i]);
      PrintUsage();
      return 2;
    }
  }
  if (command == "info") return RunInfo(options);
  if (command == "make-sample") return RunMakeSample(options);
  std::fprintf(stderr, "kxsound: unknown command '%s'\n", command.c_str());
  PrintUsage();
  return 2;
}
