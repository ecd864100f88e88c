#include "core/device.h"

#include <cstring>

#include "core/diagnostics.h"
#include "core/state.h"
#include "dsound/dsound.h"
#include "kxEngine.h"

namespace {

// The device mixes to 22050 Hz stereo, whatever the sounds are.
constexpr WAVEFORMATEX PRIMARY_FORMAT = {WAVE_FORMAT_PCM, 2, 22050, 88200, 4, 16, 0};

template <typename T>
void ReleaseInterface(T*& object) {
  if (object) object->Release();
  object = nullptr;
}

// A start that fails gives back what it made, so a later start begins clean.
LONG FailStart() {
  ReleaseInterface(ListenerObject);
  ReleaseInterface(PrimaryBuffer);
  ReleaseInterface(DirectSoundObject);
  return E_FAIL;
}

}  // namespace

LONG Device_Start(HWND window) {
  SoundsCreatedVar = qorQObj_AllocVar("sounds_created", 0);
  if (DirectSoundCreate(nullptr, &DirectSoundObject, nullptr) < 0) return FailStart();
  if (DirectSoundObject->SetCooperativeLevel(window, DSSCL_PRIORITY) < 0) return FailStart();

  DSBUFFERDESC description = {};
  description.dwSize = DSBUFFERDESC_SIZE;
  description.dwFlags = DSBCAPS_PRIMARYBUFFER | DSBCAPS_CTRL3D;
  if (DirectSoundObject->CreateSoundBuffer(&description, &PrimaryBuffer, nullptr) < 0) return FailStart();
  if (PrimaryBuffer->SetFormat(&PRIMARY_FORMAT) < 0) return FailStart();
  if (PrimaryBuffer->QueryInterface(IID_IDirectSound3DListener, reinterpret_cast<void**>(&ListenerObject)) < 0) {
    return FailStart();
  }

  ListenerObject->SetPosition(0.0f, 0.0f, 0.0f, DS3D_DEFERRED);
  ListenerObject->SetOrientation(0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, DS3D_DEFERRED);
  ListenerObject->SetRolloffFactor(1.0f, DS3D_DEFERRED);
  ListenerObject->SetDopplerFactor(1.0f, DS3D_DEFERRED);
  ListenerObject->CommitDeferredSettings();
  return S_OK;
}

void Device_Stop() {
  ReleaseInterface(ListenerObject);
  // The primary buffer goes with the device.
  if (PrimaryBuffer) PrimaryBuffer->Release();
  PrimaryBuffer = nullptr;
  ReleaseInterface(DirectSoundObject);
}

LONG Device_SetEars(const float* position, const float* front, const float* top) {
  ListenerObject->SetPosition(position[0], position[1], position[2], DS3D_DEFERRED);
  ListenerObject->SetOrientation(front[0], front[1], front[2], top[0], top[1], top[2], DS3D_DEFERRED);
  return S_OK;
}

LONG Device_SetRolloffFactor(float factor) {
  if (factor < DS3D_MINROLLOFFFACTOR || factor > DS3D_MAXROLLOFFFACTOR || !ListenerObject) return E_FAIL;
  return ListenerObject->SetRolloffFactor(factor, DS3D_IMMEDIATE);
}

LONG Device_SetDistanceFactor(float factor) {
  if (factor < 0.0f || !ListenerObject) return E_FAIL;
  return ListenerObject->SetDistanceFactor(factor, DS3D_IMMEDIATE);
}

LONG Device_SetDopplerFactor(float factor) {
  if (factor < DS3D_MINDOPPLERFACTOR || factor > DS3D_MAXDOPPLERFACTOR || !ListenerObject) return E_FAIL;
  return ListenerObject->SetDopplerFactor(factor, DS3D_IMMEDIATE);
}

void Device_CommitDeferred() {
  if (ListenerObject) ListenerObject->CommitDeferredSettings();
}

LONG qorSound_SetEarsPosition(const void* position, const void* front, const void* top) {
  if (!GateRunning(__func__)) return E_FAIL;
  if (!position || !front || !top) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_SetEarsPosition fails: the %s vector is null",
             !position ? "position" : (!front ? "front" : "top"));
    return E_FAIL;
  }
  std::memcpy(EarsPosition, position, sizeof EarsPosition);
  return Device_SetEars(static_cast<const float*>(position), static_cast<const float*>(front),
                        static_cast<const float*>(top));
}
