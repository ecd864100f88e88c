// A running module over a fresh, empty root folder.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/catalogue.h"
#include "base/pages.h"
#include "core/state.h"
#include "kxHost.h"
#include "kxSound.h"
#include "temp_dir.h"

class ModuleTest : public ::testing::Test {
protected:
  void SetUp() override {
    // Settings and the page table outlive a shutdown on purpose; a test starts as a fresh
    // process would.
    ResetProcessState();
    kxHost_SetRootFolder(root.path().c_str());
    kxHost_SetAudioOutput("offline");
    kxHost_SetManualClock(1);
    ASSERT_EQ(qorSound_Initialize(nullptr, 1), S_OK);
  }
  void TearDown() override {
    if (SystemInitialized) qorSound_Finalize();
    ResetProcessState();
  }

  // Creates a sound under exactly this name.
  void Create(const char* name) {
    char buffer[256];
    std::strcpy(buffer, name);
    qorSound_CreateNewSound(buffer);
    ASSERT_STREQ(buffer, name);
  }
  SoundEntry* Entry(const char* name) { return FindSoundEntry(name, false); }
  // Restarts the module on the same root, in tool mode or not.
  void Restart(int toolMode) {
    qorSound_Finalize();
    ASSERT_EQ(qorSound_Initialize(nullptr, toolMode), S_OK);
  }

  TempDir root;
};
