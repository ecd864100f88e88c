// The folder the module builds its absolute paths from.
#include <unistd.h>

#include <cstring>
#include <string>

#include "fileio/path_resolve.h"
#include "fileio/replace_file.h"
#include "kxEngine.h"
#include "kxHost.h"
#include "kxSoundWin32.h"

namespace {

constexpr std::size_t kFolderSize = 256;  // the buffer qorFileIO_GetFolder writes

std::string& rootFolder() {
  static std::string root;
  return root;
}

void setRoot(std::string folder) {
  if (folder.size() > kFolderSize - 2) folder.resize(kFolderSize - 2);
  if (folder.empty() || folder.back() != '/') folder += '/';
  rootFolder() = std::move(folder);
}

}  // namespace

extern "C" {

KX_EXPORT void kxHost_SetRootFolder(const char* folder) {
  if (!folder || !*folder) {
    rootFolder().clear();  // back to the working directory at next use
    return;
  }
  setRoot(folder);
}

KX_EXPORT LONG qorFileIO_GetFolder(char* folder, char* second) {
  if (second) second[0] = '\0';
  if (rootFolder().empty()) {
    std::string cwd(4096, '\0');
    if (getcwd(cwd.data(), cwd.size())) {
      cwd.resize(std::strlen(cwd.c_str()));
      setRoot(cwd);
    } else {
      setRoot("./");
    }
  }
  const std::string& root = rootFolder();
  // A module asks for the folder as it starts: the time to clear what saves that were
  // killed in an earlier run left there.
  kx::sweepTempFiles(kx::resolvePath(root));
  if (!folder) return -1;
  std::size_t n = root.size() < kFolderSize - 1 ? root.size() : kFolderSize - 1;
  std::memcpy(folder, root.data(), n);
  folder[n] = '\0';
  return 0;
}

}  // extern "C"
