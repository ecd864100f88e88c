// The catalogue of a running module as a JSON document, and back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "catalogue_json_values.h"

// The document read into plain values.
struct FileRecord {
  std::string Path;
  std::optional<uint8_t> Enabled;
};

// A field left out keeps the value a new sound has.
struct SoundRecord {
  std::string Label;  // how messages name the sound
  std::string Name;
  std::optional<std::string> Comment;
  std::optional<int32_t> Enabled, Page, PlayMode, NumStreams, Volume, Frequency;
  std::optional<uint8_t> Looped, Is3D, Crossed;
  std::optional<float> MinDistance, MaxDistance;
  std::vector<FileRecord> Files;
  std::vector<std::string> Notes;  // values stored as given that the module will not use so
};

struct CatalogueRecord {
  std::vector<std::string> Pages;
  std::vector<SoundRecord> Sounds;
};

// The document read and checked, before anything touches the module; false, with the reason,
// when it does not read.
bool ParseCatalogueDocument(const std::string& text, CatalogueRecord* catalogue, std::string* error);
// Replaces the running module's catalogue with the record's through its own setters; false,
// with the reason, when the module refuses part of it.
bool BuildCatalogue(const CatalogueRecord& catalogue, std::string* error);

// Replaces the running module's catalogue with the document's and saves nothing. False,
// with the reason, when the document does not read or the module refuses part of it;
// the catalogue is then what was built up to there.
bool ImportCatalogueText(const std::string& text, std::string* error);
// The running module's catalogue as a document; false, with the reason, when it has none.
bool ExportCatalogueText(std::string* text, std::string* error);

// The catalogue in memory as text, to tell whether it changed.
std::string CatalogueSnapshot();

// One sound of the running module as the export writes it: every stored field and its files.
CatalogueJson SoundAsJson(const std::string& name);
// Reads fields of one sound as the import reads them (a "comment" of null removes it; "name"
// and "files" are not taken) and, with store, sets them through the module's setters. notes:
// values stored as given that the module will not use so. False, with the reason and nothing
// stored, when a value cannot be taken.
bool StoreSoundFields(const std::string& name, const CatalogueJson& fields, bool store, std::vector<std::string>* notes,
                      std::string* error);
