#pragma once
// Field-by-field comparison of a written track and its reread copy, and the
// text naming the tag versions a track holds.

#include "engine/id3_tag.h"

namespace melos {

// The reread file holds no V2 tag where one was written.
inline constexpr unsigned kCompareNoV2Tag = 144;

unsigned CompareV1Tags(const ID3Tag& written, const ID3Tag& reread) noexcept;
unsigned CompareV2Tags(const ID3Tag& written, const ID3Tag& reread, int version) noexcept;
void DescribeTagVersions(ID3Tag& track, int version) noexcept;

// The field name of a V2 comparison code ("Title" for 103); empty for others.
const char* compareFieldName(unsigned code) noexcept;

}  // namespace melos
