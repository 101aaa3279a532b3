#pragma once
// Byte literals of text for tests that spell out frames byte by byte.

#include <string_view>

#include "engine/bytes.h"

namespace melos::test {

inline Bytes ascii(std::string_view text) { return Bytes(text.begin(), text.end()); }

// The builders' appends: bytes, a text cut or padded with spaces to a width
// (chunk and frame IDs, languages, formats), a big-endian 32-bit word.
inline void append(Bytes& out, const Bytes& more) { out.insert(out.end(), more.begin(), more.end()); }
inline void appendText(Bytes& out, std::string_view text, size_t width) {
  for (size_t i = 0; i < width; ++i) out.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : uint8_t{' '});
}
inline void appendU32BE(Bytes& out, uint32_t value) {
  uint8_t b[4];
  writeU32BE(b, value);
  out.insert(out.end(), b, b + 4);
}

// UTF-16 little-endian units of ASCII text, no mark, no terminator.
inline Bytes units(std::string_view text) {
  Bytes out;
  for (char c : text) out.insert(out.end(), {static_cast<uint8_t>(c), 0});
  return out;
}

}  // namespace melos::test
