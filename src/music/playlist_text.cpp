#include "music/playlist_text.h"

#include <cstring>
#include <new>

#include "base/named_node.h"
#include "core/diagnostics.h"

namespace {

constexpr char UTF8_BOM[] = "\xEF\xBB\xBF";

// Lines that a separator run ends: each LF, and each CR not followed by LF.
int CountLineEnds(const char* run, size_t length) {
  int lines = 0;
  for (size_t i = 0; i < length; ++i) lines += run[i] == '\n' || (run[i] == '\r' && run[i + 1] != '\n');
  return lines;
}

// The list's entries are read under the folder up to its first separator, which is
// not the list's own folder when it lies deeper: a surprise worth one line.
void DiagnosePrefix(const char* listPath, size_t prefixLength) {
  if (!DiagnosticsWanted()) return;
  const char* back = std::strrchr(listPath, '\\');
  const char* slash = std::strrchr(listPath, '/');
  const char* last = back > slash ? back : slash;
  size_t ownLength = last ? static_cast<size_t>(last - listPath) + 1 : 0;
  if (ownLength == prefixLength) return;
  Diagnose(KXSOUND_DIAG_PLAYLIST_ENTRY,
           "the entries of play list \"%s\" are read under \"%.*s\", the folder up to its first separator, not under its "
           "own folder \"%.*s\"",
           listPath, static_cast<int>(prefixLength), listPath, static_cast<int>(ownLength), listPath);
}

}  // namespace

NamedNode* ParsePlaylist(const char* text, const char* listPath) {
  const char* cut = std::strchr(listPath, '\\');
  if (!cut) cut = std::strchr(listPath, '/');
  size_t prefixLength = cut ? static_cast<size_t>(cut - listPath) + 1 : 0;
  DiagnosePrefix(listPath, prefixLength);
  // Windows editors begin a UTF-8 text with a byte-order mark; it is no part of the first entry.
  if (std::strncmp(text, UTF8_BOM, 3) == 0) text += 3;

  NamedNode* head = nullptr;
  NamedNode* tail = nullptr;
  const char* p = text;
  int line = 1;
  while (*p) {
    size_t separators = std::strspn(p, "\n\r");
    line += CountLineEnds(p, separators);
    p += separators;
    size_t length = std::strcspn(p, "\n\r");
    if (length == 0) break;
    const char* entry = p;
    p += length;
    if (entry[0] == '#') continue;
    // A path as a Linux user writes it is absolute and takes no folder.
    size_t folder = entry[0] == '/' ? 0 : prefixLength;
    if (folder + length >= static_cast<size_t>(NAME_SIZE)) {
      Diagnose(KXSOUND_DIAG_PLAYLIST_ENTRY,
               "line %d of play list \"%s\" is left out: with its folder it has %zu characters, a name holds 255", line,
               listPath, folder + length);
      continue;
    }
    char name[NAME_SIZE];
    std::memcpy(name, listPath, folder);
    std::memcpy(name + folder, entry, length);
    name[folder + length] = 0;
    if (DiagnosticsWanted()) {
      if (entry[0] == ' ' || entry[0] == '\t') {
        Diagnose(KXSOUND_DIAG_PLAYLIST_ENTRY,
                 "line %d of play list \"%s\" begins with a blank: \"%s\" is taken as a file, not as a comment", line,
                 listPath, name);
      } else if (folder && std::memchr(entry, ':', length)) {
        Diagnose(KXSOUND_DIAG_PLAYLIST_ENTRY,
                 "line %d of play list \"%s\" names a drive but gets the folder in front: \"%s\" will not load", line,
                 listPath, name);
      }
    }
    auto* node = new (std::nothrow) NamedNode(name);
    if (!node) break;
    if (tail) {
      tail->Next = node;
    } else {
      head = node;
    }
    tail = node;
  }
  return head;
}
