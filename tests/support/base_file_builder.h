// Builds base files byte by byte in the stored layout, for tests and fuzz seeds.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct StoredSound {
  std::string Name;
  int32_t Enabled = 1;
  std::string Comment;  // empty: no block
  int32_t PlayMode = 1, NumStreams = 1, Volume = 100, Frequency = 100, Page = 0;
  uint8_t Looped = 0, Is3D = 0, Crossed = 0;
  float MinDistance = 5.0f, MaxDistance = 100.0f;
  std::vector<std::pair<std::string, uint8_t>> Files;
};

class BaseFileBuilder {
public:
  std::vector<uint8_t> Bytes;

  static void Put32(std::vector<uint8_t>& out, size_t at, uint32_t v) { std::memcpy(&out[at], &v, 4); }

  BaseFileBuilder& Header(int32_t sounds, int32_t pages, const char* magic = "qorSound File") {
    Bytes.assign(10240, 0);
    std::memcpy(Bytes.data(), magic, std::strlen(magic) + 1);
    Put32(Bytes, 256, static_cast<uint32_t>(sounds));
    Put32(Bytes, 260, static_cast<uint32_t>(pages));
    return *this;
  }
  BaseFileBuilder& Page(const std::string& name) {
    size_t at = Bytes.size();
    Bytes.resize(at + 16, 0);
    std::memcpy(&Bytes[at], name.data(), name.size() < 16 ? name.size() : 16);
    return *this;
  }
  // The record block alone, with comment length and file count as given.
  static std::vector<uint8_t> Record(const StoredSound& s, int32_t commentLength, int32_t fileCount) {
    std::vector<uint8_t> r(10240, 0);
    Put32(r, 0, static_cast<uint32_t>(s.Enabled));
    Put32(r, 4, static_cast<uint32_t>(commentLength));
    Put32(r, 8, static_cast<uint32_t>(fileCount));
    Put32(r, 12, static_cast<uint32_t>(s.PlayMode));
    Put32(r, 16, static_cast<uint32_t>(s.NumStreams));
    Put32(r, 20, static_cast<uint32_t>(s.Volume));
    Put32(r, 24, static_cast<uint32_t>(s.Frequency));
    r[28] = s.Looped;
    r[29] = s.Is3D;
    std::memcpy(&r[32], &s.MinDistance, 4);
    std::memcpy(&r[36], &s.MaxDistance, 4);
    r[40] = s.Crossed;
    Put32(r, 44, static_cast<uint32_t>(s.Page));
    return r;
  }
  BaseFileBuilder& Sound(const StoredSound& s) {
    size_t at = Bytes.size();
    Bytes.resize(at + 256, 0);
    std::memcpy(&Bytes[at], s.Name.data(), s.Name.size() < 256 ? s.Name.size() : 256);
    int32_t commentLength = s.Comment.empty() ? 0 : static_cast<int32_t>(s.Comment.size() + 1);
    Append(Record(s, commentLength, static_cast<int32_t>(s.Files.size())));
    if (commentLength) Bytes.insert(Bytes.end(), s.Comment.c_str(), s.Comment.c_str() + commentLength);
    for (const auto& [path, enabled] : s.Files) {
      std::vector<uint8_t> record(64, 0);
      std::memcpy(record.data(), path.data(), path.size() < 63 ? path.size() : 63);
      record[63] = enabled;
      Append(record);
    }
    return *this;
  }
  BaseFileBuilder& Append(const std::vector<uint8_t>& more) {
    Bytes.insert(Bytes.end(), more.begin(), more.end());
    return *this;
  }
};
