#include <string>
#include <vector>

#include "module_fixture.h"

namespace {

using PagesTest = ModuleTest;

// A rename follows the same rules, except that a page may change the case of its own name.
TEST_F(PagesTest, TheTableHolds256UniqueShortNames) {
  EXPECT_TRUE(PageNames().empty());
  ASSERT_EQ(qorSound_NewPage("Footsteps"), S_OK);
  EXPECT_EQ(qorSound_NewPage("FOOTSTEPS"), E_FAIL);
  EXPECT_EQ(qorSound_NewPage("sixteen_chars_xx"), E_FAIL);
  EXPECT_EQ(qorSound_NewPage("fifteen_chars_x"), S_OK);
  EXPECT_EQ(qorSound_SetPageName(0, "FOOTSTEPS"), S_OK);
  EXPECT_EQ(qorSound_SetPageName(0, "Fifteen_chars_x"), E_FAIL);
  EXPECT_EQ(qorSound_SetPageName(0, "a_name_too_long_"), E_FAIL);
  EXPECT_EQ(qorSound_SetPageName(2, "x"), E_FAIL);
  char name[16] = "unchanged";
  EXPECT_EQ(qorSound_GetPageName(2, name), E_FAIL);
  EXPECT_EQ(qorSound_GetPageName(-1, name), E_FAIL);
  EXPECT_STREQ(name, "unchanged");
  ASSERT_EQ(qorSound_GetPageName(0, name), S_OK);
  EXPECT_STREQ(name, "FOOTSTEPS");
  for (int i = 2; i < 256; ++i) ASSERT_EQ(qorSound_NewPage(("p" + std::to_string(i)).c_str()), S_OK) << i;
  EXPECT_EQ(qorSound_NewPage("one more"), E_FAIL);
  EXPECT_EQ(PageNames().size(), 256u);
  EXPECT_EQ(PageNames().back(), "p255");
}

TEST_F(PagesTest, DeletingAPageDestroysItsSoundsAndShiftsTheOthers) {
  for (const char* page : {"zero", "one", "two"}) qorSound_NewPage(page);
  // The head stands on the deleted page, and one sound lies far beyond the table.
  const std::pair<const char*, int> sounds[] = {{"head", 1}, {"a", 0}, {"b", 1}, {"c", 2}, {"far", 40}};
  for (const auto& [name, page] : sounds) {
    Create(name);
    qorSound_SetSoundPage(name, page);
  }
  ASSERT_EQ(qorSound_DeletePage(1), S_OK);
  EXPECT_EQ(PageNames(), (std::vector<std::string>{"zero", "two"}));
  EXPECT_EQ(SoundNames(), (std::vector<std::string>{"a", "c", "far"}));
  EXPECT_EQ(qorSound_FindSound("b", nullptr), E_FAIL);
  EXPECT_EQ(qorSound_GetSoundPage("a"), 0);
  EXPECT_EQ(qorSound_GetSoundPage("c"), 1);
  EXPECT_EQ(qorSound_GetSoundPage("far"), 39);
  EXPECT_EQ(qorSound_DeletePage(2), E_FAIL);

  ASSERT_EQ(qorSound_DeletePage(1), S_OK);
  ASSERT_EQ(qorSound_DeletePage(0), S_OK);
  EXPECT_TRUE(PageNames().empty());
  EXPECT_EQ(SoundNames(), std::vector<std::string>{"far"});
  EXPECT_EQ(qorSound_GetSoundPage("far"), 37);
}

}  // namespace
