#include "io/module_paths.h"

#include <strings.h>

#include <vector>

#include "common/words.h"
#include "io/diagnostics.h"
#include "scene/scene_script.h"

namespace {

// The console commands that take a path, and which parameter it is.
struct PathParameter {
  const char* Command;
  size_t Index;  // 1: the first parameter
};
const PathParameter kPathParameters[] = {{"LoadMP3", 1}, {"LoadMP3List", 1}};

// Quotes a word the console would otherwise split or drop.
std::string ConsoleWord(const std::string& word) {
  if (!word.empty() && word.find_first_of(" \t") == std::string::npos) return word;
  return "\"" + word + "\"";
}

}  // namespace

bool ToModulePath(std::string* path) {
  if (path->empty() || (*path)[0] == '/' || path->find('/') == std::string::npos) return false;
  for (char& c : *path)
    if (c == '/') c = '\\';
  return true;
}

std::string ConsoleLineToModule(const std::string& line) {
  std::vector<std::string> words = kx::splitWords(line);
  for (const PathParameter& p : kPathParameters) {
    if (words.size() <= p.Index || strcasecmp(words[0].c_str(), p.Command) != 0) continue;
    std::string given = words[p.Index];
    if (!ToModulePath(&words[p.Index])) return line;
    diagnostics::Note("path \"" + given + "\" given as \"" + words[p.Index] + "\": the module's paths take backslashes");
    std::string rebuilt;
    for (const std::string& word : words) rebuilt += (rebuilt.empty() ? "" : " ") + ConsoleWord(word);
    return rebuilt;
  }
  return line;
}
