#include <string>
#include <vector>

#include "module_fixture.h"

namespace {

using Catalogue = ModuleTest;

TEST_F(Catalogue, NewSoundsGoToTheTailAndTakenNamesAreReplaced) {
  Create("door");
  char buffer[256] = "DOOR";
  qorSound_CreateNewSound(buffer);
  EXPECT_EQ(std::string(buffer).rfind("Sound#", 0), 0u) << buffer;
  char empty[256] = "";
  qorSound_CreateNewSound(empty);
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"door", buffer, empty}));

  void* handle = nullptr;
  ASSERT_EQ(qorSound_FindSound("dOoR", &handle), S_OK);
  EXPECT_EQ(handle, Entry("door"));
  char name[256];
  ASSERT_EQ(qorSound_GetSoundName(handle, name), S_OK);
  EXPECT_STREQ(name, "door");
  EXPECT_EQ(qorSound_FindSound("window", &handle), E_FAIL);
  EXPECT_EQ(handle, nullptr);
}

TEST_F(Catalogue, GeneratedNamesSkipTakenNumbersAndNeverReuseFreedOnes) {
  SoundNameCounter = 0;
  Create("Sound#001");
  Create("Sound#002");
  char buffer[256] = "";
  qorSound_CreateNewSound(buffer);
  EXPECT_STREQ(buffer, "Sound#003");
  EXPECT_EQ(SoundNameCounter, 3);
  qorSound_DeleteSound("Sound#003");
  buffer[0] = 0;
  qorSound_CreateNewSound(buffer);
  EXPECT_STREQ(buffer, "Sound#004");

  SoundNameCounter = 999;
  buffer[0] = 0;
  qorSound_CreateNewSound(buffer);
  EXPECT_STREQ(buffer, "Sound#1000");
}

TEST_F(Catalogue, NamesThatDoNotFitTheFieldAreNeverStoredCut) {
  std::string longest(255, 'a');
  Create(longest.c_str());
  EXPECT_EQ(qorSound_FindSound(longest.c_str(), nullptr), S_OK);

  char tooLong[400];
  std::memset(tooLong, 'b', 300);
  tooLong[300] = 0;
  qorSound_CreateNewSound(tooLong);
  EXPECT_EQ(std::string(tooLong).rfind("Sound#", 0), 0u);

  std::string rename(256, 'c');
  EXPECT_EQ(qorSound_ChangeName(longest.c_str(), rename.c_str()), E_FAIL);
  EXPECT_EQ(qorSound_FindSound(longest.c_str(), nullptr), S_OK);
}

TEST_F(Catalogue, CloneCarriesParametersButNotNameFilesOrComment) {
  Create("gun");
  qorSound_SetVolume("gun", 70);
  qorSound_Set3D("gun", 1);
  qorSound_SetSoundPage("gun", 4);
  qorSound_SetSoundEnabled("gun", 0);
  qorSound_SetSoundComments("gun", "loud");
  char path[64] = "a.wav";
  qorSound_AddFile("gun", path);

  char clone[256] = "wanted";
  qorSound_CloneSound("gun", clone);
  ASSERT_EQ(std::string(clone).rfind("Sound#", 0), 0u);
  EXPECT_EQ(qorSound_FindSound("wanted", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_GetVolume(clone), 70);
  EXPECT_EQ(qorSound_Get3D(clone), 1);
  EXPECT_EQ(qorSound_GetSoundPage(clone), 4);
  EXPECT_EQ(qorSound_IsSoundEnabled(clone), 0);
  EXPECT_EQ(qorSound_GetSoundComments(clone), nullptr);
  EXPECT_EQ(Entry(clone)->NumFiles, 0);
  EXPECT_EQ(SoundNames().back(), clone);

  Create("quiet");
  qorSound_CopyParameters("quiet", "gun");
  EXPECT_EQ(qorSound_GetVolume("quiet"), 70);
  qorSound_SetVolume("quiet", 10);
  qorSound_CopyParameters("quiet", "quiet");
  EXPECT_EQ(qorSound_GetVolume("gun"), 70);
  // An empty comment is no comment.
  qorSound_SetSoundComments("gun", "");
  EXPECT_EQ(qorSound_GetSoundComments("gun"), nullptr);
}

TEST_F(Catalogue, ChangeNameRefusesAnyTakenNameEvenItsOwn) {
  Create("door");
  Create("window");
  EXPECT_EQ(qorSound_ChangeName("door", "Door"), E_FAIL);
  EXPECT_EQ(qorSound_ChangeName("door", "WINDOW"), E_FAIL);
  EXPECT_STREQ(Entry("door")->Name, "door");
  EXPECT_EQ(qorSound_ChangeName("door", "gate"), S_OK);
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"gate", "window"}));
}

TEST_F(Catalogue, ByNameOperationsFollowRedirectionButEnumerationDoesNot) {
  Create("a");
  Create("b");
  Entry("a")->LinkRedirect(Entry("b"));
  qorSound_SetVolume("a", 40);
  EXPECT_EQ(Entry("b")->Volume, 40);
  EXPECT_EQ(Entry("a")->Volume, 100);
  EXPECT_EQ(qorSound_GetVolume("a"), 40);
  EXPECT_EQ(qorSound_ChangeName("a", "c"), S_OK);
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"a", "c"}));
  // Deleting by the redirected name deletes the end of the chain.
  qorSound_DeleteSound("a");
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"a"}));
}

TEST_F(Catalogue, DestroyingARedirectTargetCutsTheLinksIntoIt) {
  Create("a");
  Create("b");
  Create("c");
  Entry("a")->LinkRedirect(Entry("b"));
  Entry("c")->LinkRedirect(Entry("b"));
  qorSound_DeleteSound(static_cast<void*>(Entry("b")));
  EXPECT_EQ(Entry("a")->Redirect, nullptr);
  EXPECT_EQ(Entry("c")->Redirect, nullptr);
  void* handle = nullptr;
  ASSERT_EQ(qorSound_FindSound("a", &handle), S_OK);
  EXPECT_EQ(handle, Entry("a"));
}

TEST_F(Catalogue, DeletingKeepsTheRestOfTheList) {
  for (const char* name : {"one", "two", "three"}) Create(name);
  qorSound_DeleteSound("one");
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"two", "three"}));
  qorSound_DeleteSound("unknown");
  qorSound_DeleteSound(static_cast<void*>(nullptr));
  qorSound_DeleteSound("three");
  Create("four");
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"two", "four"}));
  qorSound_DeleteSound("two");
  qorSound_DeleteSound("four");
  EXPECT_TRUE(SoundNames().empty());
  EXPECT_TRUE(SoundNames().empty());
}

TEST_F(Catalogue, UnknownNamesTouchNothing) {
  EXPECT_EQ(qorSound_GetSoundComments("ghost"), nullptr);
  qorSound_SetSoundComments("ghost", "x");
  qorSound_SetVolume("ghost", 5);
  EXPECT_EQ(qorSound_GetVolume("ghost"), 0);
  float minimum = -1, maximum = -1;
  qorSound_GetDistances("ghost", &minimum, &maximum);
  EXPECT_EQ(minimum, -1);
  qorSound_SetSoundMinMaxDistances(nullptr, 1, 2);
  char out[256] = "keep";
  qorSound_CloneSound("ghost", out);
  EXPECT_STREQ(out, "keep");
  EXPECT_EQ(qorSound_ChangeName("ghost", "x"), E_FAIL);
  EXPECT_TRUE(SoundNames().empty());
}

}  // namespace
