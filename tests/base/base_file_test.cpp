// The base file: its layout written and read, and damaged files (cut short, hostile fields)
// that are refused or read, never beyond the file, keeping what then saves, loads and saves
// again to the same bytes. Arbitrary damage is left to the base file fuzzer.
#include <signal.h>
#include <sys/resource.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "base_file_builder.h"
#include "module_fixture.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Names = std::vector<std::string>;

class BaseFile : public ModuleTest {
protected:
  Bytes Saved() {
    EXPECT_EQ(qorSound_SaveBase(), S_OK);
    return root.read("Sounds.qorSound");
  }
  LONG Load(const Bytes& bytes) {
    root.write("Sounds.qorSound", bytes);
    return qorSound_LoadBase();
  }
  static int Sounds() { return static_cast<int>(SoundNames().size()); }
  void ExpectStableRoundTrip(const std::string& what) {
    Bytes first = Saved();
    ASSERT_EQ(qorSound_LoadBase(), S_OK) << what;
    EXPECT_EQ(Saved(), first) << what;
  }
};

// Four sounds on three pages: every field away from its default somewhere, each flag (3D,
// looped, crossed) set in another sound so that no two can be read in each other's place.
struct Layout {
  Bytes File;
  Names Pages = {"World", "Doors", "Music"};
  std::vector<size_t> SoundStarts, SoundEnds;
};

Layout GoodFile() {
  std::vector<StoredSound> sounds(4);
  sounds[0].Name = "door";
  sounds[0].Comment = "creaks";
  sounds[0].Files = {{"sounds\\door.wav", 1}, {"sounds\\door2.wav", 0}};
  sounds[0].Is3D = 1;
  sounds[0].Page = 1;
  sounds[0].MinDistance = 2.5f;
  sounds[0].MaxDistance = 50;
  sounds[1].Name = "wind";
  sounds[1].PlayMode = SOUND_PLAYMODE_SEQUENTIAL;
  sounds[1].NumStreams = 4;
  sounds[1].Volume = 80;
  sounds[1].Frequency = 120;
  sounds[1].Looped = 1;
  sounds[2].Name = "step";
  sounds[2].Comment = "x";
  sounds[2].Files = {{"sounds\\a.wav", 1}, {"sounds\\b.wav", 1}, {"sounds\\c.wav", 1}};
  sounds[2].Crossed = 1;
  sounds[2].Page = 7;
  sounds[3].Name = "off";
  sounds[3].Enabled = 0;

  Layout layout;
  BaseFileBuilder file;
  file.Header(static_cast<int32_t>(sounds.size()), 3);
  for (const std::string& page : layout.Pages) file.Page(page);
  for (const StoredSound& s : sounds) {
    layout.SoundStarts.push_back(file.Bytes.size());
    file.Sound(s);
    layout.SoundEnds.push_back(file.Bytes.size());
  }
  layout.File = file.Bytes;
  return layout;
}

// The layout is the builder's, made apart from the module's reader and writer: what is read
// lands in the right fields, and a save gives the same bytes back.
TEST_F(BaseFile, TheStoredLayoutReadsIntoItsFieldsAndIsWrittenBackWholeOrNotAtAll) {
  EXPECT_EQ(Saved(), BaseFileBuilder().Header(0, 0).Bytes) << "an empty catalogue is just the header";
  const Layout good = GoodFile();
  ASSERT_EQ(Load(good.File), S_OK);
  EXPECT_EQ(PageNames(), good.Pages);
  EXPECT_STREQ(qorSound_GetSoundComments("door"), "creaks");
  for (auto [sound, is3D, looped, crossed, page] :
       {std::tuple{"door", 1, 0, 0, 1}, {"wind", 0, 1, 0, 0}, {"step", 0, 0, 1, 7}}) {
    EXPECT_EQ(qorSound_Get3D(sound), is3D) << sound;
    EXPECT_EQ(qorSound_GetLooped(sound), looped) << sound;
    EXPECT_EQ(qorSound_GetCrossed(sound), crossed) << sound;
    EXPECT_EQ(qorSound_GetSoundPage(sound), page) << sound;
  }
  float minimum = 0, maximum = 0;
  qorSound_GetDistances("door", &minimum, &maximum);
  EXPECT_EQ(minimum, 2.5f);
  EXPECT_EQ(maximum, 50.0f);
  EXPECT_EQ(qorSound_GetSoundPlayMode("wind"), SOUND_PLAYMODE_SEQUENTIAL);
  EXPECT_EQ(qorSound_GetNumStreams("wind"), 4);
  EXPECT_EQ(qorSound_GetVolume("wind"), 80);
  EXPECT_EQ(qorSound_GetFrequency("wind"), 120);
  EXPECT_EQ(qorSound_IsFileEnabled("door", 1), 0);
  char path[64];
  ASSERT_EQ(qorSound_GetFile("step", path, 2), S_OK);
  EXPECT_STREQ(path, "sounds\\c.wav");
  EXPECT_EQ(qorSound_IsSoundEnabled("off"), 0);
  EXPECT_EQ(Saved(), good.File);

  // A file size limit turns the next save's writes short, as a full disk would: the file stays.
  Create("more");
  struct rlimit old;
  getrlimit(RLIMIT_FSIZE, &old);
  struct rlimit small = old;
  small.rlim_cur = good.File.size();
  auto previous = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  LONG result = qorSound_SaveBase();
  setrlimit(RLIMIT_FSIZE, &old);
  signal(SIGXFSZ, previous);
  EXPECT_EQ(result, E_FAIL);
  EXPECT_EQ(root.read("Sounds.qorSound"), good.File);

  // Game mode drops the disabled sound for good.
  Restart(0);
  EXPECT_EQ(SoundNames(), (Names{"door", "wind", "step"}));
  ASSERT_EQ(qorSound_SaveBase(), S_OK);
  Restart(1);
  EXPECT_EQ(SoundNames(), (Names{"door", "wind", "step"}));
}

// Reading cleans paths and ignores reserved and trailing bytes; of two equal names the first
// is found until it goes.
TEST_F(BaseFile, AHandMadeFileLoadsCleansPathsAndSavesNormalised) {
  auto file = [](const StoredSound& door) {
    BaseFileBuilder file;
    file.Header(4, 1).Page("Doors").Sound(door);
    StoredSound twin;
    for (auto [name, volume] : {std::pair{"Twin", 1}, {"other", 2}, {"TWIN", 3}}) {
      twin.Name = name;
      twin.Volume = volume;
      file.Sound(twin);
    }
    return file;
  };
  StoredSound door;
  door.Name = "Door";
  door.Files = {{"Base\\Sounds\\Door.WAV", 1}, {"base\\base\\x.wav", 0}, {"music\\y.wav", 1}, {"c:\\z.wav", 1}};
  BaseFileBuilder handMade = file(door);
  handMade.Bytes[100] = 0xEE;                      // reserved header byte
  handMade.Bytes[10240 + 16 + 256 + 5000] = 0xEE;  // reserved record byte
  handMade.Append({'t', 'r', 'a', 'i', 'l'});
  ASSERT_EQ(Load(handMade.Bytes), S_OK);
  door.Files = {
      {"sounds\\door.wav", 1}, {"sounds\\base\\x.wav", 0}, {"sounds\\music\\y.wav", 1}, {"sounds\\c:\\z.wav", 1}};
  EXPECT_EQ(Saved(), file(door).Bytes);

  EXPECT_EQ(qorSound_GetVolume("twin"), 1);
  qorSound_DeleteSound("twin");
  EXPECT_EQ(qorSound_GetVolume("twin"), 3);
  EXPECT_EQ(qorSound_ChangeName("twin", "renamed"), S_OK);
  EXPECT_EQ(qorSound_FindSound("twin", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_GetVolume("RENAMED"), 3);
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
  ASSERT_EQ(Load(file.Bytes), S_OK);
  EXPECT_EQ(PageNames().size(), 256u);
  const std::string name = SoundNames().at(0);
  EXPECT_EQ(name.size(), 255u);
  // A path that grows past the record when it gets its prefix is cut, not spilled.
  char path[256];
  ASSERT_EQ(qorSound_GetFile(name.c_str(), path, 0), S_OK);
  EXPECT_EQ(std::string(path), "sounds\\" + std::string(55, 'p'));
  EXPECT_EQ(qorSound_IsFileEnabled(name.c_str(), 0), 1);
  EXPECT_EQ(qorSound_IsFileEnabled(name.c_str(), 1), 0);

  // One sound "c" whose record claims no pages and a comment without terminator: it reads
  // as text of its own length.
  std::vector<uint8_t> c(256, 0);
  c[0] = 'c';
  file.Header(1, -4).Append(c).Append(BaseFileBuilder::Record(StoredSound(), 3, 0)).Append({'x', 'y', 'z'});
  ASSERT_EQ(Load(file.Bytes), S_OK);
  EXPECT_TRUE(PageNames().empty());
  EXPECT_STREQ(qorSound_GetSoundComments("c"), "xyz");
}

TEST_F(BaseFile, ACutFileIsRefusedAndKeepsTheSoundsBeforeTheCut) {
  const Layout good = GoodFile();
  ASSERT_EQ(Load(good.File), S_OK);
  ASSERT_EQ(Sounds(), 4);
  std::vector<size_t> cuts;
  std::vector<size_t> edges = {0, 14, 256, 260, 10240, 10240 + 48};
  for (size_t start : good.SoundStarts) {
    for (size_t offset : {0, 256, 256 + 4, 256 + 8, 256 + 44, 256 + 10240}) edges.push_back(start + offset);
  }
  for (size_t edge : edges) {
    for (size_t cut : {edge - 1, edge, edge + 1}) {
      if (cut < good.File.size()) cuts.push_back(cut);
    }
  }
  for (size_t cut = 0; cut < good.File.size(); cut += 509) cuts.push_back(cut);
  for (size_t cut : cuts) {
    int whole = 0;
    for (size_t end : good.SoundEnds) whole += end <= cut;
    EXPECT_EQ(Load({good.File.begin(), good.File.begin() + cut}), E_FAIL) << cut;
    EXPECT_EQ(Sounds(), whole) << cut;
    // A page table cut short keeps the records, whole or in part, that were read.
    if (cut >= 10240 && cut <= 10240 + 48) {
      Names pages;
      for (size_t i = 0; i < 3; ++i)
        pages.push_back(good.Pages[i].substr(0, cut - 10240 > 16 * i ? cut - 10240 - 16 * i : 0));
      EXPECT_EQ(PageNames(), pages) << cut;
    }
    ExpectStableRoundTrip("cut at " + std::to_string(cut));
  }
}

template <typename T>
Bytes Field(T v) {
  Bytes b(sizeof v);
  std::memcpy(b.data(), &v, sizeof v);
  return b;
}

TEST_F(BaseFile, HostileFieldsAreRefusedOrKeptInsideTheirFields) {
  const Layout good = GoodFile();
  const size_t s0 = good.SoundStarts[0], r0 = s0 + 256, r1 = good.SoundStarts[1] + 256;
  constexpr int32_t MAX = std::numeric_limits<int32_t>::max(), MIN = std::numeric_limits<int32_t>::min();
  constexpr int ANY = -1;
  const std::string otherMark = "qorsound File";
  struct Attack {
    const char* What;
    size_t At;
    Bytes Value;
    int Refused;  // 1: E_FAIL, 0: S_OK, ANY: either
    int Sounds;   // kept after the load, or ANY
  } attacks[] = {
      {"no sounds stored", 256, Field(0), 0, 0},
      {"negative sound count", 256, Field(-1), 0, 0},
      {"lowest sound count", 256, Field(MIN), 0, 0},
      {"one sound more than stored", 256, Field(5), 1, 4},
      // Behind a load that kept four sounds: the old catalogue goes before the file is read.
      {"mark compared with its case", 0, Bytes(otherMark.begin(), otherMark.end()), 1, 0},
      {"highest sound count", 256, Field(MAX), 1, 4},
      {"negative page count", 260, Field(-1), ANY, ANY},
      {"page count past the table", 260, Field(257), ANY, ANY},
      {"highest page count", 260, Field(MAX), 1, 0},
      {"page name without terminator", 10240, Bytes(16, 'p'), 0, 4},
      {"sound name without terminator", s0, Bytes(256, 'n'), 0, 4},
      {"negative comment length", r0 + 4, Field(-1), 1, 0},
      {"highest comment length", r0 + 4, Field(MAX), 1, 0},
      {"comment longer by one", r0 + 4, Field(8), ANY, ANY},
      {"negative file count", r0 + 8, Field(-1), 1, 0},
      {"highest file count", r0 + 8, Field(MAX), 1, 0},
      {"file count of 64 MB of records", r0 + 8, Field(1 << 20), 1, 0},
      {"play mode out of range", r0 + 12, Field(7), 0, 4},
      {"negative stream count", r0 + 16, Field(-5), 0, 4},
      {"highest stream count", r0 + 16, Field(MAX), 0, 4},
      {"lowest volume", r0 + 20, Field(MIN), 0, 4},
      {"not-a-number distance", r0 + 32, Field(std::nanf("")), 0, 4},
      {"infinite distance", r0 + 36, Field(std::numeric_limits<float>::infinity()), 0, 4},
      {"lowest page", r1 + 44, Field(MIN), 0, 4},
      {"path without terminator", r0 + 10240 + 6, Bytes(63, 'q'), 0, 4},
  };
  for (const Attack& attack : attacks) {
    Bytes bytes = good.File;
    std::copy(attack.Value.begin(), attack.Value.end(), bytes.begin() + static_cast<long>(attack.At));
    LONG result = Load(bytes);
    if (attack.Refused != ANY) {
      EXPECT_EQ(result, attack.Refused ? E_FAIL : S_OK) << attack.What;
    }
    if (attack.Sounds != ANY) {
      EXPECT_EQ(Sounds(), attack.Sounds) << attack.What;
    }
    ExpectStableRoundTrip(attack.What);
  }
}

}  // namespace
