// A running module over a fresh, empty root folder.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "base/catalogue.h"
#include "core/state.h"
#include "kxHost.h"
#include "kxSound.h"
#include "temp_dir.h"
#include "wave_file.h"

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
  // A sound of one mono sine file per tone, sounds\<name><i>.wav.
  void ToneSound(const char* name, std::initializer_list<double> tones, double seconds = 1.0) {
    Create(name);
    int i = 0;
    for (double hz : tones) {
      WaveShape shape;
      shape.Data = Tone(hz, seconds, 22050, 1, 16, 0.5);
      char path[64];
      std::snprintf(path, sizeof path, "sounds/%s%d.wav", name, i);
      WriteWave(root, path, shape);
      std::snprintf(path, sizeof path, "sounds\\%s%d.wav", name, i++);
      ASSERT_EQ(qorSound_AddFile(name, path), S_OK);
    }
  }
  // The catalogue's sound and page names, in its order, as a host enumerates them.
  static std::vector<std::string> SoundNames() {
    static std::vector<std::string>* names;
    std::vector<std::string> seen;
    names = &seen;
    qorSound_EnumerateSounds([](char* name, int) { names->emplace_back(name); });
    return seen;
  }
  static std::vector<std::string> PageNames() {
    static std::vector<std::string>* names;
    std::vector<std::string> seen;
    names = &seen;
    qorSound_EnumeratePages([](char* name) { names->emplace_back(name); });
    return seen;
  }
  SoundEntry* Entry(const char* name) { return FindSoundEntry(name, false); }
  // Restarts the module on the same root, in tool mode or not.
  void Restart(int toolMode) {
    qorSound_Finalize();
    ASSERT_EQ(qorSound_Initialize(nullptr, toolMode), S_OK);
  }

  TempDir root;
};
