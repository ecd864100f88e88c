// Byte layout of the base file's blocks. Everything is little-endian.
#ifndef KXSOUND_BASE_BASE_LAYOUT_H
#define KXSOUND_BASE_BASE_LAYOUT_H

#include <cstdint>
#include <cstring>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the base file is little-endian");

constexpr char BASE_MAGIC[] = "qorSound File";
constexpr uint32_t HEADER_SIZE = 10240;
constexpr uint32_t HEADER_SOUND_COUNT = 256;
constexpr uint32_t HEADER_PAGE_COUNT = 260;
constexpr uint32_t PAGE_RECORD_SIZE = 16;
constexpr uint32_t NAME_BLOCK_SIZE = 256;
constexpr uint32_t FILE_RECORD_SIZE = 64;

// Offsets in the record (parameter) block of a sound.
constexpr uint32_t REC_ENABLED = 0;
constexpr uint32_t REC_COMMENT_LENGTH = 4;
constexpr uint32_t REC_NUM_FILES = 8;
constexpr uint32_t REC_PLAY_MODE = 12;
constexpr uint32_t REC_NUM_STREAMS = 16;
constexpr uint32_t REC_VOLUME = 20;
constexpr uint32_t REC_FREQUENCY = 24;
constexpr uint32_t REC_LOOPED = 28;
constexpr uint32_t REC_IS3D = 29;
constexpr uint32_t REC_MIN_DISTANCE = 32;
constexpr uint32_t REC_MAX_DISTANCE = 36;
constexpr uint32_t REC_CROSSED = 40;
constexpr uint32_t REC_PAGE = 44;

template <typename T>
inline void PutField(uint8_t* block, uint32_t offset, T value) {
  std::memcpy(block + offset, &value, sizeof value);
}

template <typename T>
inline T GetField(const uint8_t* block, uint32_t offset) {
  T value;
  std::memcpy(&value, block + offset, sizeof value);
  return value;
}

#endif
