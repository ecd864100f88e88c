#include <string>
#include <vector>

#include "base/file_list.h"
#include "module_fixture.h"
#include "wave_file.h"

namespace {

std::vector<std::string> Enumerated;
void Collect(char* path) { Enumerated.emplace_back(path); }

std::vector<std::string> Files(const char* sound) {
  Enumerated.clear();
  qorSound_EnumerateFiles(sound, Collect);
  return Enumerated;
}

class FileList : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    Create("s");
  }
  LONG Add(const char* path) {
    char buffer[256];
    std::strcpy(buffer, path);
    return qorSound_AddFile("s", buffer);
  }
};

TEST_F(FileList, AddStoresLowerCaseOnceAndHandsItBack) {
  char buffer[64] = "Sounds\\Door.WAV";
  ASSERT_EQ(qorSound_AddFile("s", buffer), S_OK);
  EXPECT_STREQ(buffer, "sounds\\door.wav");
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 1);

  char again[64] = "SOUNDS\\DOOR.WAV";
  EXPECT_EQ(qorSound_AddFile("s", again), E_FAIL);
  EXPECT_STREQ(again, "SOUNDS\\DOOR.WAV");
  EXPECT_EQ(Add("door.wav"), S_OK) << "no prefix rule at this point";
  EXPECT_EQ(Files("s"), (std::vector<std::string>{"sounds\\door.wav", "door.wav"}));
}

TEST_F(FileList, APathThatDoesNotFitARecordIsRefusedWhole) {
  std::string fits(62, 'a');
  std::string tooLong(63, 'b');
  EXPECT_EQ(Add(fits.c_str()), S_OK);
  char buffer[128];
  std::strcpy(buffer, tooLong.c_str());
  EXPECT_EQ(qorSound_AddFile("s", buffer), E_FAIL);
  EXPECT_EQ(buffer, tooLong);
  EXPECT_EQ(Files("s"), std::vector<std::string>{fits});
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 1) << "the path must not run into the switch";
}

TEST_F(FileList, GetFileTestsItsIndex) {
  char out[63] = "unchanged";
  EXPECT_EQ(qorSound_GetFile("s", out, 0), E_FAIL);
  Add("a.wav");
  Add("b.wav");
  EXPECT_EQ(qorSound_GetFile("s", out, 2), E_FAIL);
  EXPECT_EQ(qorSound_GetFile("s", out, -1), E_FAIL);
  EXPECT_EQ(qorSound_GetFile("ghost", out, 0), E_FAIL);
  EXPECT_STREQ(out, "unchanged");
  ASSERT_EQ(qorSound_GetFile("s", out, 1), S_OK);
  EXPECT_STREQ(out, "b.wav");
}

TEST_F(FileList, DeleteAndSwapKeepRecordsWhole) {
  Add("a.wav");
  Add("b.wav");
  Add("c.wav");
  qorSound_SetFileEnabled("s", 2, 0);
  qorSound_SwapFiles("s", 0, 2);
  EXPECT_EQ(Files("s"), (std::vector<std::string>{"c.wav", "b.wav", "a.wav"}));
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 0);
  EXPECT_EQ(qorSound_IsFileEnabled("s", 2), 1);
  qorSound_SwapFiles("s", 0, 3);  // outside the list: nothing moves
  qorSound_DeleteFile("s", 1);
  EXPECT_EQ(Files("s"), (std::vector<std::string>{"c.wav", "a.wav"}));
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 0);
  qorSound_DeleteFile("s", 5);
  qorSound_DeleteFile("s", -1);
  EXPECT_EQ(Files("s"), (std::vector<std::string>{"c.wav", "a.wav"}));
  qorSound_DeleteFile("s", 0);
  qorSound_DeleteFile("s", 0);
  EXPECT_EQ(Entry("s")->Files, nullptr);
  EXPECT_EQ(qorSound_IsFileEnabled("s", 0), 0);
  qorSound_SetFileEnabled("s", 0, 1);  // outside the list: ignored
}

TEST_F(FileList, StoredPathsResolveAgainstTheRootUnlessAbsolute) {
  char full[256];
  ResolveSoundPath("door.wav", full);
  EXPECT_EQ(std::string(full), root.path() + "door.wav");
  ResolveSoundPath("c:\\door.wav", full);
  EXPECT_STREQ(full, "c:\\door.wav");
  ResolveSoundPath("/home/me/door.wav", full);
  EXPECT_STREQ(full, "/home/me/door.wav");
}

TEST_F(FileList, AnAbsoluteLinuxPathPlaysFromOutsideTheRoot) {
  TempDir elsewhere;
  WaveShape shape;
  shape.Data = Tone(440, 0.1, 22050, 1, 16, 0.5);
  std::string path = WriteWave(elsewhere, "Door.wav", shape);
  ASSERT_LT(path.size(), 63u) << "a file record holds 62 characters";
  ASSERT_EQ(Add(path.c_str()), S_OK);
  EXPECT_EQ(qorSound_LoginSound("s"), S_OK);
}

}  // namespace
