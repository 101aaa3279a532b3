#include "engine/frames_read.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "engine/id3v2_reader.h"
#include "engine/log.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/open_helpers.h"

namespace melos {
namespace {

using test::Enc;
using test::Id3Frame;
using test::Id3v2Builder;

ID3Tag walk(const Bytes& tag, int keepMode = 1) { return test::walkTag(tag, keepMode); }

ID3Tag walkFrames(uint8_t major, std::initializer_list<Id3Frame> frames, int keepMode = 1) {
  Id3v2Builder builder(major);
  for (const Id3Frame& frame : frames) builder.frame(frame);
  return walk(builder.padding(16).build(), keepMode);
}

std::string utf8(const UnicodeText& text) { return text.toUtf8(); }

// One case per row of the frame table: the frame as written by other tools
// and what the track holds after reading it.
struct RowCase {
  std::string id;
  Id3Frame frame;
  std::function<void(const TagData&)> check;
};

std::vector<RowCase> rowCases() {
  Bytes jpeg = test::jpegBytes(40);
  return {
      {"TRCK", test::textFrame("TRCK", Enc::Latin1, "3/12"),
       [](const TagData& d) { EXPECT_EQ(d.track, 3); EXPECT_EQ(d.tracks, 12); }},
      {"TIT2", test::textFrame("TIT2", Enc::Latin1, "Title"), [](const TagData& d) { EXPECT_EQ(utf8(d.title), "Title"); }},
      {"TPE1", test::textFrame("TPE1", Enc::Utf16LE, "Art\u00efst \u4e2d"),
       [](const TagData& d) { EXPECT_TRUE(d.artist.unicode); EXPECT_EQ(utf8(d.artist), "Art\u00efst \u4e2d"); }},
      {"TALB", test::textFrame("TALB", Enc::Latin1, "Album"), [](const TagData& d) { EXPECT_EQ(utf8(d.album), "Album"); }},
      {"TYER", test::textFrame("TYER", Enc::Latin1, "199912"), [](const TagData& d) { EXPECT_EQ(d.year, "1999"); }},
      {"TCON", test::textFrame("TCON", Enc::Latin1, "(17)"), [](const TagData& d) { EXPECT_EQ(utf8(d.genre), "Rock"); }},
      {"COMM", test::commentFrame(Enc::Latin1, "eng", "", "A comment"),
       [](const TagData& d) { EXPECT_EQ(utf8(d.comment), "A comment"); }},
      {"TCOM", test::textFrame("TCOM", Enc::Latin1, "Composer"), [](const TagData& d) { EXPECT_EQ(utf8(d.composer), "Composer"); }},
      {"TCOP", test::textFrame("TCOP", Enc::Latin1, "(c) 2001"), [](const TagData& d) { EXPECT_EQ(utf8(d.copyright), "(c) 2001"); }},
      {"TOPE", test::textFrame("TOPE", Enc::Latin1, "Orig"), [](const TagData& d) { EXPECT_EQ(utf8(d.origArtist), "Orig"); }},
      {"TENC", test::textFrame("TENC", Enc::Utf16LE, "Enc\u00e9"), [](const TagData& d) { EXPECT_EQ(d.encodedBy, "Enc\xE9"); }},
      {"WXXX", test::userUrlFrame(Enc::Utf16LE, "home", "http://a.example/"),
       [](const TagData& d) { EXPECT_EQ(d.url, "http://a.example/"); }},
      {"TCMP", test::textFrame("TCMP", Enc::Latin1, "1"), [](const TagData& d) { EXPECT_TRUE(d.compilation); }},
      {"TPE3", test::textFrame("TPE3", Enc::Latin1, "Cond"), [](const TagData& d) { EXPECT_EQ(utf8(d.conductor), "Cond"); }},
      {"TEXT", test::textFrame("TEXT", Enc::Latin1, "Lyr"), [](const TagData& d) { EXPECT_EQ(utf8(d.lyricist), "Lyr"); }},
      {"TPUB", test::textFrame("TPUB", Enc::Latin1, "Pub"), [](const TagData& d) { EXPECT_EQ(utf8(d.publisher), "Pub"); }},
      {"TPE2", test::textFrame("TPE2", Enc::Latin1, "Band"), [](const TagData& d) { EXPECT_EQ(utf8(d.orchestra), "Band"); }},
      {"TIT1", test::textFrame("TIT1", Enc::Latin1, "Group"), [](const TagData& d) { EXPECT_EQ(utf8(d.content), "Group"); }},
      {"TIT3", test::textFrame("TIT3", Enc::Latin1, "Sub"), [](const TagData& d) { EXPECT_EQ(utf8(d.subtitle), "Sub"); }},
      {"TSSE", test::textFrame("TSSE", Enc::Latin1, "LAME"), [](const TagData& d) { EXPECT_EQ(utf8(d.encsettings), "LAME"); }},
      {"TPOS", test::textFrame("TPOS", Enc::Latin1, "1/2"), [](const TagData& d) { EXPECT_EQ(d.set, 1); EXPECT_EQ(d.sets, 2); }},
      {"TSRC", test::textFrame("TSRC", Enc::Latin1, "USRC17607839"), [](const TagData& d) { EXPECT_EQ(d.isrc, "USRC17607839"); }},
      {"TBPM", test::textFrame("TBPM", Enc::Latin1, "120"), [](const TagData& d) { EXPECT_EQ(d.bpm, "120"); }},
      {"TKEY", test::textFrame("TKEY", Enc::Latin1, "Am"), [](const TagData& d) { EXPECT_EQ(d.initialkey, "Am"); }},
      {"WOAR", Id3Frame("WOAR", {'h', 't', 't', 'p', ':', '/', '/', 'x'}), [](const TagData& d) { EXPECT_EQ(d.artisturl, "http://x"); }},
      {"POPM", test::popularityFrame("me@example.org", 196, 42),
       [](const TagData& d) {
         EXPECT_EQ(d.popularity.email, "me@example.org");
         EXPECT_EQ(d.popularity.rate, 196);
         EXPECT_EQ(d.popularity.counter, "42");
       }},
      {"UFID", test::uniqueIdFrame("http://musicbrainz.org", Bytes{'a', 'b', 'c'}),
       [](const TagData& d) { EXPECT_EQ(d.uniqueid.owner, "http://musicbrainz.org"); EXPECT_EQ(d.uniqueid.data, (Bytes{'a', 'b', 'c'})); }},
      {"MCDI", Id3Frame("MCDI", {'1', '2', '3'}), [](const TagData& d) { EXPECT_EQ(d.musiccdid, "123"); }},
      {"TDRL", test::textFrame("TDRL", Enc::Latin1, "2001-02-03"), [](const TagData& d) { EXPECT_EQ(d.releasetime, "2001-02-03"); }},
      {"TDRC", test::textFrame("TDRC", Enc::Latin1, "2004-05-06T07:08"),
       [](const TagData& d) { EXPECT_EQ(d.recordtime, "2004-05-06T07:08"); EXPECT_EQ(d.year, "2004"); }},
      {"TPRO", test::textFrame("TPRO", Enc::Latin1, "2004 Label"), [](const TagData& d) { EXPECT_EQ(d.producednotice, "2004 Label"); }},
      {"TMOO", test::textFrame("TMOO", Enc::Latin1, "Calm"), [](const TagData& d) { EXPECT_EQ(d.mood, "Calm"); }},
      {"PCST", test::podcastFrame(), [](const TagData& d) { EXPECT_TRUE(d.podcast); }},
      {"TGID", test::textFrame("TGID", Enc::Latin1, "id-1"), [](const TagData& d) { EXPECT_EQ(utf8(d.podcastid), "id-1"); }},
      {"WFED", test::textFrame("WFED", Enc::Latin1, "http://feed"), [](const TagData& d) { EXPECT_EQ(d.podcastfeed, "http://feed"); }},
      {"TDES", test::textFrame("TDES", Enc::Latin1, "About"), [](const TagData& d) { EXPECT_EQ(utf8(d.podcastdesc), "About"); }},
      {"TRTG", test::textFrame("TRTG", Enc::Latin1, "2"), [](const TagData& d) { EXPECT_EQ(d.advisory, 2); }},
      {"TSWC", test::textFrame("TSWC", Enc::Latin1, "T-123.456.789-0"), [](const TagData& d) { EXPECT_EQ(d.iswc, "T-123.456.789-0"); }},
      {"TXXX", test::userTextFrame(Enc::Latin1, "MOOD", "happy"),
       [](const TagData& d) {
         ASSERT_EQ(d.usertext.size(), 1u);
         EXPECT_EQ(utf8(d.usertext[0].description), "MOOD");
         EXPECT_EQ(utf8(d.usertext[0].value), "happy");
         EXPECT_EQ(d.usertext[0].body, test::userTextBody(Enc::Latin1, "MOOD", "happy"));
       }},
      {"USLT", test::commentFrame(Enc::Utf16LE, "eng", "", "la la", "USLT"),
       [](const TagData& d) { EXPECT_TRUE(d.lyrics.unicode); EXPECT_EQ(utf8(d.lyrics), "la la"); }},
      {"APIC", test::pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", jpeg),
       [jpeg](const TagData& d) {
         ASSERT_EQ(d.picdata.size(), 1u);
         EXPECT_EQ(d.picdata[0].pictureSubtype, "jpeg");
         EXPECT_EQ(d.picdata[0].data, jpeg);
       }},
  };
}

TEST(FrameRead, EveryRowOfTheFrameTable) {
  std::set<std::string> covered;
  for (const RowCase& c : rowCases()) {
    covered.insert(c.id);
    SCOPED_TRACE(c.id);
    ID3Tag track = walkFrames(4, {c.frame});
    c.check(track.tagData);
    EXPECT_TRUE(track.tagData.privdata.empty());
  }
  for (const FrameSpec& spec : kFrameTable) EXPECT_TRUE(covered.count(std::string(spec.id))) << spec.id;
}

// Frames beside the plain one-frame-per-field case: nothing a field cannot show
// is lost, it is kept to be written back.
TEST(FrameRead, WhatAFieldCannotShowIsKept) {
  struct Case {
    const char* name;
    uint8_t major;
    std::vector<Id3Frame> frames;
    std::function<void(const TagData&)> check;
    std::vector<std::string> kept;  // IDs of the frames kept whole
  };
  const Bytes toc{0, 0x10, 0x01, 0x02, 0, 0x14};
  const Case cases[] = {
      {"2.2 IDs fill the same fields", 2,
       {test::textFrame("TT2", Enc::Latin1, "T"), test::textFrame("TP1", Enc::Latin1, "A"),
        test::textFrame("TRK", Enc::Latin1, "7"), test::commentFrame(Enc::Latin1, "eng", "", "c", "COM"),
        test::picture22Frame(Enc::Latin1, "png", 0, "", test::pngBytes(20)), test::textFrame("TDR", Enc::Latin1, "2010-01-01")},
       [](const TagData& d) {
         EXPECT_EQ(utf8(d.title), "T");
         EXPECT_EQ(utf8(d.artist), "A");
         EXPECT_EQ(d.track, 7);
         EXPECT_EQ(d.tracks, kUnsetNumber);
         EXPECT_EQ(utf8(d.comment), "c");
         ASSERT_EQ(d.picdata.size(), 1u);
         EXPECT_EQ(d.picdata[0].pictureSubtype, "png");
         EXPECT_EQ(d.releasetime, "2010-01-01");
       },
       {}},
      {"an unknown encoding skips that frame only", 3, {Id3Frame("TIT2", {7, 'x'}), test::textFrame("TALB", Enc::Latin1, "Album")},
       [](const TagData& d) { EXPECT_TRUE(d.title.empty()); EXPECT_EQ(utf8(d.album), "Album"); }, {}},
      {"the comment without a description wins", 3,
       {test::commentFrame(Enc::Latin1, "eng", "iTunNORM", " 0000"), test::commentFrame(Enc::Latin1, "eng", "note", "described"),
        test::commentFrame(Enc::Latin1, "eng", "", "plain"), test::commentFrame(Enc::Latin1, "deu", "", "second")},
       [](const TagData& d) { EXPECT_EQ(utf8(d.comment), "plain"); }, {"COMM", "COMM", "COMM"}},
      {"a described comment alone is shown", 3, {test::commentFrame(Enc::Utf16LE, "eng", "desc", "only described")},
       [](const TagData& d) { EXPECT_EQ(utf8(d.comment), "only described"); }, {}},
      // A value with no mark whose units look big-endian is refused and kept.
      {"UTF-16 value without a mark, big-endian", 3, {Id3Frame("COMM", {1, 'e', 'n', 'g', 0xFF, 0xFE, 0, 0, 0, 'h', 0, 'i'})},
       [](const TagData& d) { EXPECT_TRUE(d.comment.empty()); }, {"COMM"}},
      {"UTF-16 value without a mark, little-endian", 3, {Id3Frame("COMM", {1, 'e', 'n', 'g', 0xFF, 0xFE, 0, 0, 'h', 0, 'i', 0})},
       [](const TagData& d) { EXPECT_EQ(utf8(d.comment), "hi"); }, {}},
      // The writer's two-byte overshoot after a UTF-16 comment is tolerated.
      {"UTF-16 comment overshoot", 3,
       {Id3Frame("COMM", {1, 'e', 'n', 'g', 0xFF, 0xFE, 0, 0, 0xFF, 0xFE, 'o', 0, 'k', 0, 0, 0, 0, 0})},
       [](const TagData& d) { EXPECT_EQ(utf8(d.comment), "ok"); }, {}},
      {"duplicates", 3,
       {test::textFrame("TIT2", Enc::Latin1, "First"), test::textFrame("TIT2", Enc::Latin1, "Second"),
        test::userTextFrame(Enc::Latin1, "A", "1"), test::userTextFrame(Enc::Utf16LE, "B", "2")},
       [](const TagData& d) {
         EXPECT_EQ(utf8(d.title), "First");
         EXPECT_EQ(d.privdata.at(0).body, test::textBody(Enc::Latin1, "Second"));
         ASSERT_EQ(d.usertext.size(), 2u);
         EXPECT_EQ(utf8(d.usertext[1].value), "2");
       },
       {"TIT2"}},
      {"a binary music CD id", 3, {Id3Frame("MCDI", toc)},
       [toc](const TagData& d) { EXPECT_TRUE(d.musiccdid.empty()); EXPECT_EQ(d.privdata.at(0).body, toc); }, {"MCDI"}},
      {"year from the recording time", 4, {test::textFrame("TDRC", Enc::Latin1, "2012")},
       [](const TagData& d) { EXPECT_EQ(d.year, "2012"); }, {}},
      {"year kept over the recording time", 3,
       {test::textFrame("TYER", Enc::Latin1, "1999"), test::textFrame("TDRC", Enc::Latin1, "2012")},
       [](const TagData& d) { EXPECT_EQ(d.year, "1999"); }, {}},
      {"no year from a time that is none", 4, {test::textFrame("TDRC", Enc::Latin1, "late")},
       [](const TagData& d) { EXPECT_EQ(d.year, ""); }, {}},
      {"a compressed frame is skipped", 3,
       {Id3Frame("TIT2", {0, 1, 2, 3, 4, 5}, 0x0080), test::textFrame("TALB", Enc::Latin1, "ok")},
       [](const TagData& d) { EXPECT_TRUE(d.title.empty()); EXPECT_EQ(utf8(d.album), "ok"); }, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::LogCapture log;
    Id3v2Builder builder(c.major);
    for (const Id3Frame& frame : c.frames) builder.frame(frame);
    const ID3Tag track = walk(builder.padding(16).build());
    c.check(track.tagData);
    std::vector<std::string> kept;
    for (const PrivateData& p : track.tagData.privdata) kept.push_back(p.id);
    EXPECT_EQ(kept, c.kept);
  }
}

TEST(FrameRead, TextEncodings) {
  struct Case {
    Enc enc;
    const char* text;
    bool unicode;
    std::string stored;
  };
  const Case cases[] = {
      {Enc::Latin1, "caf\u00e9", false, "caf\xE9"},
      {Enc::Utf16LE, "caf\u00e9", true, std::string("\xFF\xFE" "c\0a\0f\0\xE9\0", 10)},
      {Enc::Utf16BEWithBom, "ab", true, std::string("\xFE\xFF\0a\0b", 6)},
      // Big-endian without a mark gets one.
      {Enc::Utf16BE, "ab", true, std::string("\xFE\xFF\0a\0b", 6)},
      // UTF-8 becomes Latin-1 when every character fits, else UTF-16.
      {Enc::Utf8, "caf\u00e9", false, "caf\xE9"},
      {Enc::Utf8, "\u4e2d\u6587", true, std::string("\xFF\xFE\x2D\x4E\x87\x65", 6)},
  };
  for (const Case& c : cases) {
    ID3Tag track = walkFrames(3, {test::textFrame("TIT2", c.enc, c.text)});
    EXPECT_EQ(track.tagData.title.unicode, c.unicode) << c.text;
    EXPECT_EQ(track.tagData.title.data, c.stored) << c.text;
    EXPECT_EQ(utf8(track.tagData.title), c.text);
  }
}

TEST(FrameRead, GenreForms) {
  struct Case {
    const char* text;
    const char* genre;
  };
  const Case cases[] = {
      {"(17)", "Rock"}, {"(17)Rock", "Rock"}, {"Rock", "Rock"}, {"17", "Rock"}, {"(0)Blues", "Blues"},
      {"(12)Other", "Other"}, {"Chiptune", "Chiptune"}, {"(RX)", "Remix"}, {"(CR)", "Cover"},
      {"((text)", "(text)"}, {"(200)", "(200)"}, {"(17)(18)", "Rock"}, {"", ""},
  };
  for (const Case& c : cases) {
    ID3Tag track = walkFrames(3, {test::textFrame("TCON", Enc::Latin1, c.text)});
    EXPECT_EQ(utf8(track.tagData.genre), c.genre) << c.text;
    ID3Tag wide = walkFrames(4, {test::textFrame("TCON", Enc::Utf16LE, c.text)});
    EXPECT_EQ(utf8(wide.tagData.genre), c.genre) << c.text;
  }
}

TEST(FrameRead, NumberPairs) {
  struct Case {
    const char* text;
    uint16_t number, total;
  };
  const Case cases[] = {{"3", 3, kUnsetNumber}, {"3/12", 3, 12}, {"/12", kUnsetNumber, 12},
                        {"", kUnsetNumber, kUnsetNumber}, {"x/y", kUnsetNumber, kUnsetNumber},
                        {"99999", kUnsetNumber, kUnsetNumber}, {"0", 0, kUnsetNumber}};
  for (const Case& c : cases) {
    ID3Tag track = walkFrames(3, {test::textFrame("TRCK", Enc::Latin1, c.text)});
    EXPECT_EQ(track.tagData.track, c.number) << c.text;
    EXPECT_EQ(track.tagData.tracks, c.total) << c.text;
  }
}

TEST(FrameRead, PictureMimeRules) {
  struct Case {
    std::string mime;
    Bytes image;
    const char* subtype;  // empty: dropped with the MIME logged
  };
  Bytes tiffBig{'M', 'M', 0, 42, 1, 2, 3, 4};
  Bytes tiffLittle{'I', 'I', 42, 0, 1, 2, 3, 4};
  const Case cases[] = {
      {"image/jpeg", test::jpegBytes(8), "jpeg"},
      {"IMAGE/JPG", test::jpegBytes(8), "jpeg"},
      {"image/tiff", tiffBig, "tiff"},
      {"image/tif", tiffBig, "tiff"},
      {"image/tiff", tiffLittle, ""},
      {"image/png", test::pngBytes(8), "png"},
      {"image/png", test::jpegBytes(8), ""},
      {"image/gif", Bytes{'G', 'I', 'F', '8', '9', 'a'}, "gif"},
      {"image/bmp", Bytes{'B', 'M', 0, 0, 0, 0}, "bmp"},
      {"image/webp", Bytes{'R', 'I', 'F', 'F', 0, 0}, ""},
  };
  for (const Case& c : cases) {
    test::LogCapture log;
    ID3Tag track = walkFrames(3, {test::pictureFrame(Enc::Latin1, c.mime, 0, "", c.image)});
    std::string subtype = c.subtype;
    if (subtype.empty()) {
      EXPECT_TRUE(track.tagData.picdata.empty()) << c.mime;
      EXPECT_TRUE(log.has(LogError, "Invalid picture MIME " + c.mime)) << c.mime;
    } else {
      ASSERT_EQ(track.tagData.picdata.size(), 1u) << c.mime;
      EXPECT_EQ(track.tagData.picdata[0].pictureSubtype, subtype);
    }
  }
  // Three image bytes or fewer are no picture; a 2.2 format other than PNG or
  // JPG is skipped.
  EXPECT_TRUE(walkFrames(3, {test::pictureFrame(Enc::Latin1, "image/jpeg", 0, "", Bytes{0xFF, 0xD8, 0})}).tagData.picdata.empty());
  EXPECT_TRUE(walkFrames(2, {test::picture22Frame(Enc::Latin1, "GIF", 0, "", Bytes{'G', 'I', 'F', '8', '9'})}).tagData.picdata.empty());
}

TEST(FrameRead, PicturesCanBeLeftUnloaded) {
  ID3Tag track;
  ReadV2Frames(track, Id3v2Builder(3).frame(test::pictureFrame(Enc::Latin1, "image/png", 0, "", test::pngBytes(64))).padding(4).build(), false);
  EXPECT_TRUE(track.tagData.picdata.empty());
  EXPECT_TRUE(track.tagData.privdata.empty());
}

}  // namespace
}  // namespace melos
