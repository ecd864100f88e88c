// The "Sound" commands of the engine's console.
#ifndef KXSOUND_CONSOLE_CONSOLE_COMMANDS_H
#define KXSOUND_CONSOLE_CONSOLE_COMMANDS_H

#include "kxSoundWin32.h"

void RegisterConsoleCommands();
LONG SoundConsoleHandler(ULONG id, int argc, char** argv);

#endif
