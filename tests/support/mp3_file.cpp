#include "mp3_file.h"

#include <cstdio>
#include <cstdlib>

#include "wave_file.h"

namespace {

bool HaveLame() {
  static const bool have = std::system("command -v lame >/dev/null 2>&1") == 0;
  return have;
}

}  // namespace

std::string MakeMp3(TempDir& dir, const std::string& relativePath, double hz, double seconds, int rate,
                    double amplitude) {
  if (!HaveLame()) return "";
  WaveShape source;
  source.Channels = 1;
  source.SampleRate = static_cast<uint32_t>(rate);
  source.Data = Tone(hz, seconds, rate, 1, 16, amplitude);
  const std::string wave = WriteWave(dir, relativePath + ".source.wav", source);
  const std::string mp3 = dir.file(relativePath);
  const std::string command = "lame --quiet -b 64 -m m --lowpass -1 '" + wave + "' '" + mp3 + "'";
  const bool made = std::system(command.c_str()) == 0;
  std::remove(wave.c_str());
  return made ? mp3 : "";
}
