// The catalogue of a running module as a JSON document, and back.
#pragma once

#include <string>

// Replaces the running module's catalogue with the document's and saves nothing. False,
// with the reason, when the document does not read or the module refuses part of it;
// the catalogue is then what was built up to there.
bool ImportCatalogueText(const std::string& text, std::string* error);
// The running module's catalogue as a document; false, with the reason, when it has none.
bool ExportCatalogueText(std::string* text, std::string* error);
