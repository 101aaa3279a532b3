#include "operations/picture_list.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace melos {

const std::array<std::string_view, kPictureTypeCount>& pictureTypeNames() {
  static constexpr std::array<std::string_view, kPictureTypeCount> kNames = {
      "Other", "File icon (32 × 32 PNG)", "Other file icon", "Front cover", "Back cover", "Leaflet page",
      "Media", "Lead artist", "Artist", "Conductor", "Band", "Composer", "Lyricist", "Recording location",
      "During recording", "During performance", "Screen capture", "A bright coloured fish", "Illustration",
      "Band logo", "Publisher logo"};
  return kNames;
}

size_t clampPictureIndex(size_t index, size_t count) noexcept { return count == 0 ? 0 : std::min(index, count - 1); }

size_t addPicture(PicDataArray& pictures, PicData picture, size_t index, bool addToEnd) {
  if (pictures.empty()) picture.pictureType = kPictureFrontCover;
  const size_t at = addToEnd ? pictures.size() : std::min(index, pictures.size());
  pictures.insert(pictures.begin() + static_cast<std::ptrdiff_t>(at), std::move(picture));
  return at;
}

std::string pictureFacts(const PicData& picture, int width, int height) {
  std::string kind = picture.pictureSubtype;
  for (char& c : kind) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (kind.empty()) kind = "Unknown kind";
  char size[64] = "";
  if (width > 0 && height > 0) std::snprintf(size, sizeof size, ", %d × %d pixels", width, height);
  const double bytes = static_cast<double>(picture.data.size());
  char amount[32];
  if (bytes < 1000) std::snprintf(amount, sizeof amount, "%.0f bytes", bytes);
  else if (bytes < 1000 * 1000) std::snprintf(amount, sizeof amount, "%.1f KB", bytes / 1000);
  else std::snprintf(amount, sizeof amount, "%.1f MB", bytes / 1000 / 1000);
  return kind + size + ", " + amount;
}

}  // namespace melos
