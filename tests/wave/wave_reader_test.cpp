#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "module_fixture.h"
#include "wave/wave_reader.h"
#include "wave_file.h"

namespace {

WaveShape ToneSpec(uint16_t bits = 16) {
  WaveShape shape;
  shape.Channels = 2;
  shape.SampleRate = 11025;
  shape.Bits = bits;
  shape.Data = Tone(440.0, 0.1, 11025, 2, bits, 0.5);
  return shape;
}

std::vector<uint8_t> ReadRest(WaveReader& reader) {
  std::vector<uint8_t> out(reader.DataChunk.cksize);
  uint32_t actual = 1;
  EXPECT_EQ(reader.Read(static_cast<uint32_t>(out.size()), out.data(), &actual), S_OK);
  EXPECT_EQ(actual, out.size());
  return out;
}

class WaveReaderTest : public ::testing::Test {
protected:
  LONG Open(WaveReader& reader, const std::vector<uint8_t>& bytes) {
    dir.write("t.wav", bytes);
    return reader.Open(dir.file("t.wav").c_str());
  }
  TempDir dir;
};

}  // namespace

TEST_F(WaveReaderTest, ReadsInPiecesAndResetStartsOver) {
  WaveShape shape = ToneSpec();
  WaveReader reader;
  ASSERT_EQ(Open(reader, MakeWave(shape)), S_OK);
  const uint32_t total = static_cast<uint32_t>(shape.Data.size());
  std::vector<uint8_t> got(total + 100);
  uint32_t actual = 0;
  ASSERT_EQ(reader.Read(1001, got.data(), &actual), S_OK);
  EXPECT_EQ(actual, 1001u);
  ASSERT_EQ(reader.Read(total, got.data() + 1001, &actual), S_OK);  // more than is left
  EXPECT_EQ(actual, total - 1001);
  got.resize(total);
  EXPECT_EQ(got, shape.Data);
  EXPECT_EQ(reader.Read(10, got.data(), &actual), S_OK);
  EXPECT_EQ(actual, 0u);
  ASSERT_EQ(reader.Reset(), S_OK);
  EXPECT_EQ(ReadRest(reader), shape.Data);

  // A data chunk claiming more than the file holds opens, and fails at the first read past the end.
  shape.Data.resize(10);
  shape.DataSize = 0xFFFFFFFFu;
  WaveReader huge;
  ASSERT_EQ(Open(huge, MakeWave(shape)), S_OK);
  EXPECT_EQ(huge.Read(10, got.data(), &actual), S_OK);
  EXPECT_EQ(huge.Read(64, got.data(), &actual), E_FAIL);
  EXPECT_EQ(actual, 0u);
  EXPECT_EQ(huge.DataChunk.cksize, 0xFFFFFFFFu - 74);  // taken before copying, gone until Reset
  ASSERT_EQ(huge.Reset(), S_OK);
  EXPECT_EQ(huge.DataChunk.cksize, 0xFFFFFFFFu);
}

TEST_F(WaveReaderTest, ChunkLayoutsAndFormatRecords) {
  struct Case {
    WaveShape Shape;
    std::string Extra;  // expected behind cbSize
  };
  std::vector<Case> cases(5, {ToneSpec(), ""});
  cases[0].Shape.DataFirst = true;
  cases[0].Shape.ExtraChunks = {{"junk", {1, 2, 3}}, {"LIST", {'I', 'N', 'F', 'O'}}};
  cases[1].Shape.CbSize = 0x1234;  // an 18-byte PCM chunk's own count is ignored
  cases[2].Shape.FormatTag = 2;
  cases[2].Shape.CbSize = 4;
  cases[2].Shape.FormatExtra = {'a', 'b', 'c', 'd'};
  cases[2].Extra = "abcd";
  // A 16-byte non-PCM chunk reads on into the next chunk's id, count and extra bytes alike.
  cases[3].Shape.FormatTag = 0x55;
  cases[3].Shape.ExtraChunks = {{std::string("\x02\x00zy", 4), {0xAB}}};
  cases[3].Extra = "zy";
  cases[4].Shape.Data.clear();
  for (const Case& c : cases) {
    WaveReader reader;
    ASSERT_EQ(Open(reader, MakeWave(c.Shape)), S_OK);
    EXPECT_EQ(reader.Format->nSamplesPerSec, 11025u);
    ASSERT_EQ(reader.Format->cbSize, c.Extra.size());
    EXPECT_EQ(std::memcmp(reader.Format + 1, c.Extra.data(), c.Extra.size()), 0);
    EXPECT_EQ(ReadRest(reader), c.Shape.Data);
  }
}

TEST_F(WaveReaderTest, RefusesWhatIsNotAWave) {
  auto variant = [](auto change) {
    WaveShape shape = ToneSpec();
    change(shape);
    return MakeWave(shape);
  };
  auto patched = [](std::vector<uint8_t> bytes, size_t at, const char* four) {
    std::memcpy(&bytes[at], four, 4);
    return bytes;
  };
  const std::vector<uint8_t> good = MakeWave(ToneSpec());
  const std::vector<uint8_t> files[] = {
      {},
      {'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A'},
      patched(good, 0, "RIFX"),
      patched(good, 8, "AVI "),
      variant([](WaveShape& s) { s.WithFormat = false; }),
      variant([](WaveShape& s) { s.WithData = false; }),
      patched(variant([](WaveShape& s) { s.WithData = false; }), 4, "\xFF\xFF\xFF\xFF"),
      patched(good, 4, "\x1C\0\0\0"),  // the data chunk lies behind the RIFF chunk's end
      variant([](WaveShape& s) {
        s.DataFirst = true;
        s.FormatSize = 14;
      }),
      variant([](WaveShape& s) {
        s.FormatTag = 2;
        s.CbSize = 60000;  // more extra bytes than the file holds
      }),
  };
  for (const std::vector<uint8_t>& file : files) {
    WaveReader reader;
    EXPECT_EQ(Open(reader, file), E_FAIL) << &file - files;
  }
  WaveReader missing;
  EXPECT_EQ(missing.Open(dir.file("none.wav").c_str()), E_FAIL);
}

using FileInfoTest = ModuleTest;

TEST_F(FileInfoTest, ReportsFormatAndDataBytesOrWritesNothing) {
  ULONG tag = 77;
  int channels = 77, bits = 77, rate = 77, bytes = 77;
  auto info = [&](const std::string& path) {
    return qorSound_GetFileInfo(path.c_str(), tag, channels, bits, rate, bytes);
  };
  WaveShape noData = ToneSpec(8);
  noData.WithData = false;
  EXPECT_EQ(info(WriteWave(root, "nodata.wav", noData)), E_FAIL);
  const std::string good = WriteWave(root, "a.wav", ToneSpec(8));
  qorSound_Finalize();
  EXPECT_EQ(info(good), E_FAIL);
  EXPECT_EQ((std::vector<int>{int(tag), channels, bits, rate, bytes}), std::vector<int>(5, 77)) << "nothing written";

  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  ASSERT_EQ(info(good), S_OK);
  const int size = static_cast<int>(ToneSpec(8).Data.size());
  EXPECT_EQ((std::vector<int>{int(tag), channels, bits, rate, bytes}), (std::vector<int>{1, 2, 8, 11025, size}));
}
