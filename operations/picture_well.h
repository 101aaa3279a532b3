#pragma once
// What the picture well decides without a window: which kind of image some
// bytes are (by their first bytes, never by a file name), whether the well
// takes them, whether a TIFF or GIF picture becomes PNG first, and the names of
// the files a picture is dragged or saved out as.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "engine/bytes.h"
#include "operations/questions.h"

namespace melos {

enum class ImageKind { Jpeg, Gif, Tiff, Png, Bmp };

// The short type a tag stores as "image/%s": "jpeg", "gif", "tiff", "png", "bmp".
const char* imageTypeText(ImageKind kind);

struct AllowedImageKinds {
  bool jpeg = true, gif = true, tiff = true, png = true, bmp = true;
};

// "jpg"/"jpeg", "gif", "tif"/"tiff", "png" and "bmp" in any case; every kind
// not named is refused and any other text is ignored.
AllowedImageKinds allowedImageKinds(const std::vector<std::string>& types);

// The first kind in the order JPEG, GIF, TIFF, PNG, BMP whose signature the
// bytes begin with, among the allowed kinds (all kinds when `allowed` is null).
// Only big-endian TIFF ("MM") is a TIFF: little-endian ("II") is refused.
std::optional<ImageKind> recogniseImage(ByteSpan bytes, const AllowedImageKinds* allowed);

// Bounds on what the well takes, so a crafted file cannot make it read or
// decode without limit: the bytes of a picture file, and the pixels its header
// may claim before anything is decoded (a decoded pixel takes 4 bytes).
inline constexpr size_t kMaxPictureBytes = size_t{64} << 20;
inline constexpr uint64_t kMaxPicturePixels = uint64_t{32} << 20;

// Decoding and converting, which need an image library.
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;
  // Whether the bytes decode to an image no larger than kMaxPicturePixels.
  virtual bool decodable(ByteSpan bytes) = 0;
  // The same picture written as PNG with Adam7 interlacing, or nothing.
  virtual std::optional<Bytes> toInterlacedPng(ByteSpan bytes) = 0;
};

// The answers of the conversion question.
inline constexpr int kRefuseImage = 0;
inline constexpr int kKeepImageFormat = -1;
inline constexpr int kConvertImage = 1;

// The editors' conversion question: "Yes" (the default) converts, "Cancel"
// refuses the picture and "No" keeps its format.
int askToConvertImage(Questions& questions);

// The picture of the well: its bytes exactly as they will be stored, and its
// short type.
class PictureWell {
 public:
  explicit PictureWell(ImageCodec& codec) : codec_(codec) {}

  void setAllowedImageTypes(const std::vector<std::string>& types) { allowed_ = allowedImageKinds(types); }
  void setAskUserForImageConversion(bool ask) { askForConversion_ = ask; }
  // Asked before a TIFF or GIF is converted; answers as askToConvertImage.
  void setConversionQuestion(std::function<int()> ask) { conversionQuestion_ = std::move(ask); }

  // The one way a picture enters the well. With `checkType` the kind must be
  // allowed and a TIFF or GIF is offered for conversion to PNG; without it any
  // of the five kinds is taken as it is. False leaves the well as it was.
  bool setImageWithData(Bytes data, bool checkType);
  void setImageType(std::string type) { type_ = std::move(type); }
  const std::string& getImageType() const { return type_; }
  const Bytes& getImageData() const { return data_; }
  size_t getImageDataSize() const { return data_.size(); }
  bool hasImage() const { return !data_.empty(); }
  void removeImage();

 private:
  ImageCodec& codec_;
  AllowedImageKinds allowed_;
  bool askForConversion_ = false;
  std::function<int()> conversionQuestion_;
  Bytes data_;
  std::string type_;
};

// Where a picture goes in `folder`: "Picture.<type>", or while that exists
// "Picture-1.<type>" up to "Picture-99.<type>", the last taken even when it
// exists (it is then written over).
std::string pictureFileName(const std::string& folder, const std::string& type,
                            const std::function<bool(const std::string&)>& exists);

// The whole of a picture file; nothing when it cannot be read, is empty or is
// larger than kMaxPictureBytes.
std::optional<Bytes> readPictureFile(const std::string& path);

// Of the formats a drop or the clipboard offers, the image type whose bytes
// are taken as they are ("image/png", ...), or empty when there is none.
std::string pictureMimeType(const std::vector<std::string>& formats);

}  // namespace melos
