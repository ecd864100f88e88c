#include "studio_files.h"

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "kxPath.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kStoredPathMax = 62;  // a file record holds 62 bytes and a terminator

std::string Canonical(const std::string& path) {
  char buffer[PATH_MAX];
  return realpath(path.c_str(), buffer) ? std::string(buffer) : std::string();
}

std::string CaseResolved(const std::string& path) {
  char buffer[PATH_MAX];
  return kxPath_Resolve(path.c_str(), buffer, sizeof buffer) == 0 ? std::string(buffer) : path;
}

bool Exists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

std::string Lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

// libsndfile reading from memory.
struct MemoryFile {
  const std::string* Bytes;
  sf_count_t At = 0;
};
sf_count_t MemLength(void* user) { return static_cast<sf_count_t>(static_cast<MemoryFile*>(user)->Bytes->size()); }
sf_count_t MemSeek(sf_count_t offset, int whence, void* user) {
  auto* m = static_cast<MemoryFile*>(user);
  sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m->At : MemLength(user);
  m->At = std::clamp<sf_count_t>(base + offset, 0, MemLength(user));
  return m->At;
}
sf_count_t MemRead(void* out, sf_count_t count, void* user) {
  auto* m = static_cast<MemoryFile*>(user);
  sf_count_t n = std::min(count, MemLength(user) - m->At);
  std::memcpy(out, m->Bytes->data() + m->At, static_cast<size_t>(n));
  m->At += n;
  return n;
}
sf_count_t MemWrite(const void*, sf_count_t, void*) { return 0; }
sf_count_t MemTell(void* user) { return static_cast<MemoryFile*>(user)->At; }

std::string FormatName(const SF_INFO& info) {
  SF_FORMAT_INFO major{}, sub{};
  major.format = info.format & SF_FORMAT_TYPEMASK;
  sub.format = info.format & SF_FORMAT_SUBMASK;
  sf_command(nullptr, SFC_GET_FORMAT_INFO, &major, sizeof major);
  sf_command(nullptr, SFC_GET_FORMAT_INFO, &sub, sizeof sub);
  return std::string(sub.name ? sub.name : "?") + " " + (major.name ? major.name : "?");
}

// Frames of a whole open file, interleaved, as 16-bit or float samples.
template <typename T, typename Read>
std::vector<T> ReadAll(SNDFILE* file, const SF_INFO& info, Read read) {
  std::vector<T> samples(static_cast<size_t>(info.frames) * static_cast<size_t>(info.channels));
  sf_count_t got = read(file, samples.data(), info.frames);
  samples.resize(static_cast<size_t>(got) * static_cast<size_t>(info.channels));
  return samples;
}

// Written beside the target and renamed into place, so no one sees half a file.
void WriteWave16(const std::string& path, int rate, int channels, const std::vector<short>& samples) {
  std::string temp = path + ".part";
  SF_INFO out{};
  out.samplerate = rate;
  out.channels = channels;
  out.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open(temp.c_str(), SFM_WRITE, &out);
  if (!file) throw StudioError(500, "cannot write " + path + ": " + sf_strerror(nullptr));
  sf_count_t frames = static_cast<sf_count_t>(samples.size() / static_cast<size_t>(channels));
  bool written = sf_writef_short(file, samples.data(), frames) == frames;
  sf_close(file);
  if (!written || std::rename(temp.c_str(), path.c_str()) != 0) {
    std::remove(temp.c_str());
    throw StudioError(500, "cannot write " + path);
  }
}

std::string SoundsFolder(const RootFolder& root) {
  std::string folder = CaseResolved(root.Path() + "sounds");
  if (!Exists(folder) && mkdir(folder.c_str(), 0777) != 0) throw StudioError(500, "cannot make the sounds folder");
  return folder;
}

}  // namespace

RootFolder::RootFolder(const std::string& folder) {
  root_ = Canonical(folder.empty() ? "." : folder);
  if (root_.empty()) throw StudioError(500, "the root folder '" + folder + "' does not exist");
  if (root_.back() != '/') root_ += '/';
}

std::string RootFolder::Inside(const std::string& relative) const {
  std::string path = relative;
  std::replace(path.begin(), path.end(), '\\', '/');
  if (path.empty()) throw StudioError(400, "No file was named.");
  if (path[0] == '/' || path.find(':') != std::string::npos)
    throw StudioError(403, "\"" + relative + "\" is an absolute path; only files inside the root folder can be used.");
  for (size_t start = 0; start <= path.size();) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    if (path.compare(start, end - start, "..") == 0)
      throw StudioError(403, "\"" + relative + "\" climbs out with '..'; only files inside the root folder can be used.");
    start = end + 1;
  }
  std::string full = CaseResolved(root_ + path);
  // The nearest part that exists decides where the path leads, symbolic links followed.
  std::string probe = full;
  while (!Exists(probe) && probe.size() > root_.size()) probe = fs::path(probe).parent_path().string();
  std::string real = Canonical(probe);
  if (real.empty() || (real + "/").compare(0, root_.size(), root_) != 0)
    throw StudioError(403, "\"" + relative + "\" leads outside the root folder; only files inside it can be used.");
  return Exists(full) ? Canonical(full) : full;
}

bool RootFolder::Resolve(const std::string& stored, std::string* full) const {
  try {
    *full = Inside(stored);
    return true;
  } catch (const StudioError&) {
    return false;
  }
}

std::vector<std::string> RootFolder::WaveFiles() const {
  std::vector<std::string> found;
  std::string folder = CaseResolved(root_ + "sounds");
  std::error_code error;
  if (!fs::is_directory(folder, error)) return found;
  for (fs::recursive_directory_iterator it(folder, error), end; it != end; it.increment(error)) {
    if (error) break;
    std::string name = it->path().filename().string();
    if (!it->is_regular_file(error) || Lower(fs::path(name).extension().string()) != ".wav") continue;
    std::string real = Canonical(it->path().string());
    if (real.compare(0, root_.size(), root_) != 0) continue;  // a link that leads out
    std::string stored = "sounds\\" + it->path().lexically_relative(folder).string();
    std::replace(stored.begin(), stored.end(), '/', '\\');
    if (stored.size() <= kStoredPathMax) found.push_back(stored);
  }
  std::sort(found.begin(), found.end());
  return found;
}

Converted StoreUpload(const RootFolder& root, const std::string& fileName, const std::string& bytes) {
  if (fileName.empty() || fileName[0] == '.' || fileName.find_first_of("/\\:") != std::string::npos ||
      fileName.find('\0') != std::string::npos)
    throw StudioError(400, "\"" + fileName + "\" is not a plain file name.");
  std::string base = fs::path(fileName).stem().string() + ".wav";
  Converted result;
  result.Stored = "sounds\\" + base;
  if (result.Stored.size() > kStoredPathMax)
    throw StudioError(400, "The name \"" + base + "\" is too long: a stored path holds at most 62 characters.");
  std::string target = SoundsFolder(root) + "/" + base;
  if (Exists(CaseResolved(target)))
    throw StudioError(409, "sounds\\" + base + " is already there; rename the file before dropping it again.");

  MemoryFile memory{&bytes};
  SF_VIRTUAL_IO io{MemLength, MemSeek, MemRead, MemWrite, MemTell};
  SF_INFO info{};
  SNDFILE* file = sf_open_virtual(&io, SFM_READ, &info, &memory);
  if (!file) throw StudioError(415, "\"" + fileName + "\" is not a sound file libsndfile can read: " + sf_strerror(nullptr));
  result.Channels = info.channels;
  int major = info.format & SF_FORMAT_TYPEMASK, sub = info.format & SF_FORMAT_SUBMASK;
  bool playable = major == SF_FORMAT_WAV && (sub == SF_FORMAT_PCM_16 || sub == SF_FORMAT_PCM_U8);
  if (playable) {
    sf_close(file);
    std::FILE* out = std::fopen((target + ".part").c_str(), "wb");
    bool written = out && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    if (out) written = std::fclose(out) == 0 && written;
    if (!written || std::rename((target + ".part").c_str(), target.c_str()) != 0)
      throw StudioError(500, "cannot write " + result.Stored);
    return result;
  }
  if (info.channels < 1 || info.channels > 2) {
    sf_close(file);
    throw StudioError(415, "\"" + fileName + "\" has " + std::to_string(info.channels) +
                               " channels; the module plays mono or stereo files only.");
  }
  std::vector<short> samples = ReadAll<short>(file, info, sf_readf_short);
  sf_close(file);
  WriteWave16(target, info.samplerate, info.channels, samples);
  result.Note = "\"" + fileName + "\" was " + FormatName(info) + "; converted to 16-bit PCM WAV, which the module plays.";
  return result;
}

Converted MixDownToMono(const RootFolder& root, const std::string& stored) {
  std::string full = root.Inside(stored);
  SF_INFO info{};
  SNDFILE* file = sf_open(full.c_str(), SFM_READ, &info);
  if (!file) throw StudioError(404, "cannot read " + stored);
  if (info.channels != 2) {
    sf_close(file);
    throw StudioError(400, stored + " is not a stereo file.");
  }
  std::vector<float> stereo = ReadAll<float>(file, info, sf_readf_float);
  sf_close(file);
  std::vector<short> mono(stereo.size() / 2);
  for (size_t i = 0; i < mono.size(); ++i) {
    float mixed = std::clamp((stereo[2 * i] + stereo[2 * i + 1]) * 0.5f, -1.0f, 32767.0f / 32768.0f);
    mono[i] = static_cast<short>(mixed * 32768.0f);
  }
  Converted result;
  size_t dot = stored.rfind('.');
  result.Stored = stored.substr(0, dot) + "-mono.wav";
  if (result.Stored.size() > kStoredPathMax)
    throw StudioError(400, "The mono copy's path " + result.Stored + " would pass the 62 characters a stored path holds.");
  std::string target = root.Inside(result.Stored);
  if (!Exists(target)) WriteWave16(target, info.samplerate, 1, mono);
  result.Channels = 1;
  result.Note = "A mono mix of " + stored + " (both channels averaged).";
  return result;
}

std::vector<float> Envelope(const std::string& path, int points) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  std::vector<float> pairs;
  if (!file) return pairs;
  std::vector<float> samples = ReadAll<float>(file, info, sf_readf_float);
  sf_close(file);
  size_t frames = samples.size() / static_cast<size_t>(info.channels);
  if (frames == 0 || points <= 0) return pairs;
  pairs.reserve(static_cast<size_t>(points) * 2);
  for (int p = 0; p < points; ++p) {
    size_t from = frames * static_cast<size_t>(p) / static_cast<size_t>(points);
    size_t to = std::max(from + 1, frames * static_cast<size_t>(p + 1) / static_cast<size_t>(points));
    float low = 0, high = 0;
    for (size_t f = from; f < to && f < frames; ++f) {
      float v = samples[f * static_cast<size_t>(info.channels)];
      low = std::min(low, v);
      high = std::max(high, v);
    }
    pairs.push_back(low);
    pairs.push_back(high);
  }
  return pairs;
}
