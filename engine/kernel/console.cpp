// Console commands: registration, line parsing, dispatch, help and printing.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "common/ascii.h"
#include "common/words.h"
#include "console_usage.h"
#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

struct Command {
  std::string group;
  std::string name;
  int parameters;
  int optional;
  QOR_CONSOLE_HANDLER handler;
  ULONG id;
};

std::vector<Command>& commands() {
  static std::vector<Command> list;
  return list;
}

// Atomic so a host swapping sinks while something prints never sees a torn pointer.
std::atomic<void (*)(const char*)> g_sink{nullptr};

void emit(const char* text) {
  if (auto sink = g_sink.load()) {
    sink(text);
  } else {
    std::fputs(text, stdout);
    std::fputc('\n', stdout);
  }
}

const Command* findCommand(const std::string& name) {
  for (const Command& c : commands())
    if (kx::equalsNoCase(c.name, name)) return &c;
  return nullptr;
}

// The help words of a command, unless they no longer fit its registration (then neither the
// names nor the summary can be trusted).
const kx::CommandWords* wordsOf(const Command& c) {
  const kx::CommandWords* words = kx::findCommandWords(c.group, c.name);
  return words && kx::wordsFit(words->Parameters, c.parameters, c.optional) ? words : nullptr;
}

// "PlaySound NAME [X Y Z]" from the help words, else "Name p1 p2 [p3]": the optional
// parameters are the last ones.
std::string usageOf(const Command& c) {
  if (const kx::CommandWords* words = wordsOf(c))
    return words->Parameters.empty() ? c.name : c.name + " " + words->Parameters;
  std::string text = c.name;
  for (int i = 1; i <= c.parameters; ++i) {
    bool opt = i > c.parameters - c.optional;
    text += opt ? " [p" : " p";
    text += std::to_string(i);
    if (opt) text += ']';
  }
  return text;
}

std::string summaryOf(const Command& c) {
  const kx::CommandWords* words = wordsOf(c);
  return words ? words->Summary : std::string();
}

// One line of a listing: the usage, and what the command does in a column beside it.
void printListed(const Command& c) {
  std::string usage = usageOf(c), summary = summaryOf(c);
  if (summary.empty()) {
    qorConsole_Print("  %s", usage.c_str());
  } else {
    if (usage.size() < 36) usage.resize(36, ' ');
    qorConsole_Print("  %s  %s", usage.c_str(), summary.c_str());
  }
}

int printCommand(const Command& c) {
  qorConsole_Print("%s", usageOf(c).c_str());
  std::string summary = summaryOf(c);
  qorConsole_Print("  %s%s(group %s)", summary.c_str(), summary.empty() ? "" : " ",
                   c.group.empty() ? "none" : c.group.c_str());
  return 0;
}

int printHelp(const std::string* onlyGroup) {
  // Groups in order of first registration, each with its commands in registration order.
  std::vector<std::string> groups;
  for (const Command& c : commands()) {
    if (onlyGroup && !kx::equalsNoCase(c.group, *onlyGroup)) continue;
    bool seen = false;
    for (const std::string& g : groups) seen = seen || g == c.group;
    if (!seen) groups.push_back(c.group);
  }
  if (groups.empty()) {
    if (onlyGroup)
      qorConsole_Print("No command or group: %s", onlyGroup->c_str());
    else
      qorConsole_Print("No commands");
    return onlyGroup ? -1 : 0;
  }
  for (const std::string& g : groups) {
    qorConsole_Print("%s:", g.empty() ? "(no group)" : g.c_str());
    for (const Command& c : commands())
      if (c.group == g) printListed(c);
  }
  return 0;
}

}  // namespace

extern "C" {

KX_EXPORT LONG qorConsole_RegisterCommand(const char* group, const char* name, int parameters,
                                          QOR_CONSOLE_HANDLER handler, ULONG id, int optional, int reserved) {
  if (!name || !*name || !handler) return -1;
  if (parameters < 0) parameters = 0;
  if (optional < 0) optional = 0;
  if (optional > parameters) optional = parameters;
  Command c{group ? group : "", name, parameters, optional, handler, id};
  // A name registered again (a module restarted) takes over the old entry.
  for (Command& old : commands()) {
    if (kx::equalsNoCase(old.name, c.name)) {
      old = std::move(c);
      return 0;
    }
  }
  commands().push_back(std::move(c));
  return 0;
}

KX_EXPORT LONG qorConsole_Print(const char* format, ...) {
  if (!format) return -1;
  char small[256];
  va_list args;
  va_start(args, format);
  int n = std::vsnprintf(small, sizeof small, format, args);
  va_end(args);
  if (n < 0) return -1;
  if (static_cast<std::size_t>(n) < sizeof small) {
    emit(small);
    return 0;
  }
  std::vector<char> big(static_cast<std::size_t>(n) + 1);
  va_start(args, format);
  std::vsnprintf(big.data(), big.size(), format, args);
  va_end(args);
  emit(big.data());
  return 0;
}

KX_EXPORT int32_t kxHost_Execute(const char* line) {
  if (!line) return -1;
  std::vector<std::string> words = kx::splitWords(line);
  if (words.empty()) return -1;

  const Command* cmd = findCommand(words[0]);
  if (!cmd && kx::equalsNoCase(words[0], "help")) {
    if (words.size() > 2) {
      qorConsole_Print("Usage: help [COMMAND|GROUP]");
      return -2;
    }
    if (words.size() == 2)
      if (const Command* asked = findCommand(words[1])) return printCommand(*asked);
    return printHelp(words.size() == 2 ? &words[1] : nullptr);
  }
  if (!cmd) {
    qorConsole_Print("Unknown command: %s", words[0].c_str());
    return -1;
  }

  int argc = static_cast<int>(words.size()) - 1;
  if (argc < cmd->parameters - cmd->optional || argc > cmd->parameters) {
    qorConsole_Print("Usage: %s", usageOf(*cmd).c_str());
    return -2;
  }
  // Copy what the call needs: the handler may register commands and move the list.
  QOR_CONSOLE_HANDLER handler = cmd->handler;
  ULONG id = cmd->id;
  std::vector<char*> argv;
  argv.reserve(words.size());
  for (std::size_t i = 1; i < words.size(); ++i) argv.push_back(words[i].data());
  argv.push_back(nullptr);
  handler(id, argc, argv.data());
  return 0;
}

KX_EXPORT void kxHost_SetPrintSink(void (*sink)(const char* text)) { g_sink.store(sink); }

KX_EXPORT void kxHost_EnumerateCommands(void (*fn)(const char* group, const char* name, int parameters,
                                                   int optional, void* context),
                                        void* context) {
  if (!fn) return;
  // A snapshot, so the callback may change the command list safely.
  std::vector<Command> list = commands();
  for (const Command& c : list) fn(c.group.c_str(), c.name.c_str(), c.parameters, c.optional, context);
}

KX_EXPORT void kxHost_ClearCommands(void) {
  commands().clear();
  kx::clearHostCommandWords();
}

KX_EXPORT void kxHost_DescribeCommand(const char* group, const char* name, const char* parameters,
                                      const char* summary) {
  if (!name || !*name) return;
  kx::setCommandWords(group ? group : "", name, {parameters ? parameters : "", summary ? summary : ""});
}

}  // extern "C"
