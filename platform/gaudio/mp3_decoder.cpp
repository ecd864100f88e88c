#include "gaudio/mp3_decoder.h"

#include <fcntl.h>
#include <mpg123.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace gaudio {
namespace {

constexpr size_t kBytesPerFrame = 2 * sizeof(int16_t);

void InitLibrary() {
  // Needed before the first handle by libmpg123 older than 1.27, harmless after.
  static std::once_flag once;
  std::call_once(once, [] { mpg123_init(); });
}

}  // namespace

// What libmpg123 reads from: a file descriptor of ours, or a private copy of an image.
// One reader pair serves both, so the handle is set up the same way for each. A file is
// read through a buffer: libmpg123 asks for a few bytes at a time, and for one byte at a
// time while it looks for the next frame in damaged or foreign data.
struct Mp3Decoder::Input {
  static constexpr size_t kBufferBytes = 64 * 1024;

  int fd = -1;
  std::vector<uint8_t> image;
  std::unique_ptr<uint8_t[]> buffer;  // of a file: as large as the file, up to kBufferBytes
  size_t capacity = 0;
  off_t bufferStart = 0;  // file offset of the buffer's first byte
  size_t held = 0;        // bytes in the buffer
  size_t position = 0;    // where the next read starts: in the image, or in the file

  ~Input() {
    if (fd >= 0) ::close(fd);
  }

  static mpg123_ssize_t Read(void* self, void* buffer, size_t count) {
    auto* in = static_cast<Input*>(self);
    if (in->fd >= 0) return in->ReadFile(static_cast<uint8_t*>(buffer), count);
    size_t left = in->image.size() - in->position;
    if (count > left) count = left;
    std::memcpy(buffer, in->image.data() + in->position, count);
    in->position += count;
    return static_cast<mpg123_ssize_t>(count);
  }

  mpg123_ssize_t ReadFile(uint8_t* out, size_t count) {
    size_t done = 0;
    while (done < count) {
      const off_t at = static_cast<off_t>(position);
      if (at < bufferStart || at >= bufferStart + static_cast<off_t>(held)) {
        if (!buffer) {
          struct stat st;
          capacity = ::fstat(fd, &st) == 0 && st.st_size > 0 && st.st_size < off_t{kBufferBytes}
                         ? static_cast<size_t>(st.st_size)
                         : kBufferBytes;
          buffer.reset(new uint8_t[capacity]);
        }
        ssize_t got;
        do {
          got = ::pread(fd, buffer.get(), capacity, at);
        } while (got < 0 && errno == EINTR);
        if (got < 0) return done ? static_cast<mpg123_ssize_t>(done) : -1;
        bufferStart = at;
        held = static_cast<size_t>(got);
        if (got == 0) break;  // the end of the file
      }
      const size_t offset = static_cast<size_t>(at - bufferStart);
      const size_t step = std::min(count - done, held - offset);
      std::memcpy(out + done, buffer.get() + offset, step);
      done += step;
      position += step;
    }
    return static_cast<mpg123_ssize_t>(done);
  }

  static off_t Seek(void* self, off_t offset, int whence) {
    auto* in = static_cast<Input*>(self);
    off_t size = static_cast<off_t>(in->image.size());
    if (in->fd >= 0 && whence == SEEK_END) {
      struct stat st;
      if (::fstat(in->fd, &st) != 0) return -1;
      size = st.st_size;
    }
    off_t base = whence == SEEK_SET   ? 0
                 : whence == SEEK_CUR ? static_cast<off_t>(in->position)
                 : whence == SEEK_END ? size
                                      : -1;
    if (base < 0) return -1;
    off_t target = base + offset;
    // A file may be sought past its end, as lseek allows; an image may not.
    if (target < 0 || (in->fd < 0 && target > size)) return -1;
    in->position = static_cast<size_t>(target);
    return target;
  }
};

Mp3Decoder::Mp3Decoder() : input_(new Input) {}

Mp3Decoder::~Mp3Decoder() {
  if (handle_) {
    mpg123_close(handle_);
    mpg123_delete(handle_);
  }
}

std::unique_ptr<Mp3Decoder> Mp3Decoder::OpenFile(const char* path) {
  if (!path) return nullptr;
  std::unique_ptr<Mp3Decoder> decoder(new Mp3Decoder);
  decoder->input_->fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (decoder->input_->fd < 0 || !decoder->Open()) return nullptr;
  return decoder;
}

std::unique_ptr<Mp3Decoder> Mp3Decoder::OpenMemory(std::vector<uint8_t> image) {
  if (image.empty()) return nullptr;
  std::unique_ptr<Mp3Decoder> decoder(new Mp3Decoder);
  decoder->input_->image = std::move(image);
  if (!decoder->Open()) return nullptr;
  return decoder;
}

bool Mp3Decoder::Open() {
  InitLibrary();
  int error = MPG123_OK;
  handle_ = mpg123_new(nullptr, &error);
  if (!handle_) return false;
  // Quiet: a library prints nothing of its own. Gapless: a LAME tag's encoder delay and
  // padding are cut, so a file plays exactly the samples that were encoded.
  mpg123_param(handle_, MPG123_ADD_FLAGS, MPG123_QUIET | MPG123_GAPLESS | MPG123_FORCE_STEREO, 0);
  // One output layout whatever the stream: 16-bit stereo, at any rate MPEG audio has.
  mpg123_format_none(handle_);
  const long* rates = nullptr;
  size_t count = 0;
  mpg123_rates(&rates, &count);
  for (size_t i = 0; i < count; ++i) mpg123_format(handle_, rates[i], MPG123_STEREO, MPG123_ENC_SIGNED_16);
  if (mpg123_replace_reader_handle(handle_, &Input::Read, &Input::Seek, nullptr) != MPG123_OK) return false;
  if (mpg123_open_handle(handle_, input_.get()) != MPG123_OK) return false;
  long rate = 0;
  int channels = 0, encoding = 0;
  // Reads up to the first frame: a file with no MPEG audio fails here.
  if (mpg123_getformat(handle_, &rate, &channels, &encoding) != MPG123_OK) return false;
  if (rate <= 0 || channels != MPG123_STEREO || encoding != MPG123_ENC_SIGNED_16) return false;
  rate_ = static_cast<uint32_t>(rate);
  return true;
}

int64_t Mp3Decoder::LengthFrames() const {
  off_t length = mpg123_length(handle_);
  return length < 0 ? -1 : static_cast<int64_t>(length);
}

size_t Mp3Decoder::Read(int16_t* stereo, size_t frames) {
  auto* out = reinterpret_cast<unsigned char*>(stereo);
  const size_t want = frames * kBytesPerFrame;
  size_t have = 0;
  while (!ended_ && have < want) {
    size_t got = 0;
    int result = mpg123_read(handle_, out + have, want - have, &got);
    have += got;
    if (result == MPG123_OK) continue;
    if (result == MPG123_NEW_FORMAT) {
      long rate = 0;
      int channels = 0, encoding = 0;
      mpg123_getformat(handle_, &rate, &channels, &encoding);
      // The source plays one rate: a stream that changes it mid-way ends there.
      if (rate == static_cast<long>(rate_)) continue;
    }
    ended_ = true;  // MPG123_DONE, or an error libmpg123 could not skip past
  }
  return have / kBytesPerFrame;
}

bool Mp3Decoder::Rewind() {
  if (mpg123_seek(handle_, 0, SEEK_SET) < 0) return false;
  ended_ = false;
  return true;
}

}  // namespace gaudio
