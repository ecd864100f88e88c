#include "console/console_commands.h"

#include <cstdlib>

#include "core/percent.h"
#include "core/device.h"
#include "core/diagnostics.h"
#include "core/state.h"
#include "kxEngine.h"
#include "kxSound.h"

namespace {

enum CommandId : ULONG {
  CMD_ENABLE = 5000,
  CMD_SHOW_STATISTIC = 5001,
  CMD_SET_VOLUME = 5002,
  CMD_SET_VOLUME_MP3 = 5003,
  CMD_ROLLOFF_FACTOR = 6000,
  CMD_DISTANCE_FACTOR = 6002,
  CMD_DOPPLER_FACTOR = 6003,
  CMD_VOLUME_FACTOR = 6004,
  CMD_FREQUENCY_FACTOR = 6005,
  CMD_SOUND_VOLUME = 7000,
  CMD_SOUND_FREQUENCY = 7001,
  CMD_SOUND_MIN_DISTANCE = 7002,
  CMD_SOUND_MAX_DISTANCE = 7003,
  CMD_PLAY_SOUND = 7004,
  CMD_REDIRECT_SOUND = 7005,
  CMD_LOAD_AMBIENT = 8000,
  CMD_UNLOAD_AMBIENT = 8001,
  CMD_PLAY_AMBIENT_LOOPED = 8002,
  CMD_PLAY_AMBIENT_DELAYED = 8003,
  CMD_STOP_AMBIENT = 8004,
  CMD_AMBIENT_VOLUME = 8005,
  CMD_TEST_MP3 = 9000,
  CMD_LOAD_MP3 = 9001,
  CMD_UNLOAD_MP3 = 9002,
  CMD_PLAY_MP3 = 9003,
  CMD_STOP_MP3 = 9004,
  CMD_REWIND_MP3 = 9005,
  CMD_LOAD_MP3_LIST = 9006,
  CMD_UNLOAD_MP3_LIST = 9007,
  CMD_NEXT_MP3 = 9008,
  CMD_PREV_MP3 = 9009,
  CMD_GO_MP3_INDEX = 9010,
  CMD_UPDATE_DELAY = 10000,
};

struct CommandSpec {
  const char* Name;
  ULONG Id;
  int Parameters;
  int Optional;
};

// In the order of registration.
constexpr CommandSpec COMMANDS[] = {
    {"Enable", CMD_ENABLE, 1, 0},
    {"ShowStatistic", CMD_SHOW_STATISTIC, 1, 0},
    {"SetVolume", CMD_SET_VOLUME, 1, 0},
    {"SetVolumeMP3", CMD_SET_VOLUME_MP3, 1, 0},
    {"RolloffFactor", CMD_ROLLOFF_FACTOR, 1, 0},
    {"DistanceFactor", CMD_DISTANCE_FACTOR, 1, 0},
    {"DopplerFactor", CMD_DOPPLER_FACTOR, 1, 0},
    {"VolumeFactor", CMD_VOLUME_FACTOR, 1, 0},
    {"FrequencyFactor", CMD_FREQUENCY_FACTOR, 1, 0},
    {"SoundVolume", CMD_SOUND_VOLUME, 2, 1},
    {"SoundFrequency", CMD_SOUND_FREQUENCY, 2, 1},
    {"SoundMinDistance", CMD_SOUND_MIN_DISTANCE, 2, 1},
    {"SoundMaxDistance", CMD_SOUND_MAX_DISTANCE, 2, 1},
    {"PlaySound", CMD_PLAY_SOUND, 4, 3},
    {"RedirectSound", CMD_REDIRECT_SOUND, 2, 1},
    {"LoadAmbient", CMD_LOAD_AMBIENT, 1, 0},
    {"UnloadAmbient", CMD_UNLOAD_AMBIENT, 1, 0},
    {"PlayAmbientLooped", CMD_PLAY_AMBIENT_LOOPED, 1, 0},
    {"PlayAmbientDelayed", CMD_PLAY_AMBIENT_DELAYED, 3, 1},
    {"StopAmbient", CMD_STOP_AMBIENT, 1, 0},
    {"AmbientVolume", CMD_AMBIENT_VOLUME, 2, 0},
    {"TestMP3", CMD_TEST_MP3, 0, 0},
    {"LoadMP3", CMD_LOAD_MP3, 2, 0},
    {"UnloadMP3", CMD_UNLOAD_MP3, 0, 0},
    {"PlayMP3", CMD_PLAY_MP3, 0, 0},
    {"StopMP3", CMD_STOP_MP3, 0, 0},
    {"RewindMP3", CMD_REWIND_MP3, 0, 0},
    {"LoadMP3List", CMD_LOAD_MP3_LIST, 1, 0},
    {"UnloadMP3List", CMD_UNLOAD_MP3_LIST, 0, 0},
    {"NextMP3", CMD_NEXT_MP3, 0, 0},
    {"PrevMP3", CMD_PREV_MP3, 0, 0},
    {"GoPM3Index", CMD_GO_MP3_INDEX, 1, 0},
    {"UpdateDelay", CMD_UPDATE_DELAY, 1, 1},
};
static_assert(sizeof COMMANDS / sizeof COMMANDS[0] == 33, "thirty-three commands");

void PrintResult(LONG result) { qorConsole_Print(result >= 0 ? "OK!" : "FAILED"); }

void PrintInvalidIfRefused(LONG result) {
  if (result < 0) qorConsole_Print("\n\tInvalid value");
}

float Float(const char* text) { return static_cast<float>(std::atof(text)); }

// The four commands on one sound's parameters; false when the sound is unknown.
bool SoundKnown(const char* name) {
  if (qorSound_FindSound(name, nullptr) >= 0) return true;
  qorConsole_Print("Sound not found");
  return false;
}

void SoundLevel(int argc, char** argv, int (*get)(const char*), void (*set)(const char*, int), const char* current,
                const char* changed) {
  if (!SoundKnown(argv[0])) return;
  int old = get(argv[0]);
  if (argc < 2) {
    qorConsole_Print(current, old);
    return;
  }
  set(argv[0], std::atoi(argv[1]));
  qorConsole_Print(changed, old, get(argv[0]));
}

void SoundDistance(int argc, char** argv, bool minimum) {
  if (!SoundKnown(argv[0])) return;
  float low = 0, high = 0;
  qorSound_GetDistances(argv[0], &low, &high);
  float old = minimum ? low : high;
  if (argc < 2) {
    qorConsole_Print(minimum ? "\tCurrent min distance: %.2f" : "\tCurrent max distance: %.2f", static_cast<double>(old));
    return;
  }
  qorSound_SetDistances(argv[0], minimum ? Float(argv[1]) : low, minimum ? high : Float(argv[1]));
  qorSound_GetDistances(argv[0], &low, &high);
  qorConsole_Print(minimum ? "\tOld min distance: %.2f\n\tNew min distance: %.2f"
                           : "\tOld max distance: %.2f\n\tNew max distance: %.2f",
                   static_cast<double>(old), static_cast<double>(minimum ? low : high));
}

int GetVolumeOf(const char* name) { return qorSound_GetVolume(name); }
void SetVolumeOf(const char* name, int volume) { qorSound_SetVolume(name, volume); }

}  // namespace

void RegisterConsoleCommands() {
  for (const CommandSpec& command : COMMANDS) {
    qorConsole_RegisterCommand("Sound", command.Name, command.Parameters, SoundConsoleHandler, command.Id,
                               command.Optional, 0);
  }
}

LONG SoundConsoleHandler(ULONG id, int argc, char** argv) {
  switch (id) {
    case CMD_ENABLE: qorSound_Enable(std::atoi(argv[0])); break;
    case CMD_SHOW_STATISTIC: ShowStatistic = std::atoi(argv[0]); break;
    case CMD_SET_VOLUME: qorSound_SetVolume(std::atoi(argv[0])); break;
    case CMD_SET_VOLUME_MP3: qorSound_SetVolumeMP3(std::atoi(argv[0])); break;
    case CMD_ROLLOFF_FACTOR: PrintInvalidIfRefused(Device_SetRolloffFactor(Float(argv[0]))); break;
    case CMD_DISTANCE_FACTOR: PrintInvalidIfRefused(Device_SetDistanceFactor(Float(argv[0]))); break;
    case CMD_DOPPLER_FACTOR: PrintInvalidIfRefused(Device_SetDopplerFactor(Float(argv[0]))); break;
    case CMD_VOLUME_FACTOR:  // registered, but the master volume is "SetVolume"
      Diagnose(KXSOUND_DIAG_REFUSED, "the console command VolumeFactor does nothing: the master volume is SetVolume");
      break;
    case CMD_FREQUENCY_FACTOR:
      // The percentage stays a double until the product is made a float.
      qorSound_SetFrequencyFactor(static_cast<float>(PercentScale(std::atof(argv[0]))));
      break;
    case CMD_SOUND_VOLUME:
      SoundLevel(argc, argv, GetVolumeOf, SetVolumeOf, "\tCurrent volume: %d", "\tOld volume: %d\n\tNew volume: %d");
      break;
    case CMD_SOUND_FREQUENCY:
      SoundLevel(argc, argv, qorSound_GetFrequency, qorSound_SetFrequency, "\tCurrent frequency: %d",
                 "\tOld frequency: %d\n\tNew frequency: %d");
      break;
    case CMD_SOUND_MIN_DISTANCE: SoundDistance(argc, argv, true); break;
    case CMD_SOUND_MAX_DISTANCE: SoundDistance(argc, argv, false); break;
    case CMD_PLAY_SOUND:
      if (argc == 4) {
        const float position[3] = {Float(argv[1]), Float(argv[2]), Float(argv[3])};
        qorSound_PlaySound(argv[0], position, -1);
      } else {
        qorSound_PlaySound(argv[0], nullptr, -1);
      }
      break;
    case CMD_REDIRECT_SOUND:
      qorConsole_Print(qorSound_RedirectSound(argv[0], argc > 1 ? argv[1] : nullptr) >= 0
                           ? "Sound redirection OK"
                           : "Sound redirection FAILED");
      break;
    case CMD_LOAD_AMBIENT: PrintResult(qorSound_LoadAmbient(argv[0])); break;
    case CMD_UNLOAD_AMBIENT: PrintResult(qorSound_UnloadAmbient(argv[0])); break;
    case CMD_PLAY_AMBIENT_LOOPED: PrintResult(qorSound_PlayAmbientLooped(argv[0])); break;
    case CMD_PLAY_AMBIENT_DELAYED:
      PrintResult(qorSound_PlayAmbientDelayed(argv[0], std::atoi(argv[1]), argc > 2 ? std::atoi(argv[2]) : 0));
      break;
    case CMD_STOP_AMBIENT: PrintResult(qorSound_StopAmbient(argv[0])); break;
    case CMD_AMBIENT_VOLUME: PrintResult(qorSound_AmbientVolume(argv[0], std::atoi(argv[1]))); break;
    case CMD_TEST_MP3: PrintResult(qorSound_TestMP3()); break;
    case CMD_LOAD_MP3: PrintResult(qorSound_LoadMP3(argv[0], std::atoi(argv[1]))); break;
    case CMD_UNLOAD_MP3: PrintResult(qorSound_UnloadMP3()); break;
    case CMD_PLAY_MP3: PrintResult(qorSound_PlayMP3()); break;
    case CMD_STOP_MP3: PrintResult(qorSound_StopMP3()); break;
    case CMD_REWIND_MP3: PrintResult(qorSound_RewindMP3()); break;
    case CMD_LOAD_MP3_LIST: PrintResult(qorSound_LoadMP3List(argv[0], 1)); break;
    case CMD_UNLOAD_MP3_LIST: PrintResult(qorSound_UnloadMP3List()); break;
    case CMD_NEXT_MP3: PrintResult(qorSound_NextMP3()); break;
    case CMD_PREV_MP3: PrintResult(qorSound_PrevMP3()); break;
    case CMD_GO_MP3_INDEX: PrintResult(qorSound_GoMP3Index(std::atoi(argv[0]), 0)); break;
    case CMD_UPDATE_DELAY:
      if (argc > 0) UpdateDelay = static_cast<uint32_t>(std::atol(argv[0]));
      qorConsole_Print("Update delay = %ld msec", static_cast<long>(UpdateDelay));
      break;
    default: break;
  }
  return 0;
}
