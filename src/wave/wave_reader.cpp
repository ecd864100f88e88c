#include "wave/wave_reader.h"

#include <cstdlib>
#include <cstring>

#include "kxEngine.h"
#include "win32/global_memory.h"

namespace {

constexpr FOURCC FOURCC_WAVE = mmioFOURCC('W', 'A', 'V', 'E');
constexpr FOURCC FOURCC_FMT = mmioFOURCC('f', 'm', 't', ' ');
constexpr FOURCC FOURCC_DATA = mmioFOURCC('d', 'a', 't', 'a');
// wFormatTag .. wBitsPerSample: the part of a "fmt " chunk every format has.
constexpr LONG FORMAT_FIELDS = 16;
// An mmio memory file measures itself in a LONG.
constexpr DWORD MAX_IMAGE = 0x7FFFFFFF;

void ReleaseImage(void* image) {
  GlobalUnlock(GlobalHandle(image));
  GlobalFree(GlobalHandle(image));
}

}  // namespace

WaveReader::WaveReader() : Format(nullptr), Handle(nullptr), DataChunk{}, RiffChunk{}, FileImage(nullptr) {}

WaveReader::~WaveReader() {
  Close();
  std::free(Format);
  Format = nullptr;
}

LONG WaveReader::Open(const char* path) {
  // A reader is opened once; releasing an earlier file here only guards against misuse.
  Close();
  std::free(Format);
  Format = nullptr;
  LONG result = WaveLoadFile(path, &Handle, &Format, &RiffChunk, &FileImage);
  if (result < 0) return result;
  return Reset();
}

LONG WaveReader::Reset() { return WaveFindData(&Handle, &DataChunk, &RiffChunk); }

LONG WaveReader::Read(uint32_t count, uint8_t* destination, uint32_t* actual) {
  return WaveCopyData(Handle, count, destination, &DataChunk, actual);
}

LONG WaveReader::Close() {
  if (Handle) mmioClose(Handle, 0);
  Handle = nullptr;
  if (FileImage) ReleaseImage(FileImage);
  FileImage = nullptr;
  return S_OK;
}

LONG WaveReader::WaveLoadFile(const char* path, HMMIO* handle, WAVEFORMATEX** format, MMCKINFO* riffChunk,
                              uint8_t** fileImage) {
  *fileImage = nullptr;
  HANDLE file = qorCreateFile(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return E_FAIL;

  // A size of 0 gets no block from GlobalAlloc; one mmio can't address is refused before any allocation.
  DWORD size = qorGetFileSize(file, nullptr);
  void* image = size <= MAX_IMAGE ? GlobalLock(GlobalAlloc(GHND, size)) : nullptr;
  if (!image) {
    qorCloseHandle(file);
    return E_FAIL;
  }
  DWORD done = 0;
  qorReadFile(file, image, size, &done, nullptr);
  qorCloseHandle(file);
  if (done < size) {
    ReleaseImage(image);
    return E_FAIL;
  }

  MMIOINFO info;
  std::memset(&info, 0, sizeof info);
  info.fccIOProc = FOURCC_MEM;
  info.cchBuffer = static_cast<LONG>(size);
  info.pchBuffer = static_cast<char*>(image);
  HMMIO memory = mmioOpenA(nullptr, &info, MMIO_READ);
  if (!memory) {
    ReleaseImage(image);
    return E_FAIL;
  }
  // From here the reader owns the image, even when the header turns out bad.
  *fileImage = static_cast<uint8_t*>(image);

  LONG result = WaveParseHeader(memory, riffChunk, format);
  if (result < 0) {
    mmioClose(memory, 0);
    return result;
  }
  *handle = memory;
  return S_OK;
}

LONG WaveReader::WaveParseHeader(HMMIO handle, MMCKINFO* riffChunk, WAVEFORMATEX** format) {
  *format = nullptr;
  // No search: the RIFF chunk must open the file.
  if (mmioDescend(handle, riffChunk, nullptr, 0) != 0) return E_FAIL;
  if (riffChunk->ckid != FOURCC_RIFF || riffChunk->fccType != FOURCC_WAVE) return E_FAIL;

  MMCKINFO fmt{};
  fmt.ckid = FOURCC_FMT;
  if (mmioDescend(handle, &fmt, riffChunk, MMIO_FINDCHUNK) != 0) return E_FAIL;
  if (fmt.cksize < static_cast<DWORD>(FORMAT_FIELDS)) return E_FAIL;

  WAVEFORMATEX fields{};
  if (mmioRead(handle, reinterpret_cast<char*>(&fields), FORMAT_FIELDS) != FORMAT_FIELDS) return E_FAIL;

  WAVEFORMATEX* record;
  if (fields.wFormatTag == WAVE_FORMAT_PCM) {
    // PCM has no extra bytes, whatever an 18-byte chunk says in its own cbSize.
    record = static_cast<WAVEFORMATEX*>(std::malloc(sizeof(WAVEFORMATEX)));
    if (!record) return E_FAIL;
    std::memcpy(record, &fields, FORMAT_FIELDS);
    record->cbSize = 0;
  } else {
    // The count is not held against the chunk's size: a 16-byte chunk takes the next 2 bytes of the
    // file, and mmioAscend puts the position right again.
    WORD extra = 0;
    if (mmioRead(handle, reinterpret_cast<char*>(&extra), sizeof extra) != sizeof extra) return E_FAIL;
    record = static_cast<WAVEFORMATEX*>(std::malloc(sizeof(WAVEFORMATEX) + extra));
    if (!record) return E_FAIL;
    std::memcpy(record, &fields, FORMAT_FIELDS);
    record->cbSize = extra;
    if (mmioRead(handle, reinterpret_cast<char*>(record + 1), extra) != extra) {
      std::free(record);
      return E_FAIL;
    }
  }
  if (mmioAscend(handle, &fmt, 0) != 0) {
    std::free(record);
    return E_FAIL;
  }
  *format = record;
  return S_OK;
}

LONG WaveReader::WaveFindData(HMMIO* handle, MMCKINFO* dataChunk, MMCKINFO* riffChunk) {
  // Past the form type, onto the first chunk of the body: both searches start there, so
  // chunk order doesn't matter.
  if (mmioSeek(*handle, static_cast<LONG>(riffChunk->dwDataOffset + 4), SEEK_SET_MMIO) == -1) return E_FAIL;
  dataChunk->ckid = FOURCC_DATA;
  if (mmioDescend(*handle, dataChunk, riffChunk, MMIO_FINDCHUNK) != 0) return E_FAIL;
  return S_OK;
}

LONG WaveReader::WaveCopyData(HMMIO handle, uint32_t count, uint8_t* destination, MMCKINFO* dataChunk,
                              uint32_t* actual) {
  *actual = 0;
  MMIOINFO info;
  if (mmioGetInfo(handle, &info, 0) != 0) return E_FAIL;

  // The count leaves the chunk before any byte moves: a failed read loses it until Reset.
  uint32_t n = count < dataChunk->cksize ? count : dataChunk->cksize;
  if (n && !destination) return E_FAIL;
  dataChunk->cksize -= n;

  // Whole spans of the mmio buffer at a time; mmio is asked again only when one runs out.
  uint8_t* out = destination;
  uint32_t left = n;
  while (left) {
    if (info.pchNext == info.pchEndRead) {
      if (mmioAdvance(handle, &info, MMIO_READ) != 0) return E_FAIL;
      if (info.pchNext == info.pchEndRead) return E_FAIL;
    }
    size_t span = static_cast<size_t>(info.pchEndRead - info.pchNext);
    if (span > left) span = left;
    std::memcpy(out, info.pchNext, span);
    info.pchNext += span;
    out += span;
    left -= static_cast<uint32_t>(span);
  }
  if (mmioSetInfo(handle, &info, 0) != 0) return E_FAIL;
  *actual = n;
  return S_OK;
}
