// kxSound: the sound module of the engine. Catalogue of named sounds, 2D/3D playback,
// ambients, MP3 music and the "Sound" console commands.
//
// Results of type int32_t are KXSOUND_OK (0) for success and KXSOUND_FAIL for every failure.
// Sound handles are the addresses the module hands out; strings are zero-terminated.
// Functions with a name follow the sound's redirection, functions with a handle act on that
// entry. The header is C++: several exports are overloads.
#ifndef KX_SOUND_H
#define KX_SOUND_H

#include "kxTypes.h"

#define KXSOUND_API KX_EXPORT

// The one failure code, 0x80004005 (E_FAIL to code that includes kxSoundWin32.h).
#define KXSOUND_OK ((int32_t)0)
#define KXSOUND_FAIL ((int32_t)0x80004005u)

// Stream events passed to the notify callback as (event, stream, second).
enum QORSOUND_STREAM_EVENT : int32_t {
  STREAM_EVENT_ACQUIRED = 1,
  STREAM_EVENT_RELEASED = 2,
  STREAM_EVENT_CHANGED = 5,
  STREAM_EVENT_REPLACED = 6,
  STREAM_EVENT_STOLEN = 7,
};

enum SOUND_PLAYMODE : int32_t {
  SOUND_PLAYMODE_SEQUENTIAL = 0,
  SOUND_PLAYMODE_RANDOM = 1,
};

typedef void (*QORSOUND_NOTIFY_CALLBACK)(QORSOUND_STREAM_EVENT event, void* stream, void* second);
typedef void (*QORSOUND_ENUM_SOUNDS_CALLBACK)(char* name, int page);
typedef void (*QORSOUND_ENUM_FILES_CALLBACK)(char* path);
typedef void (*QORSOUND_ENUM_PAGES_CALLBACK)(char* name);
// Progress of a previewed file: 0..99 while it plays, 1000 once it has ended.
typedef void (*QORSOUND_PREVIEW_CALLBACK)(int progress);

// Flags of qorSound_QueryStream.
#define STREAM_FLAG_STEALABLE 1u
#define STREAM_FLAG_EXTRA 2u

// ---- life cycle ----
KXSOUND_API int32_t qorSound_Initialize(void* window, int toolMode);
KXSOUND_API int32_t qorSound_Finalize();
KXSOUND_API void qorSound_SetNotifyCallback(QORSOUND_NOTIFY_CALLBACK callback);
KXSOUND_API void qorSound_Enable3DPlay(int enable);
KXSOUND_API void qorSound_SetLatency(uint32_t milliseconds);

// ---- master controls ----
KXSOUND_API int32_t qorSound_Enable(int enable);
// Master volume in percent (0..100; above 100 counts as 100).
KXSOUND_API int32_t qorSound_SetVolume(int volume);
KXSOUND_API int32_t qorSound_GetVolume(int* volume);
KXSOUND_API int32_t qorSound_SetFrequencyFactor(float factor);

// ---- frame ----
KXSOUND_API void qorSound_Update();
KXSOUND_API void qorSound_Render();

// ---- listener ----
// Three floats each: x right, y up, z ahead. None may be null.
KXSOUND_API int32_t qorSound_SetEarsPosition(const void* position, const void* front, const void* top);

// ---- catalogue ----
KXSOUND_API int32_t qorSound_FindSound(const char* name, void** sound);
// name: room for 256 characters.
KXSOUND_API int32_t qorSound_GetSoundName(void* sound, char* name);
// name: in and out; receives the name the new sound got (256 bytes of room).
KXSOUND_API void qorSound_CreateNewSound(char* name);
KXSOUND_API void qorSound_DeleteSound(void* sound);
KXSOUND_API void qorSound_DeleteSound(const char* name);
// newName: out only; receives the clone's generated name (256 bytes of room).
KXSOUND_API void qorSound_CloneSound(const char* source, char* newName);
KXSOUND_API void qorSound_CopyParameters(const char* target, const char* source);
KXSOUND_API int32_t qorSound_ChangeName(const char* name, const char* newName);
KXSOUND_API void qorSound_EnumerateSounds(QORSOUND_ENUM_SOUNDS_CALLBACK callback);
KXSOUND_API char* qorSound_GetSoundComments(const char* name);
KXSOUND_API void qorSound_SetSoundComments(const char* name, const char* comments);
KXSOUND_API int qorSound_IsSoundEnabled(const char* name);
KXSOUND_API void qorSound_SetSoundEnabled(const char* name, int enabled);

// ---- parameters ----
KXSOUND_API SOUND_PLAYMODE qorSound_GetSoundPlayMode(const char* name);
KXSOUND_API void qorSound_SetSoundPlayMode(const char* name, SOUND_PLAYMODE mode);
KXSOUND_API int qorSound_GetVolume(const char* name);
KXSOUND_API void qorSound_SetVolume(const char* name, int volume);
KXSOUND_API void qorSound_SetVolume2(const char* name, int volume);
KXSOUND_API int qorSound_GetFrequency(const char* name);
KXSOUND_API void qorSound_SetFrequency(const char* name, int frequency);
KXSOUND_API void qorSound_GetDistances(const char* name, float* minimum, float* maximum);
KXSOUND_API void qorSound_SetDistances(const char* name, float minimum, float maximum);
KXSOUND_API void qorSound_SetSoundMinMaxDistances(void* sound, float minimum, float maximum);
KXSOUND_API int qorSound_GetNumStreams(const char* name);
KXSOUND_API void qorSound_SetNumStreams(const char* name, int count);
KXSOUND_API int qorSound_GetLooped(const char* name);
KXSOUND_API void qorSound_SetLooped(const char* name, int looped);
KXSOUND_API int qorSound_GetCrossed(const char* name);
KXSOUND_API void qorSound_SetCrossed(const char* name, int crossed);
KXSOUND_API int qorSound_Get3D(const char* name);
KXSOUND_API void qorSound_Set3D(const char* name, int is3D);

// ---- file lists ----
KXSOUND_API void qorSound_EnumerateFiles(const char* name, QORSOUND_ENUM_FILES_CALLBACK callback);
// path: 63 bytes of room.
KXSOUND_API int32_t qorSound_GetFile(const char* name, char* path, int index);
KXSOUND_API int qorSound_IsFileEnabled(const char* name, int index);
KXSOUND_API void qorSound_SetFileEnabled(const char* name, int index, int enabled);
// path: in and out; receives the stored (lower-case) form. A path of more than 62
// characters does not fit a file record and is refused.
KXSOUND_API int32_t qorSound_AddFile(const char* name, char* path);
KXSOUND_API void qorSound_DeleteFile(const char* name, int index);
KXSOUND_API void qorSound_SwapFiles(const char* name, int first, int second);

// ---- pages ----
// A page name holds at most 15 characters; a longer one is refused.
KXSOUND_API int32_t qorSound_NewPage(const char* name);
KXSOUND_API void qorSound_EnumeratePages(QORSOUND_ENUM_PAGES_CALLBACK callback);
// name: 16 bytes of room.
KXSOUND_API int32_t qorSound_GetPageName(int index, char* name);
KXSOUND_API int32_t qorSound_SetPageName(int index, const char* name);
KXSOUND_API int32_t qorSound_DeletePage(int index);
KXSOUND_API void qorSound_SetSoundPage(const char* sound, int page);
KXSOUND_API int qorSound_GetSoundPage(const char* sound);

// ---- login and logout ----
KXSOUND_API int32_t qorSound_LoginSound(const char* name);
KXSOUND_API int32_t qorSound_LoginSound(void* sound);
KXSOUND_API int32_t qorSound_PreloadSound(const char* name);
KXSOUND_API int32_t qorSound_LogoutSound(const char* name);
KXSOUND_API int32_t qorSound_LogoutSound(void* sound);

// ---- playing ----
// position: three floats, or null for the listener's place. The third argument is unused.
KXSOUND_API int32_t qorSound_PlaySound(const char* name, const void* position, int unused);
KXSOUND_API int32_t qorSound_PlaySound(void* sound, const void* position, int unused);
// stream: the caller's variable, which receives the handle (and a new one at each hand-over).
KXSOUND_API void* qorSound_QueryStream(const char* name, void** stream, uint32_t flags);
KXSOUND_API void* qorSound_QueryStream(void* sound, void** stream, uint32_t flags);
KXSOUND_API void qorSound_ReleaseStream(void* stream);
// target null clears the redirection.
KXSOUND_API int32_t qorSound_RedirectSound(const char* name, const char* target);
// path null stops the previewed file.
KXSOUND_API int32_t qorSound_PlayFile2(const char* path, int loop, QORSOUND_PREVIEW_CALLBACK callback);

// ---- stream control ----
// Every operation fails with KXSOUND_FAIL for a handle that is null or no longer alive.
KXSOUND_API int32_t qorSound_PlayStream(void* stream);
KXSOUND_API int32_t qorSound_ResumeStream(void* stream);
KXSOUND_API int32_t qorSound_StopStream(void* stream);
KXSOUND_API int32_t qorSound_PauseStream(void* stream);
KXSOUND_API int32_t qorSound_RewindStream(void* stream);
KXSOUND_API int32_t qorSound_SetStreamProgress(void* stream, int percent);
KXSOUND_API int32_t qorSound_SetStreamPosition(void* stream, const void* position);
KXSOUND_API int32_t qorSound_SetStreamVelocity(void* stream, const void* velocity);
KXSOUND_API int32_t qorSound_GetStreamPosition(void* stream, void* position);
// name: room for 63 bytes.
KXSOUND_API int32_t qorSound_GetStreamFile(void* stream, char* name);
// state: room for 10 bytes.
KXSOUND_API int32_t qorSound_GetStreamState(void* stream, char* state);
KXSOUND_API int32_t qorSound_SetStreamVolume(void* stream, int percent);
KXSOUND_API int32_t qorSound_SetStreamVolume2(void* stream, int percent);
KXSOUND_API int32_t qorSound_SetStreamFrequency(void* stream, int percent);
KXSOUND_API void qorSound_Enable3D(void* stream, int enable);
KXSOUND_API int32_t qorSound_Pause3DSounds();
KXSOUND_API int32_t qorSound_Resume3DSounds();

// ---- ambients (2D sounds with a stream of their own and a delay cycle) ----
KXSOUND_API int32_t qorSound_LoadAmbient(const char* name);
KXSOUND_API int32_t qorSound_UnloadAmbient(const char* name);
KXSOUND_API int32_t qorSound_UnloadAllAmbients();
KXSOUND_API int32_t qorSound_PauseAllAmbiemts();
KXSOUND_API int32_t qorSound_ResumeAllAmbiemts();
KXSOUND_API int32_t qorSound_PlayAmbientLooped(const char* name);
// Waits of seconds ± percent (0..90) between starts; negative seconds are refused.
KXSOUND_API int32_t qorSound_PlayAmbientDelayed(const char* name, int seconds, int percent);
KXSOUND_API int32_t qorSound_StopAmbient(const char* name);
KXSOUND_API int32_t qorSound_AmbientVolume(const char* name, int volume);

// ---- MP3 music ----
// path: relative to the root folder unless it holds a colon; ".mp3" is added when missing.
KXSOUND_API int32_t qorSound_LoadMP3(const char* path, int flag);
KXSOUND_API int32_t qorSound_UnloadMP3();
KXSOUND_API int32_t qorSound_PlayMP3();
KXSOUND_API int32_t qorSound_PauseMP3();
KXSOUND_API int32_t qorSound_StopMP3();
KXSOUND_API int32_t qorSound_RewindMP3();
// 1 once after a listed file has ended, else 0.
KXSOUND_API int qorSound_IsMP3FileFinished();
// Plays the built-in test clip.
KXSOUND_API int32_t qorSound_TestMP3();
KXSOUND_API int32_t qorSound_SetVolumeMP3(int volume);
KXSOUND_API int32_t qorSound_GetVolumeMP3(int* volume);

// ---- MP3 play lists (.m3u) ----
// A list file without any entry is refused and the old list stays.
KXSOUND_API int32_t qorSound_LoadMP3List(const char* path, int wrap);
KXSOUND_API int32_t qorSound_UnloadMP3List();
KXSOUND_API int32_t qorSound_NextMP3();
KXSOUND_API int32_t qorSound_PrevMP3();
KXSOUND_API int32_t qorSound_GoMP3Index(int index, int flag);
KXSOUND_API int32_t qorSound_RandomizeMP3List(int random);

// ---- base file ----
KXSOUND_API int32_t qorSound_LoadBase();
KXSOUND_API int32_t qorSound_SaveBase();

// ---- wave information ----
// name: 22 bytes of room.
KXSOUND_API void qorSound_WaveFormatStr(uint32_t tag, char* name);
// Format of a RIFF WAVE file and the size of its data chunk in bytes. On failure none of
// the references is written.
KXSOUND_API int32_t qorSound_GetFileInfo(const char* path, uint32_t& formatTag, int& channels, int& bits,
                                      int& samplesPerSec, int& dataBytes);

// ---- diagnostics (this system's own exports) ----
// Diagnostics: one line for every failure and every surprising success, when asked for.
// code is one of the KXSOUND_DIAG_ numbers below, stable from release to release; text is
// one sentence naming the sound, file, path and values involved. With no sink registered
// nothing is formatted and every result stays as it is.
typedef void (*KXSOUND_DIAGNOSTIC_SINK)(int code, const char* text, void* user);
KXSOUND_API void kxSound_SetDiagnosticSink(KXSOUND_DIAGNOSTIC_SINK sink, void* user);  // null: off
// What a play of the sound would do now and why, one line at a time; 0, or E_FAIL for an
// unknown sound (the lines then say so, with the nearest names).
typedef void (*KXSOUND_LINE_CALLBACK)(const char* line, void* user);
KXSOUND_API int32_t kxSound_Why(const char* name, KXSOUND_LINE_CALLBACK out, void* user);

// Codes below KXSOUND_DIAG_NOTICE come with a call that fails, or that has no result and
// does nothing. From KXSOUND_DIAG_NOTICE on, the call succeeds but does less than, or
// other than, it seems to.
#define KXSOUND_DIAG_UNKNOWN_SOUND 1        // a name that is not in the catalogue, with the nearest names
#define KXSOUND_DIAG_NO_ENABLED_FILE 2      // a sound without files, or with none enabled, cannot log in
#define KXSOUND_DIAG_FILE_NOT_FOUND 3       // a wave, MP3 or list file is missing: the full path tried
#define KXSOUND_DIAG_FORMAT_REFUSED 4       // a wave file that cannot become a buffer, and why
#define KXSOUND_DIAG_NO_FREE_STREAM 5       // every stream of the file is held and none may be taken
#define KXSOUND_DIAG_NOT_INITIALIZED 6      // a call before qorSound_Initialize succeeded or after qorSound_Finalize
#define KXSOUND_DIAG_SOUND_DISABLED 7       // a call turned away while qorSound_Enable(0) holds
#define KXSOUND_DIAG_DEAD_STREAM 8          // a stream handle that is null or no longer alive
#define KXSOUND_DIAG_ONE_SHOT_STREAM 9      // a one-shot of qorSound_PlaySound given where a held stream is wanted
#define KXSOUND_DIAG_BASE_FILE 10           // Sounds.qorSound unreadable, not a base, cut short, or not written
#define KXSOUND_DIAG_MUSIC 11               // a music call that fails: no library, no sound, no list, a refused file
#define KXSOUND_DIAG_DEVICE 12              // the sound device could not be opened
#define KXSOUND_DIAG_REFUSED 13             // any other call refused, with the reason

#define KXSOUND_DIAG_NOTICE 100
#define KXSOUND_DIAG_BEYOND_MAX_DISTANCE 100  // a 3D one-shot dropped: distance and MaxDistance
#define KXSOUND_DIAG_RELEASED_STREAM 101      // a handle of a stream back in its pool, used as if still held
#define KXSOUND_DIAG_FORWARD_SLASHES 102      // a path with '/', and what it becomes
#define KXSOUND_DIAG_ROOT_FOLDER 103          // at start-up: the root folder is missing or holds no Sounds.qorSound
#define KXSOUND_DIAG_PLAYLIST_ENTRY 104       // a play-list line left out or read otherwise than it looks
#define KXSOUND_DIAG_LEVEL_REFUSED 105        // a level outside 0..100 percent: stored, refused by the device, not heard
#define KXSOUND_DIAG_VOLUME_NEVER_SET 106     // qorSound_GetVolume(int*) before any qorSound_SetVolume(int)
#define KXSOUND_DIAG_FRAME_DELTA_ZERO 107     // the frame delta stays 0 while time passes: delayed ambients never start
#define KXSOUND_DIAG_ADJUSTED 108             // a value taken otherwise than given: clamped, renamed, cut
#define KXSOUND_DIAG_SOUND_LEFT_OUT 109       // a disabled sound of the base file left out of the catalogue
#define KXSOUND_DIAG_NOTHING_DONE 110         // a call that succeeds and does nothing: an empty list, a skipped start

#endif
