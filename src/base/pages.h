// Pages group the sounds of the catalogue; a sound names its page by index.
#ifndef KXSOUND_BASE_PAGES_H
#define KXSOUND_BASE_PAGES_H

constexpr int PAGE_NAME_SIZE = 16;

struct SoundPage {
  char Name[PAGE_NAME_SIZE];
};
static_assert(sizeof(SoundPage) == 16, "a page record is 16 bytes");

#endif
