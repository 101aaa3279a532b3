#pragma once
// The 128-byte ID3v1 block made in memory for tests.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/bytes.h"

namespace melos::test {

struct Id3v1Fields {
  std::string title;               // 30 bytes at 3
  std::string artist;              // 30 bytes at 33
  std::string album;               // 30 bytes at 63
  std::string year;                // 4 bytes at 93
  std::string comment;             // 29 bytes at 97
  uint8_t track = 0;               // byte 126, 0 for none
  uint8_t genre = 255;             // byte 127, 255 for none
};

// Texts are written as their bytes (Latin-1), cut to the field, zero-filled.
Bytes id3v1Tag(const Id3v1Fields& fields);

}  // namespace melos::test
