// The WINMM multimedia file calls, for memory files only ("MEM " I/O procedure):
// enough to walk the RIFF chunks of a file image held in memory.
#ifndef KX_PLATFORM_MMIO_H
#define KX_PLATFORM_MMIO_H

#include "kxSoundWin32.h"

typedef DWORD FOURCC;
typedef struct MmioFile* HMMIO;

#define mmioFOURCC(a, b, c, d) \
  ((FOURCC)(BYTE)(a) | ((FOURCC)(BYTE)(b) << 8) | ((FOURCC)(BYTE)(c) << 16) | ((FOURCC)(BYTE)(d) << 24))
#define FOURCC_RIFF mmioFOURCC('R', 'I', 'F', 'F')
#define FOURCC_LIST mmioFOURCC('L', 'I', 'S', 'T')
#define FOURCC_MEM mmioFOURCC('M', 'E', 'M', ' ')

struct MMIOINFO {
  DWORD dwFlags;
  FOURCC fccIOProc;
  void* pIOProc;
  UINT wErrorRet;
  void* htask;
  LONG cchBuffer;
  char* pchBuffer;
  char* pchNext;
  char* pchEndRead;
  char* pchEndWrite;
  LONG lBufOffset;
  LONG lDiskOffset;
  DWORD adwInfo[3];
  DWORD dwReserved1;
  DWORD dwReserved2;
  HMMIO hmmio;
};

struct MMCKINFO {
  FOURCC ckid;
  DWORD cksize;
  FOURCC fccType;
  DWORD dwDataOffset;
  DWORD dwFlags;
};

#define MMSYSERR_NOERROR 0u
#define MMSYSERR_INVALHANDLE 5u
#define MMSYSERR_NOMEM 7u
#define MMSYSERR_INVALPARAM 11u
#define MMIOERR_CHUNKNOTFOUND 265u
#define MMIOERR_CANNOTSEEK 264u
#define MMIOERR_CANNOTREAD 261u
#define MMIOERR_CANNOTEXPAND 266u

#define MMIO_READ 0x00000000u
#define MMIO_FINDCHUNK 0x0010u
#define MMIO_FINDRIFF 0x0020u
#define MMIO_FINDLIST 0x0040u
#define MMIO_DIRTY 0x10000000u

#define SEEK_SET_MMIO 0
#define SEEK_CUR_MMIO 1
#define SEEK_END_MMIO 2

extern "C" {
// Only memory files: fileName null, info->fccIOProc FOURCC_MEM, info->pchBuffer and
// info->cchBuffer the memory. Anything else gives null.
KX_EXPORT HMMIO mmioOpenA(char* fileName, MMIOINFO* info, DWORD flags);
KX_EXPORT UINT mmioClose(HMMIO handle, UINT flags);
KX_EXPORT LONG mmioRead(HMMIO handle, char* buffer, LONG count);
KX_EXPORT LONG mmioSeek(HMMIO handle, LONG offset, int origin);
KX_EXPORT UINT mmioDescend(HMMIO handle, MMCKINFO* chunk, const MMCKINFO* parent, UINT flags);
KX_EXPORT UINT mmioAscend(HMMIO handle, MMCKINFO* chunk, UINT flags);
KX_EXPORT UINT mmioGetInfo(HMMIO handle, MMIOINFO* info, UINT flags);
KX_EXPORT UINT mmioSetInfo(HMMIO handle, const MMIOINFO* info, UINT flags);
// The image is the whole buffer, so there is nothing to refill: at the end of the image the
// result is 0 with pchNext == pchEndRead, the usual end-of-file test.
KX_EXPORT UINT mmioAdvance(HMMIO handle, MMIOINFO* info, UINT flags);
}

#endif
