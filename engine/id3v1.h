#pragma once

#include "engine/file_io.h"
#include "engine/id3_tag.h"

namespace melos {

inline constexpr size_t kV1TagSize = 128;

// 0 only when the last 128 bytes cannot be read, else 1.
int loadV1(ID3Tag& track, const File& file) noexcept;

// 1 when the file ends in a V1 tag, 0 when not, -1 when it cannot be read
// (errno tells why).
int hasV1Tag(const File& file) noexcept;

// Parses a 128-byte block that begins with "TAG" into the V1 tag.
void parseV1Block(V1Tag& tag, const uint8_t* block) noexcept;

}  // namespace melos
