#include "preferences/default_tag_data.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "engine/log.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/tag_fixtures.h"

namespace melos::test {
namespace {

using T = ID3Tag&;
UnicodeText latin1(const char* text) { return UnicodeText::latin1(text); }

// The "use" flag and the value of one field of set `index`.
Seed useDefault(const std::string& field, int index, const QVariant& value) {
  const std::string suffix = index == 0 ? "" : std::to_string(index);
  Seed seed{{QString::fromStdString("Use default " + field + suffix), true}};
  if (value.isValid()) seed.emplace_back(QString::fromStdString("Default " + field + suffix), value);
  return seed;
}

Seed operator+(Seed a, const Seed& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// A track with something in every field that a set can touch.
ID3Tag track() {
  ID3Tag t;
  t.tagData = fullTagData(false);
  t.v1 = V1Tag{true, "Old title", "Old artist", "Old album", "1999", "Old comment", 5, 17};
  return t;
}

using DefaultTagDataTest = StoreTest;

TEST(DefaultPictureFile, IsWrittenOrItsFailureIsTheAlertMessage) {
  LogCapture log;
  TempDir dir;
  const std::string blocked = dir.write("a file", {});
  const std::string failure = "Failed to create the image file '" + blocked + "/default0.img' (20).";
  for (auto [folder, message] : {std::pair{dir.file("made when missing"), std::optional<std::string>()}, {blocked, failure}}) {
    PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), folder);
    EXPECT_EQ(prefs.setDefaultPicture(jpegBytes()), message);
    EXPECT_EQ(readFile(prefs.defaultPicturePath(3)), message ? Bytes{} : jpegBytes());
  }
  EXPECT_TRUE(log.has(LogError, failure)) << log.dump();
}

// Set 2 applied to track(), compared whole with track() changed by `expect`,
// so any field the row does not name must stay as it was.
TEST_F(DefaultTagDataTest, ApplyingASetChangesExactlyWhatItSupplies) {
  const Seed v2Only{{"Apply defaults to V1 tags", false}};
  Seed everyField = v2Only;
  for (auto [field, value] : {std::pair{"title", "New title"}, {"album", "Nouvel album é"}, {"artist", "Сергей"},
                              {"comment", "A comment"}, {"year", "20245"}, {"composer", "Satie"},
                              {"orig. artist", "Someone"}, {"copyright", "(c) 2024"}, {"URL", "http://new.example"},
                              {"encoder", "LAME 3"}, {"track", "12"}, {"tracks", "14"}, {"genre", "Trance"}})
    everyField = everyField + useDefault(field, 2, value);
  everyField = everyField + useDefault("compilation", 2, false);
  const struct {
    const char* name;
    Seed seed;
    std::function<void(T)> expect;
  } rows[]{
      {"every field", everyField, [](T t) {
         TagData& d = t.tagData;
         d.title = latin1("New title"); d.album = latin1("Nouvel album \xE9"); d.artist = UnicodeText::utf16(u"Сергей");
         d.comment = latin1("A comment"); d.year = "2024"; d.composer = latin1("Satie"); d.origArtist = latin1("Someone");
         d.copyright = latin1("(c) 2024"); d.url = "http://new.example"; d.encodedBy = "LAME 3"; d.track = 12;
         d.tracks = 14; d.genre = latin1("Trance"); d.compilation = false;
       }},
      // Other sets' keys say nothing of set 2; a value counts only under a use flag that is the boolean true.
      {"not this set", useDefault("title", 0, "Zero") + useDefault("track", 3, "4") +
                           Seed{{"Default artist2", "x"}, {"Use default title2", false}, {"Default title2", "x"},
                                {"Use default album2", 1}, {"Default album2", "x"}, {"Use default compilation2", 1},
                                {"Default compilation2", false}}, [](T) {}},
      {"enabled but empty", useDefault("title", 2, QVariant()) + useDefault("track", 2, QVariant()) + useDefault("URL", 2, "") +
                                useDefault("compilation", 2, QVariant()),
       [](T t) {
         t.v1.title.clear(); t.v1.track = kUnsetV1; t.tagData.title = UnicodeText();
         t.tagData.track = kUnsetNumber; t.tagData.url.clear(); t.tagData.compilation = false;
       }},
      // V1 texts are Latin-1 cut to their widths; the V1 genre is never set.
      {"V1 widths", useDefault("title", 2, "A title that is longer than thirty characters") +
                        useDefault("artist", 2, "Björk ☃") + useDefault("comment", 2, "A comment of exactly thirty ch") +
                        useDefault("year", 2, "20245") + useDefault("track", 2, "300") + useDefault("genre", 2, "Jazz"),
       [](T t) {
         t.v1.title = "A title that is longer than th"; t.v1.artist = "Bj\xF6rk ?"; t.v1.year = "2024"; t.v1.track = 44;
         t.v1.comment = "A comment of exactly thirty c"; t.tagData.comment = latin1("A comment of exactly thirty ch");
         t.tagData.title = latin1("A title that is longer than thirty characters"); t.tagData.year = "2024";
         t.tagData.artist = UnicodeText::utf16(u"Björk ☃"); t.tagData.track = 300; t.tagData.genre = latin1("Jazz");
       }},
      // Without Unicode, Latin-1 is kept up to U+00FF and anything beyond becomes "?".
      {"no Unicode", useDefault("artist", 2, "Сергей and Zoÿ Ā") + v2Only + Seed{{"Allow Unicode text", false}},
       [](T t) { t.tagData.artist = latin1("?????? and Zo\xFF ?"); }},
      {"remove all data", useDefault("title", 2, "Only this") + useDefault("compilation", 2, true) +
                             Seed{{"Remove all data", true}}, [](T t) {
         t.tagData = TagData{}; t.tagData.enabled = true; t.tagData.title = latin1("Only this"); t.tagData.compilation = true;
         t.v1.clear(); t.v1.enabled = true; t.v1.title = "Only this";
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ID3Tag t = track(), expected = track();
    row.expect(expected);
    setDefaultTagData(t, 2, open(row.seed));
    EXPECT_EQ(t.tagData, expected.tagData);
    EXPECT_EQ(t.v1, expected.v1);
    EXPECT_TRUE(t.v1Changed && t.v2Changed);
  }
}

TEST_F(DefaultTagDataTest, NumbersAreTheIntegerValuesOfTheTexts) {
  const std::tuple<const char*, uint8_t, uint16_t> rows[]{
      {"7", 7, 7},      {"300", 44, 300}, {"", kUnsetV1, kUnsetNumber},    {"abc", kUnsetV1, 0},
      {"-1", 255, kUnsetNumber}, {"70000", 112, kUnsetNumber}, {" 9 of 12", 9, 9}, {"65534", 254, 65534}};
  for (const auto& [text, v1Track, v2Track] : rows) {
    ID3Tag t = track();
    setDefaultTagData(t, 1, open(useDefault("track", 1, text) + useDefault("tracks", 1, text)));
    EXPECT_EQ(t.v1.track, v1Track) << '"' << text << '"';
    EXPECT_EQ(std::pair(t.tagData.track, t.tagData.tracks), std::pair(v2Track, v2Track)) << '"' << text << '"';
  }
}

// Every set shares picture file 0. It goes in at the position shown, or replaces
// all with "Replace with default image", which is read un-indexed whatever the
// set; a file that is no accepted image, or is too large, is worth a line in the
// log, an empty one is unset.
TEST_F(DefaultTagDataTest, DefaultPictureGoesAtThePositionShownOrReplacesAll) {
  const PicData jpeg{jpegBytes(), "jpeg"}, png{pngBytes(), "png"};
  const PicDataArray old = track().tagData.picdata;
  const Seed use{{"Use default picture8", true}}, replace = use + Seed{{"Replace with default image", true}};
  const struct {
    const char* name;
    Seed seed;
    std::optional<Bytes> file;
    size_t at;
    PicDataArray expected;
    bool shown;
    const char* warning = nullptr;
    off_t grownTo = 0;
  } rows[]{{"not used", {}, jpeg.data, 0, old, false},
           {"inserted", use, jpeg.data, 1, {old[0], jpeg, old[1]}, true},
           {"at the front", use, jpeg.data, 0, {jpeg, old[0], old[1]}, true},
           {"past the end", use, png.data, 99, {old[0], old[1], png}, true},
           {"replacing", replace, jpeg.data, 1, {jpeg}, true},
           {"indexed replace ignored", use + Seed{{"Replace with default image8", true}}, jpeg.data, 2, {old[0], old[1], jpeg}, true},
           {"not shown", use + Seed{{"Always show picture", false}}, jpeg.data, 2, {old[0], old[1], jpeg}, false},
           {"missing file replacing", replace, std::nullopt, 0, {}, false},
           {"missing file", use, std::nullopt, 0, old, true},
           {"empty file", use, Bytes{}, 0, old, true},
           {"not an image", use, Bytes{'I', 'I', 0x2A, 0x00}, 0, old, true, "is not an accepted image"},
           {"too large", use, jpeg.data, 0, old, true, "is too large", static_cast<off_t>(kMaxDefaultPictureBytes + 1)}};
  const std::string file = dir_.file("default0.img");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::filesystem::remove(file);
    if (row.file) dir_.write("default0.img", *row.file);
    ASSERT_TRUE(row.grownTo == 0 || truncate(file.c_str(), row.grownTo) == 0);
    LogCapture log;
    ID3Tag t = track();
    EXPECT_EQ(setDefaultTagData(t, 8, open(row.seed), row.at).showPicture, row.shown);
    EXPECT_EQ(t.tagData.picdata, row.expected);
    EXPECT_EQ(log.count(LogWarning), row.warning ? 1u : 0u) << log.dump();
    EXPECT_TRUE(!row.warning || log.has(LogWarning, row.warning)) << log.dump();
  }
}

}  // namespace
}  // namespace melos::test
