// Starts the installed module on an empty folder and makes one sound.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <kxHost.h>
#include <kxSound.h>

int main() {
  char folder[] = "/tmp/kxconsumer-XXXXXX";
  if (!mkdtemp(folder)) return 1;
  kxHost_SetRootFolder(folder);
  kxHost_SetAudioOutput("offline");
  if (qorSound_Initialize(nullptr, 1) != KXSOUND_OK) return 1;
  char name[256] = "";
  qorSound_CreateNewSound(name);
  bool ok = qorSound_FindSound(name, nullptr) == KXSOUND_OK;
  qorSound_Finalize();
  std::printf("installed kxSound: %s\n", ok ? "works" : "BROKEN");
  return ok ? 0 : 1;
}
