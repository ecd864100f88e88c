// A fresh folder under the system's temporary directory, removed with its content at the end of a test.
#pragma once
#include <string>
#include <vector>
#include <cstdint>

class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  // The folder, ending in '/'.
  const std::string& path() const { return path_; }
  std::string file(const std::string& relative) const { return path_ + relative; }
  void write(const std::string& relative, const std::vector<uint8_t>& bytes) const;
  void write(const std::string& relative, const std::string& text) const;
  std::vector<uint8_t> read(const std::string& relative) const;
  std::string readText(const std::string& relative) const;
  bool exists(const std::string& relative) const;

private:
  std::string path_;
};
