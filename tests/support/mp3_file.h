// Short MP3 files made at test time from a tone, with the lame encoder.
#pragma once

#include <string>

#include "temp_dir.h"

// Encodes a mono sine of amplitude (0.5 unless told) at rate into dir/relativePath and gives the full path;
// "" when lame is not installed or fails. 64 kbit/s with no low-pass, so that a tone near the
// top of the band stays; with lame's Info tag, so that libmpg123 cuts the codec's delay and
// padding and decodes exactly the tone's samples. Folders are made as needed.
std::string MakeMp3(TempDir& dir, const std::string& relativePath, double hz, double seconds, int rate = 44100,
                    double amplitude = 0.5);
