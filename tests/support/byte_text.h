#pragma once
// Byte literals of text for tests that spell out frames byte by byte.

#include <string_view>

#include "engine/bytes.h"

namespace melos::test {

inline Bytes ascii(std::string_view text) { return Bytes(text.begin(), text.end()); }

// UTF-16 little-endian units of ASCII text, no mark, no terminator.
inline Bytes units(std::string_view text) {
  Bytes out;
  for (char c : text) out.insert(out.end(), {static_cast<uint8_t>(c), 0});
  return out;
}

}  // namespace melos::test
