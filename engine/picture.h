#pragma once

#include <string>
#include <string_view>

#include "engine/bytes.h"

namespace melos {

// The picture kind ("jpeg", "png", "gif", "tiff", "bmp") that the first bytes of
// an image show, or empty when they show none of the accepted kinds. Only
// big-endian TIFF ("MM") is accepted.
std::string_view pictureSubtypeFromBytes(ByteSpan image) noexcept;

// The picture kind of a MIME text and image bytes, tested in the fixed order of
// the reader; empty when the pair is refused.
std::string_view pictureSubtypeFromMime(std::string_view mime, ByteSpan image) noexcept;

}  // namespace melos
