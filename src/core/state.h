// The process-wide state of the module. There is one system per process and no
// context object: every part of the module works on these variables by name. Every one of
// them is declared here; what a part keeps to itself (caches, counters, told-once flags)
// stays in its file, and the part gives it back to its start through ResetProcessState.
#ifndef KXSOUND_CORE_STATE_H
#define KXSOUND_CORE_STATE_H

#include <atomic>
#include <cstdint>

#include "kxSound.h"
#include "kxSoundWin32.h"

class AmbientEntry;
class GAudioSound;
class IDirectSound;
class IDirectSound3DListener;
class IDirectSoundBuffer;
class NamedNode;
class SoundBuffer;
class SoundEntry;
class SoundStream;
struct SoundPage;
namespace gaudio {
class GAudio;
}

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

// The system runs and sound is switched on: what every operation that makes sound needs.
inline bool Running() { return SystemInitialized && SoundEnabled; }

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
// Rises with every entry that joins or leaves SoundList, so that a walk that calls the
// host can tell whether the list is still the one it was walking.
extern uint64_t CatalogueChanges;

// Streams: those in use, in the order of their acquisition; living stream objects, and the
// streams walked by the last update.
extern SoundStream* ActiveStreamsHead;
extern SoundStream* ActiveStreamsTail;
extern int StreamsCreated;
extern int StreamsTotal;

// Ambients.
extern AmbientEntry* AmbientList;

// Music and the play list.
extern int GAudioReady;
extern gaudio::GAudio* GAudioObject;
extern const uint8_t* TestClipData;
extern uint32_t TestClipSize;
extern GAudioSound* MP3Sound;
extern int MP3Volume;
// Written by the music library's own thread when a listed file ends.
extern std::atomic<int32_t> MP3FileFinished;
extern int MP3ListLoaded;
extern int MP3ListRandom;
extern int MP3ListWrap;
extern NamedNode* MP3List;
extern int MP3ListCount;
extern int MP3ListIndex;

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

// Diagnostics: the host's sink, and whether qorSound_SetVolume(int) ever succeeded (until
// then MasterVolume reads 0 whatever the factor in force, which is worth a word to the sink).
extern KXSOUND_DIAGNOSTIC_SINK DiagnosticSink;
extern bool MasterVolumeSet;

// Every variable above, and what each part keeps in its own file, back to its value when the
// library was loaded: for tests, which run many starts in one process. Only while the module
// is not initialized.
void ResetProcessState();

// The parts' own resets, which ResetProcessState calls.
void ResetCatalogueState();
void ResetAmbientState();
void ResetPlaylistState();
void ResetUpdateState();
void ResetDiagnosticsState();

#endif
