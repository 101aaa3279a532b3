#pragma once
// Pictures decoded with Qt's image readers (TIFF through the image-formats
// plugins) and written as interlaced PNG with libpng, whose writer, unlike
// Qt's, can interlace. Needs QtGui only, no window.

#include <QImage>
#include <utility>

#include "operations/picture_well.h"

namespace melos::ui {

class QtImageCodec : public ImageCodec {
 public:
  // Keeps the image it decoded, so that the conversion and the display that
  // follow do not decode a large picture again.
  bool decodable(ByteSpan bytes) override;
  std::optional<Bytes> toInterlacedPng(ByteSpan bytes) override;
  // The image of the last decodable() call, handed over.
  QImage takeDecoded() { return std::exchange(decoded_, QImage()); }

  // The picture, or a null image when the bytes do not decode or claim more
  // than kMaxPicturePixels (checked from the header, before decoding).
  static QImage decode(ByteSpan bytes);

 private:
  // Which bytes decoded_ was made of.
  ByteSpan decodedFrom_;
  QImage decoded_;
};

// The image as 8-bit RGB or RGBA PNG with Adam7 interlacing; nothing when
// libpng fails.
std::optional<Bytes> writeInterlacedPng(const QImage& image);

}  // namespace melos::ui
