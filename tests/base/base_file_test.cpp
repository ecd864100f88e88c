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

// Checked byte by byte on writing; reading is the inverse when a second save gives the same bytes.
TEST_F(BaseFile, WrittenBytesFollowTheLayoutAndReadBackUnchanged) {
  qorSound_NewPage("World");
  Create("first");
  qorSound_SetSoundComments("first", "abcd");
  char a[64] = "sounds\\a.wav", b[64] = "sounds\\b.wav";
  qorSound_AddFile("first", a);
  qorSound_AddFile("first", b);
  qorSound_SetFileEnabled("first", 1, 0);
  qorSound_SetLooped("first", 1);
  qorSound_SetCrossed("first", 1);
  Create("second");
  qorSound_Set3D("second", 1);
  qorSound_SetCrossed("second", 1);
  qorSound_SetSoundPage("second", 3);
  qorSound_SetVolume("second", 33);
  qorSound_SetFrequency("second", 120);
  qorSound_SetNumStreams("second", 3);
  qorSound_SetSoundPlayMode("second", SOUND_PLAYMODE_SEQUENTIAL);
  qorSound_SetDistances("second", 2.5f, 40.0f);

  std::vector<uint8_t> bytes = Saved();
  ASSERT_EQ(bytes.size(), 31381u);
  EXPECT_EQ(Int(bytes, 256), 2);
  EXPECT_EQ(Int(bytes, 260), 1);
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[10240]), "World");
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[10256]), "first");
  // The first record block: enabled, comment length 5, two files, then the defaults.
  const size_t rec = 10512;
  for (auto [offset, value] : {std::pair{0, 1}, {4, 5}, {8, 2}, {12, 1}, {16, 1}, {20, 100}, {24, 100}}) {
    EXPECT_EQ(Int(bytes, rec + offset), value) << offset;
  }
  const uint8_t minBits[] = {0x00, 0x00, 0xA0, 0x40}, maxBits[] = {0x00, 0x00, 0xC8, 0x42};
  EXPECT_EQ(std::memcmp(&bytes[rec + 32], minBits, 4), 0);
  EXPECT_EQ(std::memcmp(&bytes[rec + 36], maxBits, 4), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20752]), "abcd");
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20757]), "sounds\\a.wav");
  EXPECT_EQ(bytes[20757 + 63], 1);
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20821]), "sounds\\b.wav");
  EXPECT_EQ(bytes[20821 + 63], 0);
  // The second: no comment, nothing behind it. Flags, looped at 28, 3D at 29 and crossed at 40,
  // differ in pattern so that no two can be read in each other's place.
  const size_t rec2 = 21141;
  EXPECT_STREQ(reinterpret_cast<char*>(&bytes[20885]), "second");
  for (auto [at, flag] : {std::pair{rec + 28, 1}, {rec + 29, 0}, {rec + 40, 1}, {rec2 + 28, 0}, {rec2 + 29, 1},
                          {rec2 + 30, 0}, {rec2 + 40, 1}}) {
    EXPECT_EQ(bytes[at], flag) << at;
  }
  for (auto [offset, value] : {std::pair{4, 0}, {12, 0}, {16, 3}, {20, 33}, {24, 120}, {44, 3}}) {
    EXPECT_EQ(Int(bytes, rec2 + offset), value) << offset;
  }

  // Stored paths are written as given; reading cleans them, so these already are.
  ASSERT_EQ(qorSound_LoadBase(), S_OK);
  EXPECT_EQ(Saved(), bytes);
}

TEST_F(BaseFile, AHandMadeFileLoadsCleansPathsAndSavesNormalised) {
  StoredSound door;
  door.Name = "Door";
  door.Files = {{"Base\\Sounds\\Door.WAV", 1}, {"base\\base\\x.wav", 0}, {"music\\y.wav", 1}, {"c:\\z.wav", 1}};
  BaseFileBuilder file;
  file.Header(1, 1).Page("Doors").Sound(door);
  file.Bytes[100] = 0xEE;                         // reserved header byte
  file.Bytes[10240 + 16 + 256 + 5000] = 0xEE;     // reserved record byte
  file.Append({'t', 'r', 'a', 'i', 'l'});         // bytes behind the last sound
  ASSERT_EQ(LoadBytes(file.Bytes), S_OK);

  const char* cleaned[] = {"sounds\\door.wav", "sounds\\base\\x.wav", "sounds\\music\\y.wav", "sounds\\c:\\z.wav"};
  char path[63];
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(qorSound_GetFile("door", path, i), S_OK);
    EXPECT_STREQ(path, cleaned[i]);
  }
  std::vector<uint8_t> again = Saved();
  EXPECT_EQ(again[100], 0);
  EXPECT_EQ(again[10240 + 16 + 256 + 5000], 0);
  EXPECT_EQ(again.size(), file.Bytes.size() - 5);
  EXPECT_STREQ(reinterpret_cast<char*>(&again[10240 + 16 + 256 + 10240]), "sounds\\door.wav");
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

// What a cut or damaged file keeps is proved in base_file_damage_test.
TEST_F(BaseFile, TheMarkIsCompared) {
  Create("old");
  EXPECT_EQ(LoadBytes(BaseFileBuilder().Header(0, 0, "qorsound File").Bytes), E_FAIL);
  EXPECT_EQ(qorSound_FindSound("old", nullptr), E_FAIL) << "the old catalogue goes before the file is read";
}

TEST_F(BaseFile, APageTableCutShortKeepsTheRecordsThatWereRead) {
  BaseFileBuilder file;
  file.Header(0, 3).Page("alpha").Page("beta").Page("gamma");
  struct Cut {
    size_t tableBytes;
    std::vector<std::string> names;
  } cuts[] = {{0, {"", "", ""}}, {16, {"alpha", "", ""}}, {35, {"alpha", "beta", "gam"}}};
  for (const Cut& cut : cuts) {
    EXPECT_EQ(LoadBytes({file.Bytes.begin(), file.Bytes.begin() + 10240 + cut.tableBytes}), E_FAIL);
    EXPECT_EQ(PageCount, 3);
    std::vector<uint8_t> saved = Saved();
    ASSERT_EQ(saved.size(), 10240u + 3 * 16);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(PageTable[i].Name, cut.names[i]) << cut.tableBytes;
      EXPECT_EQ(reinterpret_cast<char*>(&saved[10240 + 16 * i]), cut.names[i]) << "the next save writes it";
    }
  }
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

  // One sound "c" whose record claims these counts, with tail behind it.
  auto oneSound = [](int32_t pages, int32_t commentLength, int32_t fileCount, std::vector<uint8_t> tail) {
    std::vector<uint8_t> name(256, 0);
    name[0] = 'c';
    BaseFileBuilder file;
    file.Header(1, pages).Append(name).Append(BaseFileBuilder::Record(StoredSound(), commentLength, fileCount));
    return file.Append(tail).Bytes;
  };
  // Comment without terminator: it reads as text of its own length.
  ASSERT_EQ(LoadBytes(oneSound(-4, 3, 0, {'x', 'y', 'z'})), S_OK);
  EXPECT_EQ(PageCount, 0);
  EXPECT_STREQ(qorSound_GetSoundComments("c"), "xyz");
}

}  // namespace
