#include "core/state.h"

#include <cstring>

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

void ResetProcessState() {
  SystemInitialized = 0;
  SoundEnabled = 1;
  ToolMode = 0;
  // ModuleHandle is found as the library loads, and stays.
  NotifyCallback = nullptr;
  VolumeFactor = 1.0f;
  MasterVolume = 0;
  FrequencyFactor = 1.0f;
  Play3DEnabled = 1;
  SoundLatency = 0;
  UpdateDelay = 50;
  LastUpdateTick = 0;
  SoundsCreatedVar = -1;
  std::memset(RootFolder, 0, sizeof RootFolder);
  std::memset(BaseFilePath, 0, sizeof BaseFilePath);

  SoundList = nullptr;
  SoundNameCounter = 0;
  std::memset(PageTable, 0, sizeof PageTable);
  PageCount = 0;
  ResetCatalogueState();

  ActiveStreamsHead = ActiveStreamsTail = nullptr;
  StreamsCreated = StreamsTotal = 0;
  AmbientList = nullptr;
  ResetAmbientState();

  GAudioReady = 0;
  GAudioObject = nullptr;
  TestClipData = nullptr;
  TestClipSize = 0;
  MP3Sound = nullptr;
  MP3Volume = 0;
  MP3FileFinished.store(0, std::memory_order_relaxed);
  ResetPlaylistState();

  DirectSoundObject = nullptr;
  PrimaryBuffer = nullptr;
  ListenerObject = nullptr;
  std::memset(EarsPosition, 0, sizeof EarsPosition);
  FilePreviewBuffer = nullptr;
  FilePreviewCallback = nullptr;

  ShowStatistic = 0;
  StatisticScale = 0.02f;
  StatisticsLine = 0;
  ResetUpdateState();

  MasterVolumeSet = false;
  ResetDiagnosticsState();
}
