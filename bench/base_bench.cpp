// The catalogue at game size: load, save and search of 10,000 sounds.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/catalogue.h"
#include "base/text.h"
#include "core/state.h"
#include "kxHost.h"
#include "kxSound.h"
#include "ratio_reporter.h"

namespace {

constexpr int SOUNDS = 10000;
std::string Root;
std::vector<std::string> Names;
std::vector<uint8_t> FileBytes;

std::string BasePath() { return Root + "Sounds.qorSound"; }

void Setup() {
  Root = (std::filesystem::temp_directory_path() / "kxbench-base/").string();
  std::filesystem::create_directories(Root);
  std::filesystem::remove(BasePath());
  kxHost_SetRootFolder(Root.c_str());
  kxHost_SetAudioOutput("offline");
  qorSound_Initialize(nullptr, 1);
  qorSound_NewPage("Bench");
  for (int i = 0; i < SOUNDS; ++i) {
    char name[256];
    std::snprintf(name, sizeof name, "Level%02d_Object%04d", i % 37, i);
    qorSound_CreateNewSound(name);
    Names.emplace_back(name);
    char path[64];
    std::snprintf(path, sizeof path, "sounds\\level\\object%04d.wav", i);
    qorSound_AddFile(name, path);
    if (i % 10 == 0) qorSound_SetSoundComments(name, "a comment a sound designer left");
  }
  qorSound_SaveBase();
  FILE* f = std::fopen(BasePath().c_str(), "rb");
  FileBytes.resize(std::filesystem::file_size(BasePath()));
  if (std::fread(FileBytes.data(), 1, FileBytes.size(), f) != FileBytes.size()) std::abort();
  std::fclose(f);
}

void BM_LoadBase(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(qorSound_LoadBase());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(FileBytes.size()));
}

void BM_ReadSameBytes(benchmark::State& state) {
  std::vector<uint8_t> buffer(FileBytes.size());
  for (auto _ : state) {
    int fd = open(BasePath().c_str(), O_RDONLY);
    size_t total = 0;
    while (total < buffer.size()) {
      ssize_t n = read(fd, buffer.data() + total, buffer.size() - total);
      if (n <= 0) break;
      total += static_cast<size_t>(n);
    }
    close(fd);
    benchmark::DoNotOptimize(buffer.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(FileBytes.size()));
}

void BM_SaveBase(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(qorSound_SaveBase());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(FileBytes.size()));
}

// The plain write does what the file layer's safe replacement does: a file beside, then a rename.
void BM_WriteSameBytes(benchmark::State& state) {
  std::string temp = Root + "plain.tmp", target = Root + "plain.bin";
  for (auto _ : state) {
    int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (write(fd, FileBytes.data(), FileBytes.size()) != static_cast<ssize_t>(FileBytes.size())) std::abort();
    fsync(fd);
    close(fd);
    std::rename(temp.c_str(), target.c_str());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(FileBytes.size()));
}

void BM_FindSoundByName(benchmark::State& state) {
  size_t i = 0;
  for (auto _ : state) {
    void* handle = nullptr;
    benchmark::DoNotOptimize(qorSound_FindSound(Names[i].c_str(), &handle));
    i = (i + 7919) % Names.size();
  }
}

// What a hashed index would cost: the same names, folded, in an unordered_map.
void BM_HashLookupBaseline(benchmark::State& state) {
  std::unordered_map<std::string, size_t> index;
  auto fold = [](std::string s) {
    for (char& c : s) c = FoldAscii(c);
    return s;
  };
  for (size_t n = 0; n < Names.size(); ++n) index.emplace(fold(Names[n]), n);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(index.find(fold(Names[i])));
    i = (i + 7919) % Names.size();
  }
}

}  // namespace

BENCHMARK(BM_LoadBase)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadSameBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveBase)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteSameBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FindSoundByName);
BENCHMARK(BM_HashLookupBaseline);

int main(int argc, char** argv) {
  Setup();
  int result = RunWithRatios(argc, argv,
                             {{"BM_LoadBase", "BM_ReadSameBytes"},
                              {"BM_SaveBase", "BM_WriteSameBytes"},
                              {"BM_FindSoundByName", "BM_HashLookupBaseline"}});
  qorSound_Finalize();
  std::filesystem::remove_all(Root);
  return result;
}
