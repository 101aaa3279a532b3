#include "engine/id3_tag.h"

#include <gtest/gtest.h>

#include "engine/genres.h"
#include "engine/timestamp.h"

namespace melos {
namespace {

ID3Tag fullSource() {
  ID3Tag s;
  s.isMp3File = s.v1Loaded = s.v2Read = true;
  s.v1 = V1Tag{true, "V1 title", "V1 artist", "V1 album", "1999", "V1 comment", 0, 17};
  TagData& d = s.tagData;
  d.enabled = d.compilation = true;
  auto latin1 = UnicodeText::latin1;
  d.title = latin1("Title"), d.album = latin1("Album"), d.composer = latin1("Composer"), d.origArtist = latin1("Orig");
  d.artist = UnicodeText::utf16(u"Art\u4e2d"), d.lyrics = latin1("Lyrics");
  d.track = d.sets = 0, d.tracks = 12, d.set = 1, d.advisory = 2;
  d.musiccdid = d.grouping = "cd", d.mood = "Calm", d.recordtime = "2001-02-03T04:05", d.releasetime = std::string(80, '9');
  d.usertext = {UserText{{0, 'a', 0, 'b'}, latin1("a"), latin1("b")}}, d.popularity = PopularityData{"e@x", 200, "3"};
  d.privdata = {PrivateData{"TLAN", {0, 'e'}}}, d.uniqueid = UniqueFileID{"owner", {1, 2}}, d.picdata = {PicData{{0xFF, 0xD8, 1, 2}, "jpeg"}};
  return s;
}

TEST(CopyTagData, AllCopiesEverythingButTheTrackOwnFieldsSelectorsTheirOwn) {
  ID3Tag to;
  to.isMp3File = true, to.tagData.grouping = "mine";
  CopyTagData(to, fullSource(), true, false, false, false, false);
  const TagData& d = to.tagData;
  EXPECT_EQ(d.title.toUtf8() + d.lyrics.toUtf8() + d.recordtime + d.mood, "TitleLyrics2001-02-03 04:05Calm");
  EXPECT_EQ(d.artist, UnicodeText::utf16(u"Art\u4e2d"));
  EXPECT_EQ(std::vector<int>({d.track, d.tracks, d.set, d.sets, d.advisory, static_cast<int>(d.picdata.size()),
                              static_cast<int>(d.releasetime.size())}),
            std::vector<int>({kUnsetNumber, 12, 1, kUnsetNumber, 2, 1, static_cast<int>(kMaxTimeText)}));  // 0 becomes unset
  // Deliberately never copied.
  EXPECT_FALSE(d.compilation || !d.musiccdid.empty() || !d.usertext.empty() || !d.privdata.empty() || d.grouping != "mine" ||
               d.popularity != PopularityData{} || d.uniqueid != UniqueFileID{});
  EXPECT_EQ(std::make_tuple(to.v1Loaded, to.v1.title, to.v1.track, to.v1.genre), std::make_tuple(true, "V1 title", kUnsetV1, uint8_t{17}));

  ID3Tag aiff;  // an AIFF track has no V1
  aiff.isAiffFile = aiff.v1.enabled = aiff.v1Loaded = true;
  CopyTagData(aiff, fullSource(), true, false, false, false, false);
  EXPECT_FALSE(aiff.v1.enabled || aiff.v1Loaded || !aiff.v1.title.empty() || aiff.tagData.title.toUtf8() != "Title");

  ID3Tag source = fullSource(), copy(source);  // copies are deep
  source.tagData.picdata[0].data[2] = 99, source.tagData.title.data[0] = 'X';
  EXPECT_TRUE(copy.tagData.picdata[0].data[2] == 1 && copy.tagData.title.toUtf8() == "Title");

  // Without all, the selectors guard their fields.
  struct Case { bool title, track, composer, origArtist; };
  for (const Case& c : {Case{false, false, false, false}, Case{true, false, true, false}, Case{false, true, false, true}}) {
    ID3Tag from = fullSource(), into;
    from.tagData.track = 5, from.v1.track = 6, into.isMp3File = true;
    CopyTagData(into, from, false, c.title, c.track, c.composer, c.origArtist);
    EXPECT_EQ(std::vector<bool>({!into.tagData.title.empty(), !into.v1.title.empty(), into.tagData.track == 5, into.v1.track == 6,
                                 !into.tagData.composer.empty(), !into.tagData.origArtist.empty()}),
              std::vector<bool>({c.title, c.title, c.track, c.track, c.composer, c.origArtist}));
    EXPECT_TRUE(into.tagData.lyrics.empty() && into.tagData.album.toUtf8() == "Album");  // lyrics only with all
  }
}

TEST(Text, GenresConversionsTrimmingAndTimestamps) {
  EXPECT_EQ(kGenres[67], "Psychadelic");  // the old misspelling, as other taggers store it
  EXPECT_TRUE(std::is_permutation(kGenres.begin(), kGenres.end(), kGenresSorted.begin()));
  EXPECT_EQ(std::string(kGenresSorted.front()) + std::string(kGenresSorted.back()) + std::string(genreName(80)) +
                std::string(genreName(255)), "AcidVocalOtherOther");
  const std::tuple<const char*, bool, int> lookups[] = {
      {"hard rock", false, 79}, {"BLUES", false, 0}, {"Chiptune", false, -1}, {"Chiptune", true, 12}, {"", true, 12}};
  for (const auto& [name, other, index] : lookups) EXPECT_EQ(genreIndex(name, other), index) << name;

  EXPECT_EQ(UnicodeText::fromUtf8("caf\u00e9"), UnicodeText::latin1("caf\xE9"));
  UnicodeText wide = UnicodeText::fromUtf8("\U0001F3B5 x"), big{std::string("\xFE\xFF\0h\0i", 6), true};
  EXPECT_TRUE(wide.unicode && isBigEndianUtf16(big));
  EXPECT_EQ(wide.length() * 10 + big.length(), 42u);  // a surrogate pair counts two units
  EXPECT_EQ(wide.toUtf8() + big.toUtf8() + std::string(trimLatin1("\t a b\r\n ")), "\U0001F3B5 xhia b");
  EXPECT_EQ(utf8ToU16("a\xFF" "b") + std::u16string(trimU16(u"  x ")), u"a\uFFFD" "bx");
  // Lone surrogates become U+FFFD both ways; four-byte and private-use characters pass.
  EXPECT_EQ(u16ToUtf8(std::u16string{char16_t(0xDFFF), char16_t(0xD800)}) + fileSizeDisplay(1ull << 30), "\uFFFD\uFFFD" "1.00 GB");
  EXPECT_EQ(utf8ToU16("\xF1\x80\x80\x80\xEE\x80\x80\xED\xA0\x80"), u"\U00040000\uE000\uFFFD\uFFFD\uFFFD");
  // Time stamps are normalised to the ID3 form, cut where a part is out of range.
  const struct { const char* text; bool separator, zone; const char* result; } cases[] = {
      {"2007-5-3 9:7", false, false, "2007-05-03 09:07"}, {"2007-5-3 9:7", true, false, "2007-05-03T09:07"}, {"2007-5-3 9:7", true, true, "2007-05-03T09:07Z"},
      {"2007-05-03T09:07:05", false, false, "2007-05-03 09:07:05"}, {"2007-05-03x09", true, false, "2007-05-03T09"}, {"2007-05-03x09", true, true, "2007-05-03T09Z"},
      {"2007-05-03", true, true, "2007-05-03"} /* no time of day, no zone */, {"1099", false, false, ""}, {"1100", false, false, "1100"},
      {"2007-01-31", false, false, "2007-01-31"} /* days are checked against 31 only */, {"2007-02-32", false, false, "2007-02"}, {"", false, false, ""},
      {"2007-02-03 24:00", false, false, "2007-02-03"}, {"2007-02-03 23:60", false, false, "2007-02-03 23"}, {"2007-02-03 23:59:60", false, false, "2007-02-03 23:59"},
      {"2007-13", false, false, "2007"}, {"soon", false, false, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(normaliseTimestamp(c.text, c.separator, c.zone), c.result) << c.text;
}

}  // namespace
}  // namespace melos
