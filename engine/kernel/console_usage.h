// The words that help shows for a command: its parameters by name and one line on what it does.
// Registration carries only counts, so the names live here, kept by group and command.
#pragma once

#include <string>

namespace kx {

struct CommandWords {
  std::string Parameters;  // "NAME [X Y Z]": the optional ones in brackets, at the end
  std::string Summary;     // may be empty
};

// The words for a command, or null. A host's own words come before the built-in ones.
const CommandWords* findCommandWords(const std::string& group, const std::string& name);
void setCommandWords(const std::string& group, const std::string& name, CommandWords words);
void clearHostCommandWords();

// True when the words name exactly `parameters` parameters, the last `optional` of them in
// brackets: words that no longer fit the registration are not shown.
bool wordsFit(const std::string& words, int parameters, int optional);

}  // namespace kx
