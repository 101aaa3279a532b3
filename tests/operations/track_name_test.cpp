// The names and folders tracks get from their tags.

#include "operations/track_name.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

ID3Tag taggedTrack() {
  ID3Tag track;
  track.tagData.enabled = true;
  track.tagData.title = UnicodeText::latin1("A title");
  track.tagData.artist = UnicodeText::latin1("Artist");
  track.tagData.album = UnicodeText::latin1("Album");
  track.tagData.year = "2001";
  track.tagData.track = 3;
  track.tagData.tracks = 12;
  track.audio.bitrate = 128;
  track.audio.version = 3;          // MPEG-1
  track.audio.sampleRateIndex = 0;  // 44100 Hz
  track.duration = 245;
  return track;
}

TEST(TrackNameTest, ForbiddenCharactersBecomeUnderscores) {
  struct Case {
    const char* text;
    bool keepSlash;
    const char* expected;
  } cases[] = {
      {"AC/DC: Live?", false, "AC_DC_ Live_"},
      {"<a>\"b\"\\c|d*e", false, "_a__b__c_d_e"},
      {"Artist/Album", true, "Artist/Album"},
      {"fine name.", false, "fine name."},
  };
  for (const Case& c : cases) EXPECT_EQ(replaceForbidden(c.text, c.keepSlash), c.expected) << c.text;
}

TEST(TrackNameTest, NamingTextsAreTrimmedAndCleaned) {
  ID3Tag track = taggedTrack();
  track.tagData.title = UnicodeText::latin1("  AC/DC: Live?\t");
  track.tagData.artist = UnicodeText::utf16(u"\u65E5\u672C");
  const NamingTexts utf8 = *namingTexts(track, true);
  EXPECT_EQ(utf8.title, "AC_DC_ Live_");
  EXPECT_EQ(utf8.artist, "\xE6\x97\xA5\xE6\x9C\xAC");
  track.tagData.album = UnicodeText::utf16(u"Caf\u00e9 \U0001F3B5");
  const NamingTexts latin1 = *namingTexts(track, false);
  EXPECT_EQ(latin1.artist, "__");  // no Latin-1 form
  EXPECT_EQ(latin1.album, "Caf\xC3\xA9 _");  // Latin-1, written as UTF-8
}

TEST(TrackNameTest, V1StandsInWhenV2IsDisabled) {
  ID3Tag track = taggedTrack();
  track.tagData.enabled = false;
  EXPECT_FALSE(namingTexts(track, true).has_value());
  track.v1.enabled = true;
  track.v1.title = "Caf\xE9";
  track.v1.artist = "V1 Artist";
  const NamingTexts texts = *namingTexts(track, true);
  EXPECT_EQ(texts.title, "Caf\xC3\xA9");
  EXPECT_EQ(texts.artist, "V1 Artist");
  EXPECT_EQ(namingTexts(track, false)->title, "Caf\xC3\xA9");  // file names are UTF-8 either way
  EXPECT_FALSE(track.tagData.enabled);  // the V2 tag is left as it was
}

TEST(TrackNameTest, PaddedTrackNumber) {
  struct Case {
    uint16_t track, total;
    const char* expected;
  } cases[] = {
      {3, 12, "03"},    {5, 120, "005"}, {15, 120, "015"}, {5, kUnsetNumber, "5"},
      {10, 10, "10"},   {9, 10, "09"},   {3, 9, "3"},      {kUnsetNumber, 12, ""},
      {0, 12, ""},      {7, 1000, "0007"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(paddedTrackNumber(c.track, c.total), c.expected) << c.track << " of " << c.total;
}

TEST(TrackNameTest, DurationLayouts) {
  EXPECT_EQ(durationName(245, '.'), "4.05");
  EXPECT_EQ(durationName(245, ':'), "4:05");
  EXPECT_EQ(durationName(3725, ':'), "1:02:05");
  EXPECT_EQ(durationName(59, '.'), "0.59");
  EXPECT_EQ(durationName(0, '.'), "");
}

TEST(TrackNameTest, EveryFormatCodeExpands) {
  const ID3Tag track = taggedTrack();
  const NamingTexts texts = *namingTexts(track, true);
  struct Case {
    const char* format;
    const char* expected;
  } cases[] = {
      {"%A - %N %T", "Artist - 3 A title"},
      {"%L", "Album"},
      {"%n of %M", "03 of 12"},
      {"%Y", "2001"},
      {"%B kbps", "128 kbps"},
      {"%b", "128000"},
      {"%S", "4.05"},
      {"%s", "4:05"},
      {"%F kHz, %f Hz", "44 kHz, 44100 Hz"},
      {"100%%", "100%"},
      {"a%Qb%", "ab"},  // unknown codes and a lone "%" go
      {"%A/%L/%N %T", "Artist/Album/3 A title"},
  };
  for (const Case& c : cases) EXPECT_EQ(expandNameFormat(track, texts, c.format), c.expected) << c.format;
}

TEST(TrackNameTest, EmptyNumbersAndFallbackYears) {
  ID3Tag track = taggedTrack();
  track.tagData.track = kUnsetNumber;
  track.tagData.tracks = kUnsetNumber;
  track.tagData.year.clear();
  track.tagData.recordtime = "1998-04-01";
  track.audio = {};
  track.audio.sampleRateIndex = 3;  // reserved: no rate
  track.duration = 0;
  const NamingTexts texts = *namingTexts(track, true);
  EXPECT_EQ(expandNameFormat(track, texts, "[%N|%n|%M|%B|%b|%S|%F|%f]"), "[|||||||]");
  EXPECT_EQ(expandNameFormat(track, texts, "%Y"), "1998");
  track.tagData.releasetime = "2003-01-01T10:00";
  EXPECT_EQ(expandNameFormat(track, texts, "%Y"), "2003");
}

TEST(TrackNameTest, ExpansionIsBounded) {
  const ID3Tag track = taggedTrack();
  const NamingTexts texts{std::string(600, 'x'), "", ""};
  EXPECT_EQ(expandNameFormat(track, texts, "%T%T").size(), kMaxNameFormatBytes);
  // A cut never leaves half a character.
  const NamingTexts wide{std::string(1022, 'x') + "\xC3\xA9", "", ""};
  EXPECT_EQ(expandNameFormat(track, wide, "%T").size(), 1022u);
}

TEST(TrackNameTest, StandardNaming) {
  const ID3Tag track = taggedTrack();
  const NamingTexts texts = *namingTexts(track, true);
  TrackName name = standardTrackName(track, texts, true, true);
  EXPECT_EQ(name.name, "A title");
  EXPECT_EQ(name.subfolder, "Artist/Album");
  EXPECT_EQ(name.trackNumber, 3);

  name = standardTrackName(track, texts, false, false);
  EXPECT_EQ(name.subfolder, std::nullopt);
  EXPECT_EQ(name.trackNumber, 0);

  // Without an album the title names the second folder; without an artist there is none.
  EXPECT_EQ(standardTrackName(track, {"T", "A", ""}, true, true).subfolder, "A/T");
  EXPECT_EQ(standardTrackName(track, {"T", "", "L"}, true, true).subfolder, std::nullopt);
  EXPECT_EQ(standardTrackName(track, {"T", "..", "L"}, true, true).subfolder, "L");  // never up and out

  ID3Tag unnumbered = taggedTrack();
  unnumbered.tagData.track = kUnsetNumber;
  EXPECT_EQ(standardTrackName(unnumbered, texts, true, false).trackNumber, 0);
}

TEST(TrackNameTest, CustomNamingSplitsAtTheLastSlash) {
  ID3Tag track = taggedTrack();
  track.tagData.title = UnicodeText::latin1("Why?");
  const NamingTexts texts = *namingTexts(track, true);
  TrackName name = customTrackName(track, texts, "%A/%L/%N %T");
  EXPECT_EQ(name.subfolder, "Artist/Album");
  EXPECT_EQ(name.name, "3 Why_");
  EXPECT_EQ(name.trackNumber, 0);

  name = customTrackName(track, texts, "/%T");
  EXPECT_EQ(name.subfolder, std::nullopt);
  EXPECT_EQ(name.name, "Why_");

  name = customTrackName(track, texts, "<%A>:%T");
  EXPECT_EQ(name.name, "_Artist__Why_");

  // Empty fields make no empty folders, and only a format that begins with
  // "/" leaves the track's folder.
  const struct {
    NamingTexts texts;
    const char* format;
    std::optional<std::string> subfolder;
  } rows[] = {
      {{"T", "", ""}, "%A/%L/%T", std::nullopt},
      {{"T", "", "L"}, "%A/%L/%T", "L"},
      {{"T", "..", "."}, "%A/%L/%T", std::nullopt},
      {{"T", "A", ""}, "/music/%L//%A/%T", "/music/A"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format + (" with " + row.texts.artist + "," + row.texts.album));
    name = customTrackName(track, row.texts, row.format);
    EXPECT_EQ(name.subfolder, row.subfolder);
    EXPECT_EQ(name.name, "T");
  }
}

}  // namespace
}  // namespace melos
