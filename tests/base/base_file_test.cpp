#include <signal.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "base_file_builder.h"
#include "module_fixture.h"

namespace {

class BaseFile : public ModuleTest {
protected:
  std::vector<uint8_t> Saved() {
    EXPECT_EQ(qorSound_SaveBase(), S_OK);
    return root.read("Sounds.qorSound");
  }
  LONG LoadBytes(const std::vector<uint8_t>& bytes) {
    root.write("Sounds.qorSound", bytes);
    return qorSound_LoadBase();
  }
  static int32_t Int(const std::vector<uint8_t>& b, size_t at) {
    int32_t v;
    std::memcpy(&v, &b[at], 4);
    return v;
  }
};

TEST_F(BaseFile, AnEmptyCatalogueIsJustTheHeader) {
  std::vector<uint8_t> bytes = Saved();
  ASSERT_EQ(bytes.size(), 10240u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes.data())), "qorSound File");
  EXPECT_EQ(Int(bytes, 256), 0);
  EXPECT_EQ(qorSound_LoadBase(), S_OK);
}

TEST_F(BaseFile, WrittenBytesFollowTheLayout) {
  qorSound_NewPage("World");
  Create("first");
  qorSound_SetSoundComments("first", "abcd");
  char a[64] = "a.wav", b[64] = "b.wav";
  qorSound_AddFile("first", a);
  qorSound_AddFile("first", b);
  qorSound_SetFileEnabled("first", 1, 0);
  Create("second");
  qorSound_SetLooped("second", 1);
  qorSound_Set3D("second", 1);
  qorSound_SetCrossed("second", 1);
  qorSound_SetSoundPage("second", 3);

  std::vector<uint8_t> bytes = Saved();
  ASSERT_EQ(bytes.size(), 31381u);
  EXPECT_EQ(Int(bytes, 256), 2);
  EXPECT_EQ(Int(bytes, 260), 1);
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[10240]), "World");
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[10256]), "first");
  // The first record block: defaults, comment length 5, two files.
  const size_t rec = 10512;
  EXPECT_EQ(Int(bytes, rec + 0), 1);
  EXPECT_EQ(Int(bytes, rec + 4), 5);
  EXPECT_EQ(Int(bytes, rec + 8), 2);
  EXPECT_EQ(Int(bytes, rec + 12), 1);
  EXPECT_EQ(Int(bytes, rec + 16), 1);
  EXPECT_EQ(Int(bytes, rec + 20), 100);
  EXPECT_EQ(Int(bytes, rec + 24), 100);
  const uint8_t minBits[] = {0x00, 0x00, 0xA0, 0x40}, maxBits[] = {0x00, 0x00, 0xC8, 0x42};
  EXPECT_EQ(std::memcmp(&bytes[rec + 32], minBits, 4), 0);
  EXPECT_EQ(std::memcmp(&bytes[rec + 36], maxBits, 4), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20752]), "abcd");
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20757]), "a.wav");
  EXPECT_EQ(bytes[20757 + 63], 1);
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20821]), "b.wav");
  EXPECT_EQ(bytes[20821 + 63], 0);
  // The second: flags at 28, 29 and 40, page at 44, nothing behind it.
  const size_t rec2 = 21141;
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20885]), "second");
  EXPECT_EQ(bytes[rec2 + 28], 1);
  EXPECT_EQ(bytes[rec2 + 29], 1);
  EXPECT_EQ(bytes[rec2 + 30], 0);
  EXPECT_EQ(bytes[rec2 + 40], 1);
  EXPECT_EQ(Int(bytes, rec2 + 44), 3);
  EXPECT_EQ(Int(bytes, rec2 + 4), 0);
}

TEST_F(BaseFile, AHandMadeFileLoadsCleansPathsAndSavesNormalised) {
  StoredSound door;
  door.Name = "Door";
  door.Comment = "creaky";
  door.Volume = 80;
  door.Frequency = 120;
  door.PlayMode = 0;
  door.NumStreams = 3;
  door.Looped = 1;
  door.Crossed = 1;
  door.Is3D = 1;
  door.MinDistance = 2.5f;
  door.MaxDistance = 40.0f;
  door.Page = 9;
  door.Files = {{"Base\\Sounds\\Door.WAV", 1}, {"base\\base\\x.wav", 0}, {"music\\y.wav", 1}, {"c:\\z.wav", 1}};
  BaseFileBuilder file;
  file.Header(1, 1).Page("Doors").Sound(door);
  file.Bytes[100] = 0xEE;                         // reserved header byte
  file.Bytes[10240 + 16 + 256 + 5000] = 0xEE;     // reserved record byte
  file.Append({'t', 'r', 'a', 'i', 'l'});         // bytes behind the last sound
  ASSERT_EQ(LoadBytes(file.Bytes), S_OK);

  EXPECT_EQ(qorSound_GetVolume("door"), 80);
  EXPECT_EQ(qorSound_GetFrequency("door"), 120);
  EXPECT_EQ(qorSound_GetSoundPlayMode("door"), SOUND_PLAYMODE_SEQUENTIAL);
  EXPECT_EQ(qorSound_GetNumStreams("door"), 3);
  EXPECT_EQ(qorSound_GetCrossed("door"), 1);
  EXPECT_EQ(qorSound_GetSoundPage("door"), 9);
  EXPECT_STREQ(qorSound_GetSoundComments("door"), "creaky");
  const char* cleaned[] = {"sounds\\door.wav", "sounds\\base\\x.wav", "sounds\\music\\y.wav", "sounds\\c:\\z.wav"};
  char path[63];
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(qorSound_GetFile("door", path, i), S_OK);
    EXPECT_STREQ(path, cleaned[i]);
  }
  EXPECT_EQ(qorSound_IsFileEnabled("door", 1), 0);

  std::vector<uint8_t> again = Saved();
  EXPECT_EQ(again[100], 0);
  EXPECT_EQ(again[10240 + 16 + 256 + 5000], 0);
  EXPECT_EQ(again.size(), file.Bytes.size() - 5);
  EXPECT_STREQ(reinterpret_cast<char*>(&again[10240 + 16 + 256 + 10240 + 7]), "sounds\\door.wav");
}

TEST_F(BaseFile, AFailedSaveKeepsThePreviousFile) {
  Create("kept");
  std::vector<uint8_t> before = Saved();
  for (int i = 0; i < 5; ++i) Create(("more" + std::to_string(i)).c_str());
  // A file size limit turns the save's writes short, as a full disk would.
  struct rlimit old;
  getrlimit(RLIMIT_FSIZE, &old);
  struct rlimit small = old;
  small.rlim_cur = 40000;
  auto previous = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  LONG result = qorSound_SaveBase();
  setrlimit(RLIMIT_FSIZE, &old);
  signal(SIGXFSZ, previous);
  EXPECT_EQ(result, E_FAIL);
  EXPECT_EQ(root.read("Sounds.qorSound"), before);
}

TEST_F(BaseFile, GameModeDropsDisabledSoundsForGood) {
  Create("a");
  Create("off");
  Create("c");
  qorSound_SetSoundEnabled("off", 0);
  ASSERT_EQ(qorSound_SaveBase(), S_OK);
  Restart(1);
  EXPECT_EQ(qorSound_FindSound("off", nullptr), S_OK);
  Restart(0);
  EXPECT_EQ(qorSound_FindSound("off", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_FindSound("c", nullptr), S_OK);
  ASSERT_EQ(qorSound_SaveBase(), S_OK);
  Restart(1);
  EXPECT_EQ(qorSound_FindSound("off", nullptr), E_FAIL);
}

TEST_F(BaseFile, SaveAndLoadGiveBackEveryStoredField) {
  qorSound_NewPage("A");
  qorSound_NewPage("B");
  Create("x");
  Create("y");
  Create("z");
  qorSound_SetSoundComments("y", "hello");
  qorSound_SetVolume("y", 33);
  qorSound_SetSoundPage("z", 1);
  char p[64] = "sounds\\y.wav";
  qorSound_AddFile("y", p);
  Entry("x")->LinkRedirect(Entry("z"));
  std::vector<uint8_t> first = Saved();
  ASSERT_EQ(qorSound_LoadBase(), S_OK);
  EXPECT_EQ(Entry("x")->Redirect, nullptr);
  EXPECT_STREQ(SoundList->Name, "x");
  EXPECT_EQ(SoundList->Count(), 3);
  EXPECT_EQ(qorSound_GetVolume("y"), 33);
  EXPECT_EQ(Saved(), first) << "a second save writes the same bytes";
}

TEST_F(BaseFile, OfTwoEqualNamesTheFirstIsFoundUntilItGoes) {
  StoredSound s;
  BaseFileBuilder file;
  file.Header(3, 0);
  for (auto [name, volume] : {std::pair{"Twin", 1}, {"other", 2}, {"TWIN", 3}}) {
    s.Name = name;
    s.Volume = volume;
    file.Sound(s);
  }
  ASSERT_EQ(LoadBytes(file.Bytes), S_OK);
  EXPECT_EQ(qorSound_GetVolume("twin"), 1);
  qorSound_DeleteSound("twin");
  EXPECT_EQ(qorSound_GetVolume("twin"), 3);
  EXPECT_EQ(qorSound_ChangeName("twin", "renamed"), S_OK);
  EXPECT_EQ(qorSound_FindSound("twin", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_GetVolume("RENAMED"), 3);
}

TEST_F(BaseFile, RefusedFilesLeaveWhatWasReadBefore) {
  Create("old");
  std::vector<uint8_t> bytes = BaseFileBuilder().Header(0, 0, "qorsound File").Bytes;
  EXPECT_EQ(LoadBytes(bytes), E_FAIL);
  EXPECT_EQ(SoundList, nullptr) << "the old catalogue goes before the file is read";

  StoredSound s;
  BaseFileBuilder file;
  file.Header(3, 0);
  for (const char* name : {"one", "two", "three"}) {
    s.Name = name;
    file.Sound(s);
  }
  file.Bytes.resize(file.Bytes.size() - 100);
  EXPECT_EQ(LoadBytes(file.Bytes), E_FAIL);
  ASSERT_NE(SoundList, nullptr);
  EXPECT_EQ(SoundList->Count(), 2);

  EXPECT_EQ(LoadBytes(std::vector<uint8_t>(5000, 0)), E_FAIL);
  root.write("Sounds.qorSound", std::vector<uint8_t>());
  EXPECT_EQ(qorSound_LoadBase(), E_FAIL);
}

TEST_F(BaseFile, BadCountsAndMissingTerminatorsStayInsideTheirFields) {
  // 300 stored pages: the table keeps 256 and the sounds behind still read.
  BaseFileBuilder file;
  file.Header(1, 300);
  for (int i = 0; i < 300; ++i) file.Page("page" + std::to_string(i));
  StoredSound s;
  s.Name = std::string(256, 'n');  // no terminator in the block
  s.Files = {{std::string(60, 'p'), 1}, {std::string(63, 'q'), 0}};
  file.Sound(s);
  ASSERT_EQ(LoadBytes(file.Bytes), S_OK);
  EXPECT_EQ(PageCount, 256);
  ASSERT_NE(SoundList, nullptr);
  EXPECT_EQ(std::strlen(SoundList->Name), 255u);
  // A path that grows past the record when it gets its prefix is cut, not spilled.
  SoundFileRef* files = SoundList->Files;
  EXPECT_EQ(std::strlen(files[0].Path), 62u);
  EXPECT_EQ(std::string(files[0].Path, 7), "sounds\\");
  EXPECT_EQ(files[0].Enabled, 1);
  EXPECT_EQ(files[1].Enabled, 0);

  // Comment without terminator: it reads as text of its own length.
  std::vector<uint8_t> raw = BaseFileBuilder().Header(1, -4).Bytes;
  std::vector<uint8_t> name(256, 0);
  name[0] = 'c';
  raw.insert(raw.end(), name.begin(), name.end());
  std::vector<uint8_t> record = BaseFileBuilder::Record(StoredSound(), 3, 0);
  raw.insert(raw.end(), record.begin(), record.end());
  raw.insert(raw.end(), {'x', 'y', 'z'});
  ASSERT_EQ(LoadBytes(raw), S_OK);
  EXPECT_EQ(PageCount, 0);
  EXPECT_STREQ(qorSound_GetSoundComments("c"), "xyz");

  // Negative and absurd counts fail the sound like a short read.
  for (auto [commentLength, fileCount] : {std::pair{-1, 0}, {0, -1}, {0x7FFFFFFF, 0}, {0, 0x7FFFFFFF}}) {
    std::vector<uint8_t> bad = BaseFileBuilder().Header(1, 0).Bytes;
    bad.insert(bad.end(), name.begin(), name.end());
    std::vector<uint8_t> r = BaseFileBuilder::Record(StoredSound(), commentLength, fileCount);
    bad.insert(bad.end(), r.begin(), r.end());
    bad.resize(bad.size() + 64, 0);
    EXPECT_EQ(LoadBytes(bad), E_FAIL) << commentLength << " " << fileCount;
    EXPECT_EQ(SoundList, nullptr);
  }
}

}  // namespace
