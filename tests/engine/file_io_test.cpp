// The file layer as the module calls it: names resolved without regard to case, reads and
// writes, and saves that replace a file whole, in an order that survives a crash.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "kxEngine.h"
#include "kxHost.h"
#include "kxPath.h"
#include "kxSoundWin32.h"
#include "temp_dir.h"

// fsync and rename as the file layer calls them, in order: what reached the disk when.
namespace {
std::vector<std::string> DiskEvents;
std::string PathOf(int fd) {
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), unknown).string();
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

HANDLE OpenFile(const std::string& path, DWORD access, DWORD creation) {
  return qorCreateFile(path.c_str(), access, 0, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE OpenForSave(const std::string& path) { return OpenFile(path, GENERIC_WRITE, CREATE_ALWAYS); }

bool Write(HANDLE h, const std::string& text) {
  DWORD done = 0;
  return qorWriteFile(h, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) && done == text.size();
}

bool Save(const std::string& path, const std::string& text) {
  HANDLE h = OpenForSave(path);
  return h != INVALID_HANDLE_VALUE && Write(h, text) && qorCloseHandle(h);
}

// How many temp files interrupted or failed saves left in a folder.
size_t TempFiles(const std::string& folder) {
  size_t n = 0;
  for (const auto& e : fs::directory_iterator(folder))
    n += e.path().filename().string().find(".kxtmp-") != std::string::npos;
  return n;
}

// Reads and writes through a name resolved without regard to case.
TEST(FileIO, ResolvesEveryComponentIgnoringCaseReadsShortAndRefusesWhatIsNotThere) {
  TempDir dir;
  dir.write("Sound/Banks/Door.WAV", "creak");
  std::string path = dir.path() + "sound\\BANKS\\door.wav";
  HANDLE h = OpenFile(path, GENERIC_READ, OPEN_EXISTING);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(qorGetFileSize(h, nullptr), 5u);
  char buf[16] = {};
  DWORD done = 0;
  EXPECT_TRUE(qorReadFile(h, buf, 4, &done, nullptr));
  EXPECT_EQ(std::string(buf, done), "crea");
  EXPECT_TRUE(qorReadFile(h, buf, sizeof buf, &done, nullptr));
  EXPECT_EQ(std::string(buf, done), "k");
  EXPECT_TRUE(qorReadFile(h, buf, sizeof buf, &done, nullptr));  // at end: success, nothing read
  EXPECT_EQ(done, 0u);
  EXPECT_FALSE(qorWriteFile(h, "x", 1, &done, nullptr));
  EXPECT_TRUE(qorCloseHandle(h));
  // OPEN_ALWAYS writes in place.
  HANDLE w = OpenFile(dir.path() + "SOUND/banks/DOOR.wav", GENERIC_WRITE, OPEN_ALWAYS);
  ASSERT_NE(w, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(qorReadFile(w, buf, 1, &done, nullptr));
  EXPECT_TRUE(Write(w, "zz"));
  EXPECT_TRUE(qorCloseHandle(w));
  EXPECT_EQ(dir.readText("Sound/Banks/Door.WAV"), "zzeak");
  // A closed handle is not touched again.
  EXPECT_FALSE(qorCloseHandle(h));
  EXPECT_FALSE(qorReadFile(h, buf, 4, &done, nullptr));
  // Missing files, folders and bad arguments are refused, and the refusals create nothing.
  EXPECT_EQ(OpenFile(dir.path() + "missing.txt", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "SOUND", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "sound", GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(path, GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "nofolder/x.txt", GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile("", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), {}), 1);
  EXPECT_EQ(dir.readText("Sound/Banks/Door.WAV"), "zzeak");
  done = 7;
  EXPECT_FALSE(qorReadFile(INVALID_HANDLE_VALUE, buf, 4, &done, nullptr));
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(qorGetFileSize(nullptr, nullptr), 0xFFFFFFFFu);

  char resolved[512];
  ASSERT_EQ(kxPath_Resolve(path.c_str(), resolved, sizeof resolved), 0);
  EXPECT_EQ(std::string(resolved), dir.path() + "Sound/Banks/Door.WAV");

  // A missing leaf keeps its spelling under the resolved folders, so it can be created.
  ASSERT_EQ(kxPath_Resolve((dir.path() + "SOUND\\banks\\New.txt").c_str(), resolved, sizeof resolved), 0);
  EXPECT_EQ(std::string(resolved), dir.path() + "Sound/Banks/New.txt");

  // Too small a buffer is refused rather than truncated into another path.
  EXPECT_EQ(kxPath_Resolve(path.c_str(), resolved, 8), -1);

  // An exact match wins; otherwise the byte-wise first of the case variants.
  dir.write("b.txt", "");
  dir.write("B.TXT", "");
  dir.write("b.TXT", "");
  ASSERT_EQ(kxPath_Resolve((dir.path() + "b.TXT").c_str(), resolved, sizeof resolved), 0);
  EXPECT_EQ(std::string(resolved), dir.path() + "b.TXT");
  ASSERT_EQ(kxPath_Resolve((dir.path() + "B.txt").c_str(), resolved, sizeof resolved), 0);
  EXPECT_EQ(std::string(resolved), dir.path() + "B.TXT");
}

TEST(FileIO, RootFolderAlwaysEndsInSlashAndFitsTheBuffer) {
  char folder[256];
  char second[8] = "junk";
  kxHost_SetRootFolder("/data/game");
  qorFileIO_GetFolder(folder, second);
  EXPECT_STREQ(folder, "/data/game/");
  EXPECT_STREQ(second, "");

  std::string longPath = "/" + std::string(400, 'x');
  kxHost_SetRootFolder(longPath.c_str());
  qorFileIO_GetFolder(folder, nullptr);
  EXPECT_EQ(std::strlen(folder), 255u);
  EXPECT_EQ(folder[254], '/');

  kxHost_SetRootFolder(nullptr);  // back to the working directory
  qorFileIO_GetFolder(folder, nullptr);
  EXPECT_EQ(std::string(folder), fs::current_path().string() + "/");
}

// What a killed save leaves is a temp file nobody holds: it goes at the next save or start,
// while a save still in progress keeps its own, and the file under the name stays whole.
TEST(FileReplace, TempFilesOfInterruptedSavesGoAtTheNextSaveOrStartAndNothingElseDoes) {
  TempDir dir;
  struct Entry {
    const char* Name;
    bool GoneAtSave;   // a save of Save.dat
    bool GoneAtStart;  // the module asking for its root folder
  } entries[] = {
      {".Save.dat.kxtmp-a1B2c3", true, true},   {".Other.txt.kxtmp-Zz9900", false, true},
      {".Save.dat.kxtmp-a1B2c", false, false},  {".Save.dat.kxtmp-a1B2c3d", false, false},
      {".Save.dat.kxtmp-a1B2c!", false, false}, {"Save.dat.kxtmp-a1B2c3", false, false},
      {"..kxtmp-a1B2c3", false, false},         {".save.dat.kxtmp-a1B2c3", false, true},
  };
  for (const Entry& e : entries) dir.write(e.Name, "left");
  fs::create_directory(dir.file(".Save.dat.kxtmp-folder"));
  fs::create_symlink(dir.file("Save.dat"), dir.file(".Save.dat.kxtmp-link00"));
  const std::vector<std::string> others = {".Save.dat.kxtmp-folder", ".Save.dat.kxtmp-link00"};

  // A save in progress keeps its own through another save and a start.
  HANDLE open = OpenForSave(dir.file("Save.dat"));
  ASSERT_TRUE(Write(open, "first"));

  ASSERT_TRUE(Save(dir.file("Save.dat"), "new"));
  EXPECT_EQ(dir.readText("Save.dat"), "new") << "nothing of the open save shows under its name";
  for (const Entry& e : entries) EXPECT_EQ(!dir.exists(e.Name), e.GoneAtSave) << e.Name;
  kxHost_SetRootFolder(dir.path().c_str());
  char folder[256];
  qorFileIO_GetFolder(folder, nullptr);
  kxHost_SetRootFolder(nullptr);
  for (const Entry& e : entries) EXPECT_EQ(!dir.exists(e.Name), e.GoneAtStart) << e.Name;
  for (const std::string& name : others) EXPECT_TRUE(fs::exists(fs::symlink_status(dir.file(name)))) << name;
  EXPECT_TRUE(qorCloseHandle(open));
  EXPECT_EQ(dir.readText("Save.dat"), "first");
}

TEST(FileReplace, ASaveKeepsTheModeAndOwnerOfTheFileItReplacesAndReachesTheDiskInOrder) {
  TempDir dir;
  const bool privileged = geteuid() == 0;
  for (mode_t mode : {0600, 0640, 0755, 02775}) {
    dir.write("Save.dat", "old");
    // Only a privileged process can hand a file to someone else; others keep their own.
    uid_t owner = privileged ? 4321 : geteuid();
    gid_t group = privileged ? 4322 : getegid();
    ASSERT_EQ(chown(dir.file("Save.dat").c_str(), owner, group), 0);
    // After the owner: a change of owner clears the set-group bit.
    ASSERT_EQ(chmod(dir.file("Save.dat").c_str(), mode), 0);

    DiskEvents.clear();
    ASSERT_TRUE(Save(dir.file("Save.dat"), "new"));
    struct stat st;
    ASSERT_EQ(stat(dir.file("Save.dat").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, mode) << std::oct << mode;
    EXPECT_EQ(st.st_uid, owner);
    EXPECT_EQ(st.st_gid, group);
    EXPECT_EQ(dir.readText("Save.dat"), "new");
  }
  // The data, then the rename, then the folder reach the disk.
  ASSERT_EQ(DiskEvents.size(), 3u);
  const std::string folder = fs::canonical(dir.path()).string();
  EXPECT_EQ(DiskEvents[0].rfind("sync " + folder + "/.Save.dat.kxtmp-", 0), 0u) << DiskEvents[0];
  EXPECT_EQ(DiskEvents[1].rfind("rename .Save.dat.kxtmp-", 0), 0u) << DiskEvents[1];
  EXPECT_EQ(DiskEvents[1].substr(DiskEvents[1].rfind(' ') + 1), dir.file("Save.dat"));
  EXPECT_EQ(DiskEvents[2], "sync " + folder);
  // A new file is readable by all, as one written in place would be.
  ASSERT_TRUE(Save(dir.file("Fresh.dat"), "x"));
  struct stat st;
  ASSERT_EQ(stat(dir.file("Fresh.dat").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0644u);

  // A failed save keeps the old file and leaves nothing behind.
  HANDLE bad = OpenFile(dir.path() + "save.DAT", GENERIC_READ, CREATE_ALWAYS);
  ASSERT_NE(bad, INVALID_HANDLE_VALUE);
  DWORD done = 5;
  EXPECT_FALSE(qorWriteFile(bad, "broken", 6, &done, nullptr));
  EXPECT_EQ(done, 0u);
  EXPECT_FALSE(qorCloseHandle(bad));
  EXPECT_EQ(dir.readText("Save.dat"), "new");
  EXPECT_EQ(TempFiles(dir.path()), 0u);

  // TRUNCATE_EXISTING goes through the same path.
  HANDLE t = OpenFile(dir.path() + "SAVE.dat", GENERIC_WRITE | GENERIC_READ, TRUNCATE_EXISTING);
  ASSERT_NE(t, INVALID_HANDLE_VALUE);
  EXPECT_EQ(qorGetFileSize(t, nullptr), 0u);
  EXPECT_TRUE(qorCloseHandle(t));
  EXPECT_TRUE(dir.read("Save.dat").empty());
  EXPECT_EQ(TempFiles(dir.path()), 0u);
}

TEST(FileReplace, ASaveThroughALinkReplacesTheFileItNamesAndKeepsTheLink) {
  TempDir dir;
  dir.write("data/real.dat", "old");
  fs::create_symlink("data/real.dat", dir.file("Save.dat"));  // relative to its folder
  fs::create_symlink(dir.file("Save.dat"), dir.file("Chain.dat"));
  fs::create_symlink("../data/later.dat", dir.file("data/Dangling.dat"));
  fs::create_symlink("Loop.dat", dir.file("Loop.dat"));

  ASSERT_TRUE(Save(dir.file("chain.DAT"), "new"));
  EXPECT_TRUE(fs::is_symlink(dir.file("Save.dat")));
  EXPECT_TRUE(fs::is_symlink(dir.file("Chain.dat")));
  EXPECT_EQ(dir.readText("data/real.dat"), "new");

  ASSERT_TRUE(Save(dir.file("data/Dangling.dat"), "made"));
  EXPECT_TRUE(fs::is_symlink(dir.file("data/Dangling.dat")));
  EXPECT_EQ(dir.readText("data/later.dat"), "made");

  EXPECT_EQ(OpenForSave(dir.file("Loop.dat")), INVALID_HANDLE_VALUE);
  EXPECT_EQ(TempFiles(dir.path()), 0u);
  EXPECT_EQ(TempFiles(dir.file("data")), 0u);
}

}  // namespace
