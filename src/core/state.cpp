#include "core/state.h"

#include "base/pages.h"

int SystemInitialized = 0;
int SoundEnabled = 1;
int ToolMode = 0;
HMODULE ModuleHandle = nullptr;
QORSOUND_NOTIFY_CALLBACK NotifyCallback = nullptr;
float VolumeFactor = 1.0f;
int MasterVolume = 0;
float FrequencyFactor = 1.0f;
int Play3DEnabled = 1;
uint32_t SoundLatency = 0;
uint32_t UpdateDelay = 50;
uint32_t LastUpdateTick = 0;
LONG SoundsCreatedVar = -1;

char RootFolder[PATH_BUFFER_SIZE] = {};
char BaseFilePath[PATH_BUFFER_SIZE] = {};

SoundEntry* SoundList = nullptr;
int SoundNameCounter = 0;
SoundPage PageTable[MAX_PAGES] = {};
int PageCount = 0;

IDirectSound* DirectSoundObject = nullptr;
IDirectSoundBuffer* PrimaryBuffer = nullptr;
IDirectSound3DListener* ListenerObject = nullptr;
float EarsPosition[3] = {0.0f, 0.0f, 0.0f};

SoundBuffer* FilePreviewBuffer = nullptr;
QORSOUND_PREVIEW_CALLBACK FilePreviewCallback = nullptr;

int ShowStatistic = 0;
float StatisticScale = 0.02f;
int StatisticsLine = 0;
