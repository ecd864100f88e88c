// Win32-shaped file calls over POSIX descriptors.
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <unordered_set>

#include "fileio/path_resolve.h"
#include "kxEngine.h"

namespace {

struct FileHandle {
  int fd = -1;
  bool readable = false;
  bool writable = false;
  // Set by any failed or short write; a replacing handle then discards its temp file.
  bool failed = false;
  std::string tempPath;    // non-empty: writes go here and replace target at close
  std::string targetPath;
};

// Handles are checked against this set, so a stale, doubled or made-up handle is
// refused instead of dereferenced.
std::mutex& registryMutex() {
  static std::mutex m;
  return m;
}
std::unordered_set<FileHandle*>& registry() {
  static std::unordered_set<FileHandle*> live;
  return live;
}

FileHandle* lookup(HANDLE h) {
  if (!h || h == INVALID_HANDLE_VALUE) return nullptr;
  std::lock_guard<std::mutex> lock(registryMutex());
  auto it = registry().find(static_cast<FileHandle*>(h));
  return it == registry().end() ? nullptr : *it;
}

HANDLE publish(FileHandle* f) {
  std::lock_guard<std::mutex> lock(registryMutex());
  registry().insert(f);
  return f;
}

bool isDirectory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool isRegularFile(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Replacing renames over the target, which the folder's permissions allow even for a
// read-only file; refuse it as an in-place open would.
bool mayReplace(const std::string& path) { return access(path.c_str(), F_OK) != 0 || access(path.c_str(), W_OK) == 0; }

// A hidden temp file in the target's folder, so the final rename stays on one file system.
int createTempBeside(const std::string& target, std::string& tempPath) {
  std::size_t slash = target.rfind('/');
  std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
  std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
  // Keep the temp name within NAME_MAX even for the longest target names.
  if (base.size() > 200) base.resize(200);
  std::string pattern = dir + "." + base + ".kxtmp-XXXXXX";
  int fd = mkostemp(pattern.data(), O_CLOEXEC);
  if (fd < 0) return -1;
  fchmod(fd, 0644);
  tempPath = pattern;
  return fd;
}

// Opens an existing or new file in place. O_NONBLOCK keeps a FIFO from hanging the open.
int openDirect(const std::string& path, int flags) {
  int fd = open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0644);
  if (fd < 0) return -1;
  struct stat st;
  if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    close(fd);
    return -1;
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  return fd;
}

}  // namespace

extern "C" {

KX_EXPORT HANDLE qorCreateFile(const char* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                               DWORD creation, DWORD flags, HANDLE templateFile) {
  if (!path || !*path) return INVALID_HANDLE_VALUE;
  const bool wantRead = access & GENERIC_READ;
  const bool wantWrite = access & GENERIC_WRITE;
  int mode = wantWrite ? (wantRead ? O_RDWR : O_WRONLY) : O_RDONLY;

  std::string target = kx::resolvePath(path);
  std::string tempPath;
  int fd = -1;
  switch (creation) {
    case CREATE_NEW:
      fd = openDirect(target, mode | O_CREAT | O_EXCL);
      break;
    case OPEN_EXISTING:
      fd = openDirect(target, mode);
      break;
    case OPEN_ALWAYS:
      fd = openDirect(target, mode | O_CREAT);
      break;
    case TRUNCATE_EXISTING:
      if (!wantWrite || !isRegularFile(target) || !mayReplace(target)) return INVALID_HANDLE_VALUE;
      fd = createTempBeside(target, tempPath);
      break;
    case CREATE_ALWAYS:
      if (isDirectory(target) || !mayReplace(target)) return INVALID_HANDLE_VALUE;
      fd = createTempBeside(target, tempPath);
      break;
    default:
      return INVALID_HANDLE_VALUE;
  }
  if (fd < 0) return INVALID_HANDLE_VALUE;

  auto* f = new FileHandle;
  f->fd = fd;
  f->readable = wantRead;
  f->writable = wantWrite;
  f->tempPath = std::move(tempPath);
  f->targetPath = std::move(target);
  return publish(f);
}

KX_EXPORT BOOL qorReadFile(HANDLE file, void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
  if (done) *done = 0;
  FileHandle* f = lookup(file);
  if (!f || !f->readable || (!buffer && count)) return FALSE;
  auto* p = static_cast<char*>(buffer);
  DWORD total = 0;
  while (total < count) {
    ssize_t n = read(f->fd, p + total, count - total);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (done) *done = total;
      return FALSE;
    }
    if (n == 0) break;  // end of file
    total += static_cast<DWORD>(n);
  }
  if (done) *done = total;
  return TRUE;
}

KX_EXPORT BOOL qorWriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
  if (done) *done = 0;
  FileHandle* f = lookup(file);
  if (!f) return FALSE;
  if (!f->writable || (!buffer && count)) {
    f->failed = true;
    return FALSE;
  }
  auto* p = static_cast<const char*>(buffer);
  DWORD total = 0;
  while (total < count) {
    ssize_t n = write(f->fd, p + total, count - total);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {  // a zero-byte write would loop forever; treat it as a full disk
      f->failed = true;
      if (done) *done = total;
      return FALSE;
    }
    total += static_cast<DWORD>(n);
  }
  if (done) *done = total;
  return TRUE;
}

KX_EXPORT DWORD qorGetFileSize(HANDLE file, DWORD* high) {
  if (high) *high = 0;
  FileHandle* f = lookup(file);
  struct stat st;
  if (!f || fstat(f->fd, &st) != 0) return 0xFFFFFFFFu;
  uint64_t size = static_cast<uint64_t>(st.st_size);
  if (high) *high = static_cast<DWORD>(size >> 32);
  return static_cast<DWORD>(size);
}

// FALSE also when a replacing handle could not commit: the old file then stays as it was.
KX_EXPORT BOOL qorCloseHandle(HANDLE file) {
  FileHandle* f = lookup(file);
  if (!f) return FALSE;
  {
    std::lock_guard<std::mutex> lock(registryMutex());
    registry().erase(f);
  }
  bool ok = true;
  if (f->tempPath.empty()) {
    ok = close(f->fd) == 0;
  } else {
    // Flush before the rename so a crash never leaves a truncated file under the real name.
    ok = !f->failed && fsync(f->fd) == 0;
    ok = close(f->fd) == 0 && ok;
    ok = ok && rename(f->tempPath.c_str(), f->targetPath.c_str()) == 0;
    if (!ok) unlink(f->tempPath.c_str());
  }
  delete f;
  return ok ? TRUE : FALSE;
}

}  // extern "C"
