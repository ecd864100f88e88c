// How a console line splits into words; the engine's console and the programs that read
// console lines beside it (scene scripts) must agree on it.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace kx {

// Blanks separate words; double quotes group blanks into one word and are dropped.
inline std::vector<std::string> splitWords(std::string_view line) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false, quoted = false;
  for (char c : line) {
    if (c == '"') {
      quoted = !quoted;
      inWord = true;  // "" is an empty word, not nothing
    } else if (!quoted && (c == ' ' || c == '\t' || c == '\r' || c == '\n')) {
      if (inWord) words.push_back(std::move(word));
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (inWord) words.push_back(std::move(word));
  return words;
}

}  // namespace kx
