#pragma once
// The ID3v2 header check and the frame walk over a tag held whole in memory.

#include <cstdint>

#include "engine/bytes.h"
#include "engine/id3_tag.h"

namespace melos {

inline constexpr int kMaxV2Version = 4;
inline constexpr size_t kInitialFrameBuffer = 256;
inline constexpr size_t kFrameBufferSpare = 5;

// Total tag size (header included), or 0 when there is no usable tag.
uint32_t ParseV2Header(const uint8_t* bytes, size_t count) noexcept;

// Always 1; fills the track's tag data from the whole tag (header included).
int ReadV2Frames(ID3Tag& track, ByteSpan tag, bool option) noexcept;

// Whether an ID is in the standard table of a major version (2, 3, 4 or later).
bool isStandardFrameId(std::string_view id, int majorVersion) noexcept;

}  // namespace melos
