// The catalogue as a JSON document, and back.
//
// Import builds the catalogue through the module's own setters, so it holds nothing
// the module could not have made itself. It checks the whole document before it
// starts the module and reads back what the setters clamp or rename; on any refusal
// it stops before saving, so a failed import leaves the old base file as it was.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/ascii.h"
#include "io/catalogue_json.h"
#include "io/catalogue_json_values.h"
#include "io/diagnostics.h"
#include "kxSound.h"
#include "kxSoundWin32.h"
#include "io/module_paths.h"

namespace {

constexpr char FORMAT_NAME[] = "kxsound-catalogue";
constexpr int64_t FORMAT_VERSION = 1;
constexpr size_t MAX_NAME_BYTES = 255;
constexpr size_t MAX_PAGE_NAME_BYTES = 15;
constexpr size_t MAX_PATH_BYTES = 62;
constexpr int32_t MAX_STREAMS = 4;  // a sound gets at most this many streams per file

// The enumeration callbacks carry no context, so they collect into these.
std::vector<std::string> CollectedNames;
void CollectName(char* name) { CollectedNames.emplace_back(name); }
void CollectSound(char* name, int) { CollectedNames.emplace_back(name); }

std::vector<std::string> PageNames() {
  CollectedNames.clear();
  qorSound_EnumeratePages(CollectName);
  return std::move(CollectedNames);
}

std::vector<std::string> SoundNames() {
  CollectedNames.clear();
  qorSound_EnumerateSounds(CollectSound);
  return std::move(CollectedNames);
}


bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// A path as a person reads it: backslashes single, bytes that are no text in hex.
std::string Quoted(const std::string& bytes) {
  return IsValidUtf8(bytes) ? "\"" + bytes + "\"" : EncodeBytes(bytes).dump();
}

// A relative stored path as the module reads it back from the base file: lower case, without
// "base\" in front and with "sounds\" there. Absolute paths are left to the module.
std::string AsLoaded(const std::string& path) {
  std::string out = kx::asciiLowered(path);
  if (out.empty() || out[0] == '/' || out.find(':') != std::string::npos) return out;
  if (out.compare(0, 5, "base\\") == 0) out.erase(0, 5);
  if (out.compare(0, 7, "sounds\\") != 0) out = "sounds\\" + out;
  return out.size() > MAX_PATH_BYTES ? out.substr(0, MAX_PATH_BYTES) : out;
}

// ---- export ----

CatalogueJson ExportSound(const std::string& name) {
  const char* n = name.c_str();
  float minimum = 0, maximum = 0;
  qorSound_GetDistances(n, &minimum, &maximum);
  const char* comment = qorSound_GetSoundComments(n);
  CatalogueJson sound = CatalogueJson::object();
  sound["name"] = EncodeBytes(name);
  sound["enabled"] = qorSound_IsSoundEnabled(n);
  sound["comment"] = comment ? EncodeBytes(comment) : CatalogueJson(nullptr);
  sound["page"] = qorSound_GetSoundPage(n);
  sound["playMode"] = static_cast<int32_t>(qorSound_GetSoundPlayMode(n));
  sound["numStreams"] = qorSound_GetNumStreams(n);
  sound["volume"] = qorSound_GetVolume(n);
  sound["frequency"] = qorSound_GetFrequency(n);
  sound["looped"] = qorSound_GetLooped(n);
  sound["is3D"] = qorSound_Get3D(n);
  sound["crossed"] = qorSound_GetCrossed(n);
  sound["minDistance"] = EncodeFloat(minimum);
  sound["maxDistance"] = EncodeFloat(maximum);
  CatalogueJson files = CatalogueJson::array();
  char path[64];
  // The module has no count of files: the index one past the last ends the walk, and is no mistake.
  diagnostics::Mute quiet;
  for (int i = 0; qorSound_GetFile(n, path, i) == S_OK; ++i) {
    CatalogueJson file = CatalogueJson::object();
    file["path"] = EncodeBytes(path);
    file["enabled"] = qorSound_IsFileEnabled(n, i);
    files.push_back(std::move(file));
  }
  sound["files"] = std::move(files);
  return sound;
}

// A misspelt key would otherwise be dropped without a word.
void CheckKeys(const CatalogueJson& object, std::initializer_list<const char*> known, const std::string& where) {
  for (const auto& item : object.items()) {
    bool found = false;
    for (const char* key : known) found = found || item.key() == key;
    if (!found) throw ValueError(where + "unknown field \"" + item.key() + "\"");
  }
}

const CatalogueJson* Field(const CatalogueJson& object, const char* key) {
  auto found = object.find(key);
  return found == object.end() ? nullptr : &*found;
}

template <typename T>
void ReadInteger(const CatalogueJson& object, const char* key, int64_t lowest, int64_t highest, std::optional<T>& out) {
  if (const CatalogueJson* value = Field(object, key)) out = static_cast<T>(DecodeInteger(*value, key, lowest, highest));
}

void ReadFloat(const CatalogueJson& object, const char* key, std::optional<float>& out) {
  if (const CatalogueJson* value = Field(object, key)) out = DecodeFloat(*value, key);
}

const CatalogueJson& ArrayField(const CatalogueJson& object, const char* key, const std::string& where) {
  static const CatalogueJson empty = CatalogueJson::array();
  const CatalogueJson* value = Field(object, key);
  if (!value) return empty;
  if (!value->is_array()) throw ValueError(where + key + " must be an array");
  return *value;
}

void ReadFiles(const CatalogueJson& sound, SoundRecord& record) {
  const CatalogueJson& files = ArrayField(sound, "files", "");
  for (size_t i = 0; i < files.size(); ++i) {
    std::string where = "files[" + std::to_string(i) + "]";
    const CatalogueJson& file = files[i];
    if (!file.is_object()) throw ValueError(where + " must be an object");
    CheckKeys(file, {"path", "enabled"}, where + ": ");
    const CatalogueJson* path = Field(file, "path");
    if (!path) throw ValueError(where + ".path is missing");
    FileRecord out;
    out.Path = DecodeBytes(*path, where + ".path");
    std::string given = out.Path;
    if (ToModulePath(&out.Path)) {
      record.Notes.push_back(where + ".path " + Quoted(given) + " stored as " + Quoted(out.Path) +
                             ": the catalogue keeps backslashes, and a slash would not survive the next load");
    }
    std::string loaded = AsLoaded(out.Path);
    if (loaded != kx::asciiLowered(out.Path)) {
      record.Notes.push_back(where + ".path " + Quoted(out.Path) + " will read " + Quoted(loaded) +
                             " once the catalogue is loaded again (its paths start with sounds\\); stored as given");
    }
    // A file record holds 62 bytes and a terminator; the module refuses more.
    if (out.Path.empty() || out.Path.size() > MAX_PATH_BYTES) throw ValueError(where + ".path must hold 1 to 62 bytes");
    if (const CatalogueJson* enabled = Field(file, "enabled")) {
      out.Enabled = static_cast<uint8_t>(DecodeInteger(*enabled, where + ".enabled", 0, 255));
    }
    record.Files.push_back(std::move(out));
  }
}

SoundRecord ReadSound(const CatalogueJson& sound, size_t index) {
  SoundRecord record;
  record.Label = "sounds[" + std::to_string(index) + "]";
  if (!sound.is_object()) throw ValueError(record.Label + " must be an object");
  const CatalogueJson* name = Field(sound, "name");
  if (name && (name->is_string() || name->is_object())) record.Label += " (" + name->dump() + ")";
  try {
    CheckKeys(sound,
              {"name", "enabled", "comment", "page", "playMode", "numStreams", "volume", "frequency", "looped", "is3D",
               "crossed", "minDistance", "maxDistance", "files"},
              "");
    if (!name) throw ValueError("name is missing");
    record.Name = DecodeBytes(*name, "name");
    if (record.Name.empty() || record.Name.size() > MAX_NAME_BYTES) throw ValueError("name must hold 1 to 255 bytes");
    const CatalogueJson* comment = Field(sound, "comment");
    if (comment && !comment->is_null()) record.Comment = DecodeBytes(*comment, "comment");
    ReadInteger(sound, "enabled", INT32_MIN, INT32_MAX, record.Enabled);
    ReadInteger(sound, "page", INT32_MIN, INT32_MAX, record.Page);
    ReadInteger(sound, "playMode", INT32_MIN, INT32_MAX, record.PlayMode);
    ReadInteger(sound, "numStreams", INT32_MIN, INT32_MAX, record.NumStreams);
    // The setters take no negative volume or frequency (they mean "apply again").
    ReadInteger(sound, "volume", 0, INT32_MAX, record.Volume);
    ReadInteger(sound, "frequency", 0, INT32_MAX, record.Frequency);
    ReadInteger(sound, "looped", 0, 255, record.Looped);
    ReadInteger(sound, "is3D", 0, 255, record.Is3D);
    ReadInteger(sound, "crossed", 0, 255, record.Crossed);
    ReadFloat(sound, "minDistance", record.MinDistance);
    ReadFloat(sound, "maxDistance", record.MaxDistance);
    ReadFiles(sound, record);
  } catch (const ValueError& error) {
    throw ValueError(record.Label + ": " + error.what());
  }
  return record;
}

// The base file holds any of these, so they are stored; but the module will not use them as
// written, and the person importing should hear of it.
void NoteUnusedValues(SoundRecord& record, size_t pageCount) {
  std::vector<std::string>& notes = record.Notes;
  size_t first = notes.size();
  if (record.Page && (*record.Page < 0 || static_cast<size_t>(*record.Page) >= pageCount)) {
    notes.push_back("page " + std::to_string(*record.Page) + " does not exist (the catalogue has " +
                    std::to_string(pageCount) + (pageCount == 1 ? " page" : " pages") + ")");
  }
  if (record.PlayMode && *record.PlayMode != SOUND_PLAYMODE_SEQUENTIAL && *record.PlayMode != SOUND_PLAYMODE_RANDOM) {
    notes.push_back("playMode " + std::to_string(*record.PlayMode) +
                    " chooses no file: only 0 (in order) and 1 (at random) do");
  }
  if (record.NumStreams) {
    int32_t n = *record.NumStreams;
    if (n == 0) notes.push_back("numStreams 0 gives the sound no stream: it never plays");
    if (n < 0) notes.push_back("numStreams " + std::to_string(n) + " plays on one stream");
    if (n > MAX_STREAMS) notes.push_back("numStreams " + std::to_string(n) + " plays on " + std::to_string(MAX_STREAMS) + " streams at most");
  }
  if (record.Volume && *record.Volume > 100) {
    notes.push_back("volume " + std::to_string(*record.Volume) +
                    " is above full level (100): the sound device refuses that level, so it does not play at it");
  }
  for (size_t i = first; i < notes.size(); ++i) notes[i] += "; stored as given";
}

CatalogueRecord ReadCatalogue(const CatalogueJson& document) {
  if (!document.is_object()) throw ValueError("the document must be a JSON object");
  const CatalogueJson* format = Field(document, "format");
  if (!format || *format != FORMAT_NAME) throw ValueError("not a catalogue: \"format\" must be \"kxsound-catalogue\"");
  const CatalogueJson* version = Field(document, "version");
  if (!version || !version->is_number_integer() || *version != FORMAT_VERSION) {
    throw ValueError("\"version\" must be 1, the only version this kxsound reads");
  }
  CheckKeys(document, {"format", "version", "pages", "sounds"}, "");

  CatalogueRecord catalogue;
  const CatalogueJson& pages = ArrayField(document, "pages", "");
  for (size_t i = 0; i < pages.size(); ++i) {
    std::string where = "pages[" + std::to_string(i) + "]";
    catalogue.Pages.push_back(DecodeBytes(pages[i], where));
    if (catalogue.Pages.back().size() > MAX_PAGE_NAME_BYTES) throw ValueError(where + " holds more than 15 bytes");
  }
  const CatalogueJson& sounds = ArrayField(document, "sounds", "");
  for (size_t i = 0; i < sounds.size(); ++i) {
    catalogue.Sounds.push_back(ReadSound(sounds[i], i));
    NoteUnusedValues(catalogue.Sounds.back(), catalogue.Pages.size());
  }
  return catalogue;
}

// ---- building the catalogue in the module ----

std::string Shown(float value) { return EncodeFloat(value).dump(); }

void ClearCatalogue() {
  // From the last page, so that no deletion moves a page still to be deleted.
  for (auto count = static_cast<int>(PageNames().size()); count > 0; --count) qorSound_DeletePage(count - 1);
  // Sounds of pages beyond the table survive that.
  for (std::vector<std::string> left = SoundNames(); !left.empty(); left = SoundNames()) {
    size_t deleted = 0;
    for (const std::string& name : left) {
      void* sound = nullptr;
      if (qorSound_FindSound(name.c_str(), &sound) == S_OK) {
        qorSound_DeleteSound(sound);
        ++deleted;
      }
    }
    if (deleted == 0) throw ValueError("the catalogue already in the root could not be cleared");
  }
}

void AddPages(const std::vector<std::string>& pages) {
  for (size_t i = 0; i < pages.size(); ++i) {
    if (qorSound_NewPage(pages[i].c_str()) != S_OK) {
      throw ValueError("pages[" + std::to_string(i) + "] (" + EncodeBytes(pages[i]).dump() +
                       ") was refused: the name is taken (A-Z case does not count) or the table is full");
    }
  }
}

void SetDistances(const SoundRecord& record) {
  const char* n = record.Name.c_str();
  float minimum = 0, maximum = 0;
  qorSound_GetDistances(n, &minimum, &maximum);
  float wantMin = record.MinDistance.value_or(minimum), wantMax = record.MaxDistance.value_or(maximum);
  void* sound = nullptr;
  qorSound_FindSound(n, &sound);
  // By handle: the by-name setter leaves 2D sounds alone, whose distances are stored all the same.
  qorSound_SetSoundMinMaxDistances(sound, wantMin, wantMax);
  qorSound_GetDistances(n, &minimum, &maximum);
  if (!SameBits(minimum, wantMin) || !SameBits(maximum, wantMax)) {
    throw ValueError("minDistance " + Shown(wantMin) + " with maxDistance " + Shown(wantMax) +
                     " cannot be stored: the module raises a minimum below 1 to 1, then lowers one above the maximum"
                     " to it (it would keep " + Shown(minimum) + " and " + Shown(maximum) + ")");
  }
}

void AddFiles(const SoundRecord& record) {
  const char* n = record.Name.c_str();
  for (size_t i = 0; i < record.Files.size(); ++i) {
    char path[64];
    std::memcpy(path, record.Files[i].Path.c_str(), record.Files[i].Path.size() + 1);
    // Lower-cased on the way in: case means nothing to the file layer.
    if (qorSound_AddFile(n, path) != S_OK) {
      throw ValueError("files[" + std::to_string(i) + "].path " + EncodeBytes(record.Files[i].Path).dump() +
                       " was refused: it is listed twice (paths compare in lower case)");
    }
    if (record.Files[i].Enabled) qorSound_SetFileEnabled(n, static_cast<int>(i), *record.Files[i].Enabled);
  }
}

// The fields the record holds, through the module's setters; the files are left alone.
void StoreParameters(const SoundRecord& record) {
  const char* n = record.Name.c_str();
  if (record.Enabled) qorSound_SetSoundEnabled(n, *record.Enabled);
  if (record.Page) qorSound_SetSoundPage(n, *record.Page);
  if (record.PlayMode) qorSound_SetSoundPlayMode(n, static_cast<SOUND_PLAYMODE>(*record.PlayMode));
  if (record.NumStreams) qorSound_SetNumStreams(n, *record.NumStreams);
  if (record.Volume) qorSound_SetVolume(n, *record.Volume);
  if (record.Frequency) qorSound_SetFrequency(n, *record.Frequency);
  if (record.Looped) qorSound_SetLooped(n, *record.Looped);
  if (record.Is3D) qorSound_Set3D(n, *record.Is3D);
  if (record.Crossed) qorSound_SetCrossed(n, *record.Crossed);
  if (record.MinDistance || record.MaxDistance) SetDistances(record);
  if (record.Comment) {
    qorSound_SetSoundComments(n, record.Comment->c_str());
    if (!qorSound_GetSoundComments(n)) {
      throw ValueError("an empty comment cannot be stored (the module keeps it as none): write null");
    }
  }
}

void AddSound(const SoundRecord& record) {
  char name[256];
  std::memcpy(name, record.Name.c_str(), record.Name.size() + 1);
  qorSound_CreateNewSound(name);
  // The module renames a sound whose name is taken rather than refuse it.
  if (record.Name != name) {
    throw ValueError("the name is taken by an earlier sound (A-Z case does not count)");
  }
  StoreParameters(record);
  AddFiles(record);
}

}  // namespace

std::string CatalogueSnapshot() {
  diagnostics::Mute quiet;
  CatalogueJson document = CatalogueJson::object();
  CatalogueJson pages = CatalogueJson::array();
  for (const std::string& page : PageNames()) pages.push_back(EncodeBytes(page));
  document["pages"] = std::move(pages);
  CatalogueJson sounds = CatalogueJson::array();
  for (const std::string& name : SoundNames()) sounds.push_back(ExportSound(name));
  document["sounds"] = std::move(sounds);
  return document.dump();
}

bool ImportCatalogueText(const std::string& text, std::string* error) {
  CatalogueRecord catalogue;
  return ParseCatalogueDocument(text, &catalogue, error) && BuildCatalogue(catalogue, error);
}

bool ExportCatalogueText(std::string* text, std::string* error) {
  try {
    CatalogueJson document = CatalogueJson::object();
    document["format"] = FORMAT_NAME;
    document["version"] = FORMAT_VERSION;
    CatalogueJson pages = CatalogueJson::array();
    for (const std::string& page : PageNames()) pages.push_back(EncodeBytes(page));
    document["pages"] = std::move(pages);
    CatalogueJson sounds = CatalogueJson::array();
    std::set<std::string> seen;
    for (const std::string& name : SoundNames()) {
      // Every getter goes by name and reaches the first sound of a name only.
      if (!seen.insert(kx::asciiLowered(name)).second) {
        throw ValueError("the sound name " + EncodeBytes(name).dump() +
                         " appears twice (A-Z case does not count); rename one first");
      }
      sounds.push_back(ExportSound(name));
    }
    document["sounds"] = std::move(sounds);
    *text = document.dump(2) + "\n";
    return true;
  } catch (const std::exception& failure) {
    *error = failure.what();
    return false;
  }
}

// The document read and checked, before anything touches the module.
bool ParseCatalogueDocument(const std::string& text, CatalogueRecord* catalogue, std::string* error) {
  try {
    *catalogue = ReadCatalogue(CatalogueJson::parse(text));
    return true;
  } catch (const CatalogueJson::exception& failure) {
    // Drop the library's "[json.exception.parse_error.N] " tag; the line and column stay.
    const char* message = failure.what();
    if (const char* tagEnd = std::strstr(message, "] ")) message = tagEnd + 2;
    *error = message;
  } catch (const std::exception& failure) {
    *error = failure.what();
  }
  return false;
}

bool BuildCatalogue(const CatalogueRecord& catalogue, std::string* error) {
  try {
    ClearCatalogue();
    AddPages(catalogue.Pages);
    for (const SoundRecord& record : catalogue.Sounds) {
      try {
        AddSound(record);
      } catch (const ValueError& failure) {
        throw ValueError(record.Label + ": " + failure.what());
      }
    }
    return true;
  } catch (const ValueError& failure) {
    *error = failure.what();
    return false;
  }
}

CatalogueJson SoundAsJson(const std::string& name) {
  diagnostics::Mute quiet;
  return ExportSound(name);
}

bool StoreSoundFields(const std::string& name, const CatalogueJson& fields, bool store, std::vector<std::string>* notes,
                      std::string* error) {
  try {
    if (!fields.is_object()) throw ValueError("the fields must be a JSON object");
    CatalogueJson withName = fields;
    withName["name"] = EncodeBytes(name);
    withName.erase("files");
    SoundRecord record = ReadSound(withName, 0);
    record.Label.clear();
    NoteUnusedValues(record, PageNames().size());
    *notes = record.Notes;
    if (!store) return true;
    // The distances are judged by the module as they are set; a refusal puts back what was there.
    CatalogueJson before = ExportSound(name);
    before.erase("files");
    try {
      StoreParameters(record);
    } catch (const ValueError&) {
      SoundRecord old = ReadSound(before, 0);
      StoreParameters(old);
      if (!old.Comment) qorSound_SetSoundComments(name.c_str(), "");
      throw;
    }
    // Only an edit can take a comment away; an imported sound starts without one.
    auto comment = fields.find("comment");
    if (comment != fields.end() && comment->is_null()) qorSound_SetSoundComments(name.c_str(), "");
    return true;
  } catch (const std::exception& failure) {
    std::string text = failure.what();
    // The label names a position in an import file, which an edit has not.
    if (text.compare(0, 11, "sounds[0] (") == 0) text.erase(0, text.find("): ") + 3);
    *error = text;
    return false;
  }
}
