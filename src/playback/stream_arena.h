// Memory for stream objects that never hands out the same address twice while the
// process lives. A stream handle is the stream's plain address, so this is what lets a
// handle of a destroyed stream be told from every later stream: the address is used
// up, and only the memory of blocks whose streams have all died goes back.
#ifndef KXSOUND_PLAYBACK_STREAM_ARENA_H
#define KXSOUND_PLAYBACK_STREAM_ARENA_H

#include <cstddef>

// Bytes of one slot; a stream object must fit.
constexpr size_t STREAM_SLOT_SIZE = 160;

// A fresh slot, never handed out before, or null when no address space is left.
void* StreamArena_Allocate();
void StreamArena_Free(void* slot);
// True when address is a slot handed out and not yet freed. Reads nothing else.
bool StreamArena_IsLive(const void* address);

#endif
