#pragma once
// The pictures of a track as the editor pages through them: which one is
// shown, where a new one goes, and what a user reads about each.

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "engine/tag_data.h"

namespace melos {

// The picture types of the ID3v2 picture frame, by number.
inline constexpr size_t kPictureTypeCount = 21;
const std::array<std::string_view, kPictureTypeCount>& pictureTypeNames();

// The position shown once the list has `count` pictures: held inside the list.
size_t clampPictureIndex(size_t index, size_t count) noexcept;

// A picture added while `index` is shown: at the end with "Add picture to
// end", else in front of the one shown. The first picture of a track is its
// front cover. Returns the position of the new picture.
size_t addPicture(PicDataArray& pictures, PicData picture, size_t index, bool addToEnd);

// "JPEG, 600 × 600 pixels, 54.2 KB": the kind, the size when known (0 when
// the picture could not be measured) and the bytes.
std::string pictureFacts(const PicData& picture, int width, int height);

}  // namespace melos
