#include "engine/compare.h"

#include <gtest/gtest.h>

#include "engine/log.h"
#include "tests/support/log_capture.h"

namespace melos {
namespace {

ID3Tag v1Track() {
  ID3Tag track;
  track.isMp3File = track.v1Loaded = true;
  track.v1 = V1Tag{true, "Title", "Artist", "Album", "2001", "Comment", 3, 17};
  return track;
}

TEST(CompareV1, FirstDifferingFieldWins) {
  const std::pair<void (*)(V1Tag&), unsigned> cases[] = {
      {[](V1Tag&) {}, 0},
      {[](V1Tag& t) { t.title = "x"; }, 3},
      {[](V1Tag& t) { t.album = "x"; }, 4},
      {[](V1Tag& t) { t.artist = "x"; }, 5},
      {[](V1Tag& t) { t.comment = "x"; }, 6},
      {[](V1Tag& t) { t.year = "1999"; }, 7},
      {[](V1Tag& t) { t.track = 4; }, 8},
      {[](V1Tag& t) { t.genre = 12; }, 10},
      {[](V1Tag& t) { t.genre = 12; t.title = "Other"; }, 3},
  };
  for (const auto& [change, code] : cases) {
    ID3Tag reread = v1Track();
    change(reread.v1);
    EXPECT_EQ(CompareV1Tags(v1Track(), reread), code);
  }
  // Not an MP3, or a tag not there on either side: nothing to compare, but a missing tag is logged.
  ID3Tag a = v1Track(), b = v1Track();
  b.v1.title = "other";
  a.isMp3File = false;
  EXPECT_EQ(CompareV1Tags(a, b), 0u);
  a.isMp3File = true;
  b.v1.enabled = b.v1Loaded = false;
  test::LogCapture log;
  EXPECT_EQ(CompareV1Tags(a, b), 0u);
  EXPECT_TRUE(log.has(LogStatus, "Comparing V1 loaded state failed (1 != 0)"));
  EXPECT_TRUE(log.has(LogWarning, "Comparing V1 enabled state failed (1 != 0)"));
}

ID3Tag v2Track() {
  ID3Tag track;
  track.v2Read = true;
  TagData& d = track.tagData;
  d.enabled = true;
  d.title = UnicodeText::latin1("Title");
  d.album = UnicodeText::utf16(u"Album");
  d.track = 3;
  d.tracks = 12;
  d.set = kUnsetNumber;
  d.year = d.recordtime = "2001";
  d.usertext.push_back(UserText{});
  d.uniqueid = UniqueFileID{"owner", {1, 2, 3}};
  d.lyrics = UnicodeText::latin1("la");
  d.popularity = PopularityData{"a@b", 5, "3"};
  d.moreValues = {{"TIT2", u"Title", {u"Second"}}};
  d.picdata = {PicData{{1}, "png"}};
  return track;
}

TEST(CompareV2, CodesInTableOrder) {
  const std::tuple<const char*, void (*)(TagData&), unsigned> cases[] = {
      {"same", [](TagData&) {}, 0},
      {"title Latin-1 vs UTF-16", [](TagData& d) { d.title = UnicodeText::utf16(u"Title"); }, 103},
      {"title trimmed", [](TagData& d) { d.title = UnicodeText::latin1(" Title\n"); }, 0},
      {"title case", [](TagData& d) { d.title = UnicodeText::latin1("title"); }, 103},
      {"title emptied", [](TagData& d) { d.title = UnicodeText{}; }, 103},
      {"album other byte order", [](TagData& d) { d.album = UnicodeText{encodeUtf16(u"Album", true), true}; }, 104},
      {"year only", [](TagData& d) { d.year = "1999"; }, 0},
      {"track", [](TagData& d) { d.track = 4; }, 108},
      {"tracks", [](TagData& d) { d.tracks = 13; }, 109},
      {"genre", [](TagData& d) { d.genre = UnicodeText::latin1("Rock"); }, 110},
      {"url", [](TagData& d) { d.url = "http://x"; }, 114},
      {"publisher", [](TagData& d) { d.publisher = UnicodeText::latin1("P"); }, 119},
      {"podcast", [](TagData& d) { d.podcast = true; }, 125},
      {"user text count", [](TagData& d) { d.usertext.clear(); }, 129},
      {"sets ignored while set is unset", [](TagData& d) { d.sets = 2; }, 0},
      {"record time never differs", [](TagData& d) { d.recordtime = "1999"; }, 0},
      {"mood", [](TagData& d) { d.mood = "Calm"; }, 140},
      {"ufid owner", [](TagData& d) { d.uniqueid.owner = "other"; }, 142},
      {"ufid data", [](TagData& d) { d.uniqueid.data = {1, 9}; }, 143},
      {"ufid shorter data", [](TagData& d) { d.uniqueid.data = {1, 2}; }, 0},
      {"picture count", [](TagData& d) { d.picdata.push_back(PicData{{1}, "png"}); }, 145},
      {"first picture's type", [](TagData& d) { d.picdata[0].pictureType = 3; }, 145},
      {"no comment, no language", [](TagData& d) { d.commentLanguage = "fra"; }, 0},
      {"lyrics language eng by default", [](TagData& d) { d.lyricsLanguage = "eng"; }, 0},
      {"lyrics language", [](TagData& d) { d.lyricsLanguage = "deu"; }, 147},
      {"lyrics description", [](TagData& d) { d.lyricsDescription = UnicodeText::latin1("x"); }, 147},
      {"rating email", [](TagData& d) { d.popularity.email = "b@c"; }, 148},
      {"further values", [](TagData& d) { d.moreValues[0].rest = {u"Other"}; }, 149},
      {"further values of another first", [](TagData& d) { d.moreValues[0] = {"TIT2", u"Other", {u"Third"}}; }, 0},
  };
  for (const auto& [name, change, code] : cases) {
    ID3Tag reread = v2Track();
    change(reread.tagData);
    EXPECT_EQ(CompareV2Tags(v2Track(), reread, 4), code) << name;
  }
  ID3Tag noTrack = v2Track(), otherTotal = v2Track();
  noTrack.tagData.track = otherTotal.tagData.track = kUnsetNumber;
  otherTotal.tagData.tracks = 99;
  EXPECT_EQ(CompareV2Tags(noTrack, otherTotal, 3), 0u);
  // The log names the field of a code; there is no name outside the table.
  EXPECT_STREQ(compareFieldName(144), "V2 tag");
  EXPECT_STREQ(compareFieldName(102), "");
  EXPECT_STREQ(compareFieldName(150), "");
}

TEST(CompareV2, AWrittenTagMissingOnRereadIsADifference) {
  ID3Tag a = v2Track(), b = v2Track();
  b.tagData.enabled = false;
  b.tagData.title = UnicodeText::latin1("zzz");
  test::LogCapture log;
  EXPECT_EQ(CompareV2Tags(a, b, 3), kCompareNoV2Tag);
  EXPECT_TRUE(log.has(LogWarning, "Comparing V2 enabled state failed (1 != 0)"));
  EXPECT_EQ(CompareV2Tags(b, a, 3), 0u);  // nothing written, nothing to find
}

TEST(DescribeTagVersions, Texts) {
  const std::tuple<bool, bool, bool, int, const char*> cases[] = {
      {true, true, false, 3, "V1 and V2.3"}, {false, true, false, 4, "V2.4"}, {true, false, false, 0, "V1"},
      {false, false, false, 0, ""}, {false, true, false, 5, "V2.5 (unsupported)"}, {false, true, true, 3, "V2.3 (podcast)"}};
  for (const auto& [v1, v2, podcast, version, text] : cases) {
    ID3Tag track;
    track.v1Loaded = v1;
    track.v2Read = v2;
    track.tagData.podcast = podcast;
    DescribeTagVersions(track, version);
    EXPECT_EQ(track.versionText, text);
    EXPECT_EQ(track.v2Version, version);
  }
}

}  // namespace
}  // namespace melos
