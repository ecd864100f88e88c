#include "wave/wave_check.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "dsound/dsound.h"
#include "kxEngine.h"
#include "kxSound.h"
#include "wave/format_names.h"
#include "wave/wave_reader.h"

namespace {

constexpr size_t RIFF_HEADER = 12;
constexpr uint32_t WAVE_FORMAT_EXTENSIBLE_TAG = 0xFFFE;

__attribute__((format(printf, 3, 4))) void Refuse(WaveCheck* check, int code, const char* format, ...) {
  check->Code = code;
  va_list args;
  va_start(args, format);
  std::vsnprintf(check->Why, sizeof check->Why, format, args);
  va_end(args);
}

// The rules of CreateSoundBuffer, in the order a load meets them.
void CheckFormat(WaveCheck* check, int is3D) {
  if (check->Tag != WAVE_FORMAT_PCM) {
    // Extensible is how most editors write 24-bit and multichannel files.
    const char* name = check->Tag == WAVE_FORMAT_EXTENSIBLE_TAG ? "EXTENSIBLE" : WaveFormatName(check->Tag);
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "is %s (format tag %u), not PCM", name, check->Tag);
  } else if (check->Channels != 1 && check->Channels != 2) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has %u channels; the device takes 1 or 2", check->Channels);
  } else if (check->Bits != 8 && check->Bits != 16) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has %u-bit samples; the device takes 8 or 16 bits", check->Bits);
  } else if (check->Rate < DSBFREQUENCY_MIN || check->Rate > DSBFREQUENCY_MAX) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has a rate of %u Hz; the device takes %u to 200000 Hz", check->Rate,
           DSBFREQUENCY_MIN);
  } else if (check->DataBytes == 0) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has an empty data chunk (size 0)");
  } else if (check->DataBytes > DSBSIZE_MAX) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has %u bytes of data; a device buffer holds at most %u",
           check->DataBytes, DSBSIZE_MAX);
  } else if (is3D && check->Channels != 1) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "is stereo; a 3D sound must be mono");
  }
}

}  // namespace

void CheckWaveFile(const char* path, int is3D, WaveCheck* check) {
  *check = WaveCheck();
  HANDLE file = path ? qorCreateFile(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)
                     : INVALID_HANDLE_VALUE;
  if (file == INVALID_HANDLE_VALUE) {
    Refuse(check, KXSOUND_DIAG_FILE_NOT_FOUND, "is not found");
    return;
  }
  DWORD size = qorGetFileSize(file, nullptr);
  char head[RIFF_HEADER] = {};
  DWORD done = 0;
  qorReadFile(file, head, sizeof head, &done, nullptr);
  qorCloseHandle(file);

  // The steps of WaveReader::Open, one by one, to tell which of them fails.
  WaveReader reader;
  if (WaveReader::WaveLoadFile(path, &reader.Handle, &reader.Format, &reader.RiffChunk, &reader.FileImage) < 0) {
    if (size == 0) {
      Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "is empty");
    } else if (done < RIFF_HEADER || std::memcmp(head, "RIFF", 4) != 0 || std::memcmp(head + 8, "WAVE", 4) != 0) {
      Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "is not a RIFF WAVE file");
    } else {
      Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has no readable \"fmt \" chunk");
    }
    return;
  }
  if (reader.Reset() < 0) {
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has no \"data\" chunk");
    return;
  }
  check->Opened = true;
  check->Tag = reader.Format->wFormatTag;
  check->Channels = reader.Format->nChannels;
  check->Bits = reader.Format->wBitsPerSample;
  check->Rate = reader.Format->nSamplesPerSec;
  check->DataBytes = reader.DataChunk.cksize;
  CheckFormat(check, is3D);
  if (check->Code) return;
  uint64_t end = static_cast<uint64_t>(reader.DataChunk.dwDataOffset) + reader.DataChunk.cksize;
  if (end > size) {
    uint32_t held = size > reader.DataChunk.dwDataOffset ? size - reader.DataChunk.dwDataOffset : 0;
    Refuse(check, KXSOUND_DIAG_FORMAT_REFUSED, "has a data chunk that claims %u bytes while the file holds %u after it",
           reader.DataChunk.cksize, held);
  }
}

void DescribeWaveFormat(const WaveCheck& check, char* out, size_t size) {
  if (!check.Opened) {
    out[0] = 0;
    return;
  }
  const char* layout = check.Channels == 1 ? "mono" : (check.Channels == 2 ? "stereo" : "multichannel");
  uint64_t bytesPerSecond = static_cast<uint64_t>(check.Rate) * check.Channels * check.Bits / 8;
  double seconds = bytesPerSecond ? static_cast<double>(check.DataBytes) / static_cast<double>(bytesPerSecond) : 0.0;
  std::snprintf(out, size, "%s %u-bit %s %u Hz, %.3f s", WaveFormatName(check.Tag), check.Bits, layout, check.Rate,
                seconds);
}
