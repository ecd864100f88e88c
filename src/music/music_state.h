// The music player and the play list: what the rest of the module calls of them.
#ifndef KXSOUND_MUSIC_MUSIC_STATE_H
#define KXSOUND_MUSIC_MUSIC_STATE_H

#include "core/state.h"
#include "kxSoundWin32.h"

// Full path of a music file (256 bytes): absolute when it holds a colon or starts with
// '/', else under RootFolder; lower case; extension appended unless it occurs in the text. A path
// that does not fit comes out empty, so that nothing opens.
char* MakeMusicPath(const char* path, char* out, const char* extension);

// qorSound_LoadMP3 without the word on forward slashes: the play list's own loads.
LONG LoadMusicFile(const char* path, int flag);
// qorSound_UnloadMP3 and qorSound_StopMP3 for the module's own use, where failing is no news.
LONG UnloadMusic();
LONG StopMusic();

// A music path with '/' is taken as it stands: tells the sink what it becomes.
void DiagnoseMusicSlashes(const char* path, const char* full, const char* operation);
// A file of that full path did not open for its reader: FILE_NOT_FOUND when it is missing,
// else KXSOUND_DIAG_MUSIC with refusal.
void DiagnoseMissingFile(const char* kind, const char* full, const char* refusal);

// The music steps of start-up and shutdown.
void Music_Start();
void Music_Stop();

#endif
