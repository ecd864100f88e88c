// One MP3 stream decoded with libmpg123 into interleaved 16-bit stereo at the stream's own
// rate. Mono streams come out with both channels equal: OpenAL pans a mono source to the
// middle at reduced level, while music should play at its own level in both speakers.
// Exported for the benchmark that measures it against libmpg123 driven directly.
#ifndef KX_PLATFORM_GAUDIO_MP3_DECODER_H
#define KX_PLATFORM_GAUDIO_MP3_DECODER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kxSoundWin32.h"

struct mpg123_handle_struct;

namespace gaudio {

class KX_EXPORT Mp3Decoder {
public:
  // A decoder positioned at the start of the stream, once libmpg123 has found its format in
  // the first frame; null for a missing or unreadable file and for anything that is not MPEG audio.
  static std::unique_ptr<Mp3Decoder> OpenFile(const char* path);
  // Takes the bytes over: the caller's image may change or go right after.
  static std::unique_ptr<Mp3Decoder> OpenMemory(std::vector<uint8_t> image);
  ~Mp3Decoder();
  Mp3Decoder(const Mp3Decoder&) = delete;
  Mp3Decoder& operator=(const Mp3Decoder&) = delete;

  uint32_t Rate() const { return rate_; }
  // Frames of the whole stream as libmpg123 knows them without a scan (exact with a LAME
  // tag, else estimated from the size); -1 when unknown.
  int64_t LengthFrames() const;
  // Decodes up to frames stereo frames; fewer only at the end of the stream, then 0. A broken
  // stream or a change of format counts as the end.
  size_t Read(int16_t* stereo, size_t frames);
  // Back to the first sample. False when the stream cannot seek.
  bool Rewind();

private:
  struct Input;
  Mp3Decoder();
  bool Open();

  mpg123_handle_struct* handle_ = nullptr;
  std::unique_ptr<Input> input_;
  uint32_t rate_ = 0;
  bool ended_ = false;
};

}  // namespace gaudio

#endif
