#pragma once
// A whole ID3v2.3 or 2.4 tag built in memory: header, frames in the fixed order
// of the frame table, padding.

#include <cstdint>

#include "engine/bytes.h"
#include "engine/id3_tag.h"

namespace melos {

inline constexpr uint32_t kTagHeaderSize = 10;
inline constexpr uint32_t kTagSizeGranule = 128;  // the whole tag is a multiple of this
inline constexpr uint32_t kMinPadding = 10;

// 4 when the tag holds a release or recording time, which only 2.4 can keep.
int chooseSaveVersion(const ID3Tag& tag) noexcept;

// The padding behind S frame bytes: the tag ends on a multiple of 128 and has
// at least 10 bytes of padding.
uint32_t paddingFor(uint32_t frameBytes) noexcept;

// Appends the tag to `out` and returns its size, header included; 0 on failure,
// with `out` as it was. A version of 2 or less leaves the choice to
// chooseSaveVersion; above 4 is written as 4. UTF-16 texts stored big-endian
// are turned little-endian in the tag itself, as written.
//
// User texts (TXXX) and kept frames are always written, whatever
// keepExtraFrames says: the callers that pass false would otherwise drop data
// the editors never show, and the verification of every such save would fail.
uint32_t buildV2Tag(ID3Tag& tag, Bytes& out, int version, bool trim, bool keepExtraFrames) noexcept;

}  // namespace melos
