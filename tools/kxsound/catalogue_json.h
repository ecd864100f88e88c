// The catalogue of a running module as a JSON document, and back.
#pragma once

#include <string>
#include <vector>

#include "catalogue_json_values.h"

// Replaces the running module's catalogue with the document's and saves nothing. False,
// with the reason, when the document does not read or the module refuses part of it;
// the catalogue is then what was built up to there.
bool ImportCatalogueText(const std::string& text, std::string* error);
// The running module's catalogue as a document; false, with the reason, when it has none.
bool ExportCatalogueText(std::string* text, std::string* error);

// One sound of the running module as the export writes it: every stored field and its files.
CatalogueJson SoundAsJson(const std::string& name);
// Reads fields of one sound as the import reads them (a "comment" of null removes it; "name"
// and "files" are not taken) and, with store, sets them through the module's setters. notes:
// values stored as given that the module will not use so. False, with the reason and nothing
// stored, when a value cannot be taken.
bool StoreSoundFields(const std::string& name, const CatalogueJson& fields, bool store, std::vector<std::string>* notes,
                      std::string* error);
