// Win32-shaped file calls over POSIX descriptors.
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>

#include "fileio/path_resolve.h"
#include "fileio/replace_file.h"
#include "kxEngine.h"
#include "kxSoundWin32.h"

namespace {

struct FileHandle {
  int fd = -1;
  bool readable = false;
  bool writable = false;
  // Set by any failed or short write; a replacing handle then discards its temp file.
  bool failed = false;
  std::string tempPath;    // non-empty: writes go here and replace target at close
  std::string targetPath;
  // Read-ahead, so the many small reads of a structured file cost few system calls.
  // Writes are not buffered: a failed write must be reported by the call that made it.
  std::unique_ptr<char[]> readAhead;  // made at the first small read, never zeroed
  size_t readAheadCapacity = 0;
  size_t readAheadUsed = 0;
  size_t readPos = 0;
};

constexpr size_t READ_AHEAD = 64 * 1024;
constexpr size_t READ_AHEAD_MIN = 4 * 1024;

// As much as the file still holds, within bounds: a small file costs a small buffer.
size_t readAheadFor(int fd) {
  struct stat st;
  off_t at = lseek(fd, 0, SEEK_CUR);
  size_t left = fstat(fd, &st) == 0 && at >= 0 && st.st_size > at ? static_cast<size_t>(st.st_size - at) : 0;
  return left < READ_AHEAD_MIN ? READ_AHEAD_MIN : left > READ_AHEAD ? READ_AHEAD : left;
}

// Reads straight from the descriptor; -1 on error, else the bytes read (short only at the end).
ssize_t readFully(int fd, char* p, size_t count) {
  size_t total = 0;
  while (total < count) {
    ssize_t n = read(fd, p + total, count - total);
    if (n < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    if (n == 0) break;  // end of file
    total += static_cast<size_t>(n);
  }
  return static_cast<ssize_t>(total);
}

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
  if (creation == TRUNCATE_EXISTING || creation == CREATE_ALWAYS) {
    // A replacement goes to the file a link names, and the link stays.
    target = kx::followLinks(target);
    if (target.empty()) return INVALID_HANDLE_VALUE;
  }
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
      fd = kx::createTempBeside(target, tempPath);
      break;
    case CREATE_ALWAYS:
      if (isDirectory(target) || !mayReplace(target)) return INVALID_HANDLE_VALUE;
      fd = kx::createTempBeside(target, tempPath);
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
  size_t total = 0;
  if (f->writable) {
    // A handle that also writes reads in place, so reads and writes share one position.
    ssize_t n = readFully(f->fd, p, count);
    if (done) *done = n < 0 ? 0 : static_cast<DWORD>(n);
    return n < 0 ? FALSE : TRUE;
  }
  // What is left of the read-ahead first, then either a direct read for a large
  // request or one refill for a small one.
  size_t buffered = f->readAheadUsed - f->readPos;
  size_t take = buffered < count ? buffered : count;
  if (take) std::memcpy(p, f->readAhead.get() + f->readPos, take);
  f->readPos += take;
  total += take;
  if (total < count) {
    size_t want = count - total;
    if (!f->readAhead && want < READ_AHEAD) {
      f->readAheadCapacity = readAheadFor(f->fd);
      f->readAhead.reset(new char[f->readAheadCapacity]);
    }
    if (want >= f->readAheadCapacity) {
      ssize_t n = readFully(f->fd, p + total, want);
      if (n < 0) {
        if (done) *done = static_cast<DWORD>(total);
        return FALSE;
      }
      total += static_cast<size_t>(n);
    } else {
      ssize_t n = readFully(f->fd, f->readAhead.get(), f->readAheadCapacity);
      f->readAheadUsed = n < 0 ? 0 : static_cast<size_t>(n);
      f->readPos = 0;
      if (n < 0) {
        if (done) *done = static_cast<DWORD>(total);
        return FALSE;
      }
      size_t more = f->readAheadUsed < want ? f->readAheadUsed : want;
      std::memcpy(p + total, f->readAhead.get(), more);
      f->readPos = more;
      total += more;
    }
  }
  if (done) *done = static_cast<DWORD>(total);
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
  } else if (f->failed) {
    kx::discardTemp(f->fd, f->tempPath);
    ok = false;
  } else {
    ok = kx::commitTemp(f->fd, f->tempPath, f->targetPath);
  }
  delete f;
  return ok ? TRUE : FALSE;
}

}  // extern "C"
