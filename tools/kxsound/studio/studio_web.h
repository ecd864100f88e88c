// The page's files, compiled into the program from web/ so that it needs nothing installed.
#pragma once

#include <cstddef>
#include <string>

struct StudioWebFile {
  const char* Path;  // "/index.html"
  const char* Type;  // its media type
  const unsigned char* Data;
  size_t Size;
};

const StudioWebFile* FindStudioWebFile(const std::string& path);
