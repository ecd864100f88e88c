#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/named_node.h"
#include "core/state.h"
#include "music/music_state.h"
#include "music/playlist_text.h"

namespace {

std::string Path(const char* path, const char* extension = ".mp3") {
  char out[256];
  return MakeMusicPath(path, out, extension);
}

TEST(MusicPath, RootLowerCaseAndExtension) {
  std::strcpy(RootFolder, "c:\\game\\");
  EXPECT_EQ(Path("Music\\Song"), "c:\\game\\music\\song.mp3");
  EXPECT_EQ(Path("\\Music\\Song.MP3"), "c:\\game\\music\\song.mp3");
  EXPECT_EQ(Path("D:\\Music\\Song"), "d:\\music\\song.mp3");
  EXPECT_EQ(Path("a.mp3.bak"), "c:\\game\\a.mp3.bak");
  EXPECT_EQ(Path("list", nullptr), "c:\\game\\list");
  EXPECT_EQ(Path("/Home/Music/Song"), "/home/music/song.mp3") << "absolute as a Linux user writes it";
  EXPECT_EQ(Path(std::string(300, 'x').c_str()), "") << "too long for the buffer: nothing opens";
  EXPECT_EQ(Path(std::string(244, 'x').c_str()), "") << "no room for the extension";
  RootFolder[0] = 0;
}

std::vector<std::string> Entries(const char* text, const char* listPath) {
  std::vector<std::string> names;
  NamedNode* list = ParsePlaylist(text, listPath);
  for (NamedNode* node = list; node; node = node->Next) names.emplace_back(node->Name);
  delete list;
  return names;
}

TEST(PlaylistText, LinesCommentsTheFolderPrefixAndNamesThatDoNotFit) {
  const char* text = "#EXTM3U\r\n#EXTINF:12,Title\r\nb.mp3\r\n\r\n\n c.mp3\rsub\\d\n";
  EXPECT_EQ(Entries(text, "music\\lists\\a.m3u"),
            (std::vector<std::string>{"music\\b.mp3", "music\\ c.mp3", "music\\sub\\d"}));
  EXPECT_EQ(Entries("one\ntwo", "x/y.m3u"), (std::vector<std::string>{"x/one", "x/two"}));
  EXPECT_EQ(Entries("one", "a/b\\c.m3u"), (std::vector<std::string>{"a/b\\one"})) << "a backslash wins";
  EXPECT_EQ(Entries("e:\\one", "list"), (std::vector<std::string>{"e:\\one"}));
  EXPECT_EQ(Entries("one", "d:\\lists\\a.m3u"), (std::vector<std::string>{"d:\\one"}));
  EXPECT_TRUE(Entries("#only\r\n#comments\n\n", "a.m3u").empty());
  EXPECT_EQ(Entries("\xEF\xBB\xBFone\r\ntwo", "x/y.m3u"), (std::vector<std::string>{"x/one", "x/two"}))
      << "a byte-order mark is no part of the first entry";
  EXPECT_EQ(Entries("/music/a.mp3\nb.mp3", "lists\\x.m3u"), (std::vector<std::string>{"/music/a.mp3", "lists\\b.mp3"}))
      << "an absolute entry takes no folder";
  EXPECT_TRUE(Entries("", "a.m3u").empty());

  std::string longNames = std::string(250, 'a') + "\n" + std::string(246, 'b') + "\nshort\n";
  // "music\" is 6 characters: 250 + 6 does not fit 255, 246 + 6 does.
  std::vector<std::string> names = Entries(longNames.c_str(), "music\\x.m3u");
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(names[0].size(), 252u);
  EXPECT_EQ(names[1], "music\\short");
}

}  // namespace
