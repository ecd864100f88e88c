// The files of the root folder as the studio may touch them: paths that cannot leave the
// root, the wave files a sound can take, uploads converted to what the module plays, and
// the envelope a waveform is drawn from.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

// A request the studio turns down; Status is the HTTP status, the text goes to the page.
struct StudioError : std::runtime_error {
  StudioError(int status, const std::string& text) : std::runtime_error(text), Status(status) {}
  int Status;
};

class RootFolder {
public:
  // folder must exist; it is taken in its canonical form.
  explicit RootFolder(const std::string& folder);
  const std::string& Path() const { return root_; }  // canonical, ending in '/'

  // A path relative to the root, with '/' or '\' between parts and in any case of letters, as
  // the file on disk. Throws StudioError for an empty or absolute path, a '..' part, a drive
  // letter, or a file (or folder, for one not there yet) that resolves outside the root.
  std::string Inside(const std::string& relative) const;
  // The same check for a path as the catalogue stores it; false instead of throwing.
  bool Resolve(const std::string& stored, std::string* full) const;

  // Every .wav file under the root's "sounds" folder, as the catalogue would store it
  // ("sounds\doors\open.wav"), sorted.
  std::vector<std::string> WaveFiles() const;

private:
  std::string root_;
};

struct Converted {
  std::string Stored;  // the path to give the catalogue
  std::string Note;    // what was done to the file, for the page; empty when kept as it came
  int Channels = 0;
};

// Writes an uploaded file into the root's "sounds" folder. 8- and 16-bit PCM WAV stay as
// they are; anything else libsndfile reads (24-bit or float WAV, FLAC, OGG, ...) becomes
// 16-bit PCM WAV. Refuses a name that is not a plain file name, a file already there, and
// bytes that are no sound.
Converted StoreUpload(const RootFolder& root, const std::string& fileName, const std::string& bytes);

// A mono copy of a stereo wave file beside it ("name-mono.wav"), the channels averaged.
Converted MixDownToMono(const RootFolder& root, const std::string& stored);

// min/max pairs of the first channel in points columns, full scale 1.0.
std::vector<float> Envelope(const std::string& file, int points);
