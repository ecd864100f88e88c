#ifndef KXSOUND_CORE_TEST_CLIP_H
#define KXSOUND_CORE_TEST_CLIP_H

#include "kxSoundWin32.h"

constexpr unsigned TEST_CLIP_RESOURCE_ID = 102;
constexpr char TEST_CLIP_RESOURCE_TYPE[] = "mp3";

// Declares this module's resources to the platform; part of the module attach.
void RegisterModuleResources(HMODULE module);

#endif
