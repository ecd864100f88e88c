#include <gtest/gtest.h>

#include <cstring>

#include "file_calls.h"
#include "kxHost.h"
#include "kxPath.h"

namespace {

std::string readAll(HANDLE h) {
  std::string out(qorGetFileSize(h, nullptr), '\0');
  DWORD done = 0;
  EXPECT_TRUE(qorReadFile(h, out.data(), static_cast<DWORD>(out.size()), &done, nullptr));
  out.resize(done);
  return out;
}

}  // namespace

TEST(FileIO, ResolvesEveryComponentIgnoringCaseAndBackslashes) {
  TempDir dir;
  dir.write("Sound/Banks/Door.WAV", "creak");
  std::string path = dir.path() + "sound\\BANKS\\door.wav";

  HANDLE h = OpenFile(path, GENERIC_READ, OPEN_EXISTING);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(readAll(h), "creak");
  EXPECT_TRUE(qorCloseHandle(h));

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

TEST(FileIO, RefusesMissingFilesDirectoriesAndBadArguments) {
  TempDir dir;
  dir.write("sub/a.txt", "a");
  EXPECT_EQ(OpenFile(dir.path() + "missing.txt", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "SUB", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "sub", GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "sub/A.TXT", GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile(dir.path() + "nofolder/x.txt", GENERIC_WRITE, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenFile("", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1) << "refusals create nothing";

  char buf[4];
  DWORD done = 7;
  EXPECT_FALSE(qorReadFile(INVALID_HANDLE_VALUE, buf, 4, &done, nullptr));
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(qorGetFileSize(nullptr, nullptr), 0xFFFFFFFFu);

  // A closed handle is not touched again.
  HANDLE h = OpenFile(dir.path() + "sub/a.txt", GENERIC_READ, OPEN_EXISTING);
  ASSERT_TRUE(qorCloseHandle(h));
  EXPECT_FALSE(qorCloseHandle(h));
  EXPECT_FALSE(qorReadFile(h, buf, 4, &done, nullptr));
}

TEST(FileIO, ShortReadReportsCountAndAccessIsEnforced) {
  TempDir dir;
  dir.write("six.bin", "abcdef");
  HANDLE h = OpenFile(dir.path() + "six.bin", GENERIC_READ, OPEN_EXISTING);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(qorGetFileSize(h, nullptr), 6u);
  char buf[16] = {};
  DWORD done = 0;
  EXPECT_TRUE(qorReadFile(h, buf, 4, &done, nullptr));
  EXPECT_EQ(done, 4u);
  EXPECT_TRUE(qorReadFile(h, buf, sizeof buf, &done, nullptr));
  EXPECT_EQ(std::string(buf, done), "ef");
  EXPECT_TRUE(qorReadFile(h, buf, sizeof buf, &done, nullptr));  // at end: success, nothing read
  EXPECT_EQ(done, 0u);
  EXPECT_FALSE(qorWriteFile(h, "x", 1, &done, nullptr));
  qorCloseHandle(h);

  // OPEN_ALWAYS writes in place.
  HANDLE w = OpenFile(dir.path() + "SIX.bin", GENERIC_WRITE, OPEN_ALWAYS);
  ASSERT_NE(w, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(qorReadFile(w, buf, 1, &done, nullptr));
  EXPECT_TRUE(Write(w, "zz"));
  EXPECT_TRUE(qorCloseHandle(w));
  EXPECT_EQ(dir.read("six.bin"), (std::vector<uint8_t>{'z', 'z', 'c', 'd', 'e', 'f'}));
}

TEST(FileIO, AFailedSaveKeepsTheOldFileAndTruncateReplacesIt) {
  TempDir dir;
  dir.write("Save.dat", "old");
  HANDLE bad = OpenFile(dir.path() + "save.DAT", GENERIC_READ, CREATE_ALWAYS);
  ASSERT_NE(bad, INVALID_HANDLE_VALUE);
  DWORD done = 5;
  EXPECT_FALSE(qorWriteFile(bad, "broken", 6, &done, nullptr));
  EXPECT_EQ(done, 0u);
  EXPECT_FALSE(qorCloseHandle(bad));
  EXPECT_EQ(Text(dir, "Save.dat"), "old");
  EXPECT_TRUE(TempFiles(dir.path()).empty());

  // TRUNCATE_EXISTING goes through the same path.
  HANDLE t = OpenFile(dir.path() + "SAVE.dat", GENERIC_WRITE | GENERIC_READ, TRUNCATE_EXISTING);
  ASSERT_NE(t, INVALID_HANDLE_VALUE);
  EXPECT_EQ(qorGetFileSize(t, nullptr), 0u);
  EXPECT_TRUE(qorCloseHandle(t));
  EXPECT_TRUE(dir.read("Save.dat").empty());
  EXPECT_TRUE(TempFiles(dir.path()).empty());
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
  EXPECT_EQ(std::string(folder), std::filesystem::current_path().string() + "/");
}
