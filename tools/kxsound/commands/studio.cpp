// kxsound studio: the catalogue editor served to a browser until Ctrl-C.
#include <pthread.h>
#include <signal.h>

#include <cstdio>

#include "commands/commands.h"
#include "studio/studio_server.h"

int RunStudio(const CommonOptions& options) {
  // The server's threads inherit the mask, so Ctrl-C arrives here and nowhere else.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);

  StudioServerOptions studio;
  studio.Root = options.Root;
  studio.Port = options.Port;
  StudioServer server;
  std::string error;
  if (!server.Start(studio, &error)) {
    std::fprintf(stderr, "kxsound: the studio did not start: %s\n", error.c_str());
    return 1;
  }
  std::printf("kxSound Studio on %s\nOpen this address in a browser on this machine; Ctrl-C ends it (unsaved changes are lost).\n",
              server.Address().c_str());
  std::fflush(stdout);
  int signal = 0;
  sigwait(&stop, &signal);
  server.Stop();
  std::printf("kxsound: the studio has ended\n");
  return 0;
}
