// The page table.
#include "base/pages.h"

#include <cstring>

#include "base/catalogue.h"
#include "base/text.h"
#include "core/diagnostics.h"
#include "core/state.h"

namespace {

bool IndexInTable(int index) { return index >= 0 && index < PageCount; }

// True when another used page (not the one at except) has this name, A-Z folded.
bool PageNameTaken(const char* name, int except) {
  for (int i = 0; i < PageCount; ++i) {
    if (i != except && EqualFolded(PageTable[i].Name, name, PAGE_NAME_SIZE)) return true;
  }
  return false;
}

bool FitsPage(const char* name) { return name && BoundedLength(name, PAGE_NAME_SIZE) < PAGE_NAME_SIZE; }

// Zero behind the terminator, so a saved table carries no leftovers of older names.
void WritePageName(int index, const char* name) {
  std::memset(PageTable[index].Name, 0, PAGE_NAME_SIZE);
  CopyIfFits(PageTable[index].Name, PAGE_NAME_SIZE, name);
}

// Tells the sink why a page name is refused; true when it is not.
bool PageNameUsable(const char* name, int except, const char* operation) {
  if (!FitsPage(name)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "%s fails: a page name holds at most 15 characters%s", operation,
             name ? "" : " (it is null)");
    return false;
  }
  if (PageNameTaken(name, except)) {
    Diagnose(KXSOUND_DIAG_REFUSED, "%s fails: page \"%s\" exists already (page names compare without case)", operation,
             name);
    return false;
  }
  return true;
}

bool PageIndexUsable(int index, const char* operation) {
  if (IndexInTable(index)) return true;
  Diagnose(KXSOUND_DIAG_REFUSED, "%s fails: there are %d pages, index %d is outside them", operation, PageCount, index);
  return false;
}

}  // namespace

LONG qorSound_NewPage(const char* name) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (PageCount >= MAX_PAGES) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_NewPage fails: the table holds %d pages, all used", MAX_PAGES);
    return E_FAIL;
  }
  if (!PageNameUsable(name, -1, __func__)) return E_FAIL;
  WritePageName(PageCount, name);
  PageCount++;
  return S_OK;
}

void qorSound_EnumeratePages(QORSOUND_ENUM_PAGES_CALLBACK callback) {
  if (!GateInitialized(__func__) || !callback) return;
  for (int i = 0; i < PageCount; ++i) callback(PageTable[i].Name);
}

LONG qorSound_GetPageName(int index, char* name) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!PageIndexUsable(index, __func__) || !name) return E_FAIL;
  CopyTruncated(name, PAGE_NAME_SIZE, PageTable[index].Name);
  return S_OK;
}

LONG qorSound_SetPageName(int index, const char* name) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!PageIndexUsable(index, __func__) || !PageNameUsable(name, index, __func__)) return E_FAIL;
  WritePageName(index, name);
  return S_OK;
}

LONG qorSound_DeletePage(int index) {
  if (!GateInitialized(__func__)) return E_FAIL;
  if (!PageIndexUsable(index, __func__)) return E_FAIL;
  for (int i = index + 1; i < PageCount; ++i) PageTable[i - 1] = PageTable[i];
  SoundEntry* entry = SoundList;
  while (entry) {
    SoundEntry* next = entry->NextEntry();
    if (entry->Page == index) {
      DeleteSoundEntry(entry);
    } else if (entry->Page > index) {
      entry->Page--;
    }
    entry = next;
  }
  PageCount--;
  return S_OK;
}

void qorSound_SetSoundPage(const char* sound, int page) {
  if (SoundEntry* entry = FindRunningSound(sound, __func__)) entry->Page = page;
}

int qorSound_GetSoundPage(const char* sound) {
  SoundEntry* entry = FindRunningSound(sound, __func__);
  return entry ? entry->Page : 0;
}
