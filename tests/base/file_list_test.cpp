#include <string>
#include <vector>

#include "base/file_list.h"
#include "module_fixture.h"

namespace {

using Paths = std::vector<std::string>;

Paths Enumerated;
Paths Files(const char* sound) {
  Enumerated.clear();
  qorSound_EnumerateFiles(sound, [](char* path) { Enumerated.emplace_back(path); });
  return Enumerated;
}

class FileList : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    Create("s");
  }
  // Adds path and gives what the call left in the caller's buffer.
  LONG Add(const char* path, std::string* left = nullptr) {
    char buffer[256];
    std::strcpy(buffer, path);
    LONG result = qorSound_AddFile("s", buffer);
    if (left) *left = buffer;
    return result;
  }
};

// A path is stored lower case, once, and whole: one that does not fit a record is refused.
TEST_F(FileList, AddStoresLowerCaseOnceAndHandsItBack) {
  std::string left;
  ASSERT_EQ(Add("Sounds\\Door.WAV", &left), S_OK);
  EXPECT_EQ(left, "sounds\\door.wav");
  EXPECT_EQ(Add("SOUNDS\\DOOR.WAV", &left), E_FAIL);
  EXPECT_EQ(left, "SOUNDS\\DOOR.WAV");
  EXPECT_EQ(Add("door.wav"), S_OK) << "no prefix rule at this point";
  const std::string fits(62, 'a'), tooLong(63, 'b');
  EXPECT_EQ(Add(fits.c_str()), S_OK);
  EXPECT_EQ(Add(tooLong.c_str(), &left), E_FAIL);
  EXPECT_EQ(left, tooLong);
  EXPECT_EQ(Files("s"), (Paths{"sounds\\door.wav", "door.wav", fits}));
  EXPECT_EQ(qorSound_IsFileEnabled("s", 2), 1) << "the path must not run into the switch";
}

TEST_F(FileList, IndicesAreTestedAndDeleteAndSwapKeepRecordsWhole) {
  char out[63] = "unchanged";
  EXPECT_EQ(qorSound_GetFile("s", out, 0), E_FAIL);
  for (const char* path : {"a.wav", "b.wav", "c.wav"}) Add(path);
  EXPECT_EQ(qorSound_GetFile("s", out, 3), E_FAIL);
  EXPECT_EQ(qorSound_GetFile("s", out, -1), E_FAIL);
  EXPECT_EQ(qorSound_GetFile("ghost", out, 0), E_FAIL);
  EXPECT_STREQ(out, "unchanged");
  ASSERT_EQ(qorSound_GetFile("s", out, 1), S_OK);
  EXPECT_STREQ(out, "b.wav");

  qorSound_SetFileEnabled("s", 2, 0);
  qorSound_SwapFiles("s", 0, 2);
  EXPECT_EQ(Files("s"), (Paths{"c.wav", "b.wav", "a.wav"}));
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 0);
  EXPECT_EQ(qorSound_IsFileEnabled("s", 2), 1);
  qorSound_SwapFiles("s", 0, 3);  // outside the list: nothing moves
  qorSound_DeleteFile("s", 1);
  EXPECT_EQ(Files("s"), (Paths{"c.wav", "a.wav"}));
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 0);
  qorSound_DeleteFile("s", 5);
  qorSound_DeleteFile("s", -1);
  EXPECT_EQ(Files("s"), (Paths{"c.wav", "a.wav"}));
  qorSound_DeleteFile("s", 0);
  qorSound_DeleteFile("s", 0);
  EXPECT_TRUE(Files("s").empty());
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 0);
  qorSound_SetFileEnabled("s", 0, 1);  // outside the list: ignored
}

// Stored paths resolve against the root unless absolute, as a drive path or a Linux one; that
// the file layer then opens them in any case is its own property.
TEST_F(FileList, StoredPathsResolveAgainstTheRootUnlessAbsolute) {
  char full[256];
  for (auto [stored, want] : {std::pair{"door.wav", root.path() + "door.wav"},
                              {"c:\\door.wav", "c:\\door.wav"},
                              {"/home/me/door.wav", "/home/me/door.wav"}}) {
    ResolveSoundPath(stored, full);
    EXPECT_EQ(full, want);
  }
}

}  // namespace
