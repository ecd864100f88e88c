// The trace of stream events (--trace): each event by name, each stream by number, sound and
// file, so that a trace reads on its own and two runs compare line by line.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

class StreamTrace {
public:
  // The sound the running line names (hold SOUND, PlaySound SOUND, ...); empty between lines.
  // A stream acquired meanwhile belongs to it when that sound has the stream's file.
  void SetContext(const std::string& sound) { context_ = sound; }
  // One line on standard output for an event of the module at scene time ms.
  void Event(uint64_t ms, int event, void* stream, void* second);

private:
  struct Known {
    int Id = 0;
    std::string Sound, File;
  };
  // live: the stream is in use, so the module may be asked about it. acquired: it may have
  // changed hands since it was last seen.
  const Known& Learn(void* stream, bool live, bool acquired, const std::string& soundHint);
  std::string SoundOfFile(const std::string& stem, std::string* path) const;

  std::unordered_map<void*, Known> streams_;
  int nextId_ = 1;
  std::string context_;
};
