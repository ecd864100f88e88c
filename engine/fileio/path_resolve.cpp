#include "fileio/path_resolve.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cstring>

#include "common/ascii.h"
#include "kxPath.h"

namespace kx {
namespace {

bool entryExists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}

// The byte-wise smallest entry of dir equal to name ignoring case, so the choice
// does not depend on directory order.
bool findNoCase(const std::string& dir, const std::string& name, std::string& found) {
  DIR* d = opendir(dir.c_str());
  if (!d) return false;
  bool any = false;
  while (const dirent* e = readdir(d)) {
    if (!equalsNoCase(e->d_name, name)) continue;
    if (!any || std::strcmp(e->d_name, found.c_str()) < 0) found = e->d_name;
    any = true;
  }
  closedir(d);
  return any;
}

}  // namespace

std::string resolvePath(const std::string& input) {
  std::string path = input;
  for (char& c : path)
    if (c == '\\') c = '/';

  std::string out;
  if (!path.empty() && path[0] == '/') out = "/";
  // Once a component is missing, nothing below it can exist, so stop scanning.
  bool parentExists = true;
  std::size_t pos = 0;
  while (pos < path.size()) {
    std::size_t end = path.find('/', pos);
    if (end == std::string::npos) end = path.size();
    std::string comp = path.substr(pos, end - pos);
    pos = end + 1;
    if (comp.empty()) continue;  // doubled slashes

    if (!out.empty() && out.back() != '/') out += '/';
    if (parentExists && comp != "." && comp != ".." && !entryExists(out + comp)) {
      std::string match;
      if (findNoCase(out.empty() ? "." : out, comp, match))
        comp = match;
      else
        parentExists = false;
    }
    out += comp;
  }
  if (!path.empty() && path.back() == '/' && !out.empty() && out.back() != '/') out += '/';
  return out;
}

}  // namespace kx

extern "C" KX_EXPORT int kxPath_Resolve(const char* path, char* resolved, size_t size) {
  if (!path || !resolved || size == 0) return -1;
  std::string out = kx::resolvePath(path);
  if (out.size() >= size) {
    resolved[0] = '\0';
    return -1;
  }
  std::memcpy(resolved, out.c_str(), out.size() + 1);
  return 0;
}
