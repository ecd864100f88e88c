#ifndef KXSOUND_PLAYBACK_PLAYING_H
#define KXSOUND_PLAYBACK_PLAYING_H

class SoundStream;

// Starts a stream's buffer with a command, taking the level to 0 and back to the
// stream's own level both before and after it.
void StartAtLevel(SoundStream* stream, int command);

#endif
