// The names and folders tracks get from their tags, the tag fields read from
// file names, and the preferences that choose the naming and the split.

#include "operations/track_name.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "operations/file_name_fields.h"
#include "operations/naming_preferences.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

// Rows name only the fields a case sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace melos {

static ID3Tag taggedTrack() {
  ID3Tag track;
  track.tagData = {.enabled = true, .title = UnicodeText::latin1("A title"), .artist = UnicodeText::latin1("Artist"),
                   .album = UnicodeText::latin1("Album"), .year = "2001", .track = 3, .tracks = 12};
  track.audio.bitrate = 128, track.duration = 245;
  track.audio.version = 3, track.audio.sampleRateIndex = 0;  // MPEG-1, 44100 Hz
  return track;
}

TEST(TrackName, NamingTextsAreTrimmedAndCleanedAndTakenFromV1WhenV2IsOff) {
  EXPECT_EQ(replaceForbidden("<a>\"b\"\\c|d*e/f: g?.", false), "_a__b__c_d_e_f_ g_.");
  EXPECT_EQ(replaceForbidden("Artist/Album", true), "Artist/Album");
  ID3Tag track = taggedTrack();
  track.tagData.title = UnicodeText::latin1("  AC/DC: Live?\t");
  track.tagData.artist = UnicodeText::utf16(u"\u65E5\u672C");
  track.tagData.album = UnicodeText::utf16(u"Caf\u00e9 \U0001F3B5");
  const NamingTexts utf8 = *namingTexts(track, true), latin1 = *namingTexts(track, false);
  // Latin-1 names: an artist without a Latin-1 form is "__", the album's Latin-1 is written as UTF-8.
  EXPECT_EQ(std::tuple(utf8.title, utf8.artist, latin1.artist, latin1.album),
            std::tuple("AC_DC_ Live_", "\xE6\x97\xA5\xE6\x9C\xAC", "__", "Caf\xC3\xA9 _"));
  track.tagData.enabled = false;
  EXPECT_FALSE(namingTexts(track, true).has_value());
  track.v1.enabled = true, track.v1.title = "Caf\xE9";
  for (bool utf8Names : {true, false}) EXPECT_EQ(namingTexts(track, utf8Names)->title, "Caf\xC3\xA9");  // UTF-8 either way
  EXPECT_FALSE(track.tagData.enabled);  // the V2 tag is left as it was
}

// Every format code expands; the standard and custom namings make no empty or upward folders.
TEST(TrackName, FormatCodesAndNamings) {
  for (const auto& [number, total, padded] : std::initializer_list<std::tuple<uint16_t, uint16_t, const char*>>{
           {3, 12, "03"}, {5, 120, "005"}, {15, 120, "015"}, {5, kUnsetNumber, "5"}, {10, 10, "10"}, {9, 10, "09"},
           {3, 9, "3"}, {kUnsetNumber, 12, ""}, {0, 12, ""}, {7, 1000, "0007"}})
    EXPECT_EQ(paddedTrackNumber(number, total), padded) << number << "/" << total;
  EXPECT_EQ(durationName(3725, ':') + " " + durationName(59, '.'), "1:02:05 0.59");
  ID3Tag track = taggedTrack();
  const NamingTexts texts = *namingTexts(track, true);
  for (const auto& [format, expected] : std::initializer_list<std::pair<const char*, const char*>>{
           {"%A - %N %T", "Artist - 3 A title"}, {"%L|%Y|%n of %M", "Album|2001|03 of 12"}, {"%S %s", "4.05 4:05"},
           {"%B kbps %b", "128 kbps 128000"}, {"%F kHz, %f Hz", "44 kHz, 44100 Hz"}, {"100%%", "100%"},
           {"a%Qb%", "ab"}, {"%A/%L/%N %T", "Artist/Album/3 A title"}})  // unknown codes and a lone "%" go
    EXPECT_EQ(expandNameFormat(track, texts, format), expected) << format;
  // Bounded, and a cut never leaves half a character.
  EXPECT_EQ(expandNameFormat(track, {std::string(600, 'x'), "", ""}, "%T%T").size(), kMaxNameFormatBytes);
  EXPECT_EQ(expandNameFormat(track, {std::string(1022, 'x') + "\xC3\xA9", "", ""}, "%T").size(), 1022u);
  const TrackName standard = standardTrackName(track, texts, true, true);
  EXPECT_EQ(std::tie(standard.name, standard.subfolder, standard.trackNumber), std::tuple("A title", "Artist/Album", 3));
  EXPECT_EQ(standardTrackName(track, texts, false, false).subfolder, std::nullopt);
  // Without an album the title names the second folder; without an artist there is none.
  EXPECT_EQ(standardTrackName(track, {"T", "A", ""}, true, true).subfolder, "A/T");
  EXPECT_EQ(standardTrackName(track, {"T", "", "L"}, true, true).subfolder, std::nullopt);
  EXPECT_EQ(standardTrackName(track, {"T", "..", "L"}, true, true).subfolder, "L");  // never up and out
  // A custom format splits at the last slash; only one that begins with "/" leaves the track's folder.
  for (const auto& [named, format, name, subfolder] :
       std::initializer_list<std::tuple<NamingTexts, const char*, const char*, std::optional<std::string>>>{
           {{"Why?", "Artist", "Album"}, "%A/%L/%N %T", "3 Why_", "Artist/Album"}, {{"Why?", "", ""}, "/%T", "Why_", {}},
           {{"Why?", "Artist", ""}, "<%A>:%T", "_Artist__Why_", {}}, {{"T", "", ""}, "%A/%L/%T", "T", {}},
           {{"T", "", "L"}, "%A/%L/%T", "T", "L"}, {{"T", "..", "."}, "%A/%L/%T", "T", {}},
           {{"T", "A", ""}, "/music/%L//%A/%T", "T", "/music/A"}}) {
    const TrackName custom = customTrackName(track, named, format);
    EXPECT_EQ(std::tuple(custom.name, custom.subfolder, custom.trackNumber), std::tuple(std::string(name), subfolder, 0))
        << format << " with " << named.artist << "," << named.album;
  }
  track.tagData.track = track.tagData.tracks = kUnsetNumber;
  track.tagData.year.clear(), track.tagData.recordtime = "1998-04-01";
  track.audio = {}, track.duration = 0, track.audio.sampleRateIndex = 3;  // reserved: no rate
  EXPECT_EQ(expandNameFormat(track, texts, "[%N|%n|%M|%B|%b|%S|%F|%f]%Y"), "[|||||||]1998");
  EXPECT_EQ(standardTrackName(track, texts, true, false).trackNumber, 0);
  track.tagData.releasetime = "2003-01-01T10:00";
  EXPECT_EQ(expandNameFormat(track, texts, "%Y"), "2003");
}

TEST(FileNames, FieldsByTheStandardSplitOrByAFormatAndWhatTheModifiersSet) {
  const std::string x1000(1000, 'x');
  for (const auto& [path, format, fields] : std::initializer_list<std::tuple<std::string, const char*, FileNameFields>>{
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
           {"Band SEP Song.mp3", "%A sep %T", {.title = "Song", .artist = "Band"}},
           {"x%ty.mp3", "%a%t", {.artist = "x%ty"}}})  // no separator: the first field takes all
    EXPECT_EQ(parseFileName(path, format), fields) << path.substr(0, 40);
  EXPECT_EQ(parseFileName("song").count() + parseFileName("01 Artist-Title.mp3").count(), 3);
  // Shift adds the track number, control artist and album; a custom format sets all it found.
  const FileNameFields all{.title = "T", .artist = "A", .album = "L", .year = "1999", .track = 4};
  for (const auto& [use, update] : std::initializer_list<std::pair<FileNameUse, FileNameUpdate>>{
           {{}, {.title = u"T"}}, {{.shift = true}, {.title = u"T", .track = u"4"}},
           {{.control = true}, {.title = u"T", .artist = u"A", .album = u"L"}},
           {{.shift = true, .control = true}, {.title = u"T", .artist = u"A", .album = u"L", .track = u"4"}},
           {{.customFormat = true}, {u"T", u"A", u"L", u"1999", u"4"}}})
    EXPECT_EQ(fileNameUpdate(all, use, true), update) << use.shift << use.control << use.customFormat;
  EXPECT_EQ(fileNameUpdate(parseFileName("Title.mp3"), {true, true, true}, true), FileNameUpdate{.title = u"Title"});
  const FileNameFields accented = parseFileName("Caf\xC3\xA9.mp3");  // read as UTF-8 or as Latin-1
  EXPECT_EQ(std::pair(fileNameUpdate(accented, {}, true).title, fileNameUpdate(accented, {}, false).title),
            std::pair(std::optional<std::u16string>(u"Caf\u00E9"), std::optional<std::u16string>(u"Caf\u00C3\u00A9")));
}

TEST(NamingPreferences, FormatsCountOnlyWithTypeOneAndRenameFollowsTheSwitches) {
  test::TempDir dir;
  PreferencesController preferences(std::make_unique<MemoryPreferenceStore>(), dir.path());
  preferences.setStringPreferenceNamed(prefs::kFromFileNameFormat.key, "%A - %N %T");
  preferences.setStringPreferenceNamed(prefs::kToFileNameFormat.key, "%T");
  EXPECT_EQ(fileNameFieldsByPreferences("Artist - 01 A title.mp3", preferences).title, "01 A title");
  ID3Tag track = taggedTrack();
  track.setPath(dir.write("old.mp3", {1, 2, 3}));
  // The defaults: a number in front, no folders.
  EXPECT_TRUE(renameByPreferences(track, preferences) && track.path() == dir.file("03-A title.mp3")) << track.path();
  preferences.setBoolPreferenceNamed(prefs::kAddTrackNumber.key, false);
  preferences.setBoolPreferenceNamed(prefs::kCreateFolder.key, true);
  EXPECT_TRUE(renameByPreferences(track, preferences) && track.path() == dir.file("Artist/Album/A title.mp3"));
  EXPECT_TRUE(std::filesystem::exists(track.path()));
  preferences.setIntPreferenceNamed(prefs::kFromFileNameFormatType.key, 1);
  preferences.setIntPreferenceNamed(prefs::kToFileNameFormatType.key, 1);
  EXPECT_EQ(toFileNameFormat(preferences), "%T");
  const FileNameFields fields = fileNameFieldsByPreferences("Artist - 01 A title.mp3", preferences);
  EXPECT_EQ(std::pair(fields.artist, fields.track), std::pair(std::optional<std::string>("Artist"), 1));
}

}  // namespace melos
