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

using test::Enc, test::Id3Frame, test::Id3v2Builder, test::textFrame;

ID3Tag walkFrames(uint8_t major, std::vector<Id3Frame> frames) {
  Id3v2Builder builder(major);
  for (const Id3Frame& frame : frames) builder.frame(frame);
  return test::walkTag(builder.padding(16).build());
}

std::string utf8(const UnicodeText& text) { return text.toUtf8(); }
Id3Frame indicated(Id3Frame frame) { return frame.dataLengthIndicator = true, frame; }

// Each row of the frame table, as other tools write the frame.
TEST(FrameRead, EveryRowOfTheFrameTable) {
  std::set<std::string> covered;
  auto check = [&covered](const Id3Frame& frame, const std::function<void(const TagData&)>& expect) {
    ID3Tag track = walkFrames(4, {frame});
    expect(track.tagData);
    EXPECT_TRUE(covered.insert(frame.id).second && track.tagData.privdata.empty()) << frame.id;
  };
  const std::pair<const char*, UnicodeText TagData::*> texts[] = {
      {"TIT2", &TagData::title}, {"TALB", &TagData::album}, {"TCOM", &TagData::composer}, {"TCOP", &TagData::copyright}, {"TOPE", &TagData::origArtist},
      {"TPE3", &TagData::conductor}, {"TEXT", &TagData::lyricist}, {"TPUB", &TagData::publisher}, {"TPE2", &TagData::orchestra}, {"TIT1", &TagData::content},
      {"TIT3", &TagData::subtitle}, {"TSSE", &TagData::encsettings}, {"TGID", &TagData::podcastid}, {"TDES", &TagData::podcastdesc}};
  for (const auto& row : texts) {
    const char* id = row.first;
    UnicodeText TagData::*field = row.second;
    check(textFrame(id, Enc::Latin1, id), [&](const TagData& d) { EXPECT_EQ(utf8(d.*field), id); });
  }
  const std::tuple<const char*, const char*, std::string TagData::*> strings[] = {
      {"TSRC", "USRC17607839", &TagData::isrc}, {"TBPM", "120", &TagData::bpm}, {"TKEY", "Am", &TagData::initialkey}, {"TMOO", "Calm", &TagData::mood},
      {"TDRL", "2001-02-03", &TagData::releasetime}, {"TPRO", "2004 Label", &TagData::producednotice},
      {"WFED", "http://feed", &TagData::podcastfeed}, {"TSWC", "T-123.456.789-0", &TagData::iswc}};
  for (const auto& row : strings) {
    const char* value = std::get<1>(row);
    std::string TagData::*field = std::get<2>(row);
    check(textFrame(std::get<0>(row), Enc::Latin1, value), [&](const TagData& d) { EXPECT_EQ(d.*field, value); });
  }
  check(textFrame("TRCK", Enc::Latin1, "3/12"), [](const TagData& d) { EXPECT_EQ(d.track * 100 + d.tracks, 312); }),
      check(textFrame("TPOS", Enc::Latin1, "1/2"), [](const TagData& d) { EXPECT_EQ(d.set * 100 + d.sets, 102); });
  check(textFrame("TPE1", Enc::Utf16LE, "Art\u00efst \u4e2d"), [](const TagData& d) { EXPECT_EQ(utf8(d.artist), "Art\u00efst \u4e2d"); });
  check(textFrame("TYER", Enc::Latin1, "199912"), [](const TagData& d) { EXPECT_EQ(d.year, "1999"); });
  check(textFrame("TCON", Enc::Latin1, "(17)"), [](const TagData& d) { EXPECT_EQ(utf8(d.genre), "Rock"); });
  check(test::commentFrame(Enc::Latin1, "eng", "", "A comment"), [](const TagData& d) { EXPECT_EQ(utf8(d.comment), "A comment"); });
  check(textFrame("TENC", Enc::Utf16LE, "Enc\u00e9"), [](const TagData& d) { EXPECT_EQ(d.encodedBy, "Enc\xE9"); });
  check(test::userUrlFrame(Enc::Utf16LE, "home", "http://a.example/"), [](const TagData& d) { EXPECT_EQ(d.url, "http://a.example/"); });
  check(textFrame("TCMP", Enc::Latin1, "1"), [](const TagData& d) { EXPECT_TRUE(d.compilation); });
  check(Id3Frame("WOAR", {'h', 't', 't', 'p', ':', '/', '/', 'x'}), [](const TagData& d) { EXPECT_EQ(d.artisturl, "http://x"); });
  check(test::popularityFrame("me@example.org", 196, 42), [](const TagData& d) { EXPECT_EQ(d.popularity, (PopularityData{"me@example.org", 196, "42"})); });
  check(test::uniqueIdFrame("http://mb", Bytes{'a', 'b'}), [](const TagData& d) { EXPECT_EQ(d.uniqueid, (UniqueFileID{"http://mb", {'a', 'b'}})); });
  check(Id3Frame("MCDI", {'1', '2', '3'}), [](const TagData& d) { EXPECT_EQ(d.musiccdid, "123"); });
  check(textFrame("TDRC", Enc::Latin1, "2004-05-06T07:08"), [](const TagData& d) { EXPECT_EQ(d.recordtime + d.year, "2004-05-06T07:082004"); });
  check(test::podcastFrame(), [](const TagData& d) { EXPECT_TRUE(d.podcast); });
  check(textFrame("TRTG", Enc::Latin1, "2"), [](const TagData& d) { EXPECT_EQ(d.advisory, 2); });
  check(test::userTextFrame(Enc::Latin1, "MOOD", "happy"), [](const TagData& d) {
    EXPECT_EQ(d.usertext, (std::vector<UserText>{{test::userTextBody(Enc::Latin1, "MOOD", "happy"), UnicodeText::latin1("MOOD"), UnicodeText::latin1("happy")}}));
  });
  check(test::commentFrame(Enc::Utf16LE, "eng", "", "la la", "USLT"), [](const TagData& d) { EXPECT_TRUE(d.lyrics.unicode && utf8(d.lyrics) == "la la"); });
  check(test::pictureFrame(Enc::Latin1, "image/jpeg", 3, "cover", test::jpegBytes(40)), [](const TagData& d) {
    EXPECT_EQ(d.picdata, (std::vector<PicData>{{test::jpegBytes(40), "jpeg", kPictureFrontCover, UnicodeText::latin1("cover")}}));
  });
  for (const auto& row : kFrameTable) EXPECT_TRUE(covered.count(std::string(row.id))) << row.id;
}

// Nothing a field cannot show is lost: it is kept to be written back.
TEST(FrameRead, WhatAFieldCannotShowIsKept) {
  const Bytes toc{0, 0x10, 0x01, 0x02, 0, 0x14};
  auto comm = [](const char* language, const char* description, const char* text) { return test::commentFrame(Enc::Latin1, language, description, text); };
  auto fields = [](const TagData& d) { return utf8(d.title) + "|" + utf8(d.artist) + "|" + utf8(d.album) + "|" + utf8(d.comment) + "|" + d.year + "|" + d.musiccdid; };
  const struct { uint8_t major; std::vector<Id3Frame> frames; std::string fields; std::vector<std::string> kept; } cases[] = {
      {2, {textFrame("TT2", Enc::Latin1, "T"), textFrame("TP1", Enc::Latin1, "A"), test::commentFrame(Enc::Latin1, "eng", "", "c", "COM")}, "T|A||c||", {}},
      {3, {Id3Frame("TIT2", {7, 'x'}), textFrame("TALB", Enc::Latin1, "Al")}, "||Al|||", {}},  // an unknown encoding skips that frame only
      // The comment without a description wins; a described one alone is shown.
      {3, {comm("eng", "iTunNORM", " 0000"), comm("eng", "note", "d"), comm("eng", "", "plain"), comm("deu", "", "2")}, "|||plain||", {"COMM", "COMM", "COMM"}},
      {3, {test::commentFrame(Enc::Utf16LE, "eng", "desc", "only described")}, "|||only described||", {}},
      // A UTF-16 value with no mark whose units look big-endian is refused and kept; little-endian is read.
      {3, {Id3Frame("COMM", {1, 'e', 'n', 'g', 0xFF, 0xFE, 0, 0, 0, 'h', 0, 'i'})}, "|||||", {"COMM"}},
      {3, {Id3Frame("COMM", {1, 'e', 'n', 'g', 0xFF, 0xFE, 0, 0, 'h', 0, 'i', 0})}, "|||hi||", {}},
      // The writer's two-byte overshoot after a UTF-16 comment is tolerated.
      {3, {Id3Frame("COMM", {1, 'e', 'n', 'g', 0xFF, 0xFE, 0, 0, 0xFF, 0xFE, 'o', 0, 'k', 0, 0, 0, 0, 0})}, "|||ok||", {}},
      {3, {textFrame("TIT2", Enc::Latin1, "First"), textFrame("TIT2", Enc::Latin1, "Second")}, "First|||||", {"TIT2"}},
      {3, {Id3Frame("MCDI", toc)}, "|||||", {"MCDI"}}, {4, {textFrame("TDRC", Enc::Latin1, "2012")}, "||||2012|", {}},
      {4, {textFrame("TDRC", Enc::Latin1, "late")}, "|||||", {}}, {3, {Id3Frame("COMM", {0, 'e', 'n'})}, "|||||", {"COMM"}},
      {3, {textFrame("TYER", Enc::Latin1, "1999"), textFrame("TDRC", Enc::Latin1, "2012")}, "||||1999|", {}},
      {3, {Id3Frame("TIT2", {0, 1, 2, 3, 4, 5}, 0x0080), textFrame("TALB", Enc::Latin1, "ok")}, "||ok|||", {}},  // compressed: skipped
      {4, {indicated(Id3Frame("TXXX", {}))}, "|||||", {"TXXX"}}, {3, {test::commentFrame(Enc::Utf16BEWithBom, "eng", "", "hi")}, "|||hi||", {}},
      {3, {Id3Frame("COMM", {7, 'e', 'n', 'g', 0, 'h', 'i'})}, "|||||", {}},
      {3, {Id3Frame("TIT2", {1, 0, 0}), textFrame("TIT2", Enc::Latin1, "Second")}, "Second|||||", {}}, {3, {test::popularityFrame("me@x", 0, 5)}, "|||||", {"POPM"}},
      {4, {indicated(Id3Frame("TALB", {})), textFrame("TIT2", Enc::Latin1, "Next")}, "Next|||||", {"TALB"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fields);
    const ID3Tag track = walkFrames(c.major, c.frames);
    EXPECT_EQ(fields(track.tagData), c.fields);
    std::vector<std::string> kept;
    for (const PrivateData& p : track.tagData.privdata) kept.push_back(p.id);
    EXPECT_EQ(kept, c.kept);
  }
  // 2.2 IDs fill the same fields; duplicate user texts are all kept, a duplicate frame whole.
  ID3Tag track = walkFrames(2, {textFrame("TRK", Enc::Latin1, "7"), test::picture22Frame(Enc::Latin1, "png", 0, "", test::pngBytes(20)),
                                textFrame("TDR", Enc::Latin1, "2010-01-01")});
  EXPECT_EQ(std::make_tuple(track.tagData.track, track.tagData.tracks, track.tagData.releasetime, track.tagData.picdata.at(0).pictureSubtype),
            std::make_tuple(uint16_t{7}, kUnsetNumber, std::string("2010-01-01"), std::string("png")));
  ID3Tag kept = walkFrames(3, {textFrame("TIT2", Enc::Latin1, "1"), textFrame("TIT2", Enc::Latin1, "2"), test::userTextFrame(Enc::Latin1, "A", "1"),
                                test::userTextFrame(Enc::Utf16LE, "B", "2"), Id3Frame("MCDI", toc)});
  EXPECT_TRUE(kept.tagData.privdata.at(0).body == test::textBody(Enc::Latin1, "2") && kept.tagData.privdata.at(1).body == toc &&
              utf8(kept.tagData.usertext.at(1).value) == "2");
}

TEST(FrameRead, TextEncodingsGenresAndNumbers) {
  // UTF-8 becomes Latin-1 when every character fits, else UTF-16; big-endian without a mark gets one.
  const std::tuple<Enc, const char*, bool, std::string> encodings[] = {
      {Enc::Latin1, "caf\u00e9", false, "caf\xE9"}, {Enc::Utf16LE, "caf\u00e9", true, std::string("\xFF\xFE" "c\0a\0f\0\xE9\0", 10)},
      {Enc::Utf16BEWithBom, "ab", true, std::string("\xFE\xFF\0a\0b", 6)}, {Enc::Utf16BE, "ab", true, std::string("\xFE\xFF\0a\0b", 6)},
      {Enc::Utf8, "caf\u00e9", false, "caf\xE9"}, {Enc::Utf8, "\u4e2d\u6587", true, std::string("\xFF\xFE\x2D\x4E\x87\x65", 6)},
  };
  for (const auto& [enc, text, unicode, stored] : encodings)
    EXPECT_EQ(walkFrames(3, {textFrame("TIT2", enc, text)}).tagData.title, (UnicodeText{stored, unicode})) << text;
  const std::pair<const char*, const char*> genres[] = {
      {"(17)", "Rock"}, {"(17)Rock", "Rock"}, {"Rock", "Rock"}, {"17", "Rock"}, {"(0)Blues", "Blues"}, {"(12)Other", "Other"}, {"Chiptune", "Chiptune"},
      {"(RX)", "Remix"}, {"(CR)", "Cover"}, {"((text)", "(text)"}, {"(200)", "(200)"}, {"(17)(18)", "Rock"}, {"", ""}};
  for (const auto& [text, genre] : genres)
    EXPECT_EQ(utf8(walkFrames(3, {textFrame("TCON", Enc::Latin1, text)}).tagData.genre) + "|" +
              utf8(walkFrames(4, {textFrame("TCON", Enc::Utf16LE, text)}).tagData.genre), std::string(genre) + "|" + genre) << text;
  const std::tuple<const char*, uint16_t, uint16_t> numbers[] = {
      {"3", 3, kUnsetNumber}, {"3/12", 3, 12}, {"/12", kUnsetNumber, 12}, {"", kUnsetNumber, kUnsetNumber},
      {"x/y", kUnsetNumber, kUnsetNumber}, {"99999", kUnsetNumber, kUnsetNumber}, {"0", 0, kUnsetNumber}};
  for (const auto& [text, number, total] : numbers) {
    const ID3Tag walked = walkFrames(3, {textFrame("TRCK", Enc::Latin1, text)});
    EXPECT_EQ(std::pair(walked.tagData.track, walked.tagData.tracks), std::pair(number, total)) << text;
  }
}

TEST(FrameRead, PictureMimeRules) {
  const Bytes tiffBig{'M', 'M', 0, 42, 1, 2, 3, 4}, tiffLittle{'I', 'I', 42, 0, 1, 2, 3, 4};
  const std::tuple<std::string, Bytes, std::string> cases[] = {  // no subtype: dropped with the MIME logged
      {"image/jpeg", test::jpegBytes(8), "jpeg"}, {"IMAGE/JPG", test::jpegBytes(8), "jpeg"}, {"image/tiff", tiffBig, "tiff"},
      {"image/tif", tiffBig, "tiff"},             {"image/tiff", tiffLittle, ""},          {"image/png", test::pngBytes(8), "png"},
      {"image/png", test::jpegBytes(8), ""},      {"image/gif", {'G', 'I', 'F', '8', '9', 'a'}, "gif"},
      {"image/bmp", {'B', 'M', 0, 0, 0, 0}, "bmp"}, {"image/webp", {'R', 'I', 'F', 'F', 0, 0}, ""},
      {"image/gif", test::jpegBytes(8), ""}};
  for (const auto& [mime, image, subtype] : cases) {
    test::LogCapture log;
    ID3Tag track = walkFrames(3, {test::pictureFrame(Enc::Latin1, mime, 0, "", image)});
    ASSERT_EQ(track.tagData.picdata.size(), subtype.empty() ? 0u : 1u) << mime;
    EXPECT_TRUE(subtype.empty() ? log.has(LogError, "Invalid picture MIME " + mime) : track.tagData.picdata[0].pictureSubtype == subtype);
  }
  // Three image bytes or fewer are no picture; a 2.2 format other than PNG or JPG is skipped.
  EXPECT_TRUE(walkFrames(3, {test::pictureFrame(Enc::Latin1, "image/jpeg", 0, "", Bytes{0xFF, 0xD8, 0})}).tagData.picdata.empty());
  EXPECT_TRUE(walkFrames(2, {test::picture22Frame(Enc::Latin1, "GIF", 0, "", Bytes{'G', 'I', 'F', '8', '9'})}).tagData.picdata.empty());
  ID3Tag unloaded;
  ReadV2Frames(unloaded, Id3v2Builder(3).frame(test::pictureFrame(Enc::Latin1, "image/png", 0, "", test::pngBytes(64))).build(), false);
  EXPECT_TRUE(unloaded.tagData.picdata.empty() && unloaded.tagData.privdata.empty());
}

TEST(V2Header, AcceptsAndRefuses) {
  const std::pair<Bytes, uint32_t> cases[] = {
      {{'I', 'D', '3', 3, 0, 0x00, 0, 0, 0x02, 0x01}, 257 + 10}, {{'I', 'D', '3', 4, 0, 0x80, 0, 0, 0, 0x10}, 16 + 10},
      {{'I', 'D', '3', 3, 0, 0x40, 0, 0, 0, 0x10}, 26},          {{'I', 'D', '3', 4, 0, 0x10, 0, 0, 0, 0x10}, 26},
      // No defined flag among the set bits: no tag. Case counts, and ten bytes are needed.
      {{'I', 'D', '3', 3, 0, 0x01, 0, 0, 0, 0x10}, 0},           {{'I', 'D', '3', 3, 0, 0x20, 0, 0, 0, 0x10}, 0},
      {{'i', 'd', '3', 3, 0, 0, 0, 0, 0, 0x10}, 0},              {{'I', 'D', '3', 3, 0, 0, 0, 0, 0}, 0},
      // A size byte with its top bit set is taken as it stands.
      {{'I', 'D', '3', 3, 0, 0, 0, 0, 0x80, 0x00}, 0x80 * 128 + 10}, {{'I', 'D', '3', 5, 0, 0, 0, 0, 0, 0x10}, 26},
  };
  test::LogCapture log;
  for (const auto& [header, size] : cases) EXPECT_EQ(ParseV2Header(header.data(), header.size()), size);
  ID3Tag track = test::walkTag(Id3v2Builder(5).text("TIT2", Enc::Latin1, "Five").padding(8).build());  // later versions still read
  EXPECT_TRUE(log.has(LogError, "ID3 tag version 2.5 is incompatible (max 2.4)") &&
              log.has(LogWarning, "Warning: Tag version 2.5 found (max allowed is 2.4)"));
  EXPECT_EQ(utf8(track.tagData.title) + std::to_string(track.v2Version), "Five5");
  // A header that claims more than the file holds is a short read: nothing of the claimed size is allocated.
  test::TempDir dir;
  test::openBytes(dir, "big.tdf", Id3v2Builder(3).text("TIT2", Enc::Latin1, "Big").rawHeaderSize({0x7F, 0x7F, 0x7F, 0x7F}).build(), track);
  EXPECT_TRUE(log.has(LogError, "Failed to load the tag data (error: unexpected end of file)") && !track.v2Read && track.readError == 0);
}

// Without resynchronising 2.2 and 2.3 tags, their frames would be dropped by
// the next save; the 2.4 extended header size counts its own four bytes, and
// skipping four more would misread the first frame.
TEST(V2Walk, EveryFrameFormReachesTheField) {
  const Bytes image = test::jpegBytes(32);  // FF D8 ... needs unsynchronising
  const Id3Frame unsync24("TIT2", {0x00, 'a', 0xFF, 0x00, 0xE0, 'b'}, 0x0002);  // the body is already unsynchronised
  // 256 bytes of text: size bytes 00 00 01 00 read 128 syncsafe, 256 plain; the size whose end a valid
  // (also lower-case) ID follows stands.
  Id3Frame plain = test::textFrame("TIT2", Enc::Latin1, std::string(255, '-')), odd("TIT2", test::textBody(Enc::Latin1, std::string(127, 'y')));
  plain.plainSize = true, odd.sizeOverride = 0x80;
  auto song = [](uint8_t major) { return Id3v2Builder(major).text(major == 2 ? "TT2" : "TIT2", Enc::Latin1, "Song"); };
  const struct { Id3v2Builder tag; std::string title; uint8_t version; bool picture; } cases[] = {
      {song(2), "Song", 2, false}, {song(3), "Song", 3, false}, {song(4), "Song", 4, false}, {Id3v2Builder(3), "", 3, false},
      {song(2).unsynchronised().frame(test::picture22Frame(Enc::Latin1, "JPG", 3, "", image)), "Song", 2, true},
      {song(3).unsynchronised().frame(test::pictureFrame(Enc::Latin1, "image/jpeg", 3, "", image)), "Song", 3, true},
      {Id3v2Builder(4).frame(unsync24), "a\xFF\xE0" "b", 4, false},
      {Id3v2Builder(3).extendedHeader({}).text("TIT2", Enc::Latin1, "Three"), "Three", 3, false},
      {Id3v2Builder(4).extendedHeader({}).text("TIT2", Enc::Latin1, "Four"), "Four", 4, false},
      {Id3v2Builder(4).frame(indicated(test::textFrame("TIT2", Enc::Latin1, "Indicated"))).text("TALB", Enc::Latin1, "After"), "IndicatedAfter", 4, false},
      {Id3v2Builder(4).frame(plain).text("TALB", Enc::Latin1, "After"), std::string(255, '-') + "After", 4, false},
      {Id3v2Builder(4).frame(plain).frame("abcd", {0, 'z'}), std::string(255, '-'), 4, false},
      {Id3v2Builder(4).frame(odd).raw({'T', 'A', 'L', 'B', 0, 0, 0, 3, 0, 0, 0, 'o', 'k'}).raw(Bytes(120, 0)), std::string(127, 'y') + "ok", 4, false},
      // A literal unsynchronised 2.3 tag: FF 00 E0 is FF E0.
      {Id3v2Builder(3).flags(0x80).raw({'T', 'I', 'T', '2', 0, 0, 0, 3, 0, 0, 0, 0xFF, 0x00, 0xE0}), "\xFF\xE0", 3, false},
      // 2.4 extended header size 00 00 01 00 is syncsafe 128, counting itself.
      {Id3v2Builder(4).flags(0x40).raw({0, 0, 1, 0}).raw(Bytes(124, 0)).text("TIT2", Enc::Latin1, "Big"), "Big", 4, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title + std::to_string(c.version));
    Id3v2Builder builder = c.tag;
    ID3Tag track = test::walkTag(builder.padding(20).build());
    EXPECT_EQ(track.tagData.title.data + track.tagData.album.data + std::to_string(track.v2Version), c.title + std::to_string(c.version));
    EXPECT_TRUE(track.v2Read && track.tagData.privdata.empty());
    EXPECT_TRUE(c.picture ? track.tagData.picdata.size() == 1 && track.tagData.picdata[0].data == image : track.tagData.picdata.empty());
  }
}

// A fault ends the walk and keeps the frames before it; the keep mode decides what an unknown frame becomes.
TEST(V2Walk, FaultsEndTheWalkKeepModesDecideUnknownFrames) {
  Id3Frame huge = test::textFrame("TALB", Enc::Latin1, "x");
  huge.sizeOverride = 100000;
  auto kept = [](uint8_t major) { return Id3v2Builder(major).text(major == 2 ? "TT2" : "TIT2", Enc::Latin1, "Kept"); };
  const Bytes xy{0, 'x', 'y'};
  const struct { Id3v2Builder tag; const char* message; int keepMode = 1; unsigned level = LogError; std::vector<PrivateData> kept = {}; } cases[] = {
      {kept(3).frame(Id3Frame("TALB", {})), "Tag 2.3 frame TALB size error (0, max "},
      {kept(3).frame(huge), "Tag 2.3 frame TALB size error (100000, max "},
      {kept(3).raw({'T', 'A'}), "Failed to get the 2.3 frame ID ("},
      {kept(3).raw({'T', 'A', 'L', 'B', 0, 0}), "Failed to get the frame size ("},
      {kept(2).raw({'T', 'A'}), "Failed to read the 2.2 frame ID ("},
      {kept(2).raw({'T', 'A', 'L', 0x80, 0, 1, 'x'}), "Tag 2.2 frame TAL size error ("},
      {kept(4).raw({'X', 'Y', 'Z', 'W', 0, 0, 0, 5, 0, 1 /* a length indicator past the end */}), "Frame buffer size mismatch (1:"},
      {kept(3).frame("TLAN", xy), "Adding non-standard tag field 'TLAN'", 1, LogStatus, {{"TLAN", xy}}},
      {kept(3).frame("XYZ1", xy), "Non-standard 2.3 tag ID found 'XYZ1' (size 3)"},
      {kept(3).frame("XYZ1", xy), "Adding unsupported but valid tag field 'XYZ1'", 2, LogStatus, {{"XYZ1", xy}}},
      {kept(3).frame("TLAN", xy), "Adding unsupported but valid tag field 'TLAN'", 2, LogStatus, {{"TLAN", xy}}},
      {kept(3).frame("TLAN", xy), "", 0}, {kept(2).frame("TLA", xy), "Copying all tag data is not supported for frame ID TLA in version 2.2", 2, LogWarning},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    test::LogCapture log;
    ID3Tag track = test::walkTag(c.tag.build(), c.keepMode);
    EXPECT_TRUE(utf8(track.tagData.title) == "Kept" && track.v2Read && (*c.message == 0 || log.has(c.level, c.message))) << log.dump();
    EXPECT_EQ(track.tagData.privdata, c.kept);
  }
  // 2.3-only IDs stay standard in 2.4.
  const std::tuple<const char*, int, bool> ids[] = {{"WFD ", 3, true}, {"TDRC", 4, true}, {"TDRC", 3, false},
      {"TYER", 4, true}, {"TDRC", 5, true}, {"TDR", 2, true}, {"TIT2", 2, false}};
  for (const auto& [id, major, standard] : ids) EXPECT_EQ(isStandardFrameId(id, major), standard) << id << major;
}

}  // namespace
}  // namespace melos
