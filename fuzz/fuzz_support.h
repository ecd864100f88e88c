// What the harnesses share: folders in memory, a module started once, files written fast.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A fresh folder, ending in '/', on tmpfs where the system has one; removed at exit.
std::string ScratchFolder(const char* name);

// Starts the module once, on the offline output over a fresh scratch root; gives the root.
std::string StartModuleOnce(const char* name, int toolMode);
// The same over a root already made.
void StartModuleIn(const std::string& root, int toolMode);

void WriteBytes(const std::string& path, const void* data, size_t size);
std::vector<uint8_t> ReadBytes(const std::string& path);

// The input's lines, split at LF (a CR stays with its line), at most limit of them.
std::vector<std::string> Lines(const uint8_t* data, size_t size, size_t limit);
