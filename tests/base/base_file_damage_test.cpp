// Damaged base files, made from one good file: cut short, bits flipped, fields set to
// hostile values. Each load is refused or succeeds, reads nothing beyond the file, and
// whatever it kept saves, loads and saves again to the same bytes.
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "base_file_builder.h"
#include "module_fixture.h"

namespace {

struct Layout {
  std::vector<uint8_t> Bytes;
  std::vector<size_t> SoundStarts, SoundEnds;
  std::vector<std::pair<size_t, size_t>> Live;  // ranges whose bytes are read, not reserved
};

Layout GoodFile() {
  std::vector<StoredSound> sounds(4);
  sounds[0].Name = "door";
  sounds[0].Comment = "creaks";
  sounds[0].Files = {{"Base\\Sounds\\Door.WAV", 1}, {"door2.wav", 0}};
  sounds[0].Is3D = sounds[0].Looped = 1;
  sounds[0].Page = 1;
  sounds[0].MinDistance = 2;
  sounds[0].MaxDistance = 50;
  sounds[1].Name = "wind";
  sounds[1].PlayMode = 0;
  sounds[1].NumStreams = 4;
  sounds[1].Volume = 80;
  sounds[2].Name = "step";
  sounds[2].Comment = "x";
  sounds[2].Files = {{"a.wav", 1}, {"b.wav", 1}, {"c.wav", 1}};
  sounds[2].Crossed = 1;
  sounds[2].Page = 7;
  sounds[3].Name = "off";
  sounds[3].Enabled = 0;

  Layout layout;
  BaseFileBuilder file;
  file.Header(static_cast<int32_t>(sounds.size()), 3).Page("World").Page("Doors").Page("Music");
  layout.Live = {{0, 14}, {256, 264}, {10240, file.Bytes.size()}};
  for (const StoredSound& s : sounds) {
    size_t start = file.Bytes.size();
    file.Sound(s);
    layout.SoundStarts.push_back(start);
    layout.SoundEnds.push_back(file.Bytes.size());
    layout.Live.push_back({start, start + 16});
    layout.Live.push_back({start + 256, start + 256 + 48});
    layout.Live.push_back({start + 256 + 10240, file.Bytes.size()});
  }
  layout.Bytes = file.Bytes;
  return layout;
}

class DamagedBaseFile : public ModuleTest {
protected:
  LONG Load(const std::vector<uint8_t>& bytes) {
    root.write("Sounds.qorSound", bytes);
    return qorSound_LoadBase();
  }
  static int Sounds() { return static_cast<int>(SoundNames().size()); }
  void ExpectStableRoundTrip(const std::string& what) {
    ASSERT_EQ(qorSound_SaveBase(), S_OK) << what;
    std::vector<uint8_t> first = root.read("Sounds.qorSound");
    ASSERT_EQ(qorSound_LoadBase(), S_OK) << what;
    ASSERT_EQ(qorSound_SaveBase(), S_OK) << what;
    EXPECT_EQ(root.read("Sounds.qorSound"), first) << what;
  }
};

TEST_F(DamagedBaseFile, ACutFileIsRefusedAndKeepsTheSoundsBeforeTheCut) {
  const Layout good = GoodFile();
  ASSERT_EQ(Load(good.Bytes), S_OK);
  ASSERT_EQ(Sounds(), 4);
  std::vector<size_t> cuts;
  std::vector<size_t> edges = {0, 14, 256, 260, 10240, 10240 + 48};
  for (size_t start : good.SoundStarts) {
    for (size_t offset : {0, 256, 256 + 4, 256 + 8, 256 + 44, 256 + 10240}) edges.push_back(start + offset);
  }
  for (size_t edge : edges) {
    for (size_t cut : {edge - 1, edge, edge + 1}) {
      if (cut < good.Bytes.size()) cuts.push_back(cut);
    }
  }
  for (size_t cut = 0; cut < good.Bytes.size(); cut += 509) cuts.push_back(cut);
  for (size_t cut : cuts) {
    int whole = 0;
    for (size_t end : good.SoundEnds) whole += end <= cut;
    EXPECT_EQ(Load({good.Bytes.begin(), good.Bytes.begin() + cut}), E_FAIL) << cut;
    EXPECT_EQ(Sounds(), whole) << cut;
    ExpectStableRoundTrip("cut at " + std::to_string(cut));
  }
}

TEST_F(DamagedBaseFile, FlippedBitsAreReadOrRefusedAndWhatIsReadSavesTheSame) {
  const Layout good = GoodFile();
  std::vector<size_t> live;
  for (auto [from, to] : good.Live) {
    for (size_t at = from; at < to; ++at) live.push_back(at);
  }
  std::mt19937 random(11);
  for (int round = 0; round < 120; ++round) {
    std::vector<uint8_t> bytes = good.Bytes;
    int flips = 1 + static_cast<int>(random() % 8);
    for (int i = 0; i < flips; ++i) bytes[live[random() % live.size()]] ^= static_cast<uint8_t>(1u << (random() % 8));
    LONG result = Load(bytes);
    EXPECT_TRUE(result == S_OK || result == E_FAIL) << round;
    EXPECT_LE(Sounds(), 4) << round;
    ExpectStableRoundTrip("round " + std::to_string(round));
  }
}

std::vector<uint8_t> I32(int32_t v) {
  std::vector<uint8_t> b(4);
  std::memcpy(b.data(), &v, 4);
  return b;
}
std::vector<uint8_t> F32(float v) {
  std::vector<uint8_t> b(4);
  std::memcpy(b.data(), &v, 4);
  return b;
}

TEST_F(DamagedBaseFile, HostileFieldsAreRefusedOrKeptInsideTheirFields) {
  const Layout good = GoodFile();
  const size_t s0 = good.SoundStarts[0], r0 = s0 + 256, r1 = good.SoundStarts[1] + 256;
  constexpr int32_t MAX = std::numeric_limits<int32_t>::max(), MIN = std::numeric_limits<int32_t>::min();
  constexpr int ANY = -1;
  struct Attack {
    const char* What;
    size_t At;
    std::vector<uint8_t> Bytes;
    int Refused;  // 1: E_FAIL, 0: S_OK, ANY: either
    int Sounds;   // kept after the load, or ANY
  } attacks[] = {
      {"no sounds stored", 256, I32(0), 0, 0},
      {"negative sound count", 256, I32(-1), 0, 0},
      {"lowest sound count", 256, I32(MIN), 0, 0},
      {"one sound more than stored", 256, I32(5), 1, 4},
      {"highest sound count", 256, I32(MAX), 1, 4},
      {"negative page count", 260, I32(-1), ANY, ANY},
      {"page count past the table", 260, I32(257), ANY, ANY},
      {"highest page count", 260, I32(MAX), 1, 0},
      {"page name without terminator", 10240, std::vector<uint8_t>(16, 'p'), 0, 4},
      {"sound name without terminator", s0, std::vector<uint8_t>(256, 'n'), 0, 4},
      {"negative comment length", r0 + 4, I32(-1), 1, 0},
      {"highest comment length", r0 + 4, I32(MAX), 1, 0},
      {"comment longer by one", r0 + 4, I32(8), ANY, ANY},
      {"negative file count", r0 + 8, I32(-1), 1, 0},
      {"highest file count", r0 + 8, I32(MAX), 1, 0},
      {"file count of 64 MB of records", r0 + 8, I32(1 << 20), 1, 0},
      {"play mode out of range", r0 + 12, I32(7), 0, 4},
      {"negative stream count", r0 + 16, I32(-5), 0, 4},
      {"highest stream count", r0 + 16, I32(MAX), 0, 4},
      {"lowest volume", r0 + 20, I32(MIN), 0, 4},
      {"not-a-number distance", r0 + 32, F32(std::nanf("")), 0, 4},
      {"infinite distance", r0 + 36, F32(std::numeric_limits<float>::infinity()), 0, 4},
      {"lowest page", r1 + 44, I32(MIN), 0, 4},
      {"path without terminator", r0 + 10240 + 6, std::vector<uint8_t>(63, 'q'), 0, 4},
  };
  for (const Attack& attack : attacks) {
    std::vector<uint8_t> bytes = good.Bytes;
    std::copy(attack.Bytes.begin(), attack.Bytes.end(), bytes.begin() + static_cast<long>(attack.At));
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
