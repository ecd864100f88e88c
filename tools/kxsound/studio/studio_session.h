// The studio's module: started in tool mode on the offline output, driven from one request at
// a time, with every edit through the exported functions. Each edit carries the catalogue
// revision it was made on; one made on an older revision is refused, so two tabs cannot
// overwrite each other's work unseen.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "studio_files.h"

using Json = nlohmann::json;

struct Rendered {
  std::string Wav;                     // 16-bit stereo RIFF WAVE
  std::vector<std::string> Notes;      // what the module said meanwhile
  std::vector<std::pair<int, int>> Progress;  // preview only: (ms into the file, progress)
};

class StudioSession {
public:
  explicit StudioSession(const std::string& root);
  ~StudioSession();
  StudioSession(const StudioSession&) = delete;
  StudioSession& operator=(const StudioSession&) = delete;

  // False, with the reason, when the module does not start or the catalogue does not read.
  bool Start(std::string* error);
  void Stop();

  const RootFolder& Root() const { return root_; }

  Json Catalogue();                  // pages, one row per sound, revision, unsaved
  Json Sound(const std::string& name);
  Json Edit(const Json& request);    // {"revision", "op", ...}
  Json Save(int revision);
  Json Revert(int revision);
  Json Folder();
  Json Waveform(const std::string& stored, int points);
  Json Upload(const std::string& fileName, const std::string& bytes);

  // A play as the game plays it, heard from the listener at the origin facing +z; position
  // null for a 2D play.
  Rendered Audition(const std::string& name, const std::optional<std::vector<float>>& position);
  // A loose file through the module's preview, with its progress callback.
  Rendered Preview(const std::string& stored);

private:
  struct FileCheck {
    bool Readable = false;
    std::string Problem;  // the module's sentence when it cannot play the file
    uint32_t Tag = 0;
    int Channels = 0, Bits = 0, Rate = 0, Bytes = 0;
    double Seconds() const;
  };
  struct Row {
    std::string Name;
    int Page = 0;
    std::string Flags;    // "3", "L", "X", "-" (switched off)
    std::string Problem;
  };

  void CheckRevision(const Json& request) const;
  void Changed();
  std::string NeedSound(const Json& request, const char* key = "name") const;
  int NeedFileIndex(const std::string& name, const Json& request, const char* key) const;
  const FileCheck& Check(const std::string& stored);
  Row MakeRow(const std::string& name);
  void UpdateRow(const std::string& name);
  void Rebuild();
  Json EditFiles(const std::string& op, const Json& request);
  Json EditPages(const std::string& op, const Json& request);
  Rendered Render(int milliseconds, bool (*done)(void*), void* context);

  RootFolder root_;
  std::mutex lock_;
  bool started_ = false;
  int revision_ = 1;
  bool unsaved_ = false;
  bool rowsValid_ = false;
  std::vector<Row> rows_;
  std::map<std::string, FileCheck> checks_;  // by stored path, lower case

public:  // the module's diagnostics arrive through a plain function
  std::vector<std::string> heard_;
};
