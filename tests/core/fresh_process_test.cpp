// Runs alone in its process: the name counter starts where the module was loaded.
#include <gtest/gtest.h>

#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "temp_dir.h"

TEST(FreshProcess, TheFirstGeneratedNameIsSound001) {
  TempDir root;
  kxHost_SetRootFolder(root.path().c_str());
  kxHost_SetAudioOutput("offline");
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  char name[256] = "";
  qorSound_CreateNewSound(name);
  EXPECT_STREQ(name, "Sound#001");
  qorSound_Finalize();
}
