#include "module_fixture.h"
#include "wave_file.h"

namespace {

struct Info {
  ULONG Tag = 77;
  int Channels = 77, Bits = 77, Rate = 77, Bytes = 77;
  LONG Get(const std::string& path) { return qorSound_GetFileInfo(path.c_str(), Tag, Channels, Bits, Rate, Bytes); }
  bool Untouched() const { return Tag == 77 && Channels == 77 && Bits == 77 && Rate == 77 && Bytes == 77; }
};

WaveShape Stereo8() {
  WaveShape shape;
  shape.Channels = 2;
  shape.Bits = 8;
  shape.SampleRate = 44100;
  shape.Data = Tone(1000.0, 0.05, 44100, 2, 8, 0.8);
  return shape;
}

}  // namespace

using FileInfoTest = ModuleTest;

TEST_F(FileInfoTest, ReportsFormatAndDataBytesOrWritesNothing) {
  Info info;
  WaveShape noData = Stereo8();
  noData.WithData = false;
  EXPECT_EQ(info.Get(WriteWave(root, "nodata.wav", noData)), E_FAIL);
  const std::string good = WriteWave(root, "a.wav", Stereo8());
  qorSound_Finalize();
  EXPECT_EQ(info.Get(good), E_FAIL);
  EXPECT_TRUE(info.Untouched());

  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  ASSERT_EQ(info.Get(good), S_OK);
  EXPECT_EQ(info.Tag, 1u);
  EXPECT_EQ(info.Channels, 2);
  EXPECT_EQ(info.Bits, 8);
  EXPECT_EQ(info.Rate, 44100);
  EXPECT_EQ(info.Bytes, static_cast<int>(Stereo8().Data.size()));
}
