// ASCII-only case folding: file names and console words must not depend on the locale.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace kx {

inline char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string asciiLowered(std::string text) {
  for (char& c : text) c = asciiLower(c);
  return text;
}

inline bool equalsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (asciiLower(a[i]) != asciiLower(b[i])) return false;
  return true;
}

}  // namespace kx
