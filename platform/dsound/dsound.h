// DirectSound-shaped interfaces over OpenAL Soft. COM-style objects with the
// methods, arguments and results the module uses; every method checks its
// arguments, acts, and returns a code.
#ifndef KX_PLATFORM_DSOUND_H
#define KX_PLATFORM_DSOUND_H

#include "kxSoundWin32.h"

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
typedef const GUID& REFIID;

extern "C" KX_EXPORT const GUID IID_IDirectSound3DListener;
extern "C" KX_EXPORT const GUID IID_IDirectSound3DBuffer;
extern "C" KX_EXPORT const GUID IID_IDirectSoundBuffer;
extern "C" KX_EXPORT const GUID IID_IDirectSound;
extern "C" KX_EXPORT const GUID GUID_NULL;

#pragma pack(push, 1)
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;
  WORD wBitsPerSample;
  WORD cbSize;
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 18, "WAVEFORMATEX is 18 bytes");
#define WAVE_FORMAT_PCM 1

struct DSBUFFERDESC {
  DWORD dwSize;
  DWORD dwFlags;
  DWORD dwBufferBytes;
  DWORD dwReserved;
  WAVEFORMATEX* lpwfxFormat;
  GUID guid3DAlgorithm;
};
// The size the description declares in its dwSize: that of the 32-bit layout.
// The stand-in also takes sizeof(DSBUFFERDESC).
#define DSBUFFERDESC_SIZE 36u

struct DSBCAPS {
  DWORD dwSize;
  DWORD dwFlags;
  DWORD dwBufferBytes;
  DWORD dwUnlockTransferRate;
  DWORD dwPlayCpuOverhead;
};
static_assert(sizeof(DSBCAPS) == 20, "DSBCAPS is 20 bytes");

struct D3DVECTOR {
  float x, y, z;
};

struct DS3DBUFFER {
  DWORD dwSize;
  D3DVECTOR vPosition;
  D3DVECTOR vVelocity;
  DWORD dwInsideConeAngle;
  DWORD dwOutsideConeAngle;
  D3DVECTOR vConeOrientation;
  LONG lConeOutsideVolume;
  float flMinDistance;
  float flMaxDistance;
  DWORD dwMode;
};
static_assert(sizeof(DS3DBUFFER) == 64, "DS3DBUFFER is 64 bytes");

// Results.
#define DS_OK ((HRESULT)0)
#define DSERR_GENERIC E_FAIL
#define DSERR_INVALIDPARAM ((HRESULT)0x80070057u)
#define DSERR_OUTOFMEMORY ((HRESULT)0x8007000Eu)
#define DSERR_NOINTERFACE ((HRESULT)0x80004002u)
#define DSERR_UNSUPPORTED ((HRESULT)0x80004001u)
#define DSERR_BADFORMAT ((HRESULT)0x88780064u)
#define DSERR_CONTROLUNAVAIL ((HRESULT)0x8878001Eu)
#define DSERR_INVALIDCALL ((HRESULT)0x88780032u)
#define DSERR_PRIOLEVELNEEDED ((HRESULT)0x88780046u)
#define DSERR_NODRIVER ((HRESULT)0x88780078u)

// Buffer capabilities.
#define DSBCAPS_PRIMARYBUFFER 0x00000001u
#define DSBCAPS_STATIC 0x00000002u
#define DSBCAPS_LOCHARDWARE 0x00000004u
#define DSBCAPS_LOCSOFTWARE 0x00000008u
#define DSBCAPS_CTRL3D 0x00000010u
#define DSBCAPS_CTRLFREQUENCY 0x00000020u
#define DSBCAPS_CTRLPAN 0x00000040u
#define DSBCAPS_CTRLVOLUME 0x00000080u
#define DSBCAPS_MUTE3DATMAXDISTANCE 0x00020000u

#define DSSCL_NORMAL 1u
#define DSSCL_PRIORITY 2u
#define DSSCL_EXCLUSIVE 3u
#define DSSCL_WRITEPRIMARY 4u

#define DSBLOCK_FROMWRITECURSOR 0x00000001u
#define DSBLOCK_ENTIREBUFFER 0x00000002u

#define DSBSIZE_MAX 0x0FFFFFFFu

#define DSBPLAY_LOOPING 0x00000001u
#define DSBSTATUS_PLAYING 0x00000001u
#define DSBSTATUS_BUFFERLOST 0x00000002u
#define DSBSTATUS_LOOPING 0x00000004u

#define DSBVOLUME_MIN (-10000)
#define DSBVOLUME_MAX 0
#define DSBFREQUENCY_ORIGINAL 0u
#define DSBFREQUENCY_MIN 100u
#define DSBFREQUENCY_MAX 200000u

#define DS3D_IMMEDIATE 0u
#define DS3D_DEFERRED 1u
#define DS3DMODE_NORMAL 0u
#define DS3DMODE_HEADRELATIVE 1u
#define DS3DMODE_DISABLE 2u

#define DS3D_MINROLLOFFFACTOR 0.0f
#define DS3D_MAXROLLOFFFACTOR 10.0f
#define DS3D_MINDOPPLERFACTOR 0.0f
#define DS3D_MAXDOPPLERFACTOR 10.0f
#define DS3D_DEFAULTDISTANCEFACTOR 1.0f
#define DS3D_DEFAULTMINDISTANCE 1.0f
#define DS3D_DEFAULTMAXDISTANCE 1000000000.0f

class IUnknownLike {
public:
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

protected:
  virtual ~IUnknownLike() = default;
};

class IDirectSoundBuffer : public IUnknownLike {
public:
  virtual HRESULT GetCaps(DSBCAPS* caps) = 0;
  virtual HRESULT GetCurrentPosition(DWORD* playCursor, DWORD* writeCursor) = 0;
  // format null: *written receives the size the format needs.
  virtual HRESULT GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) = 0;
  virtual HRESULT GetVolume(LONG* volume) = 0;
  virtual HRESULT GetFrequency(DWORD* frequency) = 0;
  virtual HRESULT GetStatus(DWORD* status) = 0;
  virtual HRESULT Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second, DWORD* secondBytes,
                       DWORD flags) = 0;
  virtual HRESULT Play(DWORD reserved, DWORD priority, DWORD flags) = 0;
  virtual HRESULT SetCurrentPosition(DWORD position) = 0;
  virtual HRESULT SetFormat(const WAVEFORMATEX* format) = 0;
  virtual HRESULT SetVolume(LONG volume) = 0;
  virtual HRESULT SetFrequency(DWORD frequency) = 0;
  virtual HRESULT Stop() = 0;
  virtual HRESULT Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) = 0;
};

class IDirectSound3DBuffer : public IUnknownLike {
public:
  virtual HRESULT GetAllParameters(DS3DBUFFER* parameters) = 0;
  virtual HRESULT GetMaxDistance(float* distance) = 0;
  virtual HRESULT GetMinDistance(float* distance) = 0;
  virtual HRESULT GetMode(DWORD* mode) = 0;
  virtual HRESULT GetPosition(D3DVECTOR* position) = 0;
  virtual HRESULT GetVelocity(D3DVECTOR* velocity) = 0;
  virtual HRESULT SetAllParameters(const DS3DBUFFER* parameters, DWORD apply) = 0;
  virtual HRESULT SetMaxDistance(float distance, DWORD apply) = 0;
  virtual HRESULT SetMinDistance(float distance, DWORD apply) = 0;
  virtual HRESULT SetMode(DWORD mode, DWORD apply) = 0;
  virtual HRESULT SetPosition(float x, float y, float z, DWORD apply) = 0;
  virtual HRESULT SetVelocity(float x, float y, float z, DWORD apply) = 0;
};

class IDirectSound3DListener : public IUnknownLike {
public:
  virtual HRESULT GetDistanceFactor(float* factor) = 0;
  virtual HRESULT GetDopplerFactor(float* factor) = 0;
  virtual HRESULT GetRolloffFactor(float* factor) = 0;
  virtual HRESULT GetOrientation(D3DVECTOR* front, D3DVECTOR* top) = 0;
  virtual HRESULT GetPosition(D3DVECTOR* position) = 0;
  virtual HRESULT SetDistanceFactor(float factor, DWORD apply) = 0;
  virtual HRESULT SetDopplerFactor(float factor, DWORD apply) = 0;
  virtual HRESULT SetRolloffFactor(float factor, DWORD apply) = 0;
  virtual HRESULT SetOrientation(float frontX, float frontY, float frontZ, float topX, float topY, float topZ,
                                 DWORD apply) = 0;
  virtual HRESULT SetPosition(float x, float y, float z, DWORD apply) = 0;
  virtual HRESULT SetVelocity(float x, float y, float z, DWORD apply) = 0;
  virtual HRESULT CommitDeferredSettings() = 0;
};

class IDirectSound : public IUnknownLike {
public:
  virtual HRESULT CreateSoundBuffer(const DSBUFFERDESC* description, IDirectSoundBuffer** buffer, void* outer) = 0;
  virtual HRESULT DuplicateSoundBuffer(IDirectSoundBuffer* original, IDirectSoundBuffer** duplicate) = 0;
  virtual HRESULT SetCooperativeLevel(HWND window, DWORD level) = 0;
};

// device: null for the default device. Fails when the output mode chosen with
// kxHost_SetAudioOutput has no device ("none", or "device" with no output to open).
extern "C" KX_EXPORT HRESULT DirectSoundCreate(const GUID* device, IDirectSound** object, void* outer);

#endif
