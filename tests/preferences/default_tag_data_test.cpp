#include "preferences/default_tag_data.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "engine/log.h"
#include "preferences/preferences_controller.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/log_capture.h"

namespace melos::test {
namespace {

const Bytes kJpeg{0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F'};
const Bytes kPng{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00};

QString indexed(const char* base, int index) {
  return QString::fromStdString(PreferencesController::getPreferenceName(base, index));
}

// The "use" flag and value of one field of set `index`.
Seed useDefault(const char* field, int index, const QVariant& value) {
  Seed seed{{indexed((std::string("Use default ") + field).c_str(), index), true}};
  if (value.isValid())
    seed.emplace_back(indexed((std::string("Default ") + field).c_str(), index), value);
  return seed;
}

Seed operator+(Seed a, const Seed& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

class DefaultTagDataTest : public StoreTest {
 protected:
  void writePicture(const std::string& name, const Bytes& bytes) { dir().write(name, bytes); }

  // A track with something in every field that a set can touch.
  static ID3Tag track() {
    ID3Tag t;
    t.v1.enabled = true;
    t.v1.title = "Old V1 title";
    t.v1.artist = "Old V1 artist";
    t.v1.album = "Old V1 album";
    t.v1.year = "1999";
    t.v1.comment = "Old V1 comment";
    t.v1.track = 5;
    t.v1.genre = 17;
    TagData& d = t.tagData;
    d.enabled = true;
    d.title = UnicodeText::latin1("Old title");
    d.artist = UnicodeText::latin1("Old artist");
    d.album = UnicodeText::latin1("Old album");
    d.year = "1998";
    d.comment = UnicodeText::latin1("Old comment");
    d.composer = UnicodeText::latin1("Old composer");
    d.origArtist = UnicodeText::latin1("Old original artist");
    d.copyright = UnicodeText::latin1("Old copyright");
    d.url = "http://old.example";
    d.encodedBy = "Old encoder";
    d.track = 3;
    d.tracks = 10;
    d.genre = UnicodeText::latin1("Rock");
    d.lyrics = UnicodeText::latin1("la la la");
    d.isrc = "GBAYE0000001";
    d.picdata = {PicData{{0x89, 'P', 'N', 'G', 1}, "png"},
                 PicData{{0x89, 'P', 'N', 'G', 2}, "png"}};
    return t;
  }
};

TEST(DefaultPictureFile, IsWrittenOrItsFailureIsTheAlertMessage) {
  LogCapture log;
  TempDir dir;
  const std::string blocked = dir.write("a file", {});
  const std::string failure = "Failed to create the image file '" + blocked + "/default0.img' (20).";
  const struct {
    std::string folder;
    std::optional<std::string> message;
  } rows[] = {{dir.file("made when missing"), std::nullopt}, {blocked, failure}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.folder);
    PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), row.folder);
    EXPECT_EQ(prefs.setDefaultPicture(kJpeg), row.message);
    if (!row.message) {
      EXPECT_EQ(readFile(prefs.defaultPicturePath(3)), kJpeg);
    }
  }
  EXPECT_TRUE(log.has(LogError, failure)) << log.dump();
}

// Every set shares file 0, which gives an image only when it is of an accepted
// kind and size; a refused file is worth a line in the log, an empty one is unset.
TEST_P(DefaultTagDataTest, DefaultPictureIsTheSharedFileWhenItIsAnAcceptedImage) {
  struct Row {
    const char* name;
    std::optional<Bytes> bytes;  // none: no file
    const char* subtype;         // nullptr: no image
    const char* warning;         // nullptr: nothing logged
    off_t size = 0;              // when not 0, the file is grown to it
  };
  const Row rows[]{
      {"missing", std::nullopt, nullptr, nullptr},
      {"jpeg", kJpeg, "jpeg", nullptr},
      {"png", kPng, "png", nullptr},
      {"gif", Bytes{'G', 'I', 'F', '8', '9', 'a'}, "gif", nullptr},
      {"big-endian tiff", Bytes{'M', 'M', 0x00, 0x2A}, "tiff", nullptr},
      {"bmp", Bytes{'B', 'M', 0x10, 0x00}, "bmp", nullptr},
      {"little-endian tiff", Bytes{'I', 'I', 0x2A, 0x00}, nullptr, "is not an accepted image"},
      {"text", Bytes{'h', 'e', 'l', 'l', 'o'}, nullptr, "is not an accepted image"},
      {"empty", Bytes{}, nullptr, nullptr},
      {"oversized", kJpeg, nullptr, "is too large", static_cast<off_t>(kMaxDefaultPictureBytes + 1)},
  };
  EXPECT_EQ(open().getDefaultPicture(0), std::nullopt);
  PreferencesController& prefs = open({{"Use default picture7", true}});
  EXPECT_EQ(prefs.defaultPicturePath(7), dir().file("default0.img"));
  EXPECT_EQ(prefs.defaultPicturePath(0), dir().file("default0.img"));
  EXPECT_EQ(prefs.getDefaultPicture(6), std::nullopt);  // set 6 does not use it
  writePicture("default7.img", kPng);                    // never read
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    std::filesystem::remove(dir().file("default0.img"));
    if (row.bytes) writePicture("default0.img", *row.bytes);
    if (row.size != 0) {
      ASSERT_EQ(truncate(dir().file("default0.img").c_str(), row.size), 0);
    }
    LogCapture log;
    const std::optional<DefaultPicture> picture = prefs.getDefaultPicture(7);
    ASSERT_TRUE(picture.has_value());
    ASSERT_EQ(picture->image.has_value(), row.subtype != nullptr);
    if (row.subtype != nullptr) {
      EXPECT_EQ(picture->image->pictureSubtype, row.subtype);
      EXPECT_EQ(picture->image->data, *row.bytes);
    }
    EXPECT_EQ(log.count(LogWarning), row.warning == nullptr ? 0u : 1u) << log.dump();
    if (row.warning != nullptr) {
      EXPECT_TRUE(log.has(LogWarning, row.warning)) << log.dump();
    }
  }
}

// Set `index` applied to track(): the tag expected afterwards, made from track()
// by `expect`. Whole tags are compared, so any field the row does not name must
// stay as it was.
struct ApplyRow {
  const char* name;
  Seed seed;
  int index;
  std::function<void(ID3Tag&)> expect;
};

TEST_P(DefaultTagDataTest, ApplyingASetChangesExactlyWhatItSupplies) {
  using T = ID3Tag&;
  const auto latin1 = [](const char* text) { return UnicodeText::latin1(text); };
  const Seed v2Only{{"Apply defaults to V1 tags", false}};
  const ApplyRow rows[]{
      {"title", useDefault("title", 2, "New title") + v2Only, 2,
       [&](T t) { t.tagData.title = latin1("New title"); }},
      {"album", useDefault("album", 2, "Nouvel album é") + v2Only, 2,
       [&](T t) { t.tagData.album = latin1("Nouvel album \xE9"); }},
      {"artist", useDefault("artist", 2, "Сергей") + v2Only, 2,
       [](T t) { t.tagData.artist = UnicodeText::utf16(u"Сергей"); }},
      {"comment", useDefault("comment", 2, "A comment") + v2Only, 2,
       [&](T t) { t.tagData.comment = latin1("A comment"); }},
      {"year", useDefault("year", 2, "2024") + v2Only, 2, [](T t) { t.tagData.year = "2024"; }},
      {"composer", useDefault("composer", 2, "Satie") + v2Only, 2,
       [&](T t) { t.tagData.composer = latin1("Satie"); }},
      {"orig. artist", useDefault("orig. artist", 2, "Someone") + v2Only, 2,
       [&](T t) { t.tagData.origArtist = latin1("Someone"); }},
      {"copyright", useDefault("copyright", 2, "(c) 2024") + v2Only, 2,
       [&](T t) { t.tagData.copyright = latin1("(c) 2024"); }},
      {"URL", useDefault("URL", 2, "http://new.example") + v2Only, 2,
       [](T t) { t.tagData.url = "http://new.example"; }},
      {"encoder", useDefault("encoder", 2, "LAME") + v2Only, 2,
       [](T t) { t.tagData.encodedBy = "LAME"; }},
      {"track", useDefault("track", 2, "12") + v2Only, 2, [](T t) { t.tagData.track = 12; }},
      {"tracks", useDefault("tracks", 2, "14") + v2Only, 2, [](T t) { t.tagData.tracks = 14; }},
      {"genre", useDefault("genre", 2, "Trance") + v2Only, 2,
       [&](T t) { t.tagData.genre = latin1("Trance"); }},
      // Another set's keys say nothing about this one; a value is used only
      // under a use flag that is the boolean true.
      {"set 0 is not set 2", useDefault("title", 0, "Zero") + useDefault("track", 0, "4"), 2,
       [](T) {}},
      {"set 3 is not set 2", useDefault("title", 3, "Three"), 2, [](T) {}},
      {"no use flag", {{"Default title2", "x"}, {"Default orig. artist2", "y"}}, 2, [](T) {}},
      {"use flag false", {{"Use default title2", false}, {"Default title2", "x"}}, 2, [](T) {}},
      {"use flag 1", {{"Use default title2", 1}, {"Default title2", "x"}}, 2, [](T) {}},
      {"empty set", {}, 0, [](T) {}},
      {"enabled but empty", useDefault("title", 0, QVariant()) + useDefault("track", 0, QVariant()) +
                                useDefault("URL", 0, ""), 0,
       [](T t) {
         t.v1.title.clear();
         t.v1.track = kUnsetV1;
         t.tagData.title = UnicodeText();
         t.tagData.track = kUnsetNumber;
         t.tagData.url.clear();
       }},
      {"no Unicode", useDefault("artist", 0, "Сергей and Zoë") + v2Only +
                         Seed{{"Allow Unicode text", false}}, 0,
       [&](T t) { t.tagData.artist = latin1("?????? and Zo\xEB"); }},
      {"remove all data", useDefault("title", 5, "Only this") + Seed{{"Remove all data", true}}, 5,
       [&](T t) {
         t.tagData = TagData();
         t.tagData.enabled = true;
         t.tagData.title = latin1("Only this");
         t.v1 = V1Tag();
         t.v1.enabled = true;
         t.v1.title = "Only this";
       }},
  };
  for (const ApplyRow& row : rows) {
    SCOPED_TRACE(row.name);
    PreferencesController& prefs = open(row.seed);
    ID3Tag t = track();
    ID3Tag expected = track();
    row.expect(expected);
    setDefaultTagData(t, row.index, prefs);
    EXPECT_EQ(t.tagData, expected.tagData);
    EXPECT_EQ(t.tagData.artist.unicode, expected.tagData.artist.unicode);
    EXPECT_EQ(t.v1, expected.v1);
    EXPECT_TRUE(t.v1Changed);
    EXPECT_TRUE(t.v2Changed);
  }
}

TEST_P(DefaultTagDataTest, V1FieldsTakeTheirDefaultsCutToTheirWidthsButNeverTheGenre) {
  PreferencesController& prefs = open(
      useDefault("title", 4, "A title that is longer than thirty characters") +
      useDefault("artist", 4, "Björk ☃") + useDefault("album", 4, "Album") +
      useDefault("comment", 4, "A comment of exactly thirty ch") + useDefault("year", 4, "20245") +
      useDefault("track", 4, "300") + useDefault("genre", 4, "Jazz"));
  ID3Tag t = track();
  V1Tag expected = t.v1;
  expected.title = "A title that is longer than th";
  expected.artist = "Bj\xF6rk ?";
  expected.album = "Album";
  expected.comment = "A comment of exactly thirty c";
  expected.year = "2024";
  expected.track = 44;

  setDefaultTagData(t, 4, prefs);
  EXPECT_EQ(t.v1, expected);
  EXPECT_EQ(t.v1.genre, 17);
  EXPECT_EQ(t.tagData.genre, UnicodeText::latin1("Jazz"));
}

TEST_P(DefaultTagDataTest, NumbersAreTheIntegerValuesOfTheTexts) {
  struct Row {
    const char* text;
    uint8_t v1Track;
    uint16_t v2Track;
  };
  const Row rows[]{{"7", 7, 7},        {"300", 44, 300},          {"", kUnsetV1, kUnsetNumber},
                   {"abc", kUnsetV1, 0}, {"-1", 255, kUnsetNumber}, {"70000", 112, kUnsetNumber},
                   {" 9 of 12", 9, 9}, {"65534", 254, 65534}};
  for (const Row& row : rows) {
    PreferencesController& prefs =
        open(useDefault("track", 1, row.text) + useDefault("tracks", 1, row.text));
    ID3Tag t = track();
    setDefaultTagData(t, 1, prefs);
    EXPECT_EQ(t.v1.track, row.v1Track) << '"' << row.text << '"';
    EXPECT_EQ(t.tagData.track, row.v2Track) << '"' << row.text << '"';
    EXPECT_EQ(t.tagData.tracks, row.v2Track) << '"' << row.text << '"';
  }
}

TEST_P(DefaultTagDataTest, CompilationIsSetOnlyWhenTheSetUsesIt) {
  struct Row {
    Seed seed;
    bool before;
    bool after;
  };
  const Row rows[]{
      {{{"Default compilation3", true}}, false, false},
      {useDefault("compilation", 3, true), false, true},
      {useDefault("compilation", 3, false), true, false},
      {useDefault("compilation", 3, QVariant()), true, false},
      {useDefault("compilation", 3, 1), true, false},  // a number 1 is no boolean
      {useDefault("compilation", 2, true), false, false},
  };
  for (const Row& row : rows) {
    PreferencesController& prefs = open(row.seed);
    ID3Tag t = track();
    t.tagData.compilation = row.before;
    setDefaultTagData(t, 3, prefs);
    EXPECT_EQ(t.tagData.compilation, row.after) << row.before;
  }
}

TEST_P(DefaultTagDataTest, DefaultPictureGoesAtThePositionShownOrReplacesAll) {
  writePicture("default0.img", kJpeg);
  const PicData jpeg{kJpeg, "jpeg"};
  const PicDataArray before = track().tagData.picdata;
  struct Row {
    const char* name;
    Seed seed;
    size_t pictureIndex;
    PicDataArray expected;
    bool showPicture;
  };
  const Row rows[]{
      {"not used", {}, 0, before, false},
      {"inserted", {{"Use default picture8", true}}, 1, {before[0], jpeg, before[1]}, true},
      {"at the front", {{"Use default picture8", true}}, 0, {jpeg, before[0], before[1]}, true},
      {"past the end", {{"Use default picture8", true}}, 99, {before[0], before[1], jpeg}, true},
      {"replacing",
       {{"Use default picture8", true}, {"Replace with default image", true}},
       1,
       {jpeg},
       true},
      // The replace switch is read un-indexed, whatever the set.
      {"indexed replace ignored",
       {{"Use default picture8", true}, {"Replace with default image8", true}},
       2,
       {before[0], before[1], jpeg},
       true},
      {"not shown",
       {{"Use default picture8", true}, {"Always show picture", false}},
       2,
       {before[0], before[1], jpeg},
       false},
  };
  for (const Row& row : rows) {
    PreferencesController& prefs = open(row.seed);
    ID3Tag t = track();
    const DefaultsApplied applied = setDefaultTagData(t, 8, prefs, row.pictureIndex);
    EXPECT_EQ(t.tagData.picdata, row.expected) << row.name;
    EXPECT_EQ(applied.showPicture, row.showPicture) << row.name;
  }
}

TEST_P(DefaultTagDataTest, ReplacingWithAMissingPictureRemovesThemAll) {
  PreferencesController& prefs =
      open({{"Use default picture", true}, {"Replace with default image", true}});
  ID3Tag t = track();
  EXPECT_FALSE(setDefaultTagData(t, 0, prefs).showPicture);
  EXPECT_TRUE(t.tagData.picdata.empty());

  // Without replacing, a missing picture adds nothing but the area still shows.
  PreferencesController& adding = open({{"Use default picture", true}});
  ID3Tag kept = track();
  EXPECT_TRUE(setDefaultTagData(kept, 0, adding).showPicture);
  EXPECT_EQ(kept.tagData.picdata, track().tagData.picdata);
}

INSTANTIATE_TEST_SUITE_P(Stores, DefaultTagDataTest,
                         ::testing::Values(StoreKind::Memory, StoreKind::File), storeKindName);

}  // namespace
}  // namespace melos::test
