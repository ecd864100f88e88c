// How catalogue values are written in JSON and read back, exactly.
//
// Text (names, comments, page names, file paths) is a JSON string when its bytes are
// valid UTF-8, and otherwise {"hex": "<two lower-case digits per byte>"}: the catalogue
// stores bytes, not text, and replacing a byte would break the round trip.
// Distances are JSON numbers printed shortest-first for a float (0.1f reads 0.1 and
// comes back as the same bits); infinities and NaNs, which JSON has no number for, are
// {"bits": "<8 hex digits of the IEEE single>"}.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

// Keys keep the order they were written in; numbers with a fraction are floats.
using CatalogueJson =
    nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, std::int64_t, std::uint64_t, float>;

// A value of the JSON file that the catalogue cannot take; the text says what is wrong.
struct ValueError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

bool IsValidUtf8(const std::string& bytes);

CatalogueJson EncodeBytes(const std::string& bytes);
CatalogueJson EncodeFloat(float value);

// Readers throw ValueError naming the field.
std::string DecodeBytes(const CatalogueJson& value, const std::string& field);
float DecodeFloat(const CatalogueJson& value, const std::string& field);
int64_t DecodeInteger(const CatalogueJson& value, const std::string& field, int64_t lowest, int64_t highest);
