#include "ui/image_codec.h"

#include <QBuffer>
#include <QImageReader>
#include <png.h>

#include <csetjmp>
#include <vector>

namespace melos::ui {

QImage QtImageCodec::decode(ByteSpan bytes) {
  if (bytes.empty() || bytes.size() > kMaxPictureBytes) return {};
  QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()),
                                            static_cast<qsizetype>(bytes.size()));
  QBuffer buffer(&data);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer);
  // A header may claim any size; nothing is decoded past the bound, also where
  // a reader cannot tell its size beforehand.
  reader.setAllocationLimit(static_cast<int>(kMaxPicturePixels * 4 >> 20));
  const QSize claimed = reader.size();
  if (claimed.isValid() &&
      static_cast<uint64_t>(claimed.width()) * static_cast<uint64_t>(claimed.height()) > kMaxPicturePixels)
    return {};
  return reader.read();
}

bool QtImageCodec::decodable(ByteSpan bytes) {
  decoded_ = decode(bytes);
  decodedFrom_ = bytes;
  return !decoded_.isNull();
}

std::optional<Bytes> QtImageCodec::toInterlacedPng(ByteSpan bytes) {
  const bool same = bytes.data() == decodedFrom_.data() && bytes.size() == decodedFrom_.size();
  const QImage image = same ? decoded_ : decode(bytes);
  if (image.isNull()) return std::nullopt;
  return writeInterlacedPng(image);
}

namespace {

void appendToBytes(png_structp png, png_bytep data, png_size_t length) {
  auto* out = static_cast<Bytes*>(png_get_io_ptr(png));
  out->insert(out->end(), data, data + length);
}

void flushNothing(png_structp) {}

}  // namespace

std::optional<Bytes> writeInterlacedPng(const QImage& image) {
  if (image.isNull()) return std::nullopt;
  const bool alpha = image.hasAlphaChannel();
  const QImage rows = image.convertToFormat(alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
  std::vector<png_bytep> rowPointers(static_cast<size_t>(rows.height()));
  for (int y = 0; y < rows.height(); ++y)
    rowPointers[static_cast<size_t>(y)] = const_cast<png_bytep>(rows.constScanLine(y));
  Bytes out;

  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (png == nullptr) return std::nullopt;
  png_infop info = png_create_info_struct(png);
  // libpng reports its errors by longjmp; every object with a destructor was
  // made above, so the jump skips none.
  if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
    png_destroy_write_struct(&png, &info);
    return std::nullopt;
  }
  png_set_write_fn(png, &out, appendToBytes, flushNothing);
  png_set_IHDR(png, info, static_cast<png_uint_32>(rows.width()), static_cast<png_uint_32>(rows.height()), 8,
               alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_ADAM7,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  png_set_interlace_handling(png);
  png_write_image(png, rowPointers.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return out;
}

}  // namespace melos::ui
