#include <string>
#include <vector>

#include "module_fixture.h"

namespace {

using Catalogue = ModuleTest;
using Names = std::vector<std::string>;

bool Generated(const std::string& name) { return name.rfind("Sound#", 0) == 0; }

// The name the catalogue gives a new sound asked for under wanted.
std::string Created(const std::string& wanted = "") {
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, "%s", wanted.c_str());
  qorSound_CreateNewSound(buffer);
  return buffer;
}

TEST_F(Catalogue, NewSoundsGoToTheTailAndTakenNamesAreReplaced) {
  Create("door");
  const std::string taken = Created("DOOR"), empty = Created();
  EXPECT_TRUE(Generated(taken)) << taken;
  EXPECT_EQ(SoundNames(), (Names{"door", taken, empty}));

  void* handle = nullptr;
  ASSERT_EQ(qorSound_FindSound("dOoR", &handle), S_OK);
  char name[256];
  ASSERT_EQ(qorSound_GetSoundName(handle, name), S_OK);
  EXPECT_STREQ(name, "door");
  EXPECT_EQ(qorSound_FindSound("window", &handle), E_FAIL);
  EXPECT_EQ(handle, nullptr);

  // A rename refuses any taken name, even the sound's own in another case.
  Create("window");
  EXPECT_EQ(qorSound_ChangeName("door", "Door"), E_FAIL);
  EXPECT_EQ(qorSound_ChangeName("door", "WINDOW"), E_FAIL);
  EXPECT_EQ(SoundNames()[0], "door");
  EXPECT_EQ(qorSound_ChangeName("door", "gate"), S_OK);
  EXPECT_EQ(SoundNames(), (Names{"gate", taken, empty, "window"}));
}

TEST_F(Catalogue, GeneratedNamesSkipTakenNumbersAndNeverReuseFreedOnes) {
  Create("Sound#001");
  Create("Sound#002");
  EXPECT_EQ(Created(), "Sound#003");
  qorSound_DeleteSound("Sound#003");
  EXPECT_EQ(Created(), "Sound#004");
  SoundNameCounter = 999;
  EXPECT_EQ(Created(), "Sound#1000");

  // Names that do not fit the field are never stored cut.
  std::string longest(255, 'a');
  Create(longest.c_str());
  EXPECT_EQ(qorSound_FindSound(longest.c_str(), nullptr), S_OK);

  EXPECT_TRUE(Generated(Created(std::string(300, 'b'))));
  EXPECT_EQ(qorSound_ChangeName(longest.c_str(), std::string(256, 'c').c_str()), E_FAIL);
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
  ASSERT_TRUE(Generated(clone));
  EXPECT_EQ(qorSound_FindSound("wanted", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_GetVolume(clone), 70);
  EXPECT_EQ(qorSound_Get3D(clone), 1);
  EXPECT_EQ(qorSound_GetSoundPage(clone), 4);
  EXPECT_EQ(qorSound_IsSoundEnabled(clone), 0);
  EXPECT_EQ(qorSound_GetSoundComments(clone), nullptr);
  EXPECT_EQ(qorSound_GetFile(clone, path, 0), E_FAIL);
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

// By name, an operation reaches the end of the redirection; enumeration lists the entries.
TEST_F(Catalogue, RedirectionIsFollowedByNameAndCutWithItsTarget) {
  for (const char* name : {"a", "b", "c"}) Create(name);
  Entry("a")->LinkRedirect(Entry("b"));
  Entry("c")->LinkRedirect(Entry("b"));
  qorSound_SetVolume("a", 40);
  EXPECT_EQ(qorSound_GetVolume("b"), 40);
  EXPECT_EQ(qorSound_ChangeName("a", "d"), S_OK);
  EXPECT_EQ(SoundNames(), (Names{"a", "d", "c"}));

  qorSound_DeleteSound("a");
  EXPECT_EQ(SoundNames(), (Names{"a", "c"}));
  EXPECT_EQ(qorSound_GetVolume("a"), 100) << "the links into the deleted target are cut";
  for (const char* name : {"a", "c"}) {
    void* handle = nullptr;
    char found[256];
    ASSERT_EQ(qorSound_FindSound(name, &handle), S_OK);
    ASSERT_EQ(qorSound_GetSoundName(handle, found), S_OK);
    EXPECT_STREQ(found, name);
  }
}

TEST_F(Catalogue, DeletingKeepsTheRestOfTheListAndUnknownNamesTouchNothing) {
  for (const char* name : {"one", "two", "three"}) Create(name);
  qorSound_DeleteSound("one");
  EXPECT_EQ(SoundNames(), (Names{"two", "three"}));
  qorSound_DeleteSound("unknown");
  qorSound_DeleteSound(static_cast<void*>(nullptr));
  qorSound_DeleteSound("three");
  Create("four");
  EXPECT_EQ(SoundNames(), (Names{"two", "four"}));
  qorSound_DeleteSound("two");
  qorSound_DeleteSound("four");
  EXPECT_TRUE(SoundNames().empty());

  // Unknown names touch nothing.
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
