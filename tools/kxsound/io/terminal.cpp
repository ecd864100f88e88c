#include "io/terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void OnInterrupt(int) { g_interrupted = 1; }

// Rows and columns of the terminal, or 0 when unknown.
void ScreenSize(std::FILE* out, int* rows, int* cols) {
  winsize size{};
  if (ioctl(fileno(out), TIOCGWINSZ, &size) == 0) {
    *rows = size.ws_row;
    *cols = size.ws_col;
  } else {
    *rows = *cols = 0;
  }
}

}  // namespace

bool IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

void CatchInterrupt() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() { return g_interrupted != 0; }

void LineReader::Poll(int timeoutMs, std::deque<std::string>* lines) {
  if (ended_) return;
  pollfd p{fd_, POLLIN, 0};
  int ready = poll(&p, 1, timeoutMs < 0 ? 0 : timeoutMs);
  if (ready <= 0 || !(p.revents & (POLLIN | POLLHUP | POLLERR))) return;
  // One read after poll said so cannot block.
  char buffer[4096];
  ssize_t got = read(fd_, buffer, sizeof buffer);
  if (got < 0) return;  // interrupted; the next poll tries again
  if (got == 0) {
    ended_ = true;
    if (!partial_.empty()) lines->push_back(std::move(partial_));
    partial_.clear();
    return;
  }
  partial_.append(buffer, static_cast<size_t>(got));
  size_t start = 0;
  for (size_t end; (end = partial_.find('\n', start)) != std::string::npos; start = end + 1)
    lines->push_back(partial_.substr(start, end - start));
  partial_.erase(0, start);
}

void OverlayBlock::Show(const std::vector<std::string>& lines) {
  int rows = 0, cols = 0;
  ScreenSize(out_, &rows, &cols);
  if (lines.empty() || rows < kHeight + 4) {
    if (!shown_) return;
    // Clear the block and give the whole screen back to scrolling; DECSTBM homes the cursor,
    // so keep it where it was.
    std::fputs("\0337", out_);
    for (int i = 1; i <= kHeight; ++i) std::fprintf(out_, "\033[%d;1H\033[2K", i);
    std::fputs("\033[r\0338", out_);
    std::fflush(out_);
    shown_ = false;
    last_.clear();
    return;
  }
  if (shown_ && lines == last_) return;
  if (!shown_) {
    // Make room first, so the block covers nothing that was on the screen.
    for (int i = 0; i < kHeight; ++i) std::fputc('\n', out_);
    std::fprintf(out_, "\0337\033[%d;%dr\0338", kHeight + 1, rows);
    shown_ = true;
  }
  last_ = lines;
  std::fputs("\0337", out_);
  for (int i = 0; i < kHeight; ++i) {
    std::string text;
    if (i == kHeight - 1) {
      text.assign(static_cast<size_t>(cols > 0 ? cols : 40), '-');
    } else if (i == kHeight - 2 && static_cast<int>(lines.size()) > kHeight - 1) {
      text = "... and " + std::to_string(lines.size() - (kHeight - 2)) + " more";
    } else if (i < static_cast<int>(lines.size())) {
      text = lines[static_cast<size_t>(i)];
    }
    if (cols > 0 && static_cast<int>(text.size()) > cols) text.resize(static_cast<size_t>(cols));
    std::fprintf(out_, "\033[%d;1H\033[2K%s", i + 1, text.c_str());
  }
  std::fputs("\0338", out_);
  std::fflush(out_);
}
