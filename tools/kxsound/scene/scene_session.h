// What run and demo share: reading a scene script, and playing it through a started module to
// its end, with the WAV file written at the end when the scene is rendered.
#pragma once

#include <cstdint>
#include <cstdio>
#include <istream>
#include <string>
#include <vector>

#include "scene/scene_script.h"

class WavWriter;
struct CommonOptions;
struct OutputChoice;

enum class DeviceStart { Started, NoRoot, NoDevice };
// Starts the module on the "device" output. A machine without a sound card makes the audio
// libraries complain on stderr; those lines are kept off the screen, the caller says it plainly.
DeviceStart StartOnDevice(const CommonOptions& options, int toolMode);

struct ScriptLine {
  int Number;
  SceneLine Line;
};

// Reads and checks the whole script before anything plays, so that a typo on line 90 does
// not cost a minute of rendering. totalMs: the sum of its waits. False after printing each
// bad line with its number.
bool LoadScript(const std::string& path, std::vector<ScriptLine>* script, uint64_t* totalMs);
// The same for a script already open, with the messages going to messages.
bool ReadScript(std::istream& in, const std::string& source, std::FILE* messages, std::vector<ScriptLine>* script,
                uint64_t* totalMs);

// Once the module has started on the offline output: opens wav at the rate the outputs mix at,
// before anything plays, so that an unwritable file is found now and not after the render.
// On failure it says why and ends the module.
bool OpenRender(WavWriter* wav, const std::string& path);

// Plays the script on the module, which has been started on output; then ends the module and,
// with wav open, fills and writes it. The exit status: 0, 1 on any failure, 130 on Ctrl-C.
// strict: a FAILED, a failure the module reports or a play of an unknown sound is a failure too.
int PlayScene(const std::vector<ScriptLine>& script, const std::string& source, const OutputChoice& output,
              WavWriter* wav, bool trace, bool strict, uint64_t totalMs);
