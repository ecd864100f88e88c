#include "music/playlist_text.h"

#include <cstring>
#include <new>

#include "base/named_node.h"

NamedNode* ParsePlaylist(const char* text, const char* listPath) {
  const char* cut = std::strchr(listPath, '\\');
  if (!cut) cut = std::strchr(listPath, '/');
  size_t prefixLength = cut ? static_cast<size_t>(cut - listPath) + 1 : 0;

  NamedNode* head = nullptr;
  NamedNode* tail = nullptr;
  const char* p = text;
  while (*p) {
    p += std::strspn(p, "\n\r");
    size_t length = std::strcspn(p, "\n\r");
    if (length == 0) break;
    const char* line = p;
    p += length;
    if (line[0] == '#' || prefixLength + length >= static_cast<size_t>(NAME_SIZE)) continue;
    char name[NAME_SIZE];
    std::memcpy(name, listPath, prefixLength);
    std::memcpy(name + prefixLength, line, length);
    name[prefixLength + length] = 0;
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
