#include "engine/tag_writer.h"

#include <gtest/gtest.h>

#include "tests/support/byte_text.h"
#include "tests/support/mp3_file_builder.h"

#include <functional>
#include <initializer_list>
#include <set>
#include <utility>

#include "engine/compare.h"
#include "engine/frame_table.h"
#include "engine/frames_read.h"
#include "engine/id3v2_reader.h"
#include "engine/log.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/tag_fixtures.h"

namespace melos {
namespace {

using test::Enc;
using test::ascii;
using test::units;
using WrittenFrame = std::pair<std::string, Bytes>;

const Bytes kLatin1{0x00};        // encoding ISO 8859-1
const Bytes kUtf16{0x01};         // encoding UTF-16 with a mark
const Bytes kMarkLE{0xFF, 0xFE};  // byte-order mark, little-endian
const Bytes kEnd16{0x00, 0x00};   // UTF-16 terminator

UnicodeText wide(std::u16string_view text) { return UnicodeText::utf16(text); }
UnicodeText narrow(std::string text) { return UnicodeText::latin1(std::move(text)); }

// The frames of a built tag, as ID and content, up to the padding.
std::vector<WrittenFrame> framesOf(const Bytes& tag) {
  std::vector<WrittenFrame> frames;
  const int version = tag[3];
  size_t pos = 10;
  while (pos + 10 <= tag.size() && tag[pos] != 0) {
    uint32_t size = version >= 4 ? syncsafeDecode(&tag[pos + 4]) : readU32BE(&tag[pos + 4]);
    EXPECT_EQ(tag[pos + 8], 0);
    EXPECT_EQ(tag[pos + 9], 0);
    frames.emplace_back(std::string(tag.begin() + static_cast<long>(pos), tag.begin() + static_cast<long>(pos) + 4),
                        Bytes(tag.begin() + static_cast<long>(pos) + 10,
                              tag.begin() + static_cast<long>(pos + 10 + size)));
    pos += 10 + size;
  }
  for (; pos < tag.size(); ++pos) EXPECT_EQ(tag[pos], 0) << "padding at " << pos;
  return frames;
}

std::vector<std::string> idsOf(const Bytes& tag) {
  std::vector<std::string> ids;
  for (const WrittenFrame& f : framesOf(tag)) ids.push_back(f.first);
  return ids;
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

ID3Tag trackWith(const std::function<void(TagData&)>& setup) {
  ID3Tag track;
  track.tagData.enabled = true;
  track.v2Read = true;
  setup(track.tagData);
  return track;
}

// One case per row of the frame table: the field as held and the frame's
// content as written.
struct RowCase {
  std::string id;
  std::function<void(TagData&)> setup;
  Bytes content;
};

std::vector<RowCase> rowCases() {
  const Bytes jpeg = test::jpegBytes(8);
  const UserText mood = test::userText(Enc::Utf16LE, "MOOD", "calm");
  return {
      {"TRCK", [](TagData& d) { d.track = 3; d.tracks = 12; }, test::concat({kLatin1, ascii("3/12")})},
      {"TIT2", [](TagData& d) { d.title = wide(u"Hi"); }, test::concat({kUtf16, kMarkLE, units("Hi"), kEnd16})},
      {"TPE1", [](TagData& d) { d.artist = narrow("Artist"); }, test::concat({kLatin1, ascii("Artist")})},
      {"TALB", [](TagData& d) { d.album = wide(u"Al"); }, test::concat({kUtf16, kMarkLE, units("Al"), kEnd16})},
      {"TYER", [](TagData& d) { d.year = "1999"; }, test::concat({kLatin1, ascii("1999")})},
      {"TCON", [](TagData& d) { d.genre = narrow("Rock"); }, test::concat({kLatin1, ascii("(17)Rock")})},
      {"COMM", [](TagData& d) { d.comment = narrow("c"); },
       test::concat({kLatin1, ascii("eng"), {0} /* empty description */, ascii("c")})},
      {"TCOM", [](TagData& d) { d.composer = narrow("Comp"); }, test::concat({kLatin1, ascii("Comp")})},
      {"TCOP", [](TagData& d) { d.copyright = narrow("(c) 2001"); }, test::concat({kLatin1, ascii("(c) 2001")})},
      {"TOPE", [](TagData& d) { d.origArtist = wide(u"O"); }, test::concat({kUtf16, kMarkLE, units("O"), kEnd16})},
      {"TENC", [](TagData& d) { d.encodedBy = "LAME"; }, test::concat({kLatin1, ascii("LAME")})},
      {"WXXX", [](TagData& d) { d.url = "http://u"; }, test::concat({kLatin1, {0} /* description */, ascii("http://u")})},
      {"TCMP", [](TagData& d) { d.compilation = true; }, test::concat({kLatin1, ascii("1")})},
      {"TPE3", [](TagData& d) { d.conductor = narrow("Cond"); }, test::concat({kLatin1, ascii("Cond")})},
      {"TEXT", [](TagData& d) { d.lyricist = narrow("Lyr"); }, test::concat({kLatin1, ascii("Lyr")})},
      {"TPUB", [](TagData& d) { d.publisher = narrow("Pub"); }, test::concat({kLatin1, ascii("Pub")})},
      {"TPE2", [](TagData& d) { d.orchestra = narrow("Band"); }, test::concat({kLatin1, ascii("Band")})},
      {"TIT1", [](TagData& d) { d.content = narrow("Group"); }, test::concat({kLatin1, ascii("Group")})},
      {"TIT3", [](TagData& d) { d.subtitle = narrow("Sub"); }, test::concat({kLatin1, ascii("Sub")})},
      {"TSSE", [](TagData& d) { d.encsettings = narrow("-V2"); }, test::concat({kLatin1, ascii("-V2")})},
      {"TPOS", [](TagData& d) { d.set = 1; d.sets = 2; }, test::concat({kLatin1, ascii("1/2")})},
      {"TSRC", [](TagData& d) { d.isrc = "USRC17607839"; }, test::concat({kLatin1, ascii("USRC17607839")})},
      {"TBPM", [](TagData& d) { d.bpm = "120"; }, test::concat({kLatin1, ascii("120")})},
      {"TKEY", [](TagData& d) { d.initialkey = "Dbm"; }, test::concat({kLatin1, ascii("Dbm")})},
      {"WOAR", [](TagData& d) { d.artisturl = "http://a"; }, ascii("http://a")},
      {"POPM", [](TagData& d) { d.popularity.rate = 196; }, {0x00 /* empty email */, 0xC4 /* rating */}},
      {"UFID", [](TagData& d) { d.uniqueid = UniqueFileID{"o", {'a', 'b'}}; },
       test::concat({ascii("o"), {0} /* owner end */, ascii("ab")})},
      {"MCDI", [](TagData& d) { d.musiccdid = "0A1B"; }, ascii("0A1B")},
      {"TDRL", [](TagData& d) { d.releasetime = "2001-02-03"; }, test::concat({kLatin1, ascii("2001-02-03")})},
      {"TDRC", [](TagData& d) { d.recordtime = "2004-05-06 07:08"; }, test::concat({kLatin1, ascii("2004-05-06T07:08")})},
      {"TPRO", [](TagData& d) { d.producednotice = "2004 Label"; }, test::concat({kLatin1, ascii("2004 Label")})},
      {"TMOO", [](TagData& d) { d.mood = "Calm"; }, test::concat({kLatin1, ascii("Calm")})},
      {"PCST", [](TagData& d) { d.podcast = true; }, {0, 0, 0, 0}},
      {"TGID", [](TagData& d) { d.podcastid = narrow("id-1"); }, test::concat({kLatin1, ascii("id-1")})},
      {"WFED", [](TagData& d) { d.podcastfeed = "http://f"; }, test::concat({kLatin1, ascii("http://f")})},
      {"TDES", [](TagData& d) { d.podcastdesc = wide(u"D"); }, test::concat({kUtf16, kMarkLE, units("D"), kEnd16})},
      {"TRTG", [](TagData& d) { d.advisory = 2; }, test::concat({kLatin1, ascii("2")})},
      {"TSWC", [](TagData& d) { d.iswc = "T-123"; }, test::concat({kLatin1, ascii("T-123")})},
      {"TXXX", [mood](TagData& d) { d.usertext = {mood}; }, mood.body},
      {"USLT", [](TagData& d) { d.lyrics = narrow("la"); }, test::concat({kLatin1, ascii("eng"), {0}, ascii("la")})},
      {"APIC", [jpeg](TagData& d) { d.picdata = {PicData{jpeg, "jpeg"}}; },
       test::concat({kLatin1, ascii("image/jpeg"), {0} /* MIME end */, {0} /* type */, {0} /* description */, jpeg})},
  };
}

TEST(TagWriter, EveryRowOfTheFrameTable) {
  test::LogCapture log;
  std::set<std::string> covered;
  for (const RowCase& c : rowCases()) {
    covered.insert(c.id);
    const FrameSpec* row = findFrameSpec(c.id, 4);
    ASSERT_NE(row, nullptr) << c.id;
    for (int version : {3, 4}) {
      SCOPED_TRACE(c.id + " in 2." + std::to_string(version));
      ID3Tag track = trackWith(c.setup);
      Bytes tag = build(track, version, true);
      std::vector<WrittenFrame> expected;
      if (!row->v24Only || version == 4) expected.emplace_back(c.id, c.content);
      EXPECT_EQ(framesOf(tag), expected);
      if (!row->v24Only || version == 4) {
        EXPECT_EQ(CompareV2Tags(track, reread(tag), version), 0u);
      }
    }
  }
  for (const FrameSpec& spec : kFrameTable) EXPECT_TRUE(covered.count(std::string(spec.id))) << spec.id;
}

TEST(TagWriter, PaddingRule) {
  struct Case {
    uint32_t frames, padding;
  };
  const Case cases[] = {{0, 118}, {108, 10}, {109, 137}, {117, 129}, {118, 128}, {236, 10}, {237, 137}};
  for (const Case& c : cases) {
    EXPECT_EQ(paddingFor(c.frames), c.padding) << c.frames;
    EXPECT_EQ((c.frames + c.padding + 10) % 128, 0u);
  }

  // A title of 97 characters makes a frame of 10 + 1 + 97 = 108 bytes.
  for (int version : {3, 4}) {
    ID3Tag exact = trackWith([](TagData& d) { d.title = narrow(std::string(97, 'x')); });
    Bytes tag = build(exact, version);
    EXPECT_EQ(tag.size(), 128u);
    EXPECT_EQ(Bytes(tag.begin(), tag.begin() + 10),
              (Bytes{'I', 'D', '3', static_cast<uint8_t>(version), 0 /* revision */, 0 /* flags */,
                     0, 0, 0, 118 /* 108 + 10, syncsafe */}));

    ID3Tag over = trackWith([](TagData& d) { d.title = narrow(std::string(98, 'x')); });
    tag = build(over, version);
    EXPECT_EQ(tag.size(), 256u);
    EXPECT_EQ(Bytes(tag.begin() + 6, tag.begin() + 10), (Bytes{0, 0, 1, 0x76}));  // 109 + 137 = 246
    EXPECT_EQ(framesOf(tag).size(), 1u);
  }
  // An empty tag is all padding and still reads as a tag.
  ID3Tag empty = trackWith([](TagData&) {});
  Bytes tag = build(empty, 4);
  EXPECT_EQ(tag.size(), 128u);
  EXPECT_TRUE(framesOf(tag).empty());
  EXPECT_TRUE(reread(tag).v2Read);
}

TEST(TagWriter, AppendsBehindWhatIsThere) {
  ID3Tag track = trackWith([](TagData& d) { d.title = narrow("T"); });
  Bytes out{'x', 'y'};
  EXPECT_EQ(buildV2Tag(track, out, 3, false, false), 128u);
  ASSERT_EQ(out.size(), 130u);
  EXPECT_EQ(out[2], 'I');
}

TEST(TagWriter, ChooseSaveVersion) {
  struct Case {
    const char* name;
    std::function<void(TagData&)> setup;
    int version;
  };
  const Case cases[] = {
      {"nothing dated", [](TagData& d) { d.mood = "Calm"; d.producednotice = "P"; }, 3},
      {"record time", [](TagData& d) { d.recordtime = "2004"; }, 4},
      {"release time", [](TagData& d) { d.releasetime = "2004"; }, 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ID3Tag track = trackWith(c.setup);
    EXPECT_EQ(chooseSaveVersion(track), c.version);
    for (int asked : {0, 2}) {
      Bytes tag = build(track, asked);
      EXPECT_EQ(tag[3], c.version);
    }
    EXPECT_EQ(build(track, 5)[3], 4);  // later versions are written as 2.4
  }
}

// How a field's value becomes its frame's text, or no frame.
TEST(TagWriter, FieldValueRules) {
  struct Case {
    const char* name;
    std::function<void(TagData&)> setup;
    std::vector<WrittenFrame> frames;
  };
  auto latin1 = [](const char* id, const char* text) { return WrittenFrame{id, test::concat({kLatin1, ascii(text)})}; };
  auto time = [](const char* t) { return [t](TagData& d) { d.recordtime = t; }; };
  auto advisory = [](int32_t a) { return [a](TagData& d) { d.advisory = a; }; };
  const Case cases[] = {
      {"time padded, 2.4 separator", time("2007-5-3 9:7"), {latin1("TDRC", "2007-05-03T09:07")}},
      {"time with seconds", time("2004-05-06T07:08:09"), {latin1("TDRC", "2004-05-06T07:08:09")}},
      {"time cut at a bad month", time("2007-13"), {latin1("TDRC", "2007")}},
      {"time before 1100", time("1099"), {}},
      {"time not a time", time("soon"), {}},
      {"advisory 1", advisory(1), {latin1("TRTG", "1")}},
      {"advisory 2", advisory(2), {latin1("TRTG", "2")}},
      {"advisory other", advisory(7), {latin1("TRTG", "2")}},
      {"advisory negative", advisory(-1), {latin1("TRTG", "2")}},
      {"advisory none", advisory(0), {}},
      {"totals without numbers", [](TagData& d) { d.tracks = 12; d.sets = 2; },
       {latin1("TRCK", "/12"), latin1("TPOS", "/2")}},
      {"year cut to four", [](TagData& d) { d.year = "19991"; }, {latin1("TYER", "1999")}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ID3Tag track = trackWith(c.setup);
    const TagData before = track.tagData;
    EXPECT_EQ(framesOf(build(track, 4)), c.frames);
    std::vector<WrittenFrame> in23;
    for (const WrittenFrame& f : c.frames)
      if (f.first != "TDRC") in23.push_back(f);
    EXPECT_EQ(framesOf(build(track, 3)), in23);
    // The track keeps the values as they were typed.
    EXPECT_TRUE(track.tagData == before);
  }
  // A total alone needs a V2 tag that was read.
  ID3Tag unread = trackWith([](TagData& d) { d.tracks = 12; d.sets = 2; });
  unread.v2Read = false;
  EXPECT_TRUE(framesOf(build(unread, 3)).empty());
}

TEST(TagWriter, TrimDropsBlankTitlesAndStripsTexts) {
  ID3Tag track = trackWith([](TagData& d) {
    d.title = narrow("   ");
    d.artist = wide(u" A ");
    d.iswc = " T-1 ";  // never trimmed
  });
  EXPECT_EQ(idsOf(build(track, 3, true)), (std::vector<std::string>{"TPE1", "TSWC"}));
  std::vector<WrittenFrame> frames = framesOf(build(track, 3, true));
  EXPECT_EQ(frames[0].second, test::concat({kUtf16, kMarkLE, units("A"), kEnd16}));
  EXPECT_EQ(frames[1].second, test::concat({kLatin1, ascii(" T-1 ")}));
  // The track's own texts stay as they are.
  EXPECT_EQ(track.tagData.title.data, "   ");
  EXPECT_EQ(idsOf(build(track, 3, false)), (std::vector<std::string>{"TIT2", "TPE1", "TSWC"}));
}

TEST(TagWriter, UserTextsAndKeptFramesAreAlwaysWritten) {
  const UserText entry = test::userText(Enc::Latin1, "MOOD", "happy");
  const PrivateData kept{"PRIV", {'o', 0, 1, 2}};
  for (bool keepExtraFrames : {false, true}) {
    ID3Tag track = trackWith([&](TagData& d) {
      d.usertext = {entry};
      d.privdata = {kept};
    });
    EXPECT_EQ(framesOf(build(track, 3, false, keepExtraFrames)),
              (std::vector<WrittenFrame>{{"TXXX", entry.body}, {"PRIV", kept.body}}));
  }
}

TEST(TagWriter, KeptFramesWithoutAFourCharacterIdAreSkipped) {
  test::LogCapture log;
  ID3Tag track = trackWith([](TagData& d) {
    d.privdata = {PrivateData{"TT2", {1, 2}}, PrivateData{"PRIV", {}}, PrivateData{"TLAN", {0, 'e'}}};
  });
  EXPECT_EQ(framesOf(build(track, 3)), (std::vector<WrittenFrame>{{"TLAN", {0, 'e'}}}));
  EXPECT_TRUE(log.has(LogWarning, "'TT2'"));
}

TEST(TagWriter, FrameOrder) {
  // Every row set at once, with a second user text, picture and kept frame.
  std::vector<std::string> ids;
  ID3Tag track = trackWith([&ids](TagData& d) {
    for (const RowCase& c : rowCases()) {
      c.setup(d);
      ids.push_back(c.id);
      if (c.id == "TXXX" || c.id == "APIC") ids.push_back(c.id);
    }
    d.usertext.push_back(test::userText(Enc::Latin1, "b", "2"));
    d.picdata.push_back(PicData{test::pngBytes(12), "png"});
    d.privdata = {PrivateData{"PRIV", {1}}, PrivateData{"TLAN", {0, 'x'}}};
  });
  ids.insert(ids.end(), {"PRIV", "TLAN"});
  EXPECT_EQ(idsOf(build(track, 4)), ids);
}

TEST(TagWriter, BigEndianTextsRoundTripLittleEndian) {
  ID3Tag written = trackWith([](TagData& d) {
    d.title = UnicodeText{encodeUtf16(u"Big \u4e2d", true), true};
    d.genre = UnicodeText{encodeUtf16(u"Jazz", true), true};
    d.comment = UnicodeText{encodeUtf16(u"note", true), true};
  });
  const Bytes tag = build(written, 3);
  EXPECT_EQ(written.tagData.title, UnicodeText::utf16(u"Big \u4e2d"));
  EXPECT_EQ(written.tagData.genre, UnicodeText::utf16(u"Jazz"));
  EXPECT_EQ(written.tagData.comment, UnicodeText::utf16(u"note"));
  ID3Tag again = reread(tag);
  EXPECT_EQ(CompareV2Tags(written, again, 3), 0u);
  EXPECT_EQ(again.tagData.title, written.tagData.title);
  EXPECT_EQ(again.tagData.genre, written.tagData.genre);
  EXPECT_EQ(again.tagData.comment, written.tagData.comment);
}

TEST(TagWriter, GenresRereadAsTheirNames) {
  const std::u16string names[] = {u"blues", u"Other", u"Rock", u"Chiptune", u"Acid Punk", u"Rock & Roll",
                                  u"Own Genre", u"\u4e2d"};
  for (const std::u16string& name : names) {
    for (bool unicode : {false, true}) {
      if (!unicode && !fitsLatin1(name)) continue;
      ID3Tag written = trackWith([&](TagData& d) {
        d.genre = unicode ? UnicodeText::utf16(name) : UnicodeText::latin1(u16ToLatin1(name));
      });
      ID3Tag again = reread(build(written, 4));
      EXPECT_EQ(CompareV2Tags(written, again, 4), 0u);
      EXPECT_EQ(again.tagData.genre, written.tagData.genre) << u16ToUtf8(name);
    }
  }
}

TEST(TagWriter, APictureKeepsItsTypeAndDescriptionUnderAMimeOfItsKind) {
  const Bytes jpeg = test::jpegBytes(20);
  Bytes original = test::Id3v2Builder(3).frame(test::pictureFrame(Enc::Utf16LE, "IMAGE/JPG", 3, "cover", jpeg)).padding(8).build();
  ID3Tag track = reread(original);
  ASSERT_EQ(track.tagData.picdata.size(), 1u);
  EXPECT_EQ(track.tagData.picdata[0].pictureSubtype, "jpeg");
  EXPECT_EQ(framesOf(build(track, 3)),
            (std::vector<WrittenFrame>{{"APIC", test::concat({{1} /* UTF-16 */, ascii("image/jpeg"), {0} /* MIME end */,
                                                     {3} /* front cover */, test::encodeText(Enc::Utf16LE, "cover", true),
                                                     jpeg})}}));
}

}  // namespace
}  // namespace melos

namespace melos {
namespace {

TEST(TagWriter, Utf8TextFramesBecomeUtf16In23) {
  ID3Tag track;
  UserText entry;
  entry.body = test::userTextBody(Enc::Utf8, "d\xC3\xA9", "v");  // "dé", "v"
  track.tagData.usertext = {entry};
  track.tagData.privdata = {PrivateData{"TSOP", {3, 'S', 0xC3, 0xA9, 0}}, PrivateData{"PRIV", {3, 'x'}}};
  const std::vector<WrittenFrame> in23 = framesOf(build(track, 3));
  ASSERT_EQ(in23.size(), 3u);
  EXPECT_EQ(in23[0].second, test::concat({kUtf16, kMarkLE, Bytes{'d', 0, 0xE9, 0}, kEnd16, kMarkLE, units("v")}));
  EXPECT_EQ(in23[1].second, test::concat({kUtf16, kMarkLE, Bytes{'S', 0, 0xE9, 0}, kEnd16}));
  EXPECT_EQ(in23[2].second, (Bytes{3, 'x'}));  // not a text frame: as it was
  // 2.4 keeps UTF-8.
  EXPECT_EQ(framesOf(build(track, 4))[0].second, entry.body);
}

// A 2.4 tag as a peer tagger writes it: parts of frames that no field shows,
// two values in one frame, and UTF-8 in frames that are kept whole.
Bytes peerTag24() {
  return test::Id3v2Builder(4)
      .frame(test::pictureFrame(Enc::Utf8, "image/jpeg", kPictureFrontCover, "Fa\u00e7ade", test::jpegBytes(24)))
      .frame(test::commentFrame(Enc::Latin1, "fra", "", "Bonjour"))
      .frame(test::commentFrame(Enc::Utf8, "deu", "zweite", "Gr\u00fc\u00dfe"))
      .frame(test::commentFrame(Enc::Utf8, "eng", "lyrics note", "USLT-like", "USLT"))
      .frame(test::popularityFrame("me@example.org", 196, 7))
      .text("TPE1", Enc::Utf8, std::string_view("One\0Tw\u00f6", 9))
      .frame(test::userUrlFrame(Enc::Latin1, "", "http://example.org/1"))
      .frame(test::userUrlFrame(Enc::Utf8, "zw\u00f6i", "http://example.org/2"))
      .padding(16)
      .build();
}

TEST(TagWriter, ASaveKeepsWhatTheFieldsDoNotShow) {
  ID3Tag track = reread(peerTag24());
  const TagData& read = track.tagData;
  ASSERT_EQ(read.picdata.size(), 1u);
  EXPECT_EQ(read.picdata[0].pictureType, kPictureFrontCover);
  EXPECT_EQ(read.picdata[0].description.toU16(), u"Fa\u00e7ade");
  EXPECT_EQ(read.commentLanguage, "fra");
  EXPECT_EQ(read.lyricsDescription.toU16(), u"lyrics note");
  EXPECT_EQ(read.popularity, (PopularityData{"me@example.org", 196, "7"}));
  EXPECT_EQ(read.moreValues, (std::vector<MoreValues>{{"TPE1", u"One", {u"Tw\u00f6"}}}));

  for (int version : {4, 3}) {
    SCOPED_TRACE(version);
    ID3Tag copy = reread(peerTag24());
    ID3Tag again = reread(build(copy, version));
    EXPECT_EQ(CompareV2Tags(copy, again, version), 0u);
    // The kept UTF-8 frames are UTF-16 in 2.3, whose readers know no UTF-8.
    ASSERT_EQ(again.tagData.privdata.size(), 2u);
    for (const PrivateData& kept : again.tagData.privdata) {
      SCOPED_TRACE(kept.id);
      EXPECT_EQ(kept.body[0], version == 4 ? 3 : 1);
    }
    if (version == 3) {
      EXPECT_EQ(decodeText(1, ByteSpan(again.tagData.privdata[0].body).subspan(4)).toU16(), u"zweite");
      again.tagData.privdata = copy.tagData.privdata;
    }
    EXPECT_TRUE(again.tagData == copy.tagData);
  }
  // A changed text goes alone; an unchanged one keeps its values.
  track.tagData.artist = UnicodeText::latin1("Solo");
  EXPECT_TRUE(reread(build(track, 4)).tagData.moreValues.empty());
}

}  // namespace
}  // namespace melos
