#include "engine/picture.h"

namespace melos {

namespace {
bool startsWith(ByteSpan image, std::string_view magic) {
  if (image.size() < magic.size()) return false;
  for (size_t i = 0; i < magic.size(); ++i)
    if (image[i] != static_cast<uint8_t>(magic[i])) return false;
  return true;
}
}  // namespace

std::string_view pictureSubtypeFromBytes(ByteSpan image) noexcept {
  if (startsWith(image, "\xFF\xD8")) return "jpeg";
  if (startsWith(image, "MM")) return "tiff";
  if (startsWith(image, "\x89PNG")) return "png";
  if (startsWith(image, "GIF")) return "gif";
  if (startsWith(image, "BM")) return "bmp";
  return {};
}

std::string_view pictureSubtypeFromMime(std::string_view mime, ByteSpan image) noexcept {
  // The second "image/tif" row compares nine characters like the first, so a
  // MIME of image/tiff needs nothing more; little-endian TIFF ("II") is refused.
  if (equalsNoCase(mime, "image/jpeg") && startsWith(image, "\xFF\xD8")) return "jpeg";
  if (equalsNoCase(mime, "image/jpg") && startsWith(image, "\xFF\xD8")) return "jpeg";
  if (startsWithNoCase(mime, "image/tif") && startsWith(image, "MM")) return "tiff";
  if (equalsNoCase(mime, "image/png") && startsWith(image, "\x89PNG")) return "png";
  if (equalsNoCase(mime, "image/gif") && startsWith(image, "GIF")) return "gif";
  if (equalsNoCase(mime, "image/bmp") && startsWith(image, "BM")) return "bmp";
  return {};
}

}  // namespace melos
