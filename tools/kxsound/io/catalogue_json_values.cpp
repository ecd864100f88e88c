#include "io/catalogue_json_values.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string ToHex(const uint8_t* bytes, size_t count) {
  static const char digits[] = "0123456789abcdef";
  std::string out;
  out.reserve(count * 2);
  for (size_t i = 0; i < count; ++i) {
    out += digits[bytes[i] >> 4];
    out += digits[bytes[i] & 15];
  }
  return out;
}

// The bytes of an even run of hex digits, or false.
bool FromHex(const std::string& text, std::string& bytes) {
  if (text.size() % 2 != 0) return false;
  bytes.clear();
  for (size_t i = 0; i < text.size(); i += 2) {
    int high = HexDigit(text[i]), low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

// The string under the single key of {"key": "..."}, or null.
const std::string* WrappedString(const CatalogueJson& value, const char* key) {
  if (!value.is_object() || value.size() != 1 || !value.contains(key) || !value.at(key).is_string()) return nullptr;
  return value.at(key).get_ptr<const std::string*>();
}

}  // namespace

bool IsValidUtf8(const std::string& bytes) {
  // RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF, the same
  // rule the JSON writer applies, so that a string passed on here never makes it throw.
  size_t i = 0, n = bytes.size();
  while (i < n) {
    auto lead = static_cast<uint8_t>(bytes[i]);
    if (lead < 0x80) {
      ++i;
      continue;
    }
    size_t extra;
    uint32_t code;
    if (lead >= 0xC2 && lead <= 0xDF) {
      extra = 1, code = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      extra = 2, code = lead & 0x0Fu;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      extra = 3, code = lead & 0x07u;
    } else {
      return false;
    }
    if (n - i <= extra) return false;
    for (size_t k = 1; k <= extra; ++k) {
      auto next = static_cast<uint8_t>(bytes[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      code = (code << 6) | (next & 0x3Fu);
    }
    if ((extra == 2 && code < 0x800) || (extra == 3 && (code < 0x10000 || code > 0x10FFFF)) ||
        (code >= 0xD800 && code <= 0xDFFF)) {
      return false;
    }
    i += extra + 1;
  }
  return true;
}

CatalogueJson EncodeBytes(const std::string& bytes) {
  if (IsValidUtf8(bytes)) return bytes;
  CatalogueJson wrapped = CatalogueJson::object();
  wrapped["hex"] = ToHex(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return wrapped;
}

CatalogueJson EncodeFloat(float value) {
  if (std::isfinite(value)) return value;
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  char text[9];
  std::snprintf(text, sizeof text, "%08x", bits);
  CatalogueJson wrapped = CatalogueJson::object();
  wrapped["bits"] = text;
  return wrapped;
}

std::string DecodeBytes(const CatalogueJson& value, const std::string& field) {
  std::string bytes;
  if (value.is_string()) {
    bytes = value.get<std::string>();
  } else if (const std::string* hex = WrappedString(value, "hex")) {
    if (!FromHex(*hex, bytes)) throw ValueError(field + ": \"hex\" needs pairs of hex digits");
  } else {
    throw ValueError(field + " must be a string or {\"hex\": \"...\"}");
  }
  // Stored text ends at its first zero byte.
  if (bytes.find('\0') != std::string::npos) throw ValueError(field + " holds a zero byte");
  return bytes;
}

float DecodeFloat(const CatalogueJson& value, const std::string& field) {
  // The parser already refuses a literal beyond the range of a float.
  if (value.is_number_float()) return value.get<float>();
  if (value.is_number_unsigned()) return static_cast<float>(value.get<uint64_t>());
  if (value.is_number_integer()) return static_cast<float>(value.get<int64_t>());
  if (const std::string* text = WrappedString(value, "bits")) {
    std::string bytes;
    if (text->size() != 8 || !FromHex(*text, bytes)) throw ValueError(field + ": \"bits\" needs 8 hex digits");
    uint32_t bits = 0;
    for (char byte : bytes) bits = (bits << 8) | static_cast<uint8_t>(byte);
    float number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
  }
  throw ValueError(field + " must be a number or {\"bits\": \"xxxxxxxx\"}");
}

int64_t DecodeInteger(const CatalogueJson& value, const std::string& field, int64_t lowest, int64_t highest) {
  bool inRange = false;
  int64_t number = 0;
  if (value.is_number_unsigned()) {
    auto wide = value.get<uint64_t>();
    inRange = highest >= 0 && wide <= static_cast<uint64_t>(highest);
    number = static_cast<int64_t>(wide);
    inRange = inRange && number >= lowest;
  } else if (value.is_number_integer()) {
    number = value.get<int64_t>();
    inRange = number >= lowest && number <= highest;
  } else {
    throw ValueError(field + " must be a whole number");
  }
  if (!inRange) {
    throw ValueError(field + " must be from " + std::to_string(lowest) + " to " + std::to_string(highest));
  }
  return number;
}
