// Start-up, shutdown and the plain switches of the module.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "audio/device_failure.h"
#include "base/catalogue.h"
#include "ambient/ambients.h"
#include "console/console_commands.h"
#include "core/device.h"
#include "core/diagnostics.h"
#include "core/test_clip.h"
#include "music/music_state.h"
#include "core/state.h"
#include "playback/sound_buffer.h"
#include "kxEngine.h"

namespace {

constexpr char BASE_FILE_NAME[] = "Sounds.qorSound";

// The module attach: remember where this library is mapped.
__attribute__((constructor)) void AttachModule() {
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(&AttachModule), &info) && info.dli_fbase) ModuleHandle = info.dli_fbase;
  RegisterModuleResources(ModuleHandle);
}

void BuildBaseFilePath() {
  // A root too long for the path leaves it empty, so load and save fail rather
  // than reach a file of a cut name.
  int written = std::snprintf(BaseFilePath, sizeof BaseFilePath, "%s%s", RootFolder, BASE_FILE_NAME);
  if (written < 0 || written >= static_cast<int>(sizeof BaseFilePath)) BaseFilePath[0] = 0;
}

}  // namespace

LONG qorSound_Initialize(HWND window, int toolMode) {
  // A second start would leak the running device and music and cut every handle the
  // host holds: the running system stays as it is.
  if (SystemInitialized) {
    Diagnose(KXSOUND_DIAG_REFUSED, "qorSound_Initialize fails: the system runs already (qorSound_Finalize first)");
    return E_FAIL;
  }
  if (Device_Start(window) < 0) {
    const std::string why = kxaudio::DeviceFailure();
    Diagnose(KXSOUND_DIAG_DEVICE,
             "qorSound_Initialize fails: %s; every other call fails until an initialisation succeeds",
             why.empty() ? "the sound device could not be opened (no sound card or output)" : why.c_str());
    return E_FAIL;
  }
  Music_Start();
  qorFileIO_GetFolder(RootFolder, nullptr);
  RootFolder[sizeof RootFolder - 1] = 0;
  BuildBaseFilePath();
  ToolMode = toolMode;
  qorSound_LoadBase();
  if (toolMode == 0) {
    RegisterConsoleCommands();
    qorTune_CreateKey("qorSound_Update");
  }
  SystemInitialized = 1;
  return S_OK;
}

LONG qorSound_Finalize() {
  if (!GateInitialized(__func__)) return E_FAIL;
  SoundBuffer_Release(&FilePreviewBuffer);
  ForgetAmbients();
  DestroySoundList();
  Music_Stop();
  Device_Stop();
  SystemInitialized = 0;
  return S_OK;
}

void qorSound_SetNotifyCallback(QORSOUND_NOTIFY_CALLBACK callback) {
  if (GateInitialized(__func__)) NotifyCallback = callback;
}

void qorSound_Enable3DPlay(int enable) {
  if (GateInitialized(__func__)) Play3DEnabled = enable;
}

void qorSound_SetLatency(ULONG milliseconds) {
  if (GateInitialized(__func__)) SoundLatency = milliseconds;
}
