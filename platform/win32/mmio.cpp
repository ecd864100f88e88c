#include "win32/mmio.h"

#include <cstring>
#include <new>

// A memory file is its image and a position. Positions are kept and computed in 64 bits:
// chunk sizes come from the file and may be anything up to 0xFFFFFFFF.
struct MmioFile {
  char* Image;
  uint64_t Size;
  uint64_t Position;
};

namespace {

constexpr uint64_t CHUNK_HEADER = 8;
constexpr uint64_t FORM_TYPE = 4;

DWORD ReadDword(const MmioFile* file, uint64_t at) {
  const auto* p = reinterpret_cast<const unsigned char*>(file->Image + at);
  return DWORD(p[0]) | DWORD(p[1]) << 8 | DWORD(p[2]) << 16 | DWORD(p[3]) << 24;
}

bool HasForm(FOURCC id) { return id == FOURCC_RIFF || id == FOURCC_LIST; }

// An address handed back through an MMIOINFO must lie inside the image, end included.
bool ToPosition(const MmioFile* file, const char* address, uint64_t* position) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(file->Image);
  const uintptr_t at = reinterpret_cast<uintptr_t>(address);
  if (at < start || at - start > file->Size) return false;
  *position = at - start;
  return true;
}

void FillInfo(HMMIO file, MMIOINFO* info) {
  std::memset(info, 0, sizeof *info);
  info->dwFlags = MMIO_READ;
  info->fccIOProc = FOURCC_MEM;
  info->cchBuffer = static_cast<LONG>(file->Size);
  info->pchBuffer = file->Image;
  info->pchNext = file->Image + file->Position;
  info->pchEndRead = file->Image + file->Size;
  info->pchEndWrite = file->Image + file->Size;
  info->lDiskOffset = static_cast<LONG>(file->Size);
  info->hmmio = file;
}

}  // namespace

HMMIO mmioOpenA(char* fileName, MMIOINFO* info, DWORD flags) {
  if (!info) return nullptr;
  // Read-only files over memory the caller owns: no disk files, no buffers of our own.
  if (fileName || info->fccIOProc != FOURCC_MEM || info->pIOProc || !info->pchBuffer || info->cchBuffer <= 0 ||
      flags != MMIO_READ) {
    info->wErrorRet = MMSYSERR_INVALPARAM;
    return nullptr;
  }
  auto* file = new (std::nothrow) MmioFile{info->pchBuffer, static_cast<uint64_t>(info->cchBuffer), 0};
  info->wErrorRet = file ? MMSYSERR_NOERROR : MMSYSERR_NOMEM;
  return file;
}

UINT mmioClose(HMMIO handle, UINT flags) {
  if (!handle) return MMSYSERR_INVALHANDLE;
  delete handle;
  return MMSYSERR_NOERROR;
}

LONG mmioRead(HMMIO handle, char* buffer, LONG count) {
  if (!handle || count < 0 || (!buffer && count > 0)) return -1;
  uint64_t left = handle->Size - handle->Position;
  uint64_t n = static_cast<uint64_t>(count) < left ? static_cast<uint64_t>(count) : left;
  if (n) std::memcpy(buffer, handle->Image + handle->Position, n);
  handle->Position += n;
  return static_cast<LONG>(n);
}

LONG mmioSeek(HMMIO handle, LONG offset, int origin) {
  if (!handle) return -1;
  int64_t base;
  switch (origin) {
    case SEEK_SET_MMIO: base = 0; break;
    case SEEK_CUR_MMIO: base = static_cast<int64_t>(handle->Position); break;
    case SEEK_END_MMIO: base = static_cast<int64_t>(handle->Size); break;
    default: return -1;
  }
  int64_t target = base + offset;
  if (target < 0 || static_cast<uint64_t>(target) > handle->Size) return -1;
  handle->Position = static_cast<uint64_t>(target);
  return static_cast<LONG>(target);
}

UINT mmioDescend(HMMIO handle, MMCKINFO* chunk, const MMCKINFO* parent, UINT flags) {
  if (!handle || !chunk) return MMSYSERR_INVALPARAM;
  const UINT search = flags & (MMIO_FINDCHUNK | MMIO_FINDRIFF | MMIO_FINDLIST);
  if (flags != search || (search & (search - 1))) return MMSYSERR_INVALPARAM;

  // A parent's size counts from its dwDataOffset, so a RIFF or LIST parent's form type is inside it.
  uint64_t end = handle->Size;
  if (parent) {
    uint64_t parentEnd = uint64_t(parent->dwDataOffset) + parent->cksize;
    if (parentEnd < end) end = parentEnd;
  }
  const FOURCC wantId = search == MMIO_FINDRIFF ? FOURCC_RIFF : search == MMIO_FINDLIST ? FOURCC_LIST : chunk->ckid;
  const FOURCC wantType = chunk->fccType;

  uint64_t at = handle->Position;
  for (;;) {
    if (at + CHUNK_HEADER > end) return MMIOERR_CHUNKNOTFOUND;
    const FOURCC id = ReadDword(handle, at);
    const DWORD size = ReadDword(handle, at + 4);
    const uint64_t body = at + CHUNK_HEADER;
    const bool form = HasForm(id);
    if (form && body + FORM_TYPE > end) return MMIOERR_CHUNKNOTFOUND;
    const FOURCC type = form ? ReadDword(handle, body) : 0;

    const bool match = search == 0 || (id == wantId && (search == MMIO_FINDCHUNK || type == wantType));
    if (match) {
      chunk->ckid = id;
      chunk->cksize = size;
      chunk->fccType = type;
      chunk->dwDataOffset = static_cast<DWORD>(body);
      chunk->dwFlags = 0;
      handle->Position = form ? body + FORM_TYPE : body;
      return MMSYSERR_NOERROR;
    }
    at = body + size + (size & 1u);
  }
}

UINT mmioAscend(HMMIO handle, MMCKINFO* chunk, UINT flags) {
  if (!handle || !chunk) return MMSYSERR_INVALPARAM;
  uint64_t behind = uint64_t(chunk->dwDataOffset) + chunk->cksize + (chunk->cksize & 1u);
  if (behind > handle->Size) return MMIOERR_CANNOTSEEK;
  handle->Position = behind;
  return MMSYSERR_NOERROR;
}

// The whole image is the I/O buffer: pchNext is the position, pchEndRead the end of the image.
UINT mmioGetInfo(HMMIO handle, MMIOINFO* info, UINT flags) {
  if (!handle) return MMSYSERR_INVALHANDLE;
  if (!info) return MMSYSERR_INVALPARAM;
  FillInfo(handle, info);
  return MMSYSERR_NOERROR;
}

UINT mmioSetInfo(HMMIO handle, const MMIOINFO* info, UINT flags) {
  if (!handle) return MMSYSERR_INVALHANDLE;
  uint64_t position;
  if (!info || !ToPosition(handle, info->pchNext, &position)) return MMSYSERR_INVALPARAM;
  handle->Position = position;
  return MMSYSERR_NOERROR;
}

// Nothing lies beyond the image, so an advance can only take pchNext as the position and
// give the same buffer back. At the end that leaves pchNext == pchEndRead with result 0:
// the end-of-file signal a reader tests for after mmioAdvance.
UINT mmioAdvance(HMMIO handle, MMIOINFO* info, UINT flags) {
  if (!handle) return MMSYSERR_INVALHANDLE;
  if (flags != MMIO_READ) return MMIOERR_CANNOTEXPAND;
  uint64_t position;
  if (!info || !ToPosition(handle, info->pchNext, &position)) return MMSYSERR_INVALPARAM;
  handle->Position = position;
  FillInfo(handle, info);
  return MMSYSERR_NOERROR;
}
