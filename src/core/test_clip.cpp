// The built-in test clip, carried in this library as resource "mp3" 102.
#include <cstdint>

#include "core/test_clip.h"
#include "win32/resources.h"

__asm__(
    ".section .rodata\n"
    ".balign 16\n"
    ".hidden kxTestClipStart\n"
    "kxTestClipStart:\n"
    ".incbin \"" KX_TEST_CLIP_PATH "\"\n"
    ".hidden kxTestClipEnd\n"
    "kxTestClipEnd:\n"
    ".previous\n");

extern "C" const uint8_t kxTestClipStart[];
extern "C" const uint8_t kxTestClipEnd[];

void RegisterModuleResources(HMODULE module) {
  kxResource_Register(module, TEST_CLIP_RESOURCE_ID, TEST_CLIP_RESOURCE_TYPE, kxTestClipStart,
                      static_cast<uint32_t>(kxTestClipEnd - kxTestClipStart));
}
