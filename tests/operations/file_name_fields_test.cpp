// Tag fields read from file names, by the standard split and by a format.

#include "operations/file_name_fields.h"

#include <gtest/gtest.h>

// Rows name only the fields a case sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace melos {

TEST(FileNameSplit, GivesTheFieldsByTheStandardSplitOrByAFormat) {
  const std::string x1000(1000, 'x');
  const struct {
    std::string path;
    const char* format;
    FileNameFields fields;
  } cases[] = {
      {"song", "", {}}, {"song.mpeg4", "", {}}, {"song.mp", "", {}}, {"Title.mp3", "", {.title = "Title"}},
      {"/music/07 My_Song.mp3", "", {.title = "My Song", .track = 7}},
      {"01-A title.mp3", "", {.title = "A title", .artist = "", .track = 1}},
      {"Artist-Title.mp3", "", {.title = "Title", .artist = "Artist"}},
      {"Artist - Album - Title - Live.aiff", "", {.title = "Title - Live", .artist = "Artist", .album = "Album"}},
      // The "-" right after the number opens the split: kept so on purpose.
      {"1-Artist-Album-Title.mp3", "", {.title = "Album-Title", .artist = "", .album = "Artist", .track = 1}},
      {"12  \tThe_Artist_ -  Song .mp3", "", {.title = "Song", .artist = "The Artist ", .track = 12}},
      {"/a-b/c.d/Only.mp3", "", {.title = "Only"}},  // the folder's dots and dashes play no part
      // An overlong name is cut before its extension is sought.
      {std::string(2000, 'x') + ".mp3", "", {}}, {x1000 + ".mp3", "", {.title = x1000}},
      {"Artist - 01 A title.mp3", "%A - %N %T", {.title = "A title", .artist = "Artist", .track = 1}},
      // Not a number: the title reads from the same place.
      {"Artist - xx A title.mp3", "%A - %N %T", {.title = "xx A title", .artist = "Artist"}},
      {"artist - 3 T.mp3", "%a - %n %t", {.title = "T", .artist = "artist", .track = 3}},
      {"[Disc] Band_X (1999) Song.mp3", "[disc] %A (%Y) %T", {.title = "Song", .artist = "Band_X", .year = "1999"}},
      {"Other Band - Song.mp3", "[disc] %A - %T", {}}, {"Band - Song.mp3", "no placeholder", {}},
      // A separator not found: the field takes the rest and the later ones get nothing.
      {"Band Song.mp3", "%A - %T", {.artist = "Band Song"}}, {"Band - Song.mp3", "%A -- %T", {.artist = "Band - Song"}},
      // Only six placeholders count: the seventh would take "F-G" as the artist.
      {"A-B-C-D-E-F-G.mp3", "%A-%L-%T-%Y-%N-%X-%A", {.title = "C", .artist = "A", .album = "B", .year = "D"}},
      {"Band SEP Song.mp3", "%A sep %T", {.title = "Song", .artist = "Band"}}};
  for (const auto& c : cases) EXPECT_EQ(parseFileName(c.path, c.format), c.fields) << c.path.substr(0, 40);
  EXPECT_EQ(parseFileName("song").count(), 0);
  EXPECT_EQ(parseFileName("01 Artist-Title.mp3").count(), 3);
}

TEST(FileNameApply, SetsWhatTheModifiersAskAsUtf8OrLatin1) {
  const FileNameFields fields{.title = "T", .artist = "A", .album = "L", .year = "1999", .track = 4};
  const struct {
    FileNameUse use;
    FileNameUpdate update;
  } cases[] = {{{}, {.title = u"T"}},
               {{.shift = true}, {.title = u"T", .track = u"4"}},
               {{.control = true}, {.title = u"T", .artist = u"A", .album = u"L"}},
               {{.shift = true, .control = true}, {.title = u"T", .artist = u"A", .album = u"L", .track = u"4"}},
               {{.customFormat = true}, {u"T", u"A", u"L", u"1999", u"4"}}};
  for (const auto& c : cases) EXPECT_EQ(fileNameUpdate(fields, c.use, true), c.update) << (&c - cases);
  EXPECT_EQ(fileNameUpdate(parseFileName("Title.mp3"), {true, true, true}, true), FileNameUpdate{.title = u"Title"});
  const FileNameFields accented = parseFileName("Caf\xC3\xA9.mp3");
  EXPECT_EQ(fileNameUpdate(accented, {}, true).title, u"Caf\u00E9");
  EXPECT_EQ(fileNameUpdate(accented, {}, false).title, u"Caf\u00C3\u00A9");
}

}  // namespace melos
