// Arbitrary bytes as an MP3 file through the music calls: load, play a little, pause,
// resume, stop, unload; and now and then the same bytes as the one entry of a play list.
#include <cstdint>
#include <string>

#include "fuzz_support.h"
#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"

namespace {

std::string Root;

// What the offline output rendered is kept for a listener; nobody listens here.
void DropCapture() {
  kxHost_TakeCapture(0, nullptr, UINT32_MAX);
  kxHost_TakeCapture(1, nullptr, UINT32_MAX);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Root = StartModuleOnce("mp3", 1);
  WriteBytes(Root + "list.m3u", "song.mp3\n", 9);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  WriteBytes(Root + "song.mp3", data, size);
  if ((size & 3) == 3) {
    if (qorSound_LoadMP3List("list", 1) == S_OK) {
      qorSound_PlayMP3();
      kxHost_Advance(20);
      qorSound_IsMP3FileFinished();
    }
    qorSound_UnloadMP3List();
    qorSound_UnloadMP3();
  } else if (qorSound_LoadMP3("song", static_cast<int>(size & 1)) == S_OK) {
    qorSound_SetVolumeMP3(static_cast<int>(size % 150));
    qorSound_PlayMP3();
    kxHost_Advance(20);
    qorSound_PauseMP3();
    qorSound_PlayMP3();
    kxHost_Advance(10);
    qorSound_StopMP3();
    qorSound_UnloadMP3();
  }
  DropCapture();
  return 0;
}
