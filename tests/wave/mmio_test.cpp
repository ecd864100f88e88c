#include <gtest/gtest.h>

#include <vector>

#include "win32/mmio.h"

namespace {

void PutChunk(std::vector<char>& out, const char* id, uint32_t size, std::vector<char> body) {
  out.insert(out.end(), id, id + 4);
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>(size >> (8 * i)));
  out.insert(out.end(), body.begin(), body.end());
}

HMMIO OpenMemory(std::vector<char>& image) {
  MMIOINFO info{};
  info.fccIOProc = FOURCC_MEM;
  info.pchBuffer = image.data();
  info.cchBuffer = static_cast<LONG>(image.size());
  return mmioOpenA(nullptr, &info, MMIO_READ);
}

}  // namespace

TEST(Mmio, HostileSizesNeitherWrapNorOverrun) {
  std::vector<char> image;
  PutChunk(image, "data", 4, {1, 2, 3, 4});
  PutChunk(image, "junk", 0xFFFFFFECu, {0, 0, 0, 0});  // 20 + size wraps to 0 in 32 bits
  PutChunk(image, "big ", 0xFFFFFFFFu, {});
  HMMIO file = OpenMemory(image);
  MMCKINFO chunk{};
  chunk.ckid = mmioFOURCC('d', 'a', 't', 'a');
  ASSERT_EQ(mmioSeek(file, 12, SEEK_SET_MMIO), 12);
  EXPECT_EQ(mmioDescend(file, &chunk, nullptr, MMIO_FINDCHUNK), MMIOERR_CHUNKNOTFOUND);

  // Ascending out of a chunk of 0xFFFFFFFF bytes would wrap back onto its own body.
  mmioSeek(file, 24, SEEK_SET_MMIO);
  ASSERT_EQ(mmioDescend(file, &chunk, nullptr, 0), 0u);
  EXPECT_NE(mmioAscend(file, &chunk, 0), 0u);
  EXPECT_EQ(mmioSeek(file, 0, SEEK_CUR_MMIO), 32);

  EXPECT_EQ(mmioSeek(file, 1, SEEK_CUR_MMIO), -1);
  EXPECT_EQ(mmioSeek(file, -33, SEEK_END_MMIO), -1);
  char out[8];
  EXPECT_EQ(mmioRead(file, out, 8), 0);
  mmioClose(file, 0);

  // Headers and form types cut short by the end of the image are no chunks.
  std::vector<char> cut = {'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A'};
  HMMIO shortFile = OpenMemory(cut);
  EXPECT_EQ(mmioDescend(shortFile, &chunk, nullptr, 0), MMIOERR_CHUNKNOTFOUND);
  mmioSeek(shortFile, 4, SEEK_SET_MMIO);
  EXPECT_EQ(mmioDescend(shortFile, &chunk, nullptr, 0), MMIOERR_CHUNKNOTFOUND);
  mmioClose(shortFile, 0);
}
