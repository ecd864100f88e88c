#include "audio/device_failure.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace kxaudio {
namespace {

// alsa-lib's thread-local error hook (1.1.6 and later): while set, its default handler calls it
// instead of printing. Looked up at run time, so the platform neither links alsa-lib nor needs
// its headers, and a machine without it simply has nothing to silence.
using AlsaLocalHandler = void (*)(const char* file, int line, const char* function, int error, const char* format,
                                  va_list args);
using AlsaSetLocal = AlsaLocalHandler (*)(AlsaLocalHandler handler);

AlsaSetLocal FindAlsaSetLocal() {
  static const AlsaSetLocal setLocal = []() -> AlsaSetLocal {
    // OpenAL Soft either links alsa-lib or loads it for its backend; either way it is this one.
    void* lib = dlopen("libasound.so.2", RTLD_LAZY | RTLD_NOLOAD);
    if (!lib) lib = dlopen("libasound.so.2", RTLD_LAZY | RTLD_LOCAL);
    if (!lib) return nullptr;
    // Kept open for the life of the process: the handler must outlive every open.
    return reinterpret_cast<AlsaSetLocal>(dlsym(lib, "snd_lib_error_set_local"));
  }();
  return setLocal;
}

thread_local std::string* t_first = nullptr;

void KeepAlsaMessage(const char*, int, const char*, int, const char* format, va_list args) {
  if (!t_first || !t_first->empty() || !format) return;
  char text[256];
  std::vsnprintf(text, sizeof text, format, args);
  *t_first = text;
}

std::mutex g_lock;
std::string g_failure;
DeviceFailureReporter g_reporter = nullptr;
void* g_reporterUser = nullptr;
bool g_printed = false;

}  // namespace

void QuietOpenAL() {
  static std::once_flag once;
  std::call_once(once, [] { setenv("ALSOFT_LOGLEVEL", "0", 0); });
}

AlsaMessages::AlsaMessages() : outer_(t_first) {
  t_first = &first_;
  if (AlsaSetLocal setLocal = FindAlsaSetLocal())
    previous_ = reinterpret_cast<void (*)()>(setLocal(&KeepAlsaMessage));
}

AlsaMessages::~AlsaMessages() {
  if (AlsaSetLocal setLocal = FindAlsaSetLocal()) setLocal(reinterpret_cast<AlsaLocalHandler>(previous_));
  t_first = outer_;
}

std::string DeviceFailure() {
  std::lock_guard<std::mutex> hold(g_lock);
  return g_failure;
}

void SetDeviceFailureReporter(DeviceFailureReporter reporter, void* user) {
  std::lock_guard<std::mutex> hold(g_lock);
  g_reporter = reporter;
  g_reporterUser = user;
}

void ReportDeviceFailure(const char* what, const std::string& detail) {
  std::string text = std::string("no sound card: ") + what;
  if (!detail.empty()) text += " (ALSA: " + detail + ")";
  text += "; choose the \"null\" or \"offline\" output with kxHost_SetAudioOutput to run without one";
  DeviceFailureReporter reporter;
  void* user;
  bool print;
  {
    std::lock_guard<std::mutex> hold(g_lock);
    g_failure = text;
    reporter = g_reporter;
    user = g_reporterUser;
    print = !reporter && !g_printed;
    if (print) g_printed = true;
  }
  if (reporter) {
    reporter(text.c_str(), user);
  } else if (print) {
    std::fprintf(stderr, "kxSound: %s\n", text.c_str());
  }
}

void ClearDeviceFailure() {
  std::lock_guard<std::mutex> hold(g_lock);
  g_failure.clear();
}

}  // namespace kxaudio
