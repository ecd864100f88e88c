#include "sample_catalogue.h"

#include <kxSound.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

void Put16(std::vector<uint8_t>& out, uint32_t v) {
  out.push_back(static_cast<uint8_t>(v));
  out.push_back(static_cast<uint8_t>(v >> 8));
}
void Put32(std::vector<uint8_t>& out, uint32_t v) {
  Put16(out, v & 0xFFFF);
  Put16(out, v >> 16);
}
void PutTag(std::vector<uint8_t>& out, const char* tag) { out.insert(out.end(), tag, tag + 4); }

}  // namespace

bool WriteSampleWave(const std::string& folder) {
  // 0.3 s of 880 Hz at half scale, 16-bit mono at 22050 Hz, faded in and out so it doesn't click.
  const uint32_t rate = 22050, frames = rate * 3 / 10, fade = rate / 100;
  std::vector<uint8_t> wave;
  PutTag(wave, "RIFF");
  Put32(wave, 36 + frames * 2);
  PutTag(wave, "WAVE");
  PutTag(wave, "fmt ");
  Put32(wave, 16);
  Put16(wave, 1);  // PCM
  Put16(wave, 1);
  Put32(wave, rate);
  Put32(wave, rate * 2);
  Put16(wave, 2);
  Put16(wave, 16);
  PutTag(wave, "data");
  Put32(wave, frames * 2);
  const double pi = 3.14159265358979323846;
  for (uint32_t i = 0; i < frames; ++i) {
    double edge = std::fmin(1.0, std::fmin(i, frames - 1 - i) / static_cast<double>(fade));
    double v = 0.5 * edge * std::sin(2 * pi * 880 * i / rate);
    Put16(wave, static_cast<uint16_t>(static_cast<int16_t>(std::lround(v * 32767))));
  }
  std::FILE* f = std::fopen((folder + "beep.wav").c_str(), "wb");
  if (!f) return false;
  bool ok = std::fwrite(wave.data(), 1, wave.size(), f) == wave.size();
  return std::fclose(f) == 0 && ok;
}

bool AddSampleSound() {
  char name[256] = "";
  qorSound_CreateNewSound(name);
  if (qorSound_ChangeName(name, "Beep") != KXSOUND_OK) return false;
  char path[63] = "beep.wav";  // relative to the root folder
  if (qorSound_AddFile("Beep", path) != KXSOUND_OK) return false;
  qorSound_Set3D("Beep", 1);
  qorSound_SetDistances("Beep", 1.0f, 40.0f);
  qorSound_SetNumStreams("Beep", 4);
  return true;
}
