#include "operations/picture_well.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <fstream>
#include <string_view>

namespace melos {

namespace {

struct Signature {
  ImageKind kind;
  std::string_view bytes;
  bool AllowedImageKinds::*allowed;
};

// In the order they are tried.
constexpr std::array<Signature, 5> kSignatures{{
    {ImageKind::Jpeg, std::string_view("\xFF\xD8", 2), &AllowedImageKinds::jpeg},
    {ImageKind::Gif, "GIF", &AllowedImageKinds::gif},
    {ImageKind::Tiff, "MM", &AllowedImageKinds::tiff},
    {ImageKind::Png, "\x89PNG", &AllowedImageKinds::png},
    {ImageKind::Bmp, "BM", &AllowedImageKinds::bmp},
}};

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

const char* imageTypeText(ImageKind kind) {
  switch (kind) {
    case ImageKind::Jpeg: return "jpeg";
    case ImageKind::Gif: return "gif";
    case ImageKind::Tiff: return "tiff";
    case ImageKind::Png: return "png";
    case ImageKind::Bmp: return "bmp";
  }
  return "";
}

AllowedImageKinds allowedImageKinds(const std::vector<std::string>& types) {
  AllowedImageKinds allowed{false, false, false, false, false};
  for (const std::string& type : types) {
    const std::string t = lowered(type);
    if (t == "jpg" || t == "jpeg") allowed.jpeg = true;
    else if (t == "gif") allowed.gif = true;
    else if (t == "tif" || t == "tiff") allowed.tiff = true;
    else if (t == "png") allowed.png = true;
    else if (t == "bmp") allowed.bmp = true;
  }
  return allowed;
}

std::optional<ImageKind> recogniseImage(ByteSpan bytes, const AllowedImageKinds* allowed) {
  for (const Signature& signature : kSignatures) {
    if (allowed != nullptr && !(allowed->*signature.allowed)) continue;
    if (bytes.size() >= signature.bytes.size() &&
        std::memcmp(bytes.data(), signature.bytes.data(), signature.bytes.size()) == 0)
      return signature.kind;
  }
  return std::nullopt;
}

int askToConvertImage(Questions& questions) {
  const std::string answer =
      questions.ask("Would you like to convert the image to PNG?",
                    "Please note: If you click 'No', the image will be added in the original format.",
                    {std::string(kYesButton), std::string(kCancelButton), std::string(kNoButton)});
  if (answer == kCancelButton) return kRefuseImage;
  if (answer == kNoButton) return kKeepImageFormat;
  return kConvertImage;
}

bool PictureWell::setImageWithData(Bytes data, bool checkType) {
  if (data.empty() || data.size() > kMaxPictureBytes) return false;
  const std::optional<ImageKind> kind = recogniseImage(data, checkType ? &allowed_ : nullptr);
  // Bytes that do not decode are never stored: the tag would hold a picture
  // that no program can show.
  if (!kind || !codec_.decodable(data)) return false;
  std::string type = imageTypeText(*kind);
  if (checkType && (*kind == ImageKind::Tiff || *kind == ImageKind::Gif)) {
    const int answer = askForConversion_ && conversionQuestion_ ? conversionQuestion_() : kConvertImage;
    if (answer == kRefuseImage) return false;
    if (answer != kKeepImageFormat) {
      std::optional<Bytes> png = codec_.toInterlacedPng(data);
      if (!png) return false;
      data = std::move(*png);
      type = imageTypeText(ImageKind::Png);
    }
  }
  data_ = std::move(data);
  type_ = std::move(type);
  return true;
}

void PictureWell::removeImage() {
  data_.clear();
  type_.clear();
}

std::string pictureFileName(const std::string& folder, const std::string& type,
                            const std::function<bool(const std::string&)>& exists) {
  constexpr int kLastNumber = 99;
  std::string name = folder + "/Picture." + type;
  for (int number = 1; number <= kLastNumber && exists(name); ++number)
    name = folder + "/Picture-" + std::to_string(number) + "." + type;
  return name;
}

std::optional<Bytes> readPictureFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in) return std::nullopt;
  const std::streamoff size = in.tellg();
  if (size <= 0 || static_cast<uint64_t>(size) > kMaxPictureBytes) return std::nullopt;
  Bytes bytes(static_cast<size_t>(size));
  in.seekg(0);
  if (!in.read(reinterpret_cast<char*>(bytes.data()), size)) return std::nullopt;
  return bytes;
}

std::string pictureMimeType(const std::vector<std::string>& formats) {
  // The kinds the well knows, the ones that keep every pixel first.
  for (const char* type : {"image/png", "image/jpeg", "image/gif", "image/tiff", "image/bmp"})
    if (std::find(formats.begin(), formats.end(), type) != formats.end()) return type;
  return {};
}

}  // namespace melos
