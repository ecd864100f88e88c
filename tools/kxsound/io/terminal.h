// What the programs need of the terminal: input that never blocks, a clean end on Ctrl-C,
// and a block at the top of the screen for the statistics overlay.
#pragma once

#include <cstdio>
#include <deque>
#include <string>
#include <vector>

bool IsTerminal(std::FILE* stream);

// Ctrl-C (and SIGTERM) then only asks the program to end, so that it can shut the module down.
void CatchInterrupt();
bool Interrupted();

// Standard input, read as it comes: complete lines only, never waiting longer than told.
class LineReader {
public:
  explicit LineReader(int fd = 0) : fd_(fd) {}
  // Waits at most timeoutMs (0: only looks) for input, and appends the complete lines that came.
  void Poll(int timeoutMs, std::deque<std::string>* lines);
  // The end of input was seen; an unfinished last line has been delivered.
  bool Ended() const { return ended_; }

private:
  int fd_;
  std::string partial_;
  bool ended_ = false;
};

// The overlay on a terminal: the top lines of the screen, kept out of the scrolling region so
// that commands and their output scroll beneath it.
class OverlayBlock {
public:
  static constexpr int kHeight = 8;
  explicit OverlayBlock(std::FILE* out) : out_(out) {}
  ~OverlayBlock() { Show({}); }
  OverlayBlock(const OverlayBlock&) = delete;
  OverlayBlock& operator=(const OverlayBlock&) = delete;
  // No lines: gives the top of the screen back.
  void Show(const std::vector<std::string>& lines);

private:
  std::FILE* out_;
  bool shown_ = false;
  std::vector<std::string> last_;
};
