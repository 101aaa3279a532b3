// The group editor's model: its change boxes, the copy of the checked fields
// into a track, the ISRC increment and the picture rules, without files.

#include "operations/group_model.h"

#include <gtest/gtest.h>

#include <tuple>

#include "engine/text.h"
#include "tests/operations/update_fixtures.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

using G = GroupField;
using D = TagData;

std::unique_ptr<ID3Tag> trackWith(const TagData& data) {
  auto track = std::make_unique<ID3Tag>();
  track->isMp3File = true;
  track->tagData = data;
  track->v1 = V1Tag{true, "Old title", "Old artist", "Old album", "1990", "Old comment", 4, 0};
  return track;
}

TEST(GroupModelTest, UpdateNeedsTheEnableBoxAndOneChangeBoxOfThatVersion) {
  GroupModel model;
  model.setChangeBox(G::V1Genre, true);
  EXPECT_FALSE(model.updateV1());  // enable box off
  model.enableV1 = model.enableV2 = true;
  EXPECT_TRUE(model.updateV1() && !model.updateV2());  // a V1 box does not count for V2
  model.setChangeBox(G::PodcastDescription, true), model.setChangeBox(G::V1Genre, false);
  EXPECT_TRUE(model.updateV2() && !model.updateV1());
}

TEST(GroupModelTest, NumberFieldsAndTheIsrcIncrement) {
  const std::pair<std::u16string, uint16_t> numbers[] = {{u"", kUnsetNumber}, {u" 7x", 7}, {u"0", kUnsetNumber},
      {u"-3", kUnsetNumber}, {u"65534", 65534}, {u"65535", kUnsetNumber}, {u"abc", kUnsetNumber}};
  for (const auto& [typed, number] : numbers) EXPECT_EQ(numberField(typed), number) << u16ToUtf8(typed);
  const std::tuple<std::u16string, size_t, std::string> isrcs[] = {
      {u"CCXXX1500729", 0, "CCXXX1500729"}, {u"CCXXX1500729", 2, "CCXXX1500731"},
      {u"CCXXX15", 5, "CCXXX15"},            // 7 characters: copied as typed
      {u"CCXXX15ABCDE", 1, "CCXXX15ABCDE"},  // no number to read
      {u"CCXXX1599999", 1, "CCXXX1510000"},  // "100000" cut to 12 characters
      {u"CCXXX15 0012", 3, "CCXXX1500015"},  // blanks before the number are skipped
      {u"CCXXX1512", 1, "CCXXX1500013"}};
  for (const auto& [typed, index, expected] : isrcs) EXPECT_EQ(incrementedIsrc(typed, index), expected);
}

TEST(GroupModelTest, PictureIsAddedAtTheEndOrTheStart) {
  GroupModel model;
  model.setChangeBox(G::V2Picture, true);
  const PicData added{test::pngBytes(24), "png"};
  model.values.picture = added;
  const TagData before = test::fullTagData(false);
  const auto picturesAfter = [&](bool atEnd) {
    auto track = trackWith(before);
    model.updateV2TagData(*track, atEnd);
    return track->tagData.picdata;
  };
  EXPECT_EQ(picturesAfter(true), (PicDataArray{before.picdata[0], before.picdata[1], added}));
  EXPECT_EQ(picturesAfter(false), (PicDataArray{added, before.picdata[0], before.picdata[1]}));
  model.replacePictures = true;
  EXPECT_EQ(picturesAfter(true), PicDataArray{added});
  // The replace box with no picture in the window removes them all; without
  // it, no picture in the window changes nothing.
  model.values.picture.reset();
  EXPECT_TRUE(picturesAfter(true).empty());
  model.replacePictures = false;
  EXPECT_EQ(picturesAfter(true), before.picdata);
}

TEST(GroupModelTest, TotalsOfSizeAndLength) {
  GroupModel model;
  for (const auto& [size, seconds] : {std::pair{1000u, 61u}, std::pair{24u, 1u}}) {
    auto track = trackWith({});
    track->fileSize = size, track->duration = seconds, model.addTrack(std::move(track));
  }
  EXPECT_EQ(std::pair(model.totalSize(), model.totalLength()), std::pair(uint64_t{1024}, uint64_t{62}));
}

// Asked only when a track has images and the replace box is off, and once.
TEST(GroupModelTest, RemovingThePictureAsksOnceAboutTheTracksImages) {
  for (const std::string answer : {"Yes", "No"}) {
    GroupModel model;
    model.addTrack(trackWith(test::fullTagData(false)));  // has pictures
    model.values.picture = PicData{test::pngBytes(10), "png"};
    ASSERT_TRUE(model.imagesExist());
    test::ScriptedQuestions questions;
    questions.answer("Remove existing images", {answer});
    model.removePicture(questions);
    EXPECT_TRUE(!model.values.picture && model.changeBox(G::V2Picture) && model.enableV2 && model.tracks()[0]->v2Changed);
    EXPECT_TRUE(model.replacePictures == (answer == "Yes") && !model.imagesExist());
    model.removePicture(questions);
    EXPECT_EQ(questions.asked().size(), 1u);
  }
  test::ScriptedQuestions questions;
  GroupModel none, replacing;
  none.addTrack(trackWith({})), replacing.addTrack(trackWith(test::fullTagData(false)));
  replacing.replacePictures = true;
  none.removePicture(questions), replacing.removePicture(questions);
  EXPECT_TRUE(questions.asked().empty());
}

TEST(GroupModel, FillingTheWindowFromATagAndCopyingItBack) {
  ID3Tag source;
  source.tagData = test::fullTagData(true);
  source.v1 = V1Tag{true, "V1 title", "", "", "1999", "", 0, 17};
  GroupModel model;
  model.setTagData(source);
  EXPECT_EQ(std::pair(model.values.v1Genre, model.values.tracks), std::pair(std::u16string(u"Rock"), std::u16string(u"12")));
  EXPECT_FALSE(model.changeBox(G::V2Title));  // boxes are not touched

  // Texts within Latin-1 are stored as Latin-1 whatever they were read as.
  const std::unique_ptr<ID3Tag> copy = model.getTagData();
  const TagData& a = source.tagData;
  const TagData& b = copy->tagData;
  for (UnicodeText D::*t : {&D::title, &D::artist, &D::genre, &D::composer}) EXPECT_EQ((b.*t).toU16(), (a.*t).toU16());
  EXPECT_EQ(std::tuple(b.year, b.isrc, b.tracks, b.sets, b.compilation),
            std::tuple(a.year, a.isrc, a.tracks, a.sets, a.compilation));
  EXPECT_EQ(b.picdata, PicDataArray{a.picdata[0]});
  EXPECT_EQ(std::pair(copy->v1.title, copy->v1.genre), std::pair(std::string("V1 title"), uint8_t{17}));
  model.clearTagData();
  EXPECT_TRUE(model.values.title.empty() && model.getTagData()->tagData.picdata.empty());
}

TEST(GroupModel, ADefaultDataSetFillsOnlyTheFieldsItSupplies) {
  test::TempDir config;
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), config.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");  // set 2
  GroupModel model;
  // Values the window holds as typed, which no tag field would keep as they are.
  model.values.v1Title = std::u16string(35, u't'), model.values.year = u"2007-05", model.values.album = u"Replaced";
  const GroupValues typed = model.values;
  model.setDefaultTagData(2, prefs);
  EXPECT_EQ(std::tuple(model.values.v1Title, model.values.year, model.values.album),
            std::tuple(typed.v1Title, typed.year, u"Default album"));
  model.setDefaultTagData(0, prefs);  // set 0 supplies nothing
  EXPECT_EQ(model.values.album, u"Default album");
}

}  // namespace
}  // namespace melos
