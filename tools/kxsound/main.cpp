// kxsound: the command-line host of the sound module. One table of commands and options gives
// the parsing, the usage text (which the README shows word for word) and each command's help.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands/commands.h"
#include "io/diagnostics.h"

#ifndef KXSOUND_VERSION
#define KXSOUND_VERSION "unknown"
#endif

namespace {

enum OptionBit : unsigned {
  ROOT = 1u << 0,
  OUTPUT = 1u << 1,      // a mode of the audio output
  OUTPUT_WAV = 1u << 2,  // a mode, or wav:FILE
  SEED = 1u << 3,
  TOOL = 1u << 4,
  TRACE = 1u << 5,
  STRICT = 1u << 6,
  QUIET = 1u << 7,
  PORT = 1u << 8,
};

struct OptionSpec {
  unsigned Bit;
  const char* Name;
  const char* Value;  // null: a switch
  const char* Help;
};

const OptionSpec kOptions[] = {
    {ROOT, "--root", "DIR", "the folder of the catalogue and its wave files (default: the current one)"},
    {OUTPUT, "--output", "MODE", "device (the sound card; the default), null, offline or none"},
    {OUTPUT_WAV, "--output", "MODE|wav:FILE",
     "device (the sound card; the default), null, offline, none, or wav:FILE"},
    {SEED, "--seed", "N", "starts the random numbers from N, so that runs repeat"},
    {TOOL, "--tool", nullptr, "starts the module in tool mode, which registers no console commands"},
    {TRACE, "--trace", nullptr, "prints each stream event by name, with the sound and file of each stream"},
    {STRICT, "--strict", nullptr, "stops at the first failure of any kind with FILE:LINE: and exit status 1"},
    {PORT, "--port", "N", "the port to listen on at 127.0.0.1 (default: a free one)"},
    {QUIET, "--quiet", nullptr, "keeps the module's diagnostics off standard error"},
};

struct CommandSpec {
  const char* Name;
  const char* Argument;  // null: none; in brackets: may be left out
  unsigned Options;
  const char* Summary;
  int (*Run)(const CommonOptions&);
};

const CommandSpec kCommands[] = {
    {"demo", nullptr, ROOT | OUTPUT_WAV | SEED | TRACE | QUIET,
     "makes a catalogue of synthesised sounds in ./kxsound-demo and plays a scene of about 20 s", RunDemo},
    {"run", "SCRIPT", ROOT | OUTPUT_WAV | SEED | TRACE | STRICT | QUIET, "plays a scene script in game mode", RunScript},
    {"console", nullptr, ROOT | OUTPUT | TOOL | SEED | TRACE | QUIET,
     "the module at 50 frames a second, with its console on standard input", RunConsole},
    {"why", "SOUND", ROOT | QUIET, "what a play of SOUND would do now, and why", RunWhy},
    {"info", nullptr, ROOT | QUIET, "the pages and sounds of the catalogue, every stored field", RunInfo},
    {"export", nullptr, ROOT | QUIET, "the catalogue as JSON on standard output", RunExport},
    {"import", "FILE", ROOT | QUIET, "replaces the catalogue with a JSON file", RunImport},
    {"make-sample", nullptr, ROOT | QUIET, "writes a small sample catalogue and its wave files where none is",
     RunMakeSample},
    {"studio", nullptr, ROOT | PORT | QUIET, "serves kxSound Studio, the catalogue editor, to a browser on this machine",
     RunStudio},
    {"help", "[COMMAND]", 0, "this text, or the options of one command", nullptr},
};

const CommandSpec* FindCommand(const std::string& name) {
  for (const CommandSpec& c : kCommands)
    if (name == c.Name) return &c;
  return nullptr;
}

// The option of that name that the command takes; else any of that name (to say it is not
// taken), else null.
const OptionSpec* FindOption(const std::string& name, unsigned taken) {
  const OptionSpec* any = nullptr;
  for (const OptionSpec& o : kOptions) {
    if (name != o.Name) continue;
    if (o.Bit & taken) return &o;
    any = &o;
  }
  return any;
}

std::string Synopsis(const CommandSpec& c, bool withQuiet) {
  std::string text = c.Name;
  if (c.Argument) text += std::string(" ") + c.Argument;
  for (const OptionSpec& o : kOptions) {
    if (!(o.Bit & c.Options) || (o.Bit == QUIET && !withQuiet)) continue;
    text += std::string(" [") + o.Name + (o.Value ? std::string(" ") + o.Value : "") + "]";
  }
  return text;
}

std::string UsageText() {
  std::string text = "usage: kxsound COMMAND [ARGUMENT] [options]\n";
  for (const CommandSpec& c : kCommands) text += "  " + Synopsis(c, false) + "\n      " + c.Summary + "\n";
  text +=
      "Every command but help takes --quiet, which keeps the module's diagnostics (kxsound: ...)\n"
      "off standard error. kxsound help COMMAND tells the options of one command, and\n"
      "kxsound --version the version.\n";
  return text;
}

std::string CommandHelp(const CommandSpec& c) {
  std::string text = "usage: kxsound " + Synopsis(c, true) + "\n" + c.Summary + "\n";
  for (const OptionSpec& o : kOptions) {
    if (!(o.Bit & c.Options)) continue;
    std::string name = std::string(o.Name) + (o.Value ? std::string(" ") + o.Value : "");
    if (name.size() < 22) name.resize(22, ' ');
    text += "  " + name + "  " + o.Help + "\n";
  }
  return text;
}

int Refuse(const std::string& message, const char* command) {
  std::fprintf(stderr, "kxsound: %s (kxsound help%s%s tells more)\n", message.c_str(), command ? " " : "",
               command ? command : "");
  return 2;
}

int Help(int argc, char** argv) {
  if (argc == 2) return std::fputs(UsageText().c_str(), stdout), 0;
  if (argc > 3) return Refuse("help takes one command", nullptr);
  const CommandSpec* c = FindCommand(argv[2]);
  if (!c) return Refuse(std::string("unknown command '") + argv[2] + "'", nullptr);
  std::fputs(CommandHelp(*c).c_str(), stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(UsageText().c_str(), stderr);
    return 2;
  }
  std::string first = argv[1];
  if (first == "--version") return std::printf("kxsound %s\n", KXSOUND_VERSION), 0;
  if (first == "help" || first == "--help" || first == "-h") return Help(argc, argv);
  const CommandSpec* command = FindCommand(first);
  if (!command) return Refuse("unknown command '" + first + "'", nullptr);

  CommonOptions options;
  for (int i = 2; i < argc; ++i) {
    std::string word = argv[i];
    if (word.size() > 1 && word[0] == '-') {
      const OptionSpec* option = FindOption(word, command->Options);
      if (!option) return Refuse("unknown option '" + word + "'", command->Name);
      if (!(option->Bit & command->Options))
        return Refuse(std::string(command->Name) + " does not take " + word, command->Name);
      if (option->Value && i + 1 >= argc) return Refuse(word + " needs " + option->Value, command->Name);
      const char* value = option->Value ? argv[++i] : "";
      switch (option->Bit) {
        case ROOT: options.Root = value; break;
        case OUTPUT:
        case OUTPUT_WAV: options.Output = value; break;
        case SEED: {
          char* end = nullptr;
          unsigned long seed = std::strtoul(value, &end, 10);
          if (!*value || *end || *value == '-' || seed > 0xFFFFFFFFul)
            return Refuse(std::string("--seed takes a whole number, not '") + value + "'", command->Name);
          options.Seed = static_cast<uint32_t>(seed);
          options.Seeded = true;
          break;
        }
        case PORT: {
          char* end = nullptr;
          long port = std::strtol(value, &end, 10);
          if (!*value || *end || port < 1 || port > 65535)
            return Refuse(std::string("--port takes a number from 1 to 65535, not '") + value + "'", command->Name);
          options.Port = static_cast<int>(port);
          break;
        }
        case TOOL: options.Tool = true; break;
        case TRACE: options.Trace = true; break;
        case STRICT: options.Strict = true; break;
        case QUIET: options.Quiet = true; break;
      }
    } else if (command->Argument && options.Argument.empty() && !word.empty()) {
      options.Argument = word;
    } else {
      std::string takes = command->Argument ? "one " + std::string(command->Argument) : "no argument";
      return Refuse(std::string(command->Name) + " takes " + takes + ": what is '" + word + "'?", command->Name);
    }
  }
  if (command->Argument && options.Argument.empty())
    return Refuse(std::string(command->Name) + " needs " + command->Argument, command->Name);

  diagnostics::Start(!options.Quiet, options.Strict);
  int status = command->Run(options);
  diagnostics::Stop();
  return status;
}
