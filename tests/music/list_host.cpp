// A host that plays a list to its end on the real-time null output, as a game does: it
// polls qorSound_IsMP3FileFinished once a frame and moves on with qorSound_NextMP3, and
// between those it turns the music's volume and pauses it, while the music thread plays.
// Its job is to give ThreadSanitizer both sides of every place the two threads meet
// (scripts/tsan.sh). Exit status 0 once every entry has played to its end.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "kxHost.h"
#include "kxSound.h"
#include "music/music_state.h"

namespace {

// The start of the built-in clip, cut at a frame's edge or not: libmpg123 plays what is there.
void WriteCut(const std::string& path, uint32_t bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(TestClipData), std::min(bytes, TestClipSize));
}

}  // namespace

int main() {
  char pattern[] = "/tmp/kxlisthost-XXXXXX";
  if (!mkdtemp(pattern)) return 2;
  const std::string root = std::string(pattern) + "/";
  std::filesystem::create_directories(root + "music");
  kxHost_SetRootFolder(root.c_str());
  kxHost_SetAudioOutput("null");
  if (qorSound_Initialize(nullptr, 1) != S_OK || !TestClipData) {
    std::fprintf(stderr, "list host: the module did not start on the null output\n");
    return 2;
  }
  // About 0.6 s and 0.3 s at 64 kbit/s.
  WriteCut(root + "music/first.mp3", 4800);
  WriteCut(root + "music/second.mp3", 2500);
  std::ofstream(root + "music/list.m3u") << "#EXTM3U\r\n#EXTINF:1,First\r\nfirst.mp3\r\n#EXTINF:1,Second\r\nsecond\r\n";

  int played = 0, frame = 0;
  bool ended = false;
  if (qorSound_LoadMP3List("music\\list", 0) == S_OK && qorSound_PlayMP3() == S_OK) {
    // A frame of about 60 per second; the list lasts about a second, the limit is for a hang.
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!ended && std::chrono::steady_clock::now() < limit) {
      qorSound_Update();
      qorSound_SetVolumeMP3(60 + frame % 40);
      if (frame % 25 == 10) qorSound_PauseMP3();
      if (frame % 25 == 12) qorSound_PlayMP3();
      if (qorSound_IsMP3FileFinished()) {
        ++played;
        ended = qorSound_NextMP3() != S_OK;  // past the last entry of a list without wrap
      }
      ++frame;
      std::this_thread::sleep_for(std::chrono::milliseconds(16));
    }
  }
  qorSound_Finalize();
  std::filesystem::remove_all(root);
  if (!ended || played != 2) {
    std::fprintf(stderr, "list host: %d of 2 entries played to their end%s\n", played, ended ? "" : ", no end");
    return 1;
  }
  std::printf("list host: 2 entries played to their end in %d frames\n", frame);
  return 0;
}
