// The output device, its primary buffer and the listener.
#ifndef KXSOUND_CORE_DEVICE_H
#define KXSOUND_CORE_DEVICE_H

#include "kxSoundWin32.h"

LONG Device_Start(HWND window);
void Device_Stop();
LONG Device_SetEars(const float* position, const float* front, const float* top);
LONG Device_SetRolloffFactor(float factor);
LONG Device_SetDistanceFactor(float factor);
LONG Device_SetDopplerFactor(float factor);
void Device_CommitDeferred();

#endif
