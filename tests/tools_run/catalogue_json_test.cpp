// kxsound export and import, run as the program a person runs.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base_file_builder.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "tool_process.h"

namespace {

// The module in tool mode on root, as the tool starts it.
void Start(const TempDir& root) {
  kxHost_SetRootFolder(root.path().c_str());
  kxHost_SetAudioOutput("offline");
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  // The page table outlives the module: begin from none.
  while (qorSound_DeletePage(0) == S_OK) {
  }
}

void Create(const std::string& name) {
  char buffer[256];
  std::strcpy(buffer, name.c_str());
  qorSound_CreateNewSound(buffer);
  ASSERT_EQ(std::string(buffer), name);
}

void AddFile(const std::string& sound, const char* path, int index, int enabled) {
  char buffer[64];
  std::strcpy(buffer, path);
  ASSERT_EQ(qorSound_AddFile(sound.c_str(), buffer), S_OK);
  qorSound_SetFileEnabled(sound.c_str(), index, enabled);
}

void SetDistances(const char* sound, float minimum, float maximum) {
  void* handle = nullptr;
  ASSERT_EQ(qorSound_FindSound(sound, &handle), S_OK);
  qorSound_SetSoundMinMaxDistances(handle, minimum, maximum);
}

float FromBits(uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// Every kind of field, each at values a plain catalogue would not hold.
void WriteRichCatalogue(const TempDir& root) {
  Start(root);
  for (const char* page : {"Doors", "W\xc3\xb6rld", "\xff\xfe-raw", "123456789012345"})
    ASSERT_EQ(qorSound_NewPage(page), S_OK);
  Create("Door \"main\" open");
  qorSound_SetSoundComments("Door \"main\" open", "caf\xc3\xa9 \xe2\x80\x94 door");
  qorSound_SetSoundPlayMode("Door \"main\" open", SOUND_PLAYMODE_SEQUENTIAL);
  AddFile("Door \"main\" open", "sounds\\door1.wav", 0, 1);
  AddFile("Door \"main\" open", "sounds\\door2.wav", 1, 0);
  AddFile("Door \"main\" open", "sounds\\d\xe9j\xe0 vu.wav", 2, 7);

  Create("Shot\\3D");
  qorSound_SetSoundComments("Shot\\3D", "bad \x80 byte\nsecond line\ttab");
  qorSound_Set3D("Shot\\3D", 1);
  qorSound_SetNumStreams("Shot\\3D", 9);
  qorSound_SetSoundPlayMode("Shot\\3D", static_cast<SOUND_PLAYMODE>(7));
  qorSound_SetLooped("Shot\\3D", 255);
  qorSound_SetCrossed("Shot\\3D", 200);
  qorSound_SetVolume("Shot\\3D", 0);
  qorSound_SetFrequency("Shot\\3D", 250);
  qorSound_SetSoundPage("Shot\\3D", 300);
  qorSound_SetSoundEnabled("Shot\\3D", 0);
  SetDistances("Shot\\3D", 1.0f, 3.4e38f);

  // A minimum below 1 is kept when the maximum is below it too.
  Create("tiny");
  qorSound_Set3D("tiny", 2);
  SetDistances("tiny", 0.1f, 0.1f);
  Create("speck");
  SetDistances("speck", 1e-7f, 1e-7f);
  Create("negative zero");
  SetDistances("negative zero", -0.0f, -0.0f);
  // 2D, yet its distances are stored.
  Create("far");
  qorSound_SetSoundEnabled("far", 5);
  qorSound_SetSoundPage("far", -1);
  SetDistances("far", 2.5f, FromBits(0x7f800000));
  Create("not a number");
  SetDistances("not a number", 1.5f, FromBits(0x7fc12345));

  Create("Z\xe9\x62ra");
  qorSound_SetSoundPage("Z\xe9\x62ra", 3);
  std::string longest(255, 'n');
  Create(longest);
  qorSound_SetVolume(longest.c_str(), 2147483647);
  qorSound_SetNumStreams(longest.c_str(), -3);
  qorSound_SetSoundPlayMode(longest.c_str(), static_cast<SOUND_PLAYMODE>(-1));
  Create("plain");
  EXPECT_EQ(qorSound_SaveBase(), S_OK);
  qorSound_Finalize();
}

// A different catalogue, with a sound on a page beyond the table, for import to replace.
void WriteOldCatalogue(const TempDir& root) {
  root.write("old.json", std::string(R"({"format": "kxsound-catalogue", "version": 1, "pages": ["Old1", "Old2"],
    "sounds": [{"name": "old0", "page": 0, "files": [{"path": "sounds\\old.wav"}]},
               {"name": "old1", "page": 1, "files": [{"path": "sounds\\old.wav"}]},
               {"name": "old9", "page": 9, "files": [{"path": "sounds\\old.wav"}]}]})"));
  ASSERT_EQ(RunTool({"import", root.file("old.json"), "--root", root.path(), "--quiet"}).Status, 0);
}

TEST(CatalogueJson, ImportOfAnExportRewritesTheSameBaseFileByteForByte) {
  TempDir source, target;
  WriteRichCatalogue(source);
  WriteOldCatalogue(target);

  ToolRun exported = RunTool({"export", "--root", source.path()});
  ASSERT_EQ(exported.Status, 0) << exported.Err;
  EXPECT_EQ(exported.Err, "") << "a healthy catalogue exports without a word on standard error";
  const std::string& json = exported.Out;
  // Shortest text for a float; bytes that are not UTF-8 as hex; other text as it is.
  for (const char* text :
       {"\"minDistance\": 0.1,", "\"maxDistance\": 3.4e+38,", "\"maxDistance\": {\n        \"bits\": \"7fc12345\"",
        "\"hex\": \"626164208020627974650a7365636f6e64206c696e6509746162\"",
        "\"comment\": \"caf\xc3\xa9 \xe2\x80\x94 door\"", "\"name\": \"Door \\\"main\\\" open\""})
    EXPECT_NE(json.find(text), std::string::npos) << text << "\n" << json;
  source.write("catalogue.json", json);

  ToolRun imported = RunTool({"import", source.file("catalogue.json"), "--root", target.path()});
  ASSERT_EQ(imported.Status, 0) << imported.Err;
  EXPECT_EQ(imported.Out, "Imported 4 pages and 10 sounds into " + target.path() + "Sounds.qorSound\n");
  EXPECT_TRUE(target.read("Sounds.qorSound") == source.read("Sounds.qorSound"));
}

TEST(CatalogueJson, ImportRefusesWhatTheCatalogueCannotHoldAndWritesNothing) {
  TempDir root;
  WriteOldCatalogue(root);
  const std::vector<uint8_t> before = root.read("Sounds.qorSound");
  const std::string head = "{\"format\": \"kxsound-catalogue\", \"version\": 1, ";
  const std::string door = head + "\"sounds\": [{\"name\": \"Door\", ";
  struct Case {
    std::string Json, Message;
  };
  const Case cases[] = {
      {head + "\"pages\": [\"A\"]\n  \"sounds\": []}", "parse error at line 2, column 10"},
      {"{\"format\": \"other\", \"version\": 1}", "\"format\" must be \"kxsound-catalogue\""},
      {"{\"format\": \"kxsound-catalogue\", \"version\": 2}", "\"version\" must be 1"},
      {door + "\"volume\": \"loud\"}]}", "sounds[0] (\"Door\"): volume must be a whole number"},
      {door + "\"volume\": -1}]}", "volume must be from 0 to 2147483647"},
      {door + "\"volumme\": 5}]}", "unknown field \"volumme\""},
      {head + "\"sounds\": [{\"name\": \"a\\u0000b\"}]}", "name holds a zero byte"},
      {door + "\"maxDistance\": 1e39}]}", "number overflow parsing '1e39'"},
      {head + "\"pages\": [\"sixteen-bytes-xx\"]}", "pages[0] holds more than 15 bytes"},
      {head + "\"pages\": [\"Doors\", \"DOORS\"]}", "pages[1] (\"DOORS\") was refused"},
      {head + "\"sounds\": [{\"name\": \"Door\"}, {\"name\": \"door\"}]}", "sounds[1] (\"door\"): the name is taken"},
      {door + "\"comment\": \"\"}]}", "an empty comment cannot be stored"},
      {door + "\"minDistance\": 0.5}]}", "minDistance 0.5 with maxDistance 100.0 cannot be stored"},
      {door + "\"files\": [{\"path\": \"a.wav\"}, {\"path\": \"A.WAV\"}]}]}",
       "files[1].path \"A.WAV\" was refused: it is listed twice"},
      {door + "\"files\": [{\"path\": \"" + std::string(63, 'p') + "\"}]}]}", "files[0].path must hold 1 to 62 bytes"},
  };
  for (const Case& c : cases) {
    root.write("in.json", c.Json);
    ToolRun outcome = RunTool({"import", root.file("in.json"), "--root", root.path()});
    EXPECT_EQ(outcome.Status, 1) << c.Json;
    EXPECT_NE(outcome.Err.find(c.Message), std::string::npos) << c.Json << "\n" << outcome.Err;
    EXPECT_TRUE(root.read("Sounds.qorSound") == before) << c.Json;
  }
}

// The base file holds values the module will not use as written; import stores them as the
// file allows, and says what each will do. Paths come in the catalogue's own form.
TEST(CatalogueJson, ImportStoresWhatTheModuleWillNotUseAsWrittenAndSaysSo) {
  TempDir root;
  root.write("in.json", std::string(R"({"format": "kxsound-catalogue", "version": 1, "pages": ["Only"],
    "sounds": [{"name": "Odd", "page": 3, "playMode": 2, "numStreams": 0, "volume": 250,
                "files": [{"path": "sounds/doors/a.wav"}, {"path": "door.wav"}, {"path": "sounds\\b.wav"}]},
               {"name": "Fine", "page": 0, "playMode": 1, "numStreams": 4, "volume": 100}]})"));
  ToolRun imported = RunTool({"import", root.file("in.json"), "--root", root.path()});
  ASSERT_EQ(imported.Status, 0) << imported.Err;
  const std::string where = "kxsound: " + root.file("in.json") + ": sounds[0] (\"Odd\"): ";
  for (const std::string said :
       {"files[0].path \"sounds/doors/a.wav\" stored as \"sounds\\doors\\a.wav\"",
        "files[1].path \"door.wav\" will read \"sounds\\door.wav\" once the catalogue is loaded again",
        "page 3 does not exist (the catalogue has 1 page); stored as given", "playMode 2 chooses no file",
        "numStreams 0 gives the sound no stream", "volume 250 is above full level"})
    EXPECT_NE(imported.Err.find(where + said), std::string::npos) << said << "\n" << imported.Err;
  EXPECT_EQ(imported.Err.find("\"Fine\""), std::string::npos) << imported.Err;
  EXPECT_EQ(imported.Err.find("b.wav"), std::string::npos) << imported.Err;

  ToolRun exported = RunTool({"export", "--root", root.path()});
  ASSERT_EQ(exported.Status, 0) << exported.Err;
  for (const char* stored : {"\"page\": 3,", "\"playMode\": 2,", "\"numStreams\": 0,", "\"volume\": 250,",
                             "\"path\": \"sounds\\\\doors\\\\a.wav\""})
    EXPECT_NE(exported.Out.find(stored), std::string::npos) << stored << "\n" << exported.Out;

  std::vector<uint8_t> before = root.read("Sounds.qorSound");
  ToolRun quiet = RunTool({"import", root.file("in.json"), "--root", root.path(), "--quiet"});
  EXPECT_EQ(quiet.Status, 0);
  EXPECT_EQ(quiet.Err, "");
  EXPECT_TRUE(root.read("Sounds.qorSound") == before);
}

// Export gives a stored value as it is, even one the setters cannot make; the commands fail
// cleanly without a catalogue, a file or a root.
TEST(CatalogueJson, ExportKeepsWhatIsStoredAndCommandsFailCleanly) {
  TempDir root;
  auto fails = [](const std::vector<std::string>& args, const char* says) {
    ToolRun run = RunTool(args);
    EXPECT_EQ(run.Status, 1) << says;
    EXPECT_NE(run.Err.find(says), std::string::npos) << run.Err;
    return run;
  };
  EXPECT_EQ(fails({"export", "--root", root.path()}, "no readable catalogue").Out, "");
  fails({"import", root.file("missing.json"), "--root", root.path()}, "cannot read");
  root.write("empty.json", std::string("{\"format\": \"kxsound-catalogue\", \"version\": 1}"));
  fails({"import", root.file("empty.json"), "--root", root.file("gone")}, "does not exist");
  EXPECT_FALSE(root.exists("gone"));
  EXPECT_FALSE(root.exists("Sounds.qorSound"));

  StoredSound first, second;
  first.Name = "Quiet";
  first.Volume = -5;
  root.write("Sounds.qorSound", BaseFileBuilder().Header(1, 0).Sound(first).Bytes);
  ToolRun exported = RunTool({"export", "--root", root.path()});
  ASSERT_EQ(exported.Status, 0) << exported.Err;
  EXPECT_NE(exported.Out.find("\"volume\": -5,"), std::string::npos) << exported.Out;
  // Getters by name reach only the first of two sounds of one name: refuse rather than export it twice.
  first.Name = "Door";
  second.Name = "DOOR";
  root.write("Sounds.qorSound", BaseFileBuilder().Header(2, 0).Sound(first).Sound(second).Bytes);
  fails({"export", "--root", root.path()}, "appears twice");
}

}  // namespace
