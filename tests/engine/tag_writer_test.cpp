#include "engine/tag_writer.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "engine/compare.h"
#include "engine/frames_read.h"
#include "engine/id3v2_reader.h"
#include "engine/log.h"
#include "tests/support/byte_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

using test::Enc;
using test::ascii;
using test::concat;
using Frames = std::vector<std::pair<std::string, Bytes>>;
using Fill = std::function<void(TagData&)>;

// Frame contents: the encoding byte (0 Latin-1, 1 UTF-16 with its mark), then the text.
Bytes L(const char* text) { return concat({{0x00}, ascii(text)}); }
Bytes W(const char* text) { return concat({{0x01, 0xFF, 0xFE}, test::units(text), {0, 0} /* terminator */}); }
UnicodeText narrow(std::string text) { return UnicodeText::latin1(std::move(text)); }
template <typename T, typename V> std::function<void(TagData&)> set(T TagData::*field, V value) { return [=](TagData& d) { d.*field = static_cast<T>(value); }; }

// The frames of a built tag, as ID and content, up to the padding.
Frames framesOf(const Bytes& tag) {
  Frames frames;
  size_t pos = 10;
  for (uint32_t size = 0; pos + 10 <= tag.size() && tag[pos] != 0; pos += 10 + size) {
    size = tag[3] >= 4 ? syncsafeDecode(&tag[pos + 4]) : readU32BE(&tag[pos + 4]);
    EXPECT_EQ(tag[pos + 8] | tag[pos + 9], 0) << "frame flags";
    const auto at = tag.begin() + static_cast<long>(pos);
    frames.emplace_back(std::string(at, at + 4), Bytes(at + 10, at + 10 + size));
  }
  for (; pos < tag.size(); ++pos) EXPECT_EQ(tag[pos], 0) << "padding at " << pos;
  return frames;
}

Bytes build(ID3Tag& track, int version, bool trim = false, bool keepExtraFrames = false) {
  Bytes out;
  const uint32_t size = buildV2Tag(track, out, version, trim, keepExtraFrames);
  EXPECT_EQ(size, out.size());
  return out;
}

// The track a save rereads: walked as opening does, with its tag enabled.
ID3Tag reread(const Bytes& tag) {
  ID3Tag track;
  ReadV2Frames(track, tag, true);
  track.tagData.enabled = true;
  return track;
}

ID3Tag trackWith(const Fill& setup) {
  ID3Tag track;
  track.tagData.enabled = track.v2Read = true;
  setup(track.tagData);
  return track;
}

// One case per row of the frame table: the field as held and the frame's content as written.
struct RowCase { std::string id; Fill setup; Bytes content; };

std::vector<RowCase> rowCases() {
  const Bytes jpeg = test::jpegBytes(8);
  const UserText mood = test::userText(Enc::Utf16LE, "MOOD", "calm");
  return {
      {"TRCK", [](TagData& d) { d.track = 3; d.tracks = 12; }, L("3/12")},
      {"TIT2", [](TagData& d) { d.title = UnicodeText{encodeUtf16(u"Hi", true), true}; }, W("Hi")},  // big-endian held
      {"TPE1", set(&TagData::artist, narrow("Artist")), L("Artist")},
      {"TALB", set(&TagData::album, UnicodeText::utf16(u"Al")), W("Al")},
      {"TYER", set(&TagData::year, "1999"), L("1999")}, {"TCON", set(&TagData::genre, narrow("Rock")), L("(17)Rock")},
      {"COMM", [](TagData& d) { d.comment = narrow("c"); }, concat({L("eng"), {0} /* empty description */, ascii("c")})},
      {"TCOM", set(&TagData::composer, narrow("Comp")), L("Comp")},
      {"TCOP", set(&TagData::copyright, narrow("(c) 2001")), L("(c) 2001")},
      {"TOPE", set(&TagData::origArtist, UnicodeText::utf16(u"O")), W("O")},
      {"TENC", set(&TagData::encodedBy, "LAME"), L("LAME")},
      {"WXXX", [](TagData& d) { d.url = "http://u"; }, concat({{0, 0} /* encoding, description */, ascii("http://u")})},
      {"TCMP", set(&TagData::compilation, true), L("1")}, {"TPE3", set(&TagData::conductor, narrow("Cond")), L("Cond")},
      {"TEXT", set(&TagData::lyricist, narrow("Lyr")), L("Lyr")}, {"TPUB", set(&TagData::publisher, narrow("Pub")), L("Pub")},
      {"TPE2", set(&TagData::orchestra, narrow("Band")), L("Band")},
      {"TIT1", set(&TagData::content, narrow("Group")), L("Group")}, {"TIT3", set(&TagData::subtitle, narrow("Sub")), L("Sub")},
      {"TSSE", set(&TagData::encsettings, narrow("-V2")), L("-V2")},
      {"TPOS", [](TagData& d) { d.set = 1; d.sets = 2; }, L("1/2")},
      {"TSRC", set(&TagData::isrc, "USRC17607839"), L("USRC17607839")},
      {"TBPM", set(&TagData::bpm, "120"), L("120")}, {"TKEY", set(&TagData::initialkey, "Dbm"), L("Dbm")},
      {"WOAR", set(&TagData::artisturl, "http://a"), ascii("http://a")},
      {"POPM", [](TagData& d) { d.popularity.rate = 196; }, {0x00 /* empty email */, 0xC4 /* rating */}},
      {"UFID", set(&TagData::uniqueid, UniqueFileID{"o", {'a', 'b'}}), ascii(std::string_view("o\0ab", 4))},
      {"MCDI", set(&TagData::musiccdid, "0A1B"), ascii("0A1B")},
      {"TDRL", set(&TagData::releasetime, "2001-02-03"), L("2001-02-03")},
      {"TDRC", set(&TagData::recordtime, "2004-05-06 07:08"), L("2004-05-06T07:08")},
      {"TPRO", set(&TagData::producednotice, "2004 Label"), L("2004 Label")},
      {"TMOO", set(&TagData::mood, "Calm"), L("Calm")}, {"PCST", set(&TagData::podcast, true), {0, 0, 0, 0}},
      {"TGID", set(&TagData::podcastid, narrow("id-1")), L("id-1")},
      {"WFED", set(&TagData::podcastfeed, "http://f"), L("http://f")},
      {"TDES", set(&TagData::podcastdesc, UnicodeText::utf16(u"D")), W("D")},
      {"TRTG", set(&TagData::advisory, 2), L("2")}, {"TSWC", set(&TagData::iswc, "T-123"), L("T-123")},
      {"TXXX", [mood](TagData& d) { d.usertext = {mood}; }, mood.body},
      {"USLT", set(&TagData::lyrics, narrow("la")), concat({L("eng"), {0}, ascii("la")})},
      {"APIC", [jpeg](TagData& d) { d.picdata = {PicData{jpeg, "jpeg"}}; }, concat({L("image/jpeg"), {0} /* MIME end */, {0} /* type */, {0} /* description */, jpeg})},
  };
}

// Each row alone, in both versions, and then all at once in the table's order with a second user text,
// picture and kept frame. Only a time asks for 2.4 when no version is given; later versions are written as 2.4.
TEST(TagWriter, EveryRowOfTheFrameTable) {
  test::LogCapture log;
  std::vector<std::string> ids;
  ID3Tag all = trackWith([](TagData&) {});
  for (const RowCase& c : rowCases()) {
    const FrameSpec* row = findFrameSpec(c.id, 4);
    ASSERT_NE(row, nullptr) << c.id;
    for (int version : {3, 4}) {
      SCOPED_TRACE(c.id + " in 2." + std::to_string(version));
      ID3Tag track = trackWith(c.setup);
      const Bytes tag = build(track, version, true);
      const bool written = !row->v24Only || version == 4;
      EXPECT_EQ(framesOf(tag), (written ? Frames{{c.id, c.content}} : Frames{}));
      if (written) {
        EXPECT_EQ(CompareV2Tags(track, reread(tag), version), 0u);
      }
      EXPECT_EQ(build(track, version == 3 ? 2 : 5)[3], version == 3 && c.id != "TDRC" && c.id != "TDRL" ? 3 : 4);
    }
    c.setup(all.tagData);
    ids.insert(ids.end(), c.id == "TXXX" || c.id == "APIC" ? 2 : 1, c.id);
  }
  all.tagData.usertext.push_back(test::userText(Enc::Latin1, "b", "2"));
  all.tagData.picdata.push_back(PicData{test::pngBytes(12), "png"});
  all.tagData.privdata = {PrivateData{"PRIV", {1}}, PrivateData{"TLAN", {0, 'x'}}};
  ids.insert(ids.end(), {"PRIV", "TLAN"});
  std::vector<std::string> built;
  for (const auto& f : framesOf(build(all, 4))) built.push_back(f.first);
  EXPECT_EQ(built, ids);
  std::set<std::string> covered(ids.begin(), ids.end());
  for (const FrameSpec& spec : kFrameTable) EXPECT_TRUE(covered.count(std::string(spec.id))) << spec.id;
}

// The tag is padded to a multiple of 128, with at least 10 bytes of padding. An empty tag is all padding and
// still reads as a tag; a tag goes behind what is there.
TEST(TagWriter, PaddingRule) {
  const std::pair<uint32_t, uint32_t> cases[] = {{0, 118}, {108, 10}, {109, 137}, {117, 129}, {118, 128}, {236, 10}, {237, 137}};
  for (const auto& [frames, padding] : cases) EXPECT_EQ(paddingFor(frames), padding) << frames;
  ID3Tag empty = trackWith([](TagData&) {});
  Bytes out{'x', 'y'};
  EXPECT_EQ(buildV2Tag(empty, out, 3, false, false), 128u);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 3), (Bytes{'x', 'y', 'I'}));
  EXPECT_TRUE(reread(Bytes(out.begin() + 2, out.end())).v2Read);
}

TEST(TagWriter, TrimDropsBlankTitlesAndStripsTexts) {
  ID3Tag track = trackWith([](TagData& d) { d.title = narrow("   "), d.artist = UnicodeText::utf16(u" A "), d.iswc = " T-1 " /* never trimmed */; });
  EXPECT_EQ(framesOf(build(track, 3, true)), (Frames{{"TPE1", W("A")}, {"TSWC", L(" T-1 ")}}));
  EXPECT_EQ(track.tagData.title.data, "   ");
  EXPECT_EQ(framesOf(build(track, 3, false)), (Frames{{"TIT2", L("   ")}, {"TPE1", W(" A ")}, {"TSWC", L(" T-1 ")}}));
}

// Whether extra frames are kept or not; a kept ID that is not four characters cannot head a frame. 2.3
// readers know no UTF-8: user texts and kept text frames in it become UTF-16 there.
TEST(TagWriter, UserTextsAndKeptFramesAreAlwaysWritten) {
  test::LogCapture log;
  const UserText latin1 = test::userText(Enc::Latin1, "MOOD", "happy");
  const UserText utf8{test::userTextBody(Enc::Utf8, "d\xC3\xA9", "v"), {}, {}} /* "dé", "v" */, bare{{3, 0 /* no description */, 'v'}, {}, {}};
  for (bool keepExtraFrames : {false, true}) {
    ID3Tag track = trackWith([&](TagData& d) {
      d.usertext = {latin1, utf8, bare};
      d.privdata = {{"TT2", {1, 2}}, {"PRIV", {}}, {"PRIV", {3, 'x'}}, {"TSOP", {3, 'S', 0xC3, 0xA9, 0}}, {"TLAN", {0, 'e'}},
                    {"WXXX", {3, 'd', 0, 'u'}}};
    });
    EXPECT_EQ(framesOf(build(track, 3, false, keepExtraFrames)),
              (Frames{{"TXXX", latin1.body}, {"TXXX", concat({W("d\xE9"), {0xFF, 0xFE}, test::units("v")})},
                      {"TXXX", {1, 0xFF, 0xFE, 0, 0, 0xFF, 0xFE, 'v', 0}}, {"PRIV", {3, 'x'}}, {"TSOP", W("S\xE9")},
                      {"TLAN", {0, 'e'}}, {"WXXX", {1, 0xFF, 0xFE, 'd', 0, 0, 0, 'u'} /* the URL stays Latin-1 */}}));
    EXPECT_EQ(framesOf(build(track, 4))[1].second, utf8.body);
  }
  EXPECT_TRUE(log.has(LogWarning, "'TT2'"));
}

// A 2.4 tag as a peer tagger writes it: parts of frames that no field shows, two values in one frame, and UTF-8
// in frames that are kept whole.
TEST(TagWriter, ASaveKeepsWhatTheFieldsDoNotShow) {
  ID3Tag track = reread(test::Id3v2Builder(4)
      .frame(test::pictureFrame(Enc::Utf8, "image/jpeg", kPictureFrontCover, "Fa\u00e7ade", test::jpegBytes(24)))
      .frame(test::commentFrame(Enc::Latin1, "fra", "", "Bonjour"))
      .frame(test::commentFrame(Enc::Utf8, "deu", "zweite", "Gr\u00fc\u00dfe"))
      .frame(test::commentFrame(Enc::Utf8, "eng", "lyrics note", "USLT-like", "USLT"))
      .frame(test::popularityFrame("me@example.org", 196, 7))
      .text("TPE1", Enc::Utf8, std::string_view("One\0Tw\u00f6", 9))
      .frame(test::userUrlFrame(Enc::Latin1, "", "http://example.org/1"))
      .frame(test::userUrlFrame(Enc::Utf8, "zw\u00f6i", "http://example.org/2"))
      .build());
  // What the reader makes of it is for its own tests; here it only has to be there to be kept.
  ASSERT_TRUE(track.tagData.picdata.size() == 1 && track.tagData.popularity.counter == "7" && !track.tagData.moreValues.empty());
  for (int version : {4, 3}) {
    SCOPED_TRACE(version);
    ID3Tag again = reread(build(track, version));
    EXPECT_EQ(CompareV2Tags(track, again, version), 0u);
    // The kept UTF-8 frames are UTF-16 in 2.3.
    ASSERT_EQ(again.tagData.privdata.size(), 2u);
    for (const PrivateData& kept : again.tagData.privdata) EXPECT_EQ(kept.body[0], version == 4 ? 3 : 1) << kept.id;
    if (version == 3) {
      EXPECT_EQ(decodeText(1, ByteSpan(again.tagData.privdata[0].body).subspan(4)).toU16(), u"zweite");
      again.tagData.privdata = track.tagData.privdata;
    }
    EXPECT_TRUE(again.tagData == track.tagData);
  }
  // A changed text goes alone; an unchanged one keeps its values.
  track.tagData.artist = UnicodeText::latin1("Solo");
  EXPECT_TRUE(reread(build(track, 4)).tagData.moreValues.empty());
}

ID3Tag v1Track() {
  ID3Tag track;
  track.isMp3File = track.v1Loaded = true;
  track.v1 = V1Tag{true, "Title", "Artist", "Album", "2001", "Comment", 3, 17};
  return track;
}

TEST(CompareV1, FirstDifferingFieldWins) {
  const std::pair<void (*)(V1Tag&), unsigned> cases[] = {
      {[](V1Tag&) {}, 0}, {[](V1Tag& t) { t.title = "x"; }, 3}, {[](V1Tag& t) { t.album = "x"; }, 4},
      {[](V1Tag& t) { t.artist = "x"; }, 5}, {[](V1Tag& t) { t.comment = "x"; }, 6}, {[](V1Tag& t) { t.year = "1999"; }, 7},
      {[](V1Tag& t) { t.track = 4; }, 8}, {[](V1Tag& t) { t.genre = 12; }, 10}, {[](V1Tag& t) { t.genre = 12, t.title = "Other"; }, 3},
  };
  for (const auto& [change, code] : cases) {
    ID3Tag reread = v1Track();
    change(reread.v1);
    EXPECT_EQ(CompareV1Tags(v1Track(), reread), code);
  }
  // Not an MP3, or a tag not there on either side: nothing to compare, but a missing tag is logged.
  ID3Tag a = v1Track(), b = v1Track();
  b.v1.title = "other", a.isMp3File = false;
  EXPECT_EQ(CompareV1Tags(a, b), 0u);
  a.isMp3File = true;
  b.v1.enabled = b.v1Loaded = false;
  test::LogCapture log;
  EXPECT_EQ(CompareV1Tags(a, b), 0u);
  EXPECT_TRUE(log.has(LogStatus, "Comparing V1 loaded state failed (1 != 0)"));
  EXPECT_TRUE(log.has(LogWarning, "Comparing V1 enabled state failed (1 != 0)"));
}

ID3Tag v2Track() {
  return trackWith([](TagData& d) {
    d.title = UnicodeText::latin1("Title"), d.album = UnicodeText::utf16(u"Album"), d.lyrics = UnicodeText::latin1("la");
    d.track = 3, d.tracks = 12, d.set = kUnsetNumber, d.year = d.recordtime = "2001";
    d.usertext = {UserText{}}, d.uniqueid = UniqueFileID{"owner", {1, 2, 3}}, d.popularity = PopularityData{"a@b", 5, "3"};
    d.moreValues = {{"TIT2", u"Title", {u"Second"}}}, d.picdata = {PicData{{1}, "png"}};
  });
}

TEST(CompareV2, CodesInTableOrder) {
  using T = TagData;
  const std::pair<Fill, unsigned> cases[] = {
      {[](TagData&) {}, 0}, {set(&T::title, UnicodeText::utf16(u"Title")), 103}, {set(&T::title, narrow("title")), 103},
      {set(&T::title, narrow(" Title\n")), 0} /* trimmed */, {set(&T::title, UnicodeText{}), 103},
      {set(&T::album, UnicodeText{encodeUtf16(u"Album", true), true}), 104} /* other byte order */, {set(&T::year, "1999"), 0},
      {set(&T::track, 4), 108}, {set(&T::tracks, 13), 109}, {set(&T::genre, narrow("Rock")), 110}, {set(&T::url, "http://x"), 114},
      {set(&T::publisher, narrow("P")), 119}, {set(&T::podcast, true), 125}, {set(&T::usertext, std::vector<UserText>{}), 129},
      {set(&T::sets, 2), 0} /* ignored while set is unset */, {set(&T::recordtime, "1999"), 0} /* never differs */,
      {set(&T::mood, "Calm"), 140}, {[](TagData& d) { d.uniqueid.owner = "other"; }, 142},
      {[](TagData& d) { d.uniqueid.data = {1, 9}; }, 143}, {[](TagData& d) { d.uniqueid.data = {1, 2}; }, 0} /* shorter */,
      {[](TagData& d) { d.picdata.push_back(PicData{{1}, "png"}); }, 145}, {[](TagData& d) { d.picdata[0].pictureType = 3; }, 145},
      {set(&T::commentLanguage, "fra"), 0} /* no comment, no language */, {set(&T::lyricsLanguage, "eng"), 0} /* the default */,
      {set(&T::lyricsLanguage, "deu"), 147}, {set(&T::lyricsDescription, narrow("x")), 147},
      {[](TagData& d) { d.popularity.email = "b@c"; }, 148}, {[](TagData& d) { d.moreValues[0].rest = {u"Other"}; }, 149},
      {set(&T::moreValues, std::vector<MoreValues>{{"TIT2", u"Other", {u"Third"}}}), 0} /* values of another first text */,
  };
  for (const auto& c : cases) {
    ID3Tag reread = v2Track();
    c.first(reread.tagData);
    EXPECT_EQ(CompareV2Tags(v2Track(), reread, 4), c.second) << "row " << &c - cases;
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

}  // namespace
}  // namespace melos
