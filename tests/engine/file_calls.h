// The file layer as the module calls it, for the file tests of this folder.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "kxEngine.h"
#include "kxSoundWin32.h"
#include "temp_dir.h"

inline HANDLE OpenFile(const std::string& path, DWORD access, DWORD creation) {
  return qorCreateFile(path.c_str(), access, 0, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
}

inline HANDLE OpenForSave(const std::string& path) { return OpenFile(path, GENERIC_WRITE, CREATE_ALWAYS); }

inline bool Write(HANDLE h, const std::string& text) {
  DWORD done = 0;
  return qorWriteFile(h, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) && done == text.size();
}

inline bool Save(const std::string& path, const std::string& text) {
  HANDLE h = OpenForSave(path);
  return h != INVALID_HANDLE_VALUE && Write(h, text) && qorCloseHandle(h);
}

inline std::string Text(const TempDir& dir, const std::string& name) {
  std::vector<uint8_t> bytes = dir.read(name);
  return std::string(bytes.begin(), bytes.end());
}

// What interrupted or failed saves left in a folder.
inline std::vector<std::string> TempFiles(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(folder)) {
    std::string name = e.path().filename().string();
    if (name.find(".kxtmp-") != std::string::npos) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}
