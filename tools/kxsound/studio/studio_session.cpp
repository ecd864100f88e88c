#include "studio_session.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <unistd.h>

#include "io/catalogue_json.h"
#include "io/wav_writer.h"
#include "kxHost.h"
#include "kxSound.h"

namespace {

constexpr int kFrameMs = 20;
constexpr int kLoopedAuditionMs = 4000;  // a looped sound never ends by itself
constexpr int kLongestAuditionMs = 12000;
constexpr int kLongestPreviewMs = 30000;
constexpr size_t kNameMax = 255, kPageNameMax = 15, kStoredPathMax = 62;

// The enumeration callbacks carry no context.
std::vector<std::string>* g_names = nullptr;
std::vector<int>* g_pages = nullptr;
void CollectPage(char* name) { g_names->emplace_back(name); }
void CollectSound(char* name, int page) {
  g_names->emplace_back(name);
  g_pages->push_back(page);
}

std::vector<std::string> PageNames() {
  std::vector<std::string> names;
  g_names = &names;
  qorSound_EnumeratePages(CollectPage);
  g_names = nullptr;
  return names;
}

void OnDiagnostic(int, const char* text, void* user) {
  if (text) static_cast<StudioSession*>(user)->heard_.emplace_back(text);
}
void OnWhyLine(const char* line, void* user) { static_cast<std::vector<std::string>*>(user)->emplace_back(line); }

std::string Lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

std::string Text(const Json& request, const char* key) {
  auto it = request.find(key);
  if (it == request.end() || !it->is_string()) throw StudioError(400, std::string("The request lacks \"") + key + "\".");
  return it->get<std::string>();
}

int Integer(const Json& request, const char* key) {
  auto it = request.find(key);
  if (it == request.end() || !it->is_number_integer()) throw StudioError(400, std::string("The request lacks \"") + key + "\".");
  return it->get<int>();
}

// The preview callback carries no context.
std::vector<std::pair<int, int>>* g_progress = nullptr;
int g_previewMs = 0;
void OnPreviewProgress(int progress) {
  if (g_progress && (g_progress->empty() || g_progress->back().second != progress))
    g_progress->emplace_back(g_previewMs, progress);
}

}  // namespace

double StudioSession::FileCheck::Seconds() const {
  int frameBytes = Channels * Bits / 8;
  return Readable && Rate > 0 && frameBytes > 0 ? static_cast<double>(Bytes) / frameBytes / Rate : 0;
}

StudioSession::StudioSession(const std::string& root) : root_(root) {}

StudioSession::~StudioSession() { Stop(); }

bool StudioSession::Start(std::string* error) {
  std::lock_guard<std::mutex> hold(lock_);
  kxHost_SetRootFolder(root_.Path().c_str());
  kxHost_SetManualClock(1);
  kxHost_SetAudioOutput("offline");
  if (qorSound_Initialize(nullptr, 1) != KXSOUND_OK) {
    *error = "the sound module did not start";
    return false;
  }
  started_ = true;
  kxSound_SetDiagnosticSink(OnDiagnostic, this);
  // Initialize keeps what it could read; loading again tells a damaged catalogue from none.
  heard_.clear();
  if (qorSound_LoadBase() != KXSOUND_OK && access((root_.Path() + "Sounds.qorSound").c_str(), F_OK) == 0) {
    *error = heard_.empty() ? "the catalogue Sounds.qorSound does not read" : heard_.back();
    return false;
  }
  const float origin[3] = {0, 0, 0}, front[3] = {0, 0, 1}, top[3] = {0, 1, 0};
  qorSound_SetEarsPosition(origin, front, top);
  return true;
}

void StudioSession::Stop() {
  std::lock_guard<std::mutex> hold(lock_);
  if (!started_) return;
  qorSound_Finalize();
  kxSound_SetDiagnosticSink(nullptr, nullptr);
  kxHost_SetManualClock(0);
  started_ = false;
}

// ---- the catalogue ----

const StudioSession::FileCheck& StudioSession::Check(const std::string& stored) {
  std::string key = Lower(stored);
  auto found = checks_.find(key);
  if (found != checks_.end()) return found->second;
  FileCheck& check = checks_[key];
  std::string full;
  if (!root_.Resolve(stored, &full)) {
    check.Problem = "\"" + stored + "\" lies outside the root folder";
    return check;
  }
  heard_.clear();
  uint32_t tag = 0;
  if (qorSound_GetFileInfo(full.c_str(), tag, check.Channels, check.Bits, check.Rate, check.Bytes) != KXSOUND_OK) {
    check.Problem = heard_.empty() ? "\"" + stored + "\" cannot be read" : heard_.front();
    return check;
  }
  check.Tag = tag;
  check.Readable = true;
  if (tag != 1) check.Problem = "\"" + stored + "\" is not PCM; the module plays PCM wave files only";
  else if (check.Bits != 8 && check.Bits != 16) check.Problem = "\"" + stored + "\" has " + std::to_string(check.Bits) + "-bit samples; the module plays 8 or 16 bits";
  return check;
}

StudioSession::Row StudioSession::MakeRow(const std::string& name) {
  Row row;
  row.Name = name;
  const char* n = name.c_str();
  row.Page = qorSound_GetSoundPage(n);
  bool is3D = qorSound_Get3D(n) != 0;
  if (is3D) row.Flags += '3';
  if (qorSound_GetLooped(n)) row.Flags += 'L';
  if (qorSound_GetCrossed(n)) row.Flags += 'X';
  if (!qorSound_IsSoundEnabled(n)) row.Flags += '-';
  char path[64];
  int files = 0, enabled = 0;
  for (; qorSound_GetFile(n, path, files) == KXSOUND_OK && row.Problem.empty(); ++files) {
    if (!qorSound_IsFileEnabled(n, files)) continue;
    ++enabled;
    const FileCheck& check = Check(path);
    if (!check.Problem.empty()) row.Problem = check.Problem;
    else if (is3D && check.Channels == 2) row.Problem = "\"" + std::string(path) + "\" is stereo; a 3D sound must be mono";
  }
  if (row.Problem.empty() && files == 0) row.Problem = "no files: it cannot play";
  else if (row.Problem.empty() && enabled == 0) row.Problem = "every file is switched off: it cannot play";
  return row;
}

void StudioSession::Rebuild() {
  std::vector<std::string> names;
  std::vector<int> pages;
  g_names = &names;
  g_pages = &pages;
  qorSound_EnumerateSounds(CollectSound);
  g_names = nullptr;
  g_pages = nullptr;
  rows_.clear();
  rows_.reserve(names.size());
  for (const std::string& name : names) rows_.push_back(MakeRow(name));
  rowsValid_ = true;
}

void StudioSession::UpdateRow(const std::string& name) {
  if (!rowsValid_) return;
  for (Row& row : rows_)
    if (Lower(row.Name) == Lower(name)) {
      row = MakeRow(row.Name);
      return;
    }
  rows_.push_back(MakeRow(name));
}

Json StudioSession::Catalogue() {
  std::lock_guard<std::mutex> hold(lock_);
  if (!rowsValid_) Rebuild();
  Json sounds = Json::array();
  for (const Row& row : rows_) sounds.push_back(Json::array({row.Name, row.Page, row.Flags, row.Problem}));
  return {{"revision", revision_}, {"unsaved", unsaved_}, {"root", root_.Path()},
          {"pages", PageNames()}, {"sounds", std::move(sounds)}};
}

Json StudioSession::Sound(const std::string& name) {
  std::lock_guard<std::mutex> hold(lock_);
  if (qorSound_FindSound(name.c_str(), nullptr) != KXSOUND_OK)
    throw StudioError(404, "There is no sound \"" + name + "\" (renamed or deleted in another tab?).");
  Json sound = SoundAsJson(name);
  bool is3D = qorSound_Get3D(name.c_str()) != 0;
  for (Json& file : sound["files"]) {
    if (!file["path"].is_string()) continue;
    const FileCheck& check = Check(file["path"].get<std::string>());
    file["problem"] = check.Problem;
    if (!check.Readable) continue;
    char format[32] = {};
    qorSound_WaveFormatStr(check.Tag, format);
    file["format"] = format;
    file["rate"] = check.Rate;
    file["bits"] = check.Bits;
    file["channels"] = check.Channels;
    file["seconds"] = check.Seconds();
    if (is3D && check.Channels == 2 && check.Problem.empty())
      file["problem"] = "stereo on a 3D sound: the module refuses it; use a mono mix";
  }
  std::vector<std::string> why;
  kxSound_Why(name.c_str(), OnWhyLine, &why);
  sound["why"] = why;
  sound["revision"] = revision_;
  return sound;
}

// ---- edits ----

void StudioSession::CheckRevision(const Json& request) const {
  auto it = request.find("revision");
  if (it == request.end() || !it->is_number_integer())
    throw StudioError(400, "The edit carries no catalogue revision.");
  int given = it->get<int>();
  if (given != revision_)
    throw StudioError(409, "The catalogue was changed in another tab or window (revision " + std::to_string(revision_) +
                               ", this page shows " + std::to_string(given) +
                               "). Your edit was not stored: reload to see the changes, then make it again.");
}

void StudioSession::Changed() {
  ++revision_;
  unsaved_ = true;
}

std::string StudioSession::NeedSound(const Json& request, const char* key) const {
  std::string name = Text(request, key);
  if (qorSound_FindSound(name.c_str(), nullptr) != KXSOUND_OK)
    throw StudioError(404, "There is no sound \"" + name + "\" (renamed or deleted in another tab?).");
  return name;
}

int StudioSession::NeedFileIndex(const std::string& name, const Json& request, const char* key) const {
  int index = Integer(request, key);
  char path[64];
  if (qorSound_GetFile(name.c_str(), path, index) != KXSOUND_OK)
    throw StudioError(400, "\"" + name + "\" has no file " + std::to_string(index) + ".");
  return index;
}

Json StudioSession::EditFiles(const std::string& op, const Json& request) {
  std::string name = NeedSound(request);
  const char* n = name.c_str();
  Json result = Json::object();
  if (op == "addFile") {
    std::string given = Text(request, "path");
    std::string full = root_.Inside(given);  // refuses what leads out of the root
    if (access(full.c_str(), R_OK) != 0) throw StudioError(404, "\"" + given + "\" is not in the root folder.");
    std::string stored = given;
    std::replace(stored.begin(), stored.end(), '/', '\\');
    if (stored.size() > kStoredPathMax)
      throw StudioError(400, "\"" + given + "\" is longer than the 62 characters a stored path holds.");
    char path[64] = {};
    std::memcpy(path, stored.c_str(), stored.size());
    if (qorSound_AddFile(n, path) != KXSOUND_OK)
      throw StudioError(409, "\"" + name + "\" already has the file \"" + stored + "\".");
    result["path"] = path;
    const FileCheck& check = Check(path);
    result["stereoOn3D"] = qorSound_Get3D(n) != 0 && check.Channels == 2;
  } else if (op == "removeFile") {
    qorSound_DeleteFile(n, NeedFileIndex(name, request, "index"));
  } else if (op == "enableFile") {
    int index = NeedFileIndex(name, request, "index");
    auto on = request.find("enabled");
    if (on == request.end() || !on->is_boolean()) throw StudioError(400, "The request lacks \"enabled\".");
    qorSound_SetFileEnabled(n, index, on->get<bool>() ? 1 : 0);
  } else if (op == "moveFile") {
    qorSound_SwapFiles(n, NeedFileIndex(name, request, "index"), NeedFileIndex(name, request, "to"));
  } else {  // mixDown: the stereo file at index makes way for a mono mix at the same place
    int index = NeedFileIndex(name, request, "index");
    char path[64];
    qorSound_GetFile(n, path, index);
    Converted mono = MixDownToMono(root_, path);
    int enabled = qorSound_IsFileEnabled(n, index);
    char stored[64] = {};
    std::memcpy(stored, mono.Stored.c_str(), std::min(mono.Stored.size(), kStoredPathMax));
    if (qorSound_AddFile(n, stored) != KXSOUND_OK) throw StudioError(409, "\"" + name + "\" already has " + mono.Stored + ".");
    int last = 0;
    while (qorSound_GetFile(n, path, last + 1) == KXSOUND_OK) ++last;
    qorSound_SwapFiles(n, index, last);
    qorSound_SetFileEnabled(n, index, enabled);
    qorSound_DeleteFile(n, last);
    result["path"] = stored;
    result["note"] = mono.Note;
  }
  UpdateRow(name);
  return result;
}

Json StudioSession::EditPages(const std::string& op, const Json& request) {
  if (op == "newPage" || op == "renamePage") {
    std::string page = Text(request, "page");
    if (page.empty() || page.size() > kPageNameMax)
      throw StudioError(400, "A page name holds 1 to 15 characters; \"" + page + "\" has " + std::to_string(page.size()) + ".");
    int32_t done = op == "newPage" ? qorSound_NewPage(page.c_str())
                                   : qorSound_SetPageName(Integer(request, "index"), page.c_str());
    if (done != KXSOUND_OK)
      throw StudioError(409, "The page name \"" + page + "\" is taken (case does not count)" +
                                 (op == "newPage" ? ", or the catalogue has its 256 pages." : ", or there is no such page."));
  } else {
    if (qorSound_DeletePage(Integer(request, "index")) != KXSOUND_OK) throw StudioError(404, "There is no such page.");
    rowsValid_ = false;
  }
  return Json::object();
}

Json StudioSession::Edit(const Json& request) {
  std::lock_guard<std::mutex> hold(lock_);
  if (!request.is_object()) throw StudioError(400, "An edit is a JSON object.");
  CheckRevision(request);
  std::string op = Text(request, "op");
  Json result = Json::object();
  heard_.clear();
  if (op == "set") {
    std::string name = NeedSound(request);
    std::vector<std::string> notes;
    std::string error;
    auto fields = request.find("fields");
    if (fields == request.end()) throw StudioError(400, "The request lacks \"fields\".");
    CatalogueJson given = CatalogueJson::parse(fields->dump());
    if (!StoreSoundFields(name, given, false, &notes, &error)) throw StudioError(422, error);
    bool confirmed = request.value("confirm", false);
    if (!notes.empty() && !confirmed) return {{"confirm", notes}, {"revision", revision_}, {"unsaved", unsaved_}};
    if (!StoreSoundFields(name, given, true, &notes, &error)) throw StudioError(422, error);
    UpdateRow(name);
    result["notes"] = notes;
  } else if (op == "create" || op == "clone") {
    char made[256] = {};
    std::string wanted = op == "create" ? request.value("name", std::string()) : NeedSound(request);
    if (wanted.size() > kNameMax) throw StudioError(400, "A sound name holds at most 255 characters.");
    if (op == "create") {
      std::memcpy(made, wanted.c_str(), wanted.size());
      qorSound_CreateNewSound(made);
      if (request.contains("page")) qorSound_SetSoundPage(made, Integer(request, "page"));
    } else {
      qorSound_CloneSound(wanted.c_str(), made);
    }
    result["name"] = made;
    if (op == "create" && !wanted.empty() && wanted != made)
      result["notes"] = {"\"" + wanted + "\" is taken (case does not count); the module named the new sound \"" +
                         std::string(made) + "\"."};
    UpdateRow(made);
  } else if (op == "rename") {
    std::string name = NeedSound(request), to = Text(request, "to");
    if (to.empty() || to.size() > kNameMax) throw StudioError(400, "A sound name holds 1 to 255 characters.");
    if (qorSound_ChangeName(name.c_str(), to.c_str()) != KXSOUND_OK)
      throw StudioError(409, "The name \"" + to + "\" is taken (case does not count).");
    for (Row& row : rows_)
      if (row.Name == name) row.Name = to;
    result["name"] = to;
  } else if (op == "delete") {
    std::string name = NeedSound(request);
    qorSound_DeleteSound(name.c_str());
    rows_.erase(std::remove_if(rows_.begin(), rows_.end(), [&](const Row& row) { return row.Name == name; }),
                rows_.end());
  } else if (op == "addFile" || op == "removeFile" || op == "enableFile" || op == "moveFile" || op == "mixDown") {
    result = EditFiles(op, request);
  } else if (op == "newPage" || op == "renamePage" || op == "deletePage") {
    result = EditPages(op, request);
  } else {
    throw StudioError(400, "There is no edit \"" + op + "\".");
  }
  Changed();
  result["revision"] = revision_;
  result["unsaved"] = unsaved_;
  return result;
}

Json StudioSession::Save(int revision) {
  std::lock_guard<std::mutex> hold(lock_);
  CheckRevision({{"revision", revision}});
  heard_.clear();
  // The file layer writes beside the old file and replaces it only once all is written.
  if (qorSound_SaveBase() != KXSOUND_OK)
    throw StudioError(500, "The catalogue was not saved; the file on disk is as it was. " +
                               (heard_.empty() ? std::string() : heard_.back()));
  unsaved_ = false;
  return {{"revision", revision_}, {"unsaved", unsaved_}};
}

Json StudioSession::Revert(int revision) {
  std::lock_guard<std::mutex> hold(lock_);
  CheckRevision({{"revision", revision}});
  heard_.clear();
  int32_t loaded = qorSound_LoadBase();
  ++revision_;
  unsaved_ = false;
  rowsValid_ = false;
  checks_.clear();
  if (loaded != KXSOUND_OK && access((root_.Path() + "Sounds.qorSound").c_str(), F_OK) == 0)
    throw StudioError(500, "The saved catalogue does not read: " + (heard_.empty() ? std::string("?") : heard_.back()));
  return {{"revision", revision_}, {"unsaved", unsaved_}};
}

// ---- files ----

Json StudioSession::Folder() {
  std::lock_guard<std::mutex> hold(lock_);
  Json files = Json::array();
  for (const std::string& stored : root_.WaveFiles()) {
    const FileCheck& check = Check(stored);
    files.push_back({{"path", stored}, {"channels", check.Channels}, {"seconds", check.Seconds()},
                     {"problem", check.Problem}});
  }
  return {{"files", std::move(files)}};
}

Json StudioSession::Waveform(const std::string& stored, int points) {
  std::string full = root_.Inside(stored);
  points = std::clamp(points, 16, 2048);
  return {{"path", stored}, {"envelope", Envelope(full, points)}};
}

Json StudioSession::Upload(const std::string& fileName, const std::string& bytes) {
  std::lock_guard<std::mutex> hold(lock_);
  Converted stored = StoreUpload(root_, fileName, bytes);
  checks_.erase(Lower(stored.Stored));
  return {{"path", stored.Stored}, {"note", stored.Note}, {"channels", stored.Channels}};
}

// ---- sound ----

Rendered StudioSession::Render(int milliseconds, bool (*done)(void*), void* context) {
  Rendered out;
  std::vector<float> stereo;
  float frames[2 * 4096];
  uint32_t rate = kxHost_CaptureRate(0);
  for (int ms = 0; ms < milliseconds && !(done && done(context)); ms += kFrameMs) {
    g_previewMs = ms;
    qorSound_Update();
    kxHost_Advance(kFrameMs);
    uint32_t got;
    while ((got = kxHost_TakeCapture(0, frames, 4096)) > 0) stereo.insert(stereo.end(), frames, frames + 2 * got);
    kxHost_TakeCapture(1, nullptr, UINT32_MAX);
  }
  out.Wav = WavBytes(stereo, rate ? rate : 48000, 2);
  out.Notes = heard_;
  return out;
}

Rendered StudioSession::Audition(const std::string& name, const std::optional<std::vector<float>>& position) {
  std::lock_guard<std::mutex> hold(lock_);
  const char* n = name.c_str();
  if (qorSound_FindSound(n, nullptr) != KXSOUND_OK)
    throw StudioError(404, "There is no sound \"" + name + "\" (renamed or deleted in another tab?).");
  if (position && position->size() != 3) throw StudioError(400, "A position has three numbers, x, y and z.");
  // Each play starts from the catalogue as it stands: the streams are made again at login.
  qorSound_LogoutSound(n);
  kxHost_TakeCapture(0, nullptr, UINT32_MAX);
  kxHost_TakeCapture(1, nullptr, UINT32_MAX);
  double longest = 0;
  char path[64];
  for (int i = 0; qorSound_GetFile(n, path, i) == KXSOUND_OK; ++i)
    if (qorSound_IsFileEnabled(n, i)) longest = std::max(longest, Check(path).Seconds());
  int ms = qorSound_GetLooped(n) ? kLoopedAuditionMs : std::min(kLongestAuditionMs, static_cast<int>(longest * 1000) + 300);
  heard_.clear();
  if (qorSound_PlaySound(n, position ? position->data() : nullptr, 0) != KXSOUND_OK) {
    std::string why = heard_.empty() ? "the module did not play it" : heard_.back();
    throw StudioError(422, "\"" + name + "\" does not play: " + why);
  }
  Rendered out = Render(ms, nullptr, nullptr);
  qorSound_LogoutSound(n);
  return out;
}

Rendered StudioSession::Preview(const std::string& stored) {
  std::lock_guard<std::mutex> hold(lock_);
  std::string full = root_.Inside(stored);
  kxHost_TakeCapture(0, nullptr, UINT32_MAX);
  std::vector<std::pair<int, int>> progress;
  g_progress = &progress;
  heard_.clear();
  if (qorSound_PlayFile2(full.c_str(), 0, OnPreviewProgress) != KXSOUND_OK) {
    g_progress = nullptr;
    throw StudioError(422, "\"" + stored + "\" does not play: " + (heard_.empty() ? std::string("?") : heard_.back()));
  }
  int ms = std::min(kLongestPreviewMs, static_cast<int>(Check(stored).Seconds() * 1000) + 300);
  auto ended = [](void* list) {
    auto* p = static_cast<std::vector<std::pair<int, int>>*>(list);
    return !p->empty() && p->back().second == 1000;
  };
  Rendered out = Render(ms, ended, &progress);
  qorSound_PlayFile2(nullptr, 0, nullptr);
  g_progress = nullptr;
  out.Progress = progress;
  return out;
}
