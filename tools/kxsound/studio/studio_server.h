// kxSound Studio's web server: the page and its JSON interface on the loopback address.
// Every request must name 127.0.0.1:PORT or localhost:PORT as its Host, so a web page that
// rebinds a name of its own to this address gets nothing; every request of the interface
// carries the per-run token in X-Studio-Token, so a page elsewhere in the browser cannot
// drive it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct StudioServerOptions {
  std::string Root;                        // the catalogue's folder; empty: the current one
  int Port = 0;                            // 0: any free port
  size_t UploadLimit = 64u * 1024 * 1024;  // bytes
};

class StudioServer {
public:
  StudioServer();
  ~StudioServer();
  StudioServer(const StudioServer&) = delete;
  StudioServer& operator=(const StudioServer&) = delete;

  // Starts the module and listens; false with the reason when either fails.
  bool Start(const StudioServerOptions& options, std::string* error);
  // Stops listening and ends the module. Unsaved changes are dropped.
  void Stop();

  int Port() const;
  const std::string& Token() const;
  std::string Address() const;  // what a person opens: http://127.0.0.1:PORT/?token=...

private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
