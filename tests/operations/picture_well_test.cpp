// What the picture well takes, converts and names, with a codec that decodes
// anything and "converts" by marking the bytes.

#include "operations/picture_well.h"

#include <gtest/gtest.h>

#include <set>

namespace melos {
namespace {

const Bytes kJpeg{0xFF, 0xD8, 0xFF, 0xE0}, kGif{'G', 'I', 'F', '8', '9', 'a'}, kTiffBig{'M', 'M', 0, 42},
    kTiffLittle{'I', 'I', 42, 0}, kPng{0x89, 'P', 'N', 'G', 13, 10}, kBmp{'B', 'M', 0, 0}, kConverted{0x89, 'P', 'N', 'G', 1};

struct MarkingCodec : ImageCodec {
  bool decodable(ByteSpan bytes) override { return bytes.size() > 1; }
  std::optional<Bytes> toInterlacedPng(ByteSpan) override { return kConverted; }
};

TEST(PictureWell, TakesTheAllowedKindsByTheirFirstBytes) {
  // allowed empty: the check flag is off; type "" when refused.
  struct Row { std::vector<std::string> allowed; Bytes bytes; const char* type; } rows[] = {
      {{"png"}, kJpeg, ""},           {{"JPG", "gif"}, kJpeg, "jpeg"}, {{"tiff"}, kTiffLittle, ""},
      {{}, kTiffBig, "tiff"},         {{"png", "bmp"}, kBmp, "bmp"},   {{"png", "bogus"}, kPng, "png"},
      {{}, kBmp, "bmp"},              {{}, kTiffLittle, ""},           {{"png"}, Bytes{0x89, 'P'}, ""},
      {{"jpeg"}, Bytes{}, ""},        {{"gif"}, Bytes{'G'}, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.bytes.begin(), row.bytes.end()) + " " + row.type);
    MarkingCodec codec;
    PictureWell well(codec);
    well.setAllowedImageTypes(row.allowed);
    ASSERT_TRUE(well.setImageWithData(kPng, false));
    EXPECT_EQ(well.setImageWithData(row.bytes, !row.allowed.empty()), *row.type != '\0');
    // A refused picture leaves the old one.
    EXPECT_EQ(well.getImageType(), *row.type ? row.type : "png");
    EXPECT_EQ(well.getImageData(), *row.type ? row.bytes : kPng);
  }
}

TEST(PictureWell, TiffAndGifBecomePngAsTheQuestionAnswers) {
  // answer nullptr: no question installed; type "" when refused.
  struct Row { bool check, ask; const char* answer; Bytes bytes; int asked; const char* type; } rows[] = {
      {true, true, "No", kGif, 1, "gif"},      {true, true, "Yes", kGif, 1, "png"},
      {true, true, "Cancel", kGif, 1, ""},     {true, true, "Yes", kTiffBig, 1, "png"},
      {false, true, "Cancel", kGif, 0, "gif"}, {true, false, "Cancel", kGif, 0, "png"},
      {true, true, nullptr, kGif, 0, "png"},   {true, true, "Cancel", kJpeg, 0, "jpeg"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.answer ? row.answer : "none") + " " + row.type);
    struct Answer : Questions {
      std::string button;
      int asked = 0;
      std::string ask(const std::string& title, const std::string&, const std::vector<std::string>& buttons) override {
        ++asked;
        EXPECT_EQ(title, "Would you like to convert the image to PNG?");
        EXPECT_EQ(buttons, (std::vector<std::string>{"Yes", "Cancel", "No"}));
        return button;
      }
    } questions;
    questions.button = row.answer ? row.answer : "";
    MarkingCodec codec;
    PictureWell well(codec);
    well.setAskUserForImageConversion(row.ask);
    if (row.answer) well.setConversionQuestion([&] { return askToConvertImage(questions); });
    EXPECT_EQ(well.setImageWithData(row.bytes, row.check), *row.type != '\0');
    EXPECT_EQ(std::tuple(questions.asked, well.getImageType(), well.hasImage()),
              std::tuple(row.asked, std::string(row.type), *row.type != '\0'));
    if (std::string(row.type) == "png") { EXPECT_EQ(well.getImageData(), kConverted); }
  }
}

TEST(PictureWell, PicturesOutAreNumberedUpTo99) {
  // taken: Picture.png, then Picture-1.png ... exist
  struct Row { int taken; const char* name; } rows[] = {
      {0, "/f/Picture.png"}, {1, "/f/Picture-1.png"}, {50, "/f/Picture-50.png"}, {200, "/f/Picture-99.png"}};
  for (const Row& row : rows) {
    std::set<std::string> existing;
    for (int k = 0; k < row.taken; ++k)
      existing.insert(k == 0 ? "/f/Picture.png" : "/f/Picture-" + std::to_string(k) + ".png");
    EXPECT_EQ(pictureFileName("/f", "png", [&](const std::string& n) { return existing.count(n) > 0; }), row.name);
  }
}

TEST(PictureWell, DroppedDataIsTakenByKind) {
  EXPECT_EQ(pictureMimeType({"text/plain", "image/gif", "image/png"}), "image/png");
  EXPECT_EQ(pictureMimeType({"image/bmp", "image/tiff"}), "image/tiff");
  EXPECT_EQ(pictureMimeType({"image/webp", "text/uri-list"}), "");
  EXPECT_FALSE(readPictureFile("/nonexistent/picture.png"));
}

}  // namespace
}  // namespace melos
