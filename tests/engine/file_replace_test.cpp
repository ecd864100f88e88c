// Replacing saves: what they keep of the old file, what they leave behind, and in
// which order they reach the disk.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "file_calls.h"
#include "kxHost.h"

// fsync and rename as the file layer calls them, in order: what reached the disk when.
namespace {
std::vector<std::string> DiskEvents;
std::string PathOf(int fd) {
  char link[64], path[4096];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  ssize_t n = readlink(link, path, sizeof path - 1);
  return n < 0 ? std::string() : std::string(path, static_cast<size_t>(n));
}
}  // namespace

extern "C" __attribute__((visibility("default"))) int fsync(int fd) {
  DiskEvents.push_back("sync " + PathOf(fd));
  static auto real = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "fsync"));
  return real(fd);
}

extern "C" __attribute__((visibility("default"))) int rename(const char* from, const char* to) {
  DiskEvents.push_back("rename " + std::filesystem::path(from).filename().string() + " " + to);
  static auto real = reinterpret_cast<int (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "rename"));
  return real(from, to);
}

namespace {

namespace fs = std::filesystem;

TEST(FileReplace, TempFilesOfInterruptedSavesGoAtTheNextSaveOrStartAndNothingElseDoes) {
  TempDir dir;
  struct Entry {
    const char* Name;
    bool GoneAtSave;   // a save of Save.dat
    bool GoneAtStart;  // the module asking for its root folder
  } entries[] = {
      {".Save.dat.kxtmp-a1B2c3", true, true},    {".Other.txt.kxtmp-Zz9900", false, true},
      {".Save.dat.kxtmp-a1B2c", false, false},   {".Save.dat.kxtmp-a1B2c3d", false, false},
      {".Save.dat.kxtmp-a1B2c!", false, false},  {"Save.dat.kxtmp-a1B2c3", false, false},
      {"..kxtmp-a1B2c3", false, false},          {".save.dat.kxtmp-a1B2c3", false, true},
  };
  for (const Entry& e : entries) dir.write(e.Name, "left");
  fs::create_directory(dir.file(".Save.dat.kxtmp-folder"));
  fs::create_symlink(dir.file("Save.dat"), dir.file(".Save.dat.kxtmp-link00"));
  const std::vector<std::string> others = {".Save.dat.kxtmp-folder", ".Save.dat.kxtmp-link00"};

  ASSERT_TRUE(Save(dir.file("Save.dat"), "new"));
  for (const Entry& e : entries) EXPECT_EQ(!dir.exists(e.Name), e.GoneAtSave) << e.Name;
  kxHost_SetRootFolder(dir.path().c_str());
  char folder[256];
  qorFileIO_GetFolder(folder, nullptr);
  kxHost_SetRootFolder(nullptr);
  for (const Entry& e : entries) EXPECT_EQ(!dir.exists(e.Name), e.GoneAtStart) << e.Name;
  for (const std::string& name : others) EXPECT_TRUE(fs::exists(fs::symlink_status(dir.file(name)))) << name;
  EXPECT_EQ(Text(dir, "Save.dat"), "new");
}

TEST(FileReplace, ASaveInProgressKeepsItsTempFileWhileAnotherSaves) {
  TempDir dir;
  HANDLE first = OpenForSave(dir.file("Save.dat"));
  ASSERT_NE(first, INVALID_HANDLE_VALUE);
  ASSERT_TRUE(Write(first, "first"));
  ASSERT_TRUE(Save(dir.file("Save.dat"), "second"));
  EXPECT_EQ(Text(dir, "Save.dat"), "second") << "nothing of the open save shows under its name";
  char folder[256];
  kxHost_SetRootFolder(dir.path().c_str());
  qorFileIO_GetFolder(folder, nullptr);
  kxHost_SetRootFolder(nullptr);
  EXPECT_EQ(TempFiles(dir.path()).size(), 1u);
  EXPECT_TRUE(qorCloseHandle(first));
  EXPECT_EQ(Text(dir, "Save.dat"), "first");
  EXPECT_TRUE(TempFiles(dir.path()).empty());
}

TEST(FileReplace, ASaveKeepsTheModeAndOwnerOfTheFileItReplaces) {
  TempDir dir;
  const bool privileged = geteuid() == 0;
  for (mode_t mode : {0600, 0640, 0755, 02775}) {
    dir.write("Save.dat", "old");
    ASSERT_EQ(chmod(dir.file("Save.dat").c_str(), mode), 0);
    // Only a privileged process can hand a file to someone else; others keep their own.
    uid_t owner = privileged ? 4321 : geteuid();
    gid_t group = privileged ? 4322 : getegid();
    ASSERT_EQ(chown(dir.file("Save.dat").c_str(), owner, group), 0);
    ASSERT_EQ(chmod(dir.file("Save.dat").c_str(), mode), 0);

    ASSERT_TRUE(Save(dir.file("Save.dat"), "new"));
    struct stat st;
    ASSERT_EQ(stat(dir.file("Save.dat").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode) << std::oct << mode;
    EXPECT_EQ(st.st_uid, owner);
    EXPECT_EQ(st.st_gid, group);
    EXPECT_EQ(Text(dir, "Save.dat"), "new");
  }
  // A new file is readable by all, as one written in place would be.
  ASSERT_TRUE(Save(dir.file("Fresh.dat"), "x"));
  struct stat st;
  ASSERT_EQ(stat(dir.file("Fresh.dat").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0644u);
}

TEST(FileReplace, ASaveThroughALinkReplacesTheFileItNamesAndKeepsTheLink) {
  TempDir dir;
  dir.write("data/real.dat", "old");
  fs::create_symlink("data/real.dat", dir.file("Save.dat"));   // relative to its folder
  fs::create_symlink(dir.file("Save.dat"), dir.file("Chain.dat"));
  fs::create_symlink("../data/later.dat", dir.file("data/Dangling.dat"));
  fs::create_symlink("Loop.dat", dir.file("Loop.dat"));

  ASSERT_TRUE(Save(dir.file("chain.DAT"), "new"));
  EXPECT_TRUE(fs::is_symlink(dir.file("Save.dat")));
  EXPECT_TRUE(fs::is_symlink(dir.file("Chain.dat")));
  EXPECT_EQ(Text(dir, "data/real.dat"), "new");

  ASSERT_TRUE(Save(dir.file("data/Dangling.dat"), "made"));
  EXPECT_TRUE(fs::is_symlink(dir.file("data/Dangling.dat")));
  EXPECT_EQ(Text(dir, "data/later.dat"), "made");

  EXPECT_EQ(OpenForSave(dir.file("Loop.dat")), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(TempFiles(dir.path()).empty());
  EXPECT_TRUE(TempFiles(dir.file("data")).empty());
}

TEST(FileReplace, TheDataThenTheRenameThenTheFolderReachTheDisk) {
  TempDir dir;
  dir.write("Save.dat", "old");
  DiskEvents.clear();
  ASSERT_TRUE(Save(dir.file("Save.dat"), "new"));
  ASSERT_EQ(DiskEvents.size(), 3u);
  const std::string folder = fs::canonical(dir.path()).string();
  EXPECT_EQ(DiskEvents[0].rfind("sync " + folder + "/.Save.dat.kxtmp-", 0), 0u) << DiskEvents[0];
  EXPECT_EQ(DiskEvents[1].rfind("rename .Save.dat.kxtmp-", 0), 0u) << DiskEvents[1];
  EXPECT_EQ(DiskEvents[1].substr(DiskEvents[1].rfind(' ') + 1), dir.file("Save.dat"));
  EXPECT_EQ(DiskEvents[2], "sync " + folder);
}

// A version of the file: its number, then enough bytes that a save takes many writes.
std::string Version(int n) { return "version " + std::to_string(n) + "\n" + std::string(1 << 20, char('a' + n % 26)); }

TEST(FileReplace, AKilledSaveLeavesTheLastWholeFileAndTheNextSaveNoTempFile) {
  TempDir dir;
  const std::string path = dir.file("Sounds.qorSound");
  ASSERT_TRUE(Save(path, Version(0)));
  int done = 0;
  for (int child = 1; child <= 3; ++child) {
    int signal[2];
    ASSERT_EQ(pipe(signal), 0);
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      // Saves in a loop; in the third save it tells the parent it is halfway, and waits there.
      close(signal[0]);
      for (int n = 1;; ++n) {
        std::string text = Version(done + n);
        HANDLE h = OpenForSave(path);
        if (h == INVALID_HANDLE_VALUE || !Write(h, text.substr(0, text.size() / 2))) _exit(1);
        if (n == 3 && write(signal[1], "h", 1) == 1) pause();
        if (!Write(h, text.substr(text.size() / 2)) || !qorCloseHandle(h)) _exit(1);
      }
    }
    close(signal[1]);
    char c = 0;
    ASSERT_EQ(read(signal[0], &c, 1), 1) << "the child failed before its third save";
    close(signal[0]);
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    done += 2;
    // Each save of a later child removed what the one before left; the last one's stays.
    EXPECT_EQ(TempFiles(dir.path()).size(), 1u);
    EXPECT_EQ(Text(dir, "Sounds.qorSound"), Version(done)) << "whole, and the last one that finished";
  }
  ASSERT_TRUE(Save(path, Version(99)));
  EXPECT_TRUE(TempFiles(dir.path()).empty());
  EXPECT_EQ(Text(dir, "Sounds.qorSound"), Version(99));
}

}  // namespace
