#ifndef KXSOUND_BASE_FILE_LIST_H
#define KXSOUND_BASE_FILE_LIST_H

// Stored path to full path (256 bytes): a path with a colon, or one that starts with
// '/', is absolute and kept; any other is appended to RootFolder. False, with full empty,
// when the result does not fit: a cut path could name another file.
bool ResolveSoundPath(const char* stored, char* full);

#endif
