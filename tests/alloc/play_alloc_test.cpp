// Playing sounds that are logged in must touch neither the heap nor the disk: a game plays
// them mid-frame. This program replaces the allocation functions, so it runs on its own.
#include <dlfcn.h>
#include <execinfo.h>

#include <cerrno>
#include <filesystem>

#include "kxEngine.h"
#include "listen.h"
#include "module_fixture.h"
#include "playback/sound_stream.h"

#if defined(__SANITIZE_ADDRESS__)
#define KX_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_ASAN 1
#endif
#endif

namespace {

// Only the calling thread counts: what the module does runs there.
thread_local bool t_watching = false;
int g_ours = 0;    // allocations made outside OpenAL Soft
int g_openal = 0;  // allocations made inside it
int g_fileOpens = 0;

bool FromOpenAL() {
  static Dl_info openal = {};
  if (!openal.dli_fbase) dladdr(dlsym(RTLD_DEFAULT, "alSourcePlay"), &openal);
  void* frames[16];
  Dl_info info;
  for (int i = 0, n = backtrace(frames, 16); i < n; ++i) {
    if (dladdr(frames[i], &info) && info.dli_fbase == openal.dli_fbase) return true;
  }
  return false;
}

void Note() {
  if (!t_watching) return;
  t_watching = false;
  ++(FromOpenAL() ? g_openal : g_ours);
  t_watching = true;
}

}  // namespace

// The module reaches the disk only through the engine's file layer.
extern "C" HANDLE qorCreateFile(const char* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                DWORD creation, DWORD flags, HANDLE templateFile) {
  using Fn = decltype(&qorCreateFile);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "qorCreateFile"));
  if (t_watching) ++g_fileOpens;
  return real(path, access, share, security, creation, flags, templateFile);
}

#ifdef KX_ASAN
// AddressSanitizer owns malloc; it reports every allocation, operator new included, to a hook.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, size_t),
                                                         void (*)(const volatile void*));
static void OnMalloc(const volatile void*, size_t) { Note(); }
static void OnFree(const volatile void*) {}
static const int g_hooked = __sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree);
#else
// Default visibility: the libraries, OpenAL Soft among them, must reach these too. libstdc++'s
// operator new, in all its forms, calls these, so new is counted as well.
#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

void* malloc(size_t n) {
  Note();
  return __libc_malloc(n);
}
void* calloc(size_t n, size_t size) {
  Note();
  return __libc_calloc(n, size);
}
void* realloc(void* p, size_t n) {
  Note();
  return __libc_realloc(p, n);
}
void* memalign(size_t align, size_t n) {
  Note();
  return __libc_memalign(align, n);
}
void* aligned_alloc(size_t align, size_t n) { return memalign(align, n); }
int posix_memalign(void** out, size_t align, size_t n) {
  *out = memalign(align, n);
  return *out ? 0 : ENOMEM;
}
}
#pragma GCC visibility pop
#endif

namespace {

struct Watch {
  Watch() {
    g_ours = g_openal = g_fileOpens = 0;
    t_watching = true;
  }
  ~Watch() { t_watching = false; }
};

class PlayPath : public ModuleTest {
protected:
  void SetUp() override {
    ModuleTest::SetUp();
    if (HasFatalFailure()) return;
    void* frame;
    backtrace(&frame, 1);  // its first call loads the unwinder, which allocates
    AddSound("shot", 0, 2);
    AddSound("step", 1, 3);
    // Whatever a play might still want from the disk is gone.
    std::filesystem::remove_all(root.file("sounds"));
    ASSERT_EQ(qorSound_FindSound("shot", &shot), S_OK);
    ASSERT_EQ(qorSound_FindSound("step", &step), S_OK);
  }
  void AddSound(const char* name, int is3D, int streams) {
    ToneSound(name, {440}, 0.2);
    qorSound_Set3D(name, is3D);
    qorSound_SetNumStreams(name, streams);
    ASSERT_EQ(qorSound_LoginSound(name), S_OK);
  }
  // Plays by name and handle, 2D and 3D, a held stream, and frames; then, once the one-shots
  // have ended, the frame that frees them. The watch stops while OpenAL Soft renders:
  // its mixer is not the module.
  void Round(bool openalWarm) {
    const float where[3] = {3, 0, 4};
    void* held = nullptr;
    LONG r[9];
    {
      Watch watch;
      r[0] = qorSound_PlaySound("shot", nullptr, 0);
      r[1] = qorSound_PlaySound(shot, nullptr, 0);
      r[2] = qorSound_PlaySound("step", where, 0);
      r[3] = qorSound_PlaySound(step, where, 0);
      qorSound_QueryStream(step, &held, 0);
      r[4] = qorSound_PlayStream(held);
      r[5] = qorSound_SetStreamVolume(held, 50);
      qorSound_Update();
      qorSound_Update();
    }
    Check(openalWarm);
    ASSERT_NE(held, nullptr);
    EXPECT_GT(Listen(300).Rms(), 0.05);
    {
      Watch watch;
      qorSound_Update();
      r[6] = qorSound_PlaySound(shot, nullptr, 0);
      r[7] = qorSound_StopStream(held);
      qorSound_ReleaseStream(held);
      r[8] = qorSound_PlaySound("shot", nullptr, 0);
      qorSound_Update();
    }
    Check(openalWarm);
    for (LONG result : r) EXPECT_EQ(result, S_OK);
    // The frame freed the four ended one-shots: only the two newest are in use.
    int singles = 0, others = 0;
    for (SoundStream* s = ActiveStreamsHead; s; s = s->ActiveNext) ++(s->State == STREAM_SINGLE ? singles : others);
    EXPECT_EQ(singles, 2);
    EXPECT_EQ(others, 0);
    // A quiet, free pool for the next round.
    Listen(300);
    qorSound_Update();
  }
  static void Check(bool openalWarm) {
    EXPECT_EQ(g_ours, 0);
    EXPECT_EQ(g_fileOpens, 0);
    // OpenAL Soft 1.19 takes a property block from the heap when a playing source changes
    // and its free list is empty; its mixer hands the blocks back to that list, so once
    // it has rendered a round like this one it takes none.
    if (openalWarm) {
      EXPECT_EQ(g_openal, 0);
    }
  }

  void *shot = nullptr, *step = nullptr;
};

// A host that listens to the diagnostics changes nothing of that, even when a play is
// dropped and told: the sentence is made on the stack.
int g_diagnostics = 0;
void CountDiagnostic(int, const char*, void*) { ++g_diagnostics; }

TEST_F(PlayPath, PlaysOfLoggedInSoundsAllocateNothingAndReadNoFileNorWhenTold) {
  Round(false);
  kxSound_SetDiagnosticSink(CountDiagnostic, nullptr);
  Round(true);
  EXPECT_EQ(g_diagnostics, 0) << "plays that go well are not told";
  const float far[3] = {3000, 0, 4000};
  LONG result;
  {
    Watch watch;
    result = qorSound_PlaySound(step, far, 0);
  }
  kxSound_SetDiagnosticSink(nullptr, nullptr);
  EXPECT_EQ(result, S_OK);
  EXPECT_EQ(g_diagnostics, 1);
  Check(true);
}

}  // namespace
