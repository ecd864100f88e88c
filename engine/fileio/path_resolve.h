// Maps a game path (backslashes, any case) onto the file system.
#pragma once
#include <string>

namespace kx {

// Backslashes become slashes; each existing component is replaced by its
// case-insensitive match on disk. Missing components are kept as given.
std::string resolvePath(const std::string& path);

}  // namespace kx
