// The process-wide state of the module. There is one system per process and no
// context object: every part of the module works on these variables by name.
#ifndef KXSOUND_CORE_STATE_H
#define KXSOUND_CORE_STATE_H

#include "kxSound.h"
#include "kxSoundWin32.h"

class SoundEntry;
struct SoundPage;
class SoundBuffer;
class IDirectSound;
class IDirectSoundBuffer;
class IDirectSound3DListener;

// Life cycle and switches.
extern int SystemInitialized;
extern int SoundEnabled;
extern int ToolMode;
extern HMODULE ModuleHandle;
extern QORSOUND_NOTIFY_CALLBACK NotifyCallback;
extern float VolumeFactor;
extern int MasterVolume;
extern float FrequencyFactor;
extern int Play3DEnabled;
extern uint32_t SoundLatency;
extern uint32_t UpdateDelay;
extern uint32_t LastUpdateTick;
extern LONG SoundsCreatedVar;

// Paths.
constexpr int PATH_BUFFER_SIZE = 256;
extern char RootFolder[PATH_BUFFER_SIZE];
extern char BaseFilePath[PATH_BUFFER_SIZE];

// Catalogue.
constexpr int MAX_PAGES = 256;
extern SoundEntry* SoundList;
extern int SoundNameCounter;
extern SoundPage PageTable[MAX_PAGES];
extern int PageCount;

// Device.
extern IDirectSound* DirectSoundObject;
extern IDirectSoundBuffer* PrimaryBuffer;
extern IDirectSound3DListener* ListenerObject;
extern float EarsPosition[3];

// File preview.
extern SoundBuffer* FilePreviewBuffer;
extern QORSOUND_PREVIEW_CALLBACK FilePreviewCallback;

// Statistics.
extern int ShowStatistic;
extern float StatisticScale;
extern int StatisticsLine;

#endif
