#include "fileio/replace_file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <vector>

namespace kx {
namespace {

constexpr char kMark[] = ".kxtmp-";
constexpr std::size_t kMarkSize = sizeof kMark - 1;
constexpr std::size_t kRandomSize = 6;  // the XXXXXX mkostemp fills
// Keeps the temp name within NAME_MAX even for the longest target names.
constexpr std::size_t kBaseMax = 200;
constexpr int kMaxLinkHops = 40;

std::string folderOf(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string tempPrefix(const std::string& target) {
  std::size_t slash = target.rfind('/');
  std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
  if (base.size() > kBaseMax) base.resize(kBaseMax);
  return "." + base + kMark;
}

bool isAlnum(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

// Exactly the six characters mkostemp puts at the end.
bool isRandomTail(const char* s) {
  for (std::size_t i = 0; i < kRandomSize; ++i)
    if (!isAlnum(s[i])) return false;
  return s[kRandomSize] == '\0';
}

// A temp name of the target whose prefix is given, or of any target for an empty prefix.
bool isTempName(const char* name, const std::string& prefix) {
  std::size_t n = std::strlen(name);
  if (!prefix.empty()) {
    return n == prefix.size() + kRandomSize && std::memcmp(name, prefix.data(), prefix.size()) == 0 &&
           isRandomTail(name + prefix.size());
  }
  if (n < 1 + 1 + kMarkSize + kRandomSize || name[0] != '.') return false;  // ".", NAME, mark, tail
  return std::memcmp(name + n - kRandomSize - kMarkSize, kMark, kMarkSize) == 0 && isRandomTail(name + n - kRandomSize);
}

bool sameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// A live save holds its temp file locked; a killed one's lock died with it.
void removeIfAbandoned(int folder, const char* name) {
  struct stat seen;
  if (fstatat(folder, name, &seen, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(seen.st_mode)) return;
  int fd = openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return;
  struct stat opened, now;
  if (fstat(fd, &opened) == 0 && sameFile(opened, seen) && flock(fd, LOCK_EX | LOCK_NB) == 0 &&
      fstatat(folder, name, &now, AT_SYMLINK_NOFOLLOW) == 0 && sameFile(now, opened)) {
    unlinkat(folder, name, 0);
  }
  close(fd);
}

void sweep(const std::string& folder, const std::string& prefix) {
  DIR* d = opendir(folder.empty() ? "." : folder.c_str());
  if (!d) return;
  // Names first: removing entries while the folder is being read may skip others.
  std::vector<std::string> names;
  while (const dirent* e = readdir(d))
    if (isTempName(e->d_name, prefix)) names.emplace_back(e->d_name);
  for (const std::string& name : names) removeIfAbandoned(dirfd(d), name.c_str());
  closedir(d);
}

// A rename is an entry of the folder: without this a crash may bring the old file back.
bool syncFolder(const std::string& folder) {
  int fd = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  // Some file systems cannot sync a folder at all; there is nothing more to do there.
  bool ok = fsync(fd) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
  close(fd);
  return ok;
}

}  // namespace

std::string followLinks(const std::string& path) {
  std::string current = path;
  for (int hop = 0; hop < kMaxLinkHops; ++hop) {
    struct stat st;
    if (lstat(current.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return current;
    char link[PATH_MAX];
    ssize_t n = readlink(current.c_str(), link, sizeof link);
    if (n <= 0 || static_cast<std::size_t>(n) >= sizeof link) return std::string();
    std::string next(link, static_cast<std::size_t>(n));
    current = next[0] == '/' ? next : folderOf(current) + next;
  }
  return std::string();
}

int createTempBeside(const std::string& target, std::string& tempPath) {
  std::string prefix = tempPrefix(target);
  std::string folder = folderOf(target);
  sweep(folder, prefix);
  std::string pattern = folder + prefix + "XXXXXX";
  int fd = mkostemp(pattern.data(), O_CLOEXEC);
  if (fd < 0) return -1;
  flock(fd, LOCK_EX);  // a fresh file: nobody else can hold it
  struct stat old, made;
  if (stat(target.c_str(), &old) == 0 && S_ISREG(old.st_mode)) {
    // Owner before mode: a change of owner clears set-id bits, which the mode then restores.
    if (fstat(fd, &made) == 0 && (made.st_uid != old.st_uid || made.st_gid != old.st_gid) &&
        fchown(fd, old.st_uid, old.st_gid) != 0) {
      // Only a privileged process may give a file to another user; the mode is kept all the same.
    }
    fchmod(fd, old.st_mode & 07777);
  } else {
    fchmod(fd, 0644);
  }
  tempPath = pattern;
  return fd;
}

bool commitTemp(int fd, const std::string& tempPath, const std::string& target) {
  // Data on disk before the name points at it, and renamed while still locked, so that no
  // sweep takes the file between the two.
  bool ok = fsync(fd) == 0 && rename(tempPath.c_str(), target.c_str()) == 0;
  if (!ok) unlink(tempPath.c_str());
  ok = close(fd) == 0 && ok;
  return ok && syncFolder(folderOf(target));
}

void discardTemp(int fd, const std::string& tempPath) {
  unlink(tempPath.c_str());
  close(fd);
}

void sweepTempFiles(const std::string& folder) { sweep(folder, std::string()); }

}  // namespace kx
