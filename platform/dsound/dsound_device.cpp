#include "dsound/dsound_device.h"

#include <algorithm>
#include <new>

#include "dsound/buffer3d.h"
#include "dsound/common.h"
#include "dsound/listener.h"
#include "dsound/mix_output.h"
#include "dsound/mixer.h"
#include "dsound/primary_buffer.h"
#include "dsound/secondary_buffer.h"

// DirectSound's own interface identifiers, so that code written for it asks in the same words.
extern "C" {
const GUID IID_IDirectSound = {0x279AFA83, 0x4981, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
const GUID IID_IDirectSound3DListener = {
    0x279AFA84, 0x4981, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
const GUID IID_IDirectSoundBuffer = {
    0x279AFA85, 0x4981, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
const GUID IID_IDirectSound3DBuffer = {
    0x279AFA86, 0x4981, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
const GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
}

namespace kxdsound {

using kxaudio::ContextScope;

DSoundDevice* DSoundDevice::Open() {
  std::unique_ptr<kxaudio::OutputDevice> output =
      kxaudio::OutputDevice::Open(kxaudio::kEffectsOutput);
  if (!output) return nullptr;
  DSoundDevice* device = new (std::nothrow) DSoundDevice(std::move(output));
  if (!device) return nullptr;
  device->mixOutput_ = MixOutput::Start(*device->output_, *device->mixer_);
  if (!device->mixOutput_) {
    device->Release();
    return nullptr;
  }
  return device;
}

// The mix runs at the output's own rate, whatever format the primary buffer is given.
DSoundDevice::DSoundDevice(std::unique_ptr<kxaudio::OutputDevice> output)
    : output_(std::move(output)), mixer_(new Mixer(output_->Rate())), listener_(new Listener(*this)) {}

// Buffers the caller still holds stay valid objects, but without a device every call fails.
DSoundDevice::~DSoundDevice() {
  mixOutput_.reset();
  std::vector<SecondaryBuffer*> buffers;
  buffers.swap(buffers_);
  for (SecondaryBuffer* buffer : buffers) buffer->Orphan();
  dirty_.clear();
}

HRESULT DSoundDevice::QueryInterface(REFIID iid, void** object) {
  if (!object) return DSERR_INVALIDPARAM;
  *object = nullptr;
  if (!SameIid(iid, IID_IDirectSound)) return DSERR_NOINTERFACE;
  AddRef();
  *object = static_cast<IDirectSound*>(this);
  return DS_OK;
}

ULONG DSoundDevice::AddRef() { return ++refs_; }

ULONG DSoundDevice::Release() {
  ULONG left = --refs_;
  if (left == 0) delete this;
  return left;
}

HRESULT DSoundDevice::CreateSoundBuffer(const DSBUFFERDESC* description, IDirectSoundBuffer** buffer, void* outer) {
  if (!buffer) return DSERR_INVALIDPARAM;
  *buffer = nullptr;
  if (!description || outer) return DSERR_INVALIDPARAM;
  if (description->dwSize != DSBUFFERDESC_SIZE && description->dwSize != sizeof(DSBUFFERDESC))
    return DSERR_INVALIDPARAM;
  const DWORD flags = description->dwFlags;
  if ((flags & DSBCAPS_LOCHARDWARE) && (flags & DSBCAPS_LOCSOFTWARE)) return DSERR_INVALIDPARAM;

  if (flags & DSBCAPS_PRIMARYBUFFER) {
    if (description->dwBufferBytes != 0 || description->lpwfxFormat) return DSERR_INVALIDPARAM;
    // There is one primary buffer: asking again gives it again.
    if (primary_) {
      primary_->SetFlags(flags);
      primary_->AddRef();
    } else {
      primary_.reset(new (std::nothrow) PrimaryBuffer(*this, flags));
      if (!primary_) return DSERR_OUTOFMEMORY;
    }
    *buffer = primary_.get();
    return DS_OK;
  }

  const WAVEFORMATEX* format = description->lpwfxFormat;
  if (!format) return DSERR_INVALIDPARAM;
  HRESULT result = CheckPcmFormat(*format);
  if (result != DS_OK) return result;
  if (description->dwBufferBytes == 0 || description->dwBufferBytes > DSBSIZE_MAX) return DSERR_INVALIDPARAM;
  // 3D sound is positioned mono; DirectSound refuses stereo 3D buffers and 3D with pan.
  if ((flags & DSBCAPS_CTRL3D) && (format->nChannels != 1 || (flags & DSBCAPS_CTRLPAN))) return DSERR_INVALIDPARAM;

  SecondaryBuffer* made = nullptr;
  result = SecondaryBuffer::Create(*this, *description, &made);
  if (result == DS_OK) *buffer = made;
  return result;
}

HRESULT DSoundDevice::DuplicateSoundBuffer(IDirectSoundBuffer* original, IDirectSoundBuffer** duplicate) {
  if (!duplicate) return DSERR_INVALIDPARAM;
  *duplicate = nullptr;
  if (!original) return DSERR_INVALIDPARAM;
  if (primary_ && original == primary_.get()) return DSERR_INVALIDCALL;
  auto* source = dynamic_cast<SecondaryBuffer*>(original);
  if (!source || source->Owner() != this) return DSERR_INVALIDPARAM;
  SecondaryBuffer* made = nullptr;
  HRESULT result = source->Duplicate(&made);
  if (result == DS_OK) *duplicate = made;
  return result;
}

// There are no windows here: any window, null included, is taken.
HRESULT DSoundDevice::SetCooperativeLevel(HWND window, DWORD level) {
  if (level < DSSCL_NORMAL || level > DSSCL_WRITEPRIMARY) return DSERR_INVALIDPARAM;
  level_ = level;
  return DS_OK;
}

// A buffer is listed as dirty at most once, so room for every buffer, made while buffers are
// created, keeps a deferred setting from allocating mid-game.
void DSoundDevice::Add(SecondaryBuffer* buffer) {
  buffers_.push_back(buffer);
  if (dirty_.capacity() < buffers_.size()) dirty_.reserve(buffers_.capacity());
}

void DSoundDevice::Remove(SecondaryBuffer* buffer) {
  auto it = std::find(buffers_.rbegin(), buffers_.rend(), buffer);
  if (it == buffers_.rend()) return;
  *it = buffers_.back();
  buffers_.pop_back();
}

void DSoundDevice::MarkDirty(Buffer3D* buffer) { dirty_.push_back(buffer); }

void DSoundDevice::ForgetDirty(Buffer3D* buffer) { dirty_.erase(std::remove(dirty_.begin(), dirty_.end(), buffer), dirty_.end()); }

void DSoundDevice::Commit() {
  const bool moved = listener_->ApplyPending();
  std::lock_guard<std::mutex> hold(mixer_->Lock());
  for (Buffer3D* buffer : dirty_) {
    buffer->ApplyPending();
    if (!moved) buffer->Owner().UpdateMixLocked();
  }
  dirty_.clear();
  if (moved)
    for (SecondaryBuffer* buffer : buffers_)
      if (buffer->Part3D()) buffer->UpdateMixLocked();
}

void DSoundDevice::Respatialize() {
  std::lock_guard<std::mutex> hold(mixer_->Lock());
  for (SecondaryBuffer* buffer : buffers_)
    if (buffer->Part3D()) buffer->UpdateMixLocked();
}

}  // namespace kxdsound

extern "C" KX_EXPORT HRESULT DirectSoundCreate(const GUID* device, IDirectSound** object, void* outer) {
  if (!object) return DSERR_INVALIDPARAM;
  *object = nullptr;
  if (outer) return DSERR_INVALIDPARAM;
  // Only the default output exists.
  if (device && !kxdsound::SameIid(*device, GUID_NULL)) return DSERR_NODRIVER;
  kxdsound::DSoundDevice* made = kxdsound::DSoundDevice::Open();
  if (!made) return DSERR_NODRIVER;
  *object = made;
  return DS_OK;
}
