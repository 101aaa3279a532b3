#include "engine/id3_tag.h"

#include <gtest/gtest.h>

#include "engine/genres.h"

namespace melos {
namespace {

ID3Tag fullSource() {
  ID3Tag s;
  s.isMp3File = true;
  s.v1Loaded = true;
  s.v1 = V1Tag{true, "V1 title", "V1 artist", "V1 album", "1999", "V1 comment", 0, 17};
  s.v2Read = true;
  TagData& d = s.tagData;
  d.enabled = true;
  d.title = UnicodeText::latin1("Title");
  d.artist = UnicodeText::utf16(u"Art\u4e2d");
  d.album = UnicodeText::latin1("Album");
  d.year = "2001";
  d.comment = UnicodeText::latin1("Comment");
  d.genre = UnicodeText::latin1("Rock");
  d.composer = UnicodeText::latin1("Composer");
  d.origArtist = UnicodeText::latin1("Orig");
  d.lyrics = UnicodeText::latin1("Lyrics");
  d.url = "http://u";
  d.track = 0;
  d.tracks = 12;
  d.set = 1;
  d.sets = 0;
  d.compilation = true;
  d.musiccdid = "cd";
  d.grouping = "g";
  d.usertext.push_back(UserText{{0, 'a', 0, 'b'}, UnicodeText::latin1("a"), UnicodeText::latin1("b")});
  d.popularity = PopularityData{"e@x", 200, "3"};
  d.privdata.push_back(PrivateData{"TLAN", {0, 'e'}});
  d.uniqueid = UniqueFileID{"owner", {1, 2}};
  d.picdata.push_back(PicData{{0xFF, 0xD8, 1, 2}, "jpeg"});
  d.recordtime = "2001-02-03T04:05";
  d.releasetime = std::string(80, '9');
  d.advisory = 2;
  d.mood = "Calm";
  return s;
}

TEST(TrackModel, FreshTrack) {
  ID3Tag track;
  EXPECT_TRUE(track.readOnly);
  EXPECT_TRUE(track.v2ReadingOption);
  EXPECT_TRUE(track.aiffSizeTolerance);
  EXPECT_TRUE(track.id3ChunkAfterSound);
  EXPECT_EQ(track.keepMode, 1);
  EXPECT_EQ(track.tagData.track, kUnsetNumber);
  EXPECT_EQ(track.tagData.tracks, kUnsetNumber);
  EXPECT_EQ(track.tagData.set, kUnsetNumber);
  EXPECT_EQ(track.tagData.sets, kUnsetNumber);
  EXPECT_EQ(track.v1.track, kUnsetV1);
  EXPECT_EQ(track.v1.genre, kUnsetV1);
  EXPECT_EQ(track.fileSizeText, "0 bytes");
  EXPECT_EQ(track.durationText, "0:00");
}

TEST(CopyTagData, AllSetCopiesEverythingButTheTrackOwnFields) {
  ID3Tag to;
  to.isMp3File = true;
  to.tagData.compilation = false;
  to.tagData.grouping = "mine";
  CopyTagData(to, fullSource(), true, false, false, false, false);
  const TagData& d = to.tagData;
  EXPECT_EQ(d.title.toUtf8(), "Title");
  EXPECT_EQ(d.artist, UnicodeText::utf16(u"Art\u4e2d"));
  EXPECT_EQ(d.lyrics.toUtf8(), "Lyrics");
  EXPECT_EQ(d.track, kUnsetNumber);  // 0 becomes unset
  EXPECT_EQ(d.tracks, 12);
  EXPECT_EQ(d.set, 1);
  EXPECT_EQ(d.sets, kUnsetNumber);
  ASSERT_EQ(d.picdata.size(), 1u);
  EXPECT_EQ(d.recordtime, "2001-02-03 04:05");
  EXPECT_EQ(d.releasetime.size(), kMaxTimeText);
  EXPECT_EQ(d.advisory, 2);
  EXPECT_EQ(d.mood, "Calm");
  // Deliberately never copied.
  EXPECT_FALSE(d.compilation);
  EXPECT_EQ(d.grouping, "mine");
  EXPECT_TRUE(d.musiccdid.empty());
  EXPECT_TRUE(d.usertext.empty());
  EXPECT_TRUE(d.privdata.empty());
  EXPECT_EQ(d.popularity, PopularityData{});
  EXPECT_EQ(d.uniqueid, UniqueFileID{});
  // V1, into an MP3 track.
  EXPECT_TRUE(to.v1Loaded);
  EXPECT_EQ(to.v1.title, "V1 title");
  EXPECT_EQ(to.v1.track, kUnsetV1);
  EXPECT_EQ(to.v1.genre, 17);
}

TEST(CopyTagData, SelectorsGuardTheirFields) {
  struct Case {
    bool title, track, composer, origArtist;
  };
  for (const Case& c : {Case{false, false, false, false}, Case{true, false, true, false}, Case{false, true, false, true}}) {
    ID3Tag source = fullSource();
    source.tagData.track = 5;
    source.v1.track = 6;
    ID3Tag to;
    to.isMp3File = true;
    CopyTagData(to, source, false, c.title, c.track, c.composer, c.origArtist);
    EXPECT_EQ(!to.tagData.title.empty(), c.title);
    EXPECT_EQ(to.v1.title.empty(), !c.title);
    EXPECT_EQ(to.tagData.track == 5, c.track);
    EXPECT_EQ(to.v1.track == 6, c.track);
    EXPECT_EQ(!to.tagData.composer.empty(), c.composer);
    EXPECT_EQ(!to.tagData.origArtist.empty(), c.origArtist);
    EXPECT_TRUE(to.tagData.lyrics.empty());  // lyrics only with all
    EXPECT_EQ(to.tagData.album.toUtf8(), "Album");
  }
}

TEST(CopyTagData, IntoAnAiffTrackClearsItsV1) {
  ID3Tag to;
  to.isAiffFile = true;
  to.v1.enabled = true;
  to.v1Loaded = true;
  CopyTagData(to, fullSource(), true, false, false, false, false);
  EXPECT_FALSE(to.v1.enabled);
  EXPECT_FALSE(to.v1Loaded);
  EXPECT_TRUE(to.v1.title.empty());
  EXPECT_EQ(to.tagData.title.toUtf8(), "Title");
}

TEST(CopyTagData, CopyConstructionMakesDeepCopies) {
  ID3Tag source = fullSource();
  ID3Tag copy(source);
  source.tagData.picdata[0].data[2] = 99;
  source.tagData.title.data[0] = 'X';
  EXPECT_EQ(copy.tagData.picdata[0].data[2], 1);
  EXPECT_EQ(copy.tagData.title.toUtf8(), "Title");
  EXPECT_TRUE(copy.path().empty());
}

TEST(Genres, ListsAndLookups) {
  EXPECT_EQ(kGenres[67], "Psychadelic");  // the old misspelling, as other taggers store it
  EXPECT_EQ(kGenresSorted.front(), "Acid");
  EXPECT_EQ(kGenresSorted.back(), "Vocal");
  EXPECT_TRUE(std::is_permutation(kGenres.begin(), kGenres.end(), kGenresSorted.begin()));
  EXPECT_EQ(genreName(80), "Other");
  EXPECT_EQ(genreName(255), "Other");
  EXPECT_EQ(genreIndex("hard rock", false), 79);
  EXPECT_EQ(genreIndex("BLUES", false), 0);
  EXPECT_EQ(genreIndex("Chiptune", false), -1);
  EXPECT_EQ(genreIndex("Chiptune", true), 12);
  EXPECT_EQ(genreIndex("", true), 12);
}

TEST(Text, ConversionsAndTrimming) {
  EXPECT_EQ(UnicodeText::fromUtf8("caf\u00e9"), UnicodeText::latin1("caf\xE9"));
  UnicodeText wide = UnicodeText::fromUtf8("\U0001F3B5 x");
  EXPECT_TRUE(wide.unicode);
  EXPECT_EQ(wide.length(), 4u);  // a surrogate pair counts two units
  EXPECT_EQ(wide.toUtf8(), "\U0001F3B5 x");
  EXPECT_EQ(utf8ToU16("a\xFF" "b"), u"a\uFFFD" "b");
  EXPECT_EQ(trimLatin1("\t a b\r\n "), "a b");
  EXPECT_EQ(trimU16(u"  x "), u"x");
  UnicodeText big{std::string("\xFE\xFF\0h\0i", 6), true};
  EXPECT_TRUE(isBigEndianUtf16(big));
  EXPECT_EQ(big.toUtf8(), "hi");
  EXPECT_EQ(big.length(), 2u);
}

}  // namespace
}  // namespace melos
