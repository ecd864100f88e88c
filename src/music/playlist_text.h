// The text of a play list, cut into entries.
#ifndef KXSOUND_MUSIC_PLAYLIST_TEXT_H
#define KXSOUND_MUSIC_PLAYLIST_TEXT_H

class NamedNode;

// text: zero-terminated, with or without a UTF-8 byte-order mark in front. Lines end at
// any run of CR and LF; a line that starts with '#' is a comment. Each entry is the
// folder of listPath (up to its first backslash, or else its first slash) followed by
// the line; a line that starts with '/' is absolute and stands alone. An entry that
// does not fit a name is left out: cut, it would name another file. Gives the chain,
// or null for none.
NamedNode* ParsePlaylist(const char* text, const char* listPath);

#endif
