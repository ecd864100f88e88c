#include "temp_dir.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kxtest-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern + "/";
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void TempDir::write(const std::string& relative, const std::vector<uint8_t>& bytes) const {
  std::filesystem::path p = path_ + relative;
  std::filesystem::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void TempDir::write(const std::string& relative, const std::string& text) const {
  write(relative, std::vector<uint8_t>(text.begin(), text.end()));
}

std::vector<uint8_t> TempDir::read(const std::string& relative) const {
  std::ifstream in(path_ + relative, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string TempDir::readText(const std::string& relative) const {
  std::vector<uint8_t> bytes = read(relative);
  return std::string(bytes.begin(), bytes.end());
}

bool TempDir::exists(const std::string& relative) const { return std::filesystem::exists(path_ + relative); }
