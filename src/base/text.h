// Small string helpers shared by the catalogue, pages and file lists. Names compare
// with only A-Z folded, never by locale.
#ifndef KXSOUND_BASE_TEXT_H
#define KXSOUND_BASE_TEXT_H

#include <cstddef>
#include <cstring>

inline char FoldAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c; }

// True when a and b are equal over at most limit characters, A-Z folded on both sides.
inline bool EqualFolded(const char* a, const char* b, size_t limit) {
  for (size_t i = 0; i < limit; ++i) {
    char ca = FoldAscii(a[i]);
    if (ca != FoldAscii(b[i])) return false;
    if (ca == 0) return true;
  }
  return true;
}

inline void LowerAscii(char* text) {
  for (; *text; ++text) *text = FoldAscii(*text);
}

// Length of text, looking at no more than limit bytes.
inline size_t BoundedLength(const char* text, size_t limit) {
  const void* end = std::memchr(text, 0, limit);
  return end ? static_cast<size_t>(static_cast<const char*>(end) - text) : limit;
}

// Copies text with its terminator into a field of size bytes. Returns false, and
// writes nothing, when the text does not fit.
inline bool CopyIfFits(char* field, size_t size, const char* text) {
  size_t length = BoundedLength(text, size);
  if (length >= size) return false;
  std::memcpy(field, text, length + 1);
  return true;
}

// Copies what fits of text into a field of size bytes, always terminated.
inline void CopyTruncated(char* field, size_t size, const char* text) {
  size_t length = BoundedLength(text, size - 1);
  std::memcpy(field, text, length);
  field[length] = 0;
}

#endif
