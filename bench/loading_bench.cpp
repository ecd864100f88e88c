// Loading is the slow path: a 10 MB wave file into a device buffer, against reading
// the same file and copying its bytes once.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "kxHost.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "playback/sound_buffer.h"
#include "ratio_reporter.h"

namespace {

std::string Root, WavePath;
constexpr uint32_t DATA_BYTES = 10 * 1024 * 1024;

void Put32(std::vector<uint8_t>& b, uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void Put16(std::vector<uint8_t>& b, uint16_t v) {
  b.push_back(static_cast<uint8_t>(v));
  b.push_back(static_cast<uint8_t>(v >> 8));
}

void Setup() {
  Root = (std::filesystem::temp_directory_path() / "kxbench-loading/").string();
  std::filesystem::create_directories(Root);
  WavePath = Root + "big.wav";
  std::vector<uint8_t> file;
  file.insert(file.end(), {'R', 'I', 'F', 'F'});
  Put32(file, 36 + DATA_BYTES);
  file.insert(file.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
  Put32(file, 16);
  Put16(file, 1);
  Put16(file, 2);
  Put32(file, 44100);
  Put32(file, 176400);
  Put16(file, 4);
  Put16(file, 16);
  file.insert(file.end(), {'d', 'a', 't', 'a'});
  Put32(file, DATA_BYTES);
  size_t start = file.size();
  file.resize(start + DATA_BYTES);
  for (uint32_t i = 0; i < DATA_BYTES; ++i) file[start + i] = static_cast<uint8_t>(i * 2654435761u >> 24);
  FILE* f = std::fopen(WavePath.c_str(), "wb");
  if (!f || std::fwrite(file.data(), 1, file.size(), f) != file.size()) std::abort();
  std::fclose(f);

  kxHost_SetRootFolder(Root.c_str());
  kxHost_SetAudioOutput("offline");
  if (qorSound_Initialize(nullptr, 1) != S_OK) std::abort();
}

void BM_LoadWaveIntoDeviceBuffer(benchmark::State& state) {
  for (auto _ : state) {
    SoundBuffer* buffer = SoundBuffer_LoadFile(WavePath.c_str(), 0);
    if (!buffer) state.SkipWithError("load failed");
    SoundBuffer_Release(&buffer);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(DATA_BYTES));
}

void BM_ReadFileAndCopyOnce(benchmark::State& state) {
  for (auto _ : state) {
    int fd = open(WavePath.c_str(), O_RDONLY);
    off_t size = lseek(fd, 0, SEEK_END);
    lseek(fd, 0, SEEK_SET);
    std::vector<uint8_t> image(static_cast<size_t>(size));
    if (read(fd, image.data(), image.size()) != size) std::abort();
    close(fd);
    std::vector<uint8_t> copy(DATA_BYTES);
    std::memcpy(copy.data(), image.data() + 44, DATA_BYTES);
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(DATA_BYTES));
}

}  // namespace

BENCHMARK(BM_LoadWaveIntoDeviceBuffer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadFileAndCopyOnce)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  Setup();
  int result = RunWithRatios(argc, argv, {{"BM_LoadWaveIntoDeviceBuffer", "BM_ReadFileAndCopyOnce"}});
  qorSound_Finalize();
  std::filesystem::remove_all(Root);
  return result;
}
