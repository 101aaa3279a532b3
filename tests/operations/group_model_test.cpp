// The group editor's model: its change boxes, the copy of the checked fields
// into a track, the ISRC increment and the picture rules, without files.

#include "operations/group_model.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "engine/text.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/operations/update_fixtures.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

using test::ScriptedQuestions;

std::unique_ptr<ID3Tag> trackWith(const TagData& data) {
  auto track = std::make_unique<ID3Tag>();
  track->isMp3File = true;
  track->tagData = data;
  track->v1.enabled = true;
  track->v1.title = "Old title";
  track->v1.artist = "Old artist";
  track->v1.album = "Old album";
  track->v1.year = "1990";
  track->v1.comment = "Old comment";
  track->v1.track = 4;
  track->v1.genre = 0;
  return track;
}

TEST(GroupModelTest, UpdateNeedsTheEnableBoxAndOneChangeBoxOfThatVersion) {
  GroupModel model;
  EXPECT_FALSE(model.updateV1());
  EXPECT_FALSE(model.updateV2());
  model.setChangeBox(GroupField::V1Genre, true);
  EXPECT_FALSE(model.updateV1());  // enable box off
  model.enableV1 = true;
  EXPECT_TRUE(model.updateV1());
  EXPECT_FALSE(model.updateV2());  // a V1 box does not count for V2
  model.enableV2 = true;
  EXPECT_FALSE(model.updateV2());
  model.setChangeBox(GroupField::PodcastDescription, true);
  EXPECT_TRUE(model.updateV2());
  model.setChangeBox(GroupField::V1Genre, false);
  EXPECT_FALSE(model.updateV1());
}

struct V2Case {
  GroupField field;
  std::function<void(GroupValues&)> setValue;
  std::function<void(TagData&)> expect;
};

std::u16string ascii(std::string_view text) { return std::u16string(text.begin(), text.end()); }

// A box whose ASCII value is stored as typed: as Latin-1 text or as a string.
V2Case text(GroupField field, std::u16string GroupValues::*value, UnicodeText TagData::*data, const char* typed) {
  return {field, [=](GroupValues& v) { v.*value = ascii(typed); },
          [=](TagData& d) { d.*data = UnicodeText::latin1(typed); }};
}
V2Case plain(GroupField field, std::u16string GroupValues::*value, std::string TagData::*data, const char* typed) {
  return {field, [=](GroupValues& v) { v.*value = ascii(typed); }, [=](TagData& d) { d.*data = typed; }};
}

// One row per V2 change box: the value typed, and what the track's tag data
// becomes. Everything else of the track must stay as it was.
std::vector<V2Case> v2Cases() {
  using G = GroupField;
  using V = GroupValues;
  using D = TagData;
  return {
      text(G::V2Title, &V::title, &D::title, "New"),
      {G::V2Artist, [](V& v) { v.artist = u"\u4e2d"; }, [](D& d) { d.artist = UnicodeText::utf16(u"\u4e2d"); }},
      text(G::V2Album, &V::album, &D::album, "X"),
      {G::V2Year, [](V& v) { v.year = u"2024-05"; }, [](D& d) { d.year = "2024"; }},
      text(G::V2Genre, &V::genre, &D::genre, "Jazz"),
      {G::V2Comment, [](V& v) { v.comment = u""; }, [](D& d) { d.comment = {}; }},
      text(G::V2Composer, &V::composer, &D::composer, "C"),
      text(G::V2OrigArtist, &V::origArtist, &D::origArtist, "O"),
      text(G::V2Copyright, &V::copyright, &D::copyright, "(c)"),
      {G::V2Url, [](V& v) { v.url = u"http://u/\u4e2d"; }, [](D& d) { d.url = "http://u/?"; }},
      plain(G::V2EncodedBy, &V::encodedBy, &D::encodedBy, "E"),
      {G::V2Tracks, [](V& v) { v.tracks = u"20"; }, [](D& d) { d.tracks = 20; }},
      {G::V2SetAndSets,
       [](V& v) {
         v.set = u"2";
         v.sets = u"";
       },
       [](D& d) {
         d.set = 2;
         d.sets = kUnsetNumber;
       }},
      text(G::V2Conductor, &V::conductor, &D::conductor, "K"),
      text(G::V2Lyricist, &V::lyricist, &D::lyricist, "L"),
      text(G::V2Publisher, &V::publisher, &D::publisher, "P"),
      text(G::V2Orchestra, &V::orchestra, &D::orchestra, "B"),
      text(G::V2Content, &V::content, &D::content, "G"),
      text(G::V2Subtitle, &V::subtitle, &D::subtitle, "S"),
      {G::V2Compilation, [](V& v) { v.compilation = false; }, [](D& d) { d.compilation = false; }},
      plain(G::ArtistUrl, &V::artisturl, &D::artisturl, "http://a"),
      plain(G::Isrc, &V::isrc, &D::isrc, "CCXXX1500729"),
      plain(G::ReleaseTime, &V::releasetime, &D::releasetime, "2020"),
      plain(G::RecordTime, &V::recordtime, &D::recordtime, "2019-01-02"),
      plain(G::Bpm, &V::bpm, &D::bpm, "98"),
      plain(G::InitialKey, &V::initialkey, &D::initialkey, "Am"),
      {G::PodcastEnable, [](V& v) { v.podcast = false; }, [](D& d) { d.podcast = false; }},
      text(G::PodcastId, &V::podcastid, &D::podcastid, "pid"),
      plain(G::PodcastFeed, &V::podcastfeed, &D::podcastfeed, "http://f"),
      text(G::PodcastDescription, &V::podcastdesc, &D::podcastdesc, "D"),
  };
}

TEST(GroupModelTest, EachV2BoxCopiesItsFieldAndNothingElse) {
  const std::vector<V2Case> cases = v2Cases();
  // Every V2 box but the picture box has its row; the six V1 boxes come first.
  EXPECT_EQ(cases.size(), kGroupFieldCount - 6 - 1);
  for (size_t i = 0; i < kGroupFieldCount; ++i) EXPECT_EQ(isV1Field(static_cast<GroupField>(i)), i < 6) << i;
  for (const V2Case& c : cases) {
    SCOPED_TRACE(changeBoxLabel(c.field));
    GroupModel model;
    // Every value is typed, but only one box is on.
    for (const V2Case& other : cases) other.setValue(model.values);
    model.setChangeBox(c.field, true);
    const TagData before = test::fullTagData(false);
    auto track = trackWith(before);
    const V1Tag v1Before = track->v1;
    model.updateV2TagData(*track, true);
    TagData expected = before;
    c.expect(expected);
    EXPECT_EQ(track->tagData, expected);
    EXPECT_EQ(track->v1, v1Before);
  }
}

TEST(GroupModelTest, NoBoxLeavesTheTrackAsItWas) {
  GroupModel model;
  for (const V2Case& c : v2Cases()) c.setValue(model.values);
  model.values.v1Title = u"new";
  model.values.picture = PicData{test::pngBytes(20), "png"};
  const TagData before = test::fullTagData(true);
  auto track = trackWith(before);
  const V1Tag v1Before = track->v1;
  model.updateV2TagData(*track, true);
  model.updateV1TagData(*track);
  EXPECT_EQ(track->tagData, before);
  EXPECT_EQ(track->v1, v1Before);
}

TEST(GroupModelTest, TextIsUnicodeOnlyWhenLatin1StorageCannotKeepIt) {
  GroupModel model;
  model.setChangeBox(GroupField::V2Title, true);
  auto track = trackWith({});
  const struct {
    std::u16string typed;
    UnicodeText stored;
  } rows[] = {
      {u"Plain", UnicodeText::latin1("Plain")},
      {u"\u00c7a", UnicodeText::latin1("\xC7" "a")},  // 199: kept as Latin-1
      {u"Caf\u00e9", UnicodeText::utf16(u"Caf\u00e9")},  // 233: above what Latin-1 storage keeps
      {u"\u65e5\u672c", UnicodeText::utf16(u"\u65e5\u672c")},
  };
  for (const auto& row : rows) {
    model.values.title = row.typed;
    model.updateV2TagData(*track, true);
    EXPECT_EQ(track->tagData.title, row.stored);
  }
  EXPECT_TRUE(track->tagData.enabled);
}

TEST(GroupModelTest, V1FieldsAreCutToTheirWidths) {
  GroupModel model;
  for (size_t i = 0; i < 6; ++i) model.setChangeBox(static_cast<GroupField>(i), true);
  model.values.v1Title = std::u16string(31, u't');
  model.values.v1Artist = u"\u00c4rtist";
  model.values.v1Album = std::u16string(30, u'a');
  model.values.v1Year = u"19995";
  model.values.v1Comment = std::u16string(30, u'c');
  model.values.v1Genre = u"Hard Rock";
  auto track = trackWith({});
  track->v1.track = 9;
  model.updateV1TagData(*track);
  EXPECT_EQ(track->v1.title, std::string(30, 't'));
  EXPECT_EQ(track->v1.artist, "\xC4rtist");
  EXPECT_EQ(track->v1.album, std::string(30, 'a'));
  EXPECT_EQ(track->v1.year, "1999");
  EXPECT_EQ(track->v1.comment, std::string(29, 'c'));
  EXPECT_EQ(track->v1.genre, 79);
  EXPECT_EQ(track->v1.track, 9);  // no box: kept

  model.values.v1Genre = u"No such genre";
  model.updateV1TagData(*track);
  EXPECT_EQ(track->v1.genre, 12);  // "Other"
}

TEST(GroupModelTest, NumberFields) {
  const std::pair<std::u16string, uint16_t> rows[] = {
      {u"", kUnsetNumber}, {u"12", 12}, {u" 7x", 7}, {u"0", kUnsetNumber}, {u"-3", kUnsetNumber},
      {u"65534", 65534},   {u"65535", kUnsetNumber}, {u"abc", kUnsetNumber}};
  for (const auto& [typed, number] : rows) EXPECT_EQ(numberField(typed), number) << u16ToUtf8(typed);
}

TEST(GroupModelTest, IsrcIncrement) {
  const struct {
    std::u16string typed;
    size_t index;
    std::string expected;
  } rows[] = {
      {u"CCXXX1500729", 0, "CCXXX1500729"},
      {u"CCXXX1500729", 1, "CCXXX1500730"},
      {u"CCXXX1500729", 2, "CCXXX1500731"},
      {u"CCXXX15", 5, "CCXXX15"},             // 7 characters: copied as typed
      {u"CC", 3, "CC"},
      {u"CCXXX15ABCDE", 1, "CCXXX15ABCDE"},   // no number to read
      {u"CCXXX1599999", 1, "CCXXX1510000"},   // "100000" cut to 12 characters
      {u"CCXXX15 0012", 3, "CCXXX1500015"},   // blanks before the number are skipped
      {u"CCXXX1512", 1, "CCXXX1500013"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(incrementedIsrc(row.typed, row.index), row.expected) << row.expected;
}

TEST(GroupModelTest, PictureIsAddedAtTheEndOrTheStart) {
  GroupModel model;
  model.setChangeBox(GroupField::V2Picture, true);
  const PicData added{test::pngBytes(24), "png"};
  model.values.picture = added;
  const TagData before = test::fullTagData(false);

  auto atEnd = trackWith(before);
  model.updateV2TagData(*atEnd, true);
  ASSERT_EQ(atEnd->tagData.picdata.size(), 3u);
  EXPECT_EQ(atEnd->tagData.picdata.back(), added);
  EXPECT_EQ(atEnd->tagData.picdata[0], before.picdata[0]);

  auto atStart = trackWith(before);
  model.updateV2TagData(*atStart, false);
  ASSERT_EQ(atStart->tagData.picdata.size(), 3u);
  EXPECT_EQ(atStart->tagData.picdata.front(), added);

  model.replacePictures = true;
  auto replaced = trackWith(before);
  model.updateV2TagData(*replaced, true);
  EXPECT_EQ(replaced->tagData.picdata, PicDataArray{added});

  // The replace box with no picture in the window removes them all.
  model.values.picture.reset();
  auto emptied = trackWith(before);
  model.updateV2TagData(*emptied, true);
  EXPECT_TRUE(emptied->tagData.picdata.empty());

  // Without the replace box, no picture in the window changes nothing.
  model.replacePictures = false;
  auto kept = trackWith(before);
  model.updateV2TagData(*kept, true);
  EXPECT_EQ(kept->tagData.picdata, before.picdata);
}

TEST(GroupModelTest, ChangedMarksEveryTrackAndTheDirtyMarkFollowsTheFirst) {
  GroupModel model;
  model.addTrack(trackWith({}));
  model.addTrack(trackWith({}));
  EXPECT_FALSE(model.isDirty());
  model.changedV1(true, false);
  EXPECT_TRUE(model.tracks()[0]->v1Changed);
  EXPECT_TRUE(model.tracks()[1]->v1Changed);
  EXPECT_FALSE(model.enableV1);
  EXPECT_TRUE(model.isDirty());
  model.changedV2(true, true);
  EXPECT_TRUE(model.enableV2);
  EXPECT_TRUE(model.tracks()[1]->v2Changed);
  model.changedV1(false, false);
  EXPECT_TRUE(model.isDirty());  // V2 still changed
  model.changedV2(false, false);
  EXPECT_FALSE(model.isDirty());
  EXPECT_TRUE(model.enableV2);  // turning flags off leaves the boxes
}

TEST(GroupModelTest, TotalsOfSizeAndLength) {
  GroupModel model;
  for (const auto& [size, seconds] : {std::pair{1000u, 61u}, std::pair{24u, 1u}}) {
    auto track = trackWith({});
    track->fileSize = size;
    track->duration = seconds;
    model.addTrack(std::move(track));
  }
  EXPECT_EQ(model.totalSize(), 1024u);
  EXPECT_EQ(model.totalLength(), 62u);
}

TEST(GroupModelTest, RemovingThePictureAsksOnceAboutTheTracksImages) {
  for (const std::string answer : {"Yes", "No"}) {
    GroupModel model;
    model.addTrack(trackWith(test::fullTagData(false)));  // has pictures
    model.values.picture = PicData{test::pngBytes(10), "png"};
    ASSERT_TRUE(model.imagesExist());
    ScriptedQuestions questions;
    questions.answer("Remove existing images", {answer});
    model.removePicture(questions);
    EXPECT_FALSE(model.values.picture.has_value());
    EXPECT_TRUE(model.changeBox(GroupField::V2Picture));
    EXPECT_TRUE(model.enableV2);
    EXPECT_TRUE(model.tracks()[0]->v2Changed);
    EXPECT_EQ(model.replacePictures, answer == "Yes");
    EXPECT_EQ(questions.askedTitled("Remove existing images").size(), 1u);
    EXPECT_FALSE(model.imagesExist());
    model.removePicture(questions);
    EXPECT_EQ(questions.asked().size(), 1u);  // not asked again
  }
}

TEST(GroupModelTest, RemovingThePictureAsksNothingWhenNoTrackHasImagesOrReplaceIsOn) {
  ScriptedQuestions questions;
  GroupModel none;
  none.addTrack(trackWith({}));
  none.removePicture(questions);
  GroupModel replacing;
  replacing.addTrack(trackWith(test::fullTagData(false)));
  replacing.replacePictures = true;
  replacing.removePicture(questions);
  EXPECT_TRUE(questions.asked().empty());
}

TEST(GroupModelTest, ResetCheckBoxesTurnsEveryBoxOff) {
  GroupModel model;
  for (size_t i = 0; i < kGroupFieldCount; ++i) model.setChangeBox(static_cast<GroupField>(i), true);
  model.copyV2Details = model.fileName = model.isrcIncrement = model.replacePictures = true;
  model.enableV1 = model.enableV2 = true;
  model.resetCheckBoxes();
  for (size_t i = 0; i < kGroupFieldCount; ++i) EXPECT_FALSE(model.changeBox(static_cast<GroupField>(i)));
  EXPECT_FALSE(model.copyV2Details || model.fileName || model.isrcIncrement || model.replacePictures);
  EXPECT_TRUE(model.enableV1 && model.enableV2);
}

TEST(GroupModel, FillingTheWindowFromATagAndCopyingItBack) {
  ID3Tag source;
  source.tagData = test::fullTagData(true);
  source.v1.enabled = true;
  source.v1.title = "V1 title";
  source.v1.year = "1999";
  source.v1.genre = 17;
  GroupModel model;
  model.setTagData(source);
  EXPECT_EQ(model.values.v1Genre, u"Rock");
  EXPECT_EQ(model.values.tracks, u"12");
  EXPECT_FALSE(model.changeBox(GroupField::V2Title));  // boxes are not touched

  // Texts within Latin-1 are stored as Latin-1 whatever they were read as.
  const std::unique_ptr<ID3Tag> copy = model.getTagData();
  const TagData& a = source.tagData;
  const TagData& b = copy->tagData;
  for (UnicodeText TagData::*text : {&TagData::title, &TagData::artist, &TagData::album, &TagData::genre,
                                     &TagData::comment, &TagData::composer})
    EXPECT_EQ((b.*text).toU16(), (a.*text).toU16());
  for (std::string TagData::*text : {&TagData::year, &TagData::url, &TagData::isrc, &TagData::recordtime,
                                     &TagData::podcastfeed})
    EXPECT_EQ(b.*text, a.*text);
  EXPECT_EQ(std::tuple(b.tracks, b.set, b.sets, b.compilation), std::tuple(a.tracks, a.set, a.sets, a.compilation));
  ASSERT_EQ(b.picdata.size(), 1u);
  EXPECT_EQ(b.picdata[0], a.picdata[0]);
  EXPECT_EQ(copy->v1.title, "V1 title");
  EXPECT_EQ(copy->v1.genre, 17);

  model.clearTagData();
  EXPECT_TRUE(model.values.title.empty());
  EXPECT_FALSE(model.values.picture.has_value());
  EXPECT_TRUE(model.getTagData()->tagData.picdata.empty());
}

TEST(GroupModel, ADefaultDataSetFillsOnlyTheFieldsItSupplies) {
  auto store = std::make_unique<MemoryPreferenceStore>();
  auto key = [](const char* base) { return QString::fromStdString(PreferencesController::getPreferenceName(base, 1)); };
  store->setValue(key("Use default album"), true);
  store->setValue(key("Default album"), QStringLiteral("Default album"));
  test::TempDir config;
  const PreferencesController prefs(std::move(store), config.path());
  GroupModel model;
  // Values the window holds as typed, which no tag field would keep as they are.
  const struct {
    std::u16string GroupValues::*field;
    std::u16string value;
  } kept[] = {{&GroupValues::v1Title, std::u16string(35, u't')},
              {&GroupValues::v1Artist, u"\u65e5\u672c"},
              {&GroupValues::year, u"2007-05"},
              {&GroupValues::v1Genre, u""}};
  for (const auto& row : kept) model.values.*row.field = row.value;
  model.values.album = u"Replaced";
  model.setDefaultTagData(1, prefs);
  for (const auto& row : kept) {
    SCOPED_TRACE(testing::PrintToString(row.value));
    EXPECT_EQ(model.values.*row.field, row.value);
  }
  EXPECT_EQ(model.values.album, u"Default album");
  model.setDefaultTagData(0, prefs);  // set 0 supplies nothing
  EXPECT_EQ(model.values.album, u"Default album");
}

}  // namespace
}  // namespace melos
