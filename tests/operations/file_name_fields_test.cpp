// Tag fields read from file names, by the standard split and by a format.

#include "operations/file_name_fields.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

using Text = std::optional<std::string>;
constexpr std::nullopt_t kNone = std::nullopt;

struct SplitCase {
  const char* path;
  const char* format;
  int track;
  Text artist;
  Text album;
  Text title;
  Text year;
};

class FileNameSplit : public testing::TestWithParam<SplitCase> {};

TEST_P(FileNameSplit, GivesTheFields) {
  const SplitCase& c = GetParam();
  const FileNameFields fields = parseFileName(c.path, c.format);
  EXPECT_EQ(fields.track, c.track);
  EXPECT_EQ(fields.artist, c.artist);
  EXPECT_EQ(fields.album, c.album);
  EXPECT_EQ(fields.title, c.title);
  EXPECT_EQ(fields.year, c.year);
}

INSTANTIATE_TEST_SUITE_P(
    Standard, FileNameSplit,
    testing::Values(
        SplitCase{"song", "", -1, kNone, kNone, kNone, kNone},
        SplitCase{"song.mpeg4", "", -1, kNone, kNone, kNone, kNone},
        SplitCase{"song.mp", "", -1, kNone, kNone, kNone, kNone},
        SplitCase{"/music/07 My_Song.mp3", "", 7, kNone, kNone, "My Song", kNone},
        SplitCase{"Title.mp3", "", -1, kNone, kNone, "Title", kNone},
        SplitCase{"01-A title.mp3", "", 1, "", kNone, "A title", kNone},
        SplitCase{"Artist-Title.mp3", "", -1, "Artist", kNone, "Title", kNone},
        SplitCase{"Artist - Album - Title - Live.aiff", "", -1, "Artist", "Album", "Title - Live", kNone},
        // The "-" right after the number opens the split: kept so on purpose.
        SplitCase{"1-Artist-Album-Title.mp3", "", 1, "", "Artist", "Album-Title", kNone},
        SplitCase{"12  \tThe_Artist_ -  Song .mp3", "", 12, "The Artist ", kNone, "Song", kNone},
        // The folder's dots and dashes play no part.
        SplitCase{"/a-b/c.d/Only.mp3", "", -1, kNone, kNone, "Only", kNone}));

INSTANTIATE_TEST_SUITE_P(
    Custom, FileNameSplit,
    testing::Values(
        SplitCase{"Artist - 01 A title.mp3", "%A - %N %T", 1, "Artist", kNone, "A title", kNone},
        // Not a number: the title reads from the same place.
        SplitCase{"Artist - xx A title.mp3", "%A - %N %T", -1, "Artist", kNone, "xx A title", kNone},
        SplitCase{"artist - 3 T.mp3", "%a - %n %t", 3, "artist", kNone, "T", kNone},
        SplitCase{"[Disc] Band_X (1999) Song.mp3", "[disc] %A (%Y) %T", -1, "Band_X", kNone, "Song",
                  "1999"},
        SplitCase{"Other Band - Song.mp3", "[disc] %A - %T", -1, kNone, kNone, kNone, kNone},
        SplitCase{"Band - Song.mp3", "no placeholder", -1, kNone, kNone, kNone, kNone},
        // A separator not found: the field takes the rest and the later ones get nothing.
        SplitCase{"Band Song.mp3", "%A - %T", -1, "Band Song", kNone, kNone, kNone},
        // Only six placeholders count: the seventh would take "F-G" as the artist.
        SplitCase{"A-B-C-D-E-F-G.mp3", "%A-%L-%T-%Y-%N-%X-%A", -1, "A", "B", "C", "D"},
        SplitCase{"Band - Song.mp3", "%A -- %T", -1, "Band - Song", kNone, kNone, kNone},
        SplitCase{"Band SEP Song.mp3", "%A sep %T", -1, "Band", kNone, "Song", kNone}));

TEST(FileNameSplitTest, CountsWhatItFound) {
  EXPECT_EQ(parseFileName("song").count(), 0);
  EXPECT_EQ(parseFileName("Title.mp3").count(), 1);
  EXPECT_EQ(parseFileName("01 Artist-Title.mp3").count(), 3);
  EXPECT_EQ(parseFileName("Artist - 01 T.mp3", "%A - %N %T").count(), 3);
}

TEST(FileNameSplitTest, AnOverlongNameIsCutBeforeItsExtensionIsSought) {
  const std::string name(2000, 'x');
  EXPECT_EQ(parseFileName(name + ".mp3").count(), 0);
  EXPECT_EQ(parseFileName(std::string(1000, 'x') + ".mp3").title, std::string(1000, 'x'));
}

struct UseCase {
  const char* name;
  FileNameUse use;
  bool title, track, artist, album, year;
};

class FileNameApply : public testing::TestWithParam<UseCase> {};

TEST_P(FileNameApply, SetsWhatTheModifiersAsk) {
  const UseCase& c = GetParam();
  FileNameFields fields;
  fields.title = "T";
  fields.artist = "A";
  fields.album = "L";
  fields.year = "1999";
  fields.track = 4;
  const FileNameUpdate update = fileNameUpdate(fields, c.use, true);
  EXPECT_EQ(update.title.has_value(), c.title);
  EXPECT_EQ(update.track.has_value(), c.track);
  EXPECT_EQ(update.artist.has_value(), c.artist);
  EXPECT_EQ(update.album.has_value(), c.album);
  EXPECT_EQ(update.year.has_value(), c.year);
  if (update.track) {
    EXPECT_EQ(*update.track, u"4");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Modifiers, FileNameApply,
    testing::Values(UseCase{"plain", {false, false, false}, true, false, false, false, false},
                    UseCase{"shift", {true, false, false}, true, true, false, false, false},
                    UseCase{"control", {false, true, false}, true, false, true, true, false},
                    UseCase{"both", {true, true, false}, true, true, true, true, false},
                    UseCase{"custom", {false, false, true}, true, true, true, true, true}),
    [](const testing::TestParamInfo<UseCase>& param) { return std::string(param.param.name); });

TEST(FileNameApplyTest, NoNumberFoundSetsNoTrack) {
  const FileNameUpdate update = fileNameUpdate(parseFileName("Title.mp3"), {true, true, true}, true);
  EXPECT_FALSE(update.track.has_value());
  EXPECT_FALSE(update.artist.has_value());
  EXPECT_EQ(update.title, u"Title");
}

TEST(FileNameApplyTest, ReadsTheBytesAsUtf8OrLatin1) {
  const FileNameFields fields = parseFileName("Caf\xC3\xA9.mp3");
  EXPECT_EQ(fileNameUpdate(fields, {}, true).title, u"Caf\u00E9");
  EXPECT_EQ(fileNameUpdate(fields, {}, false).title, u"Caf\u00C3\u00A9");
}

}  // namespace
}  // namespace melos
