// Something for the example to play when it is given no catalogue of a game: one wave file and
// one 3D sound made through the module. A game has its Sounds.qorSound, made with the tool.
#ifndef KX_EXAMPLE_SAMPLE_CATALOGUE_H
#define KX_EXAMPLE_SAMPLE_CATALOGUE_H

#include <string>

// Writes beep.wav, a short tone, into folder (ending in '/'). False when it cannot.
bool WriteSampleWave(const std::string& folder);
// Adds the sound "Beep" of that file to the running module's catalogue (not saved).
bool AddSampleSound();

#endif
