// Addresses as 32-bit tokens in the records.
#include <gtest/gtest.h>

#include <set>

#include "gaudio/gaudio.h"

namespace {

using gaudio::Address32;
using gaudio::FromAddress32;

TEST(Address32, GivesOneTokenPerAddressUntilItsSlotIsReused) {
  // Addresses never registered before in this process, so that the test holds when repeated.
  static uintptr_t run = 0;
  const uintptr_t base = 0x10000000 + run++ * 0x100000;
  auto Fresh = [base](uintptr_t i) { return reinterpret_cast<const void*>(base + i * 16); };
  EXPECT_EQ(0u, Address32(nullptr));
  EXPECT_EQ(nullptr, FromAddress32(0));
  uint32_t first = Address32(Fresh(0));
  EXPECT_NE(0u, first);
  EXPECT_EQ(first, Address32(Fresh(0)));
  EXPECT_EQ(Fresh(0), FromAddress32(first));
  std::set<uint32_t> tokens{first};
  for (uintptr_t i = 1; i < 4096; ++i) tokens.insert(Address32(Fresh(i)));
  EXPECT_EQ(4096u, tokens.size());
  EXPECT_EQ(Fresh(0), FromAddress32(first)) << "still among the last 4096";
  // One more takes the oldest slot: the old token no longer names anything.
  uint32_t next = Address32(Fresh(4096));
  EXPECT_EQ(nullptr, FromAddress32(first));
  EXPECT_EQ(Fresh(4096), FromAddress32(next));
  EXPECT_NE(first, Address32(Fresh(0)));
}

}  // namespace
