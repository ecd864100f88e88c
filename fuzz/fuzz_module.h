// What the harnesses that drive the whole module share.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "kxHost.h"
#include "kxSound.h"

// Starts the module in tool mode on the offline output over a fresh folder; gives the folder.
inline std::string StartModuleInTempRoot(const char* name) {
  std::string pattern = std::string("/tmp/kxfuzz-") + name + "-XXXXXX";
  if (!mkdtemp(pattern.data())) std::abort();
  std::string root = pattern + "/";
  kxHost_SetRootFolder(root.c_str());
  kxHost_SetAudioOutput("offline");
  qorSound_Initialize(nullptr, 1);
  return root;
}

inline void WriteBytes(const std::string& path, const void* data, size_t size) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) std::abort();
  if (size && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
}
