#include "fuzz_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

// The file layer syncs every save, and a sync costs milliseconds: it kept the base-file
// harness at a few hundred inputs a second. Durability is not under test here, so the
// program's own fsync stands in for the C library's (the harnesses export it).
extern "C" __attribute__((visibility("default"))) int fsync(int) { return 0; }
extern "C" __attribute__((visibility("default"))) int fdatasync(int) { return 0; }

namespace {

std::vector<std::string>& Folders() {
  static std::vector<std::string> folders;
  return folders;
}

void RemoveFolders() {
  std::error_code ignored;
  for (const std::string& folder : Folders()) std::filesystem::remove_all(folder, ignored);
}

}  // namespace

std::string ScratchFolder(const char* name) {
  struct stat st;
  const bool shm = stat("/dev/shm", &st) == 0 && S_ISDIR(st.st_mode) && access("/dev/shm", W_OK) == 0;
  std::string pattern = std::string(shm ? "/dev/shm" : "/tmp") + "/kxfuzz-" + name + "-XXXXXX";
  if (!mkdtemp(pattern.data())) std::abort();
  if (Folders().empty()) std::atexit(RemoveFolders);
  Folders().push_back(pattern);
  return pattern + "/";
}

std::string StartModuleOnce(const char* name, int toolMode) {
  std::string root = ScratchFolder(name);
  StartModuleIn(root, toolMode);
  return root;
}

void StartModuleIn(const std::string& root, int toolMode) {
  kxHost_SetRootFolder(root.c_str());
  kxHost_SetAudioOutput("offline");
  kxHost_SetManualClock(1);
  kxHost_SetPrintSink([](const char*) {});
  if (qorSound_Initialize(nullptr, toolMode) != S_OK) std::abort();
}

void WriteBytes(const std::string& path, const void* data, size_t size) {
  // Written over and then cut, not truncated first: the file keeps the pages it had.
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) std::abort();
  const auto* p = static_cast<const char*>(data);
  for (size_t left = size; left > 0;) {
    ssize_t n = write(fd, p, left);
    if (n <= 0) std::abort();
    p += n;
    left -= static_cast<size_t>(n);
  }
  if (ftruncate(fd, static_cast<off_t>(size)) != 0) std::abort();
  close(fd);
}

std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::vector<uint8_t> bytes;
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return bytes;
  uint8_t chunk[65536];
  ssize_t n;
  while ((n = read(fd, chunk, sizeof chunk)) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
  close(fd);
  return bytes;
}

std::vector<std::string> Lines(const uint8_t* data, size_t size, size_t limit) {
  std::vector<std::string> lines;
  const char* text = reinterpret_cast<const char*>(data);
  size_t start = 0;
  while (start < size && lines.size() < limit) {
    size_t end = start;
    while (end < size && text[end] != '\n') ++end;
    lines.emplace_back(text + start, end - start);
    start = end + 1;
  }
  return lines;
}
