// The fixture builders are checked byte by byte, so that a broken builder fails
// here and not as a puzzling failure of the engine's tests.

#include <gtest/gtest.h>

#include "tests/support/aiff_builder.h"
#include "tests/support/ape_builder.h"
#include "tests/support/id3v1_builder.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"

namespace melos::test {
namespace {

Bytes slice(const Bytes& bytes, size_t offset, size_t count) {
  if (offset >= bytes.size()) return {};
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
               bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), offset + count)));
}

std::string text(const Bytes& bytes, size_t offset, size_t count) {
  Bytes part = slice(bytes, offset, count);
  return std::string(part.begin(), part.end());
}

TEST(BuilderMpeg, DefaultHeaderIsMpeg1LayerIII128kbps44100) {
  EXPECT_EQ(mpegHeaderBytes({}), (Bytes{0xFF,    // sync
                                        0xFB,    // 111 sync, 11 MPEG-1, 01 Layer III, 1 no CRC
                                        0x90,    // 1001 128 kbps, 00 44100, 0 no padding, 0
                                        0x00}));  // 00 stereo, 00, 0, 0, 00
  EXPECT_EQ(mpegFrameLength({}), 417u);  // 128 * 144000 / 44100
}

TEST(BuilderMpeg, HeaderBitsFollowEachField) {
  MpegHeader h;
  h.version = kMpeg2;
  h.layer = 1;
  h.protectionBit = 0;
  h.bitrateIndex = 14;
  h.sampleRateIndex = 2;
  h.padding = 1;
  h.channelMode = 3;
  h.copyright = 1;
  h.original = 1;
  EXPECT_EQ(mpegHeaderBytes(h), (Bytes{0xFF,
                                       0xF6,    // 111, 10 MPEG-2, 11 Layer I, 0 CRC
                                       0xEA,    // 1110, 10 rate index 2, 1 padding, 0
                                       0xCC}));  // 11 mono, 00, 1 copyright, 1 original, 00
  h.layer = 2;
  h.version = kMpeg25;
  EXPECT_EQ(mpegHeaderBytes(h)[1], 0xE4);  // 111, 00 MPEG-2.5, 10 Layer II, 0
  h.layer = 0;
  EXPECT_EQ(mpegHeaderBytes(h)[1] & 0x06, 0x00);  // reserved layer bits
}

TEST(BuilderMpeg, FrameLengthsForEachVersion) {
  MpegHeader h;
  h.padding = 1;
  EXPECT_EQ(mpegFrameLength(h), 418u);
  EXPECT_EQ(mpegFrame(h).size(), 418u);
  h = {};
  h.version = kMpeg2;
  h.bitrateIndex = 8;  // 64 kbps
  EXPECT_EQ(mpegFrameLength(h), 417u);  // 64 * 144000 / 22050 = 417.9
  h.version = kMpeg25;
  h.sampleRateIndex = 2;  // 8000 Hz
  EXPECT_EQ(mpegFrameLength(h), 1152u);
  h.bitrateIndex = 0;  // free format
  EXPECT_EQ(mpegFrameLength(h), 0u);
  EXPECT_EQ(mpegFrame(h).size(), 4u);
  h.bitrateIndex = 8;
  h.sampleRateIndex = 3;  // reserved
  EXPECT_EQ(mpegFrameLength(h), 0u);
}

TEST(BuilderMpeg, StreamsPlaceFramesBackToBack) {
  Bytes cbr = cbrStream({}, 3);
  ASSERT_EQ(cbr.size(), 3u * 417u);
  EXPECT_EQ(slice(cbr, 417, 2), (Bytes{0xFF, 0xFB}));
  EXPECT_EQ(cbr[416], kMpegFill);

  Bytes vbr = vbrStream({}, {9, 14, 1});  // 128, 320, 32 kbps
  ASSERT_EQ(vbr.size(), 417u + 1044u + 104u);
  EXPECT_EQ(vbr[417 + 2], 0xE0);
  EXPECT_EQ(vbr[417 + 1044 + 2], 0x10);
  EXPECT_EQ(repeatBitrates({1, 2}, 5), (std::vector<uint8_t>{1, 2, 1, 2, 1}));
}

TEST(BuilderMpeg, XingFrameHoldsInfoAndLameAtTheirOffsets) {
  MpegStream s;
  s.frames = 2;
  s.xing = true;
  s.xingHeader.frames = 1;
  s.texts = {{1, 100, "LAME3.99r"}};
  Bytes bytes = mpegStream(s);
  EXPECT_EQ(text(bytes, 36, 4), "Info");
  EXPECT_EQ(slice(bytes, 40, 12), (Bytes{0, 0, 0, 0x0F,   // flags
                                         0, 0, 0, 1,      // frames
                                         0, 0, 0, 0}));  // bytes
  EXPECT_EQ(text(bytes, 156, 9), "LAME3.100");
  EXPECT_EQ(text(bytes, 417 + 100, 9), "LAME3.99r");
  EXPECT_EQ(frameOffsets(s), (std::vector<size_t>{0, 417}));
}

TEST(BuilderId3v2, HeaderSizeIsSyncsafe) {
  Bytes tag = Id3v2Builder(3).padding(257).build();
  ASSERT_EQ(tag.size(), 267u);
  EXPECT_EQ(slice(tag, 0, 10), (Bytes{'I', 'D', '3',
                                      3, 0,             // version 2.3.0
                                      0x00,             // flags
                                      0, 0, 2, 1}));   // 257 = 2 << 7 | 1
  Bytes odd = Id3v2Builder(4, 1).headerSize(0x0FFFFFFF).flags(0x10).build();
  EXPECT_EQ(slice(odd, 3, 7), (Bytes{4, 1, 0x10, 0x7F, 0x7F, 0x7F, 0x7F}));
  Bytes raw = Id3v2Builder(3).rawHeaderSize({0, 0, 0x80, 0}).build();
  EXPECT_EQ(slice(raw, 6, 4), (Bytes{0, 0, 0x80, 0}));
}

TEST(BuilderId3v2, FrameSizesPerVersion) {
  Id3Frame f{"TIT2", Bytes(200, 'a')};
  EXPECT_EQ(slice(frameBytes(f, 3), 0, 10), (Bytes{'T', 'I', 'T', '2',
                                                   0, 0, 0, 0xC8,  // 200, plain
                                                   0, 0}));        // flags
  EXPECT_EQ(slice(frameBytes(f, 4), 4, 4), (Bytes{0, 0, 1, 0x48}));  // 200, syncsafe
  f.plainSize = true;
  EXPECT_EQ(slice(frameBytes(f, 4), 4, 4), (Bytes{0, 0, 0, 0xC8}));
  Id3Frame v22{"TT2", Bytes(3, 'a')};
  EXPECT_EQ(frameBytes(v22, 2), (Bytes{'T', 'T', '2', 0, 0, 3, 'a', 'a', 'a'}));
  f = {"TIT2", Bytes(5, 'a')};
  f.sizeOverride = 0;
  EXPECT_EQ(slice(frameBytes(f, 3), 4, 4), (Bytes{0, 0, 0, 0}));
}

TEST(BuilderId3v2, FrameUnsyncAndDataLengthIndicator) {
  Id3Frame f{"TIT2", {0xFF, 0xE0, 0xFF, 0x00, 0xFF}};
  f.unsynchronise = true;
  f.dataLengthIndicator = true;
  EXPECT_EQ(frameBytes(f, 4), (Bytes{'T', 'I', 'T', '2',
                                     0, 0, 0, 12,    // 4 + 8 bytes
                                     0x00, 0x03,     // flags: unsync, data length
                                     0, 0, 0, 5,     // length before unsync
                                     0xFF, 0x00, 0xE0, 0xFF, 0x00, 0x00, 0xFF, 0x00}));
  // 2.3 has neither; the options are ignored there.
  EXPECT_EQ(frameBytes(f, 3).size(), 15u);
}

TEST(BuilderId3v2, TagUnsyncSetsTheFlag) {
  Bytes tag = Id3v2Builder(3).frame("PRIV", {0xFF, 0xF0}).unsynchronised().build();
  EXPECT_EQ(tag[5], 0x80);
  EXPECT_EQ(slice(tag, 10, 13), (Bytes{'P', 'R', 'I', 'V', 0, 0, 0, 2, 0, 0, 0xFF, 0x00, 0xF0}));
  EXPECT_EQ(tag[9], 13);
}

TEST(BuilderId3v2, ExtendedHeaders) {
  ExtendedHeader ext;
  ext.paddingSize = 16;
  Bytes v23 = Id3v2Builder(3).extendedHeader(ext).build();
  EXPECT_EQ(v23[5], 0x40);
  EXPECT_EQ(slice(v23, 10, 10), (Bytes{0, 0, 0, 6,      // size without itself
                                       0, 0,            // flags
                                       0, 0, 0, 16}));  // padding size
  ext.crc = 0x01020304;
  EXPECT_EQ(extendedHeaderBytes(ext, 3),
            (Bytes{0, 0, 0, 10, 0x80, 0, 0, 0, 0, 16, 1, 2, 3, 4}));
  ExtendedHeader ext4;
  ext4.flags = 0x40;
  EXPECT_EQ(extendedHeaderBytes(ext4, 4), (Bytes{0, 0, 0, 6,  // syncsafe size with itself
                                                 1,           // one flag byte
                                                 0x40}));     // tag is an update
}

TEST(BuilderId3v2, TextEncodings) {
  EXPECT_EQ(textBody(Enc::Latin1, "\xC3\xA9"), (Bytes{0, 0xE9}));
  EXPECT_EQ(textBody(Enc::Latin1, "\xE9"), (Bytes{0, 0xE9}));
  EXPECT_EQ(textBody(Enc::Utf16LE, "\xC3\xA9", true), (Bytes{1, 0xFF, 0xFE, 0xE9, 0, 0, 0}));
  EXPECT_EQ(textBody(Enc::Utf16BEWithBom, "a"), (Bytes{1, 0xFE, 0xFF, 0, 'a'}));
  EXPECT_EQ(textBody(Enc::Utf16BE, "a"), (Bytes{2, 0, 'a'}));
  EXPECT_EQ(textBody(Enc::Utf8, "\xE9"), (Bytes{3, 0xC3, 0xA9}));
  EXPECT_EQ(encodeText(Enc::Utf16BE, "\xF0\x9F\x8E\xB5"), (Bytes{0xD8, 0x3C, 0xDF, 0xB5}));
  EXPECT_EQ(encodeText(Enc::Latin1, u"\u20AC"), (Bytes{'?'}));
}

TEST(BuilderId3v2, FrameBodies) {
  EXPECT_EQ(commentBody(Enc::Latin1, "eng", "d", "t"), (Bytes{0, 'e', 'n', 'g', 'd', 0, 't'}));
  EXPECT_EQ(commentBody(Enc::Utf16LE, "en", "", "t"),
            (Bytes{1, 'e', 'n', ' ', 0xFF, 0xFE, 0, 0, 0xFF, 0xFE, 't', 0}));
  EXPECT_EQ(userTextBody(Enc::Latin1, "k", "v"), (Bytes{0, 'k', 0, 'v'}));
  EXPECT_EQ(userUrlBody(Enc::Utf8, "", "u"), (Bytes{3, 0, 'u'}));
  EXPECT_EQ(pictureBody(Enc::Latin1, "image/png", 3, "", {1, 2}),
            (Bytes{0, 'i', 'm', 'a', 'g', 'e', '/', 'p', 'n', 'g', 0, 3, 0, 1, 2}));
  EXPECT_EQ(picture22Body(Enc::Latin1, "JPG", 0, "d", {1}),
            (Bytes{0, 'J', 'P', 'G', 0, 'd', 0, 1}));
  EXPECT_EQ(popularityBody("a", 255, 7), (Bytes{'a', 0, 255, 0, 0, 0, 7}));
  EXPECT_EQ(popularityBody("", 1, 0, 0), (Bytes{0, 1}));
  EXPECT_EQ(uniqueIdBody("o", {9}), (Bytes{'o', 0, 9}));
  EXPECT_EQ(podcastFrame().body, Bytes(4, 0));
  EXPECT_EQ(slice(jpegBytes(), 0, 2), (Bytes{0xFF, 0xD8}));
  EXPECT_EQ(text(pngBytes(), 1, 3), "PNG");
}

TEST(BuilderId3v1, FieldsAtTheirOffsets) {
  Id3v1Fields f;
  f.title = std::string(31, 't');
  f.artist = "ar";
  f.album = "al";
  f.year = "19999";
  f.comment = std::string(29, 'c');
  f.track = 7;
  f.genre = 17;
  Bytes tag = id3v1Tag(f);
  ASSERT_EQ(tag.size(), 128u);
  EXPECT_EQ(text(tag, 0, 3), "TAG");
  EXPECT_EQ(text(tag, 3, 30), std::string(30, 't'));
  EXPECT_EQ(tag[33], 'a');
  EXPECT_EQ(tag[35], 0);
  EXPECT_EQ(tag[63], 'a');
  EXPECT_EQ(text(tag, 93, 4), "1999");
  EXPECT_EQ(text(tag, 97, 29), std::string(29, 'c'));
  EXPECT_EQ(tag[126], 7);
  EXPECT_EQ(tag[127], 17);
  f.patches = {{125, {0}}, {0, {'X'}}};
  tag = id3v1Tag(f);
  EXPECT_EQ(tag[125], 0);
  EXPECT_EQ(tag[0], 'X');
}

TEST(BuilderApe, HeaderItemsFooter) {
  ApeTag t;
  t.items = {apeText("Title", "ab")};
  Bytes tag = apeTag(t);
  // Item: 4 size + 4 flags + "Title" + 0 + "ab" = 16 bytes.
  ASSERT_EQ(tag.size(), 32u + 16u + 32u);
  EXPECT_EQ(text(tag, 0, 8), "APETAGEX");
  EXPECT_EQ(slice(tag, 8, 16), (Bytes{0xD0, 0x07, 0, 0,    // version 2000
                                      48, 0, 0, 0,         // items + footer
                                      1, 0, 0, 0,          // one item
                                      0, 0, 0, 0xA0}));   // has header, is header
  EXPECT_EQ(slice(tag, 32, 16),
            (Bytes{2, 0, 0, 0, 0, 0, 0, 0, 'T', 'i', 't', 'l', 'e', 0, 'a', 'b'}));
  EXPECT_EQ(text(tag, 48, 8), "APETAGEX");
  EXPECT_EQ(tag[48 + 23], 0x80);  // has header, is footer
  t.header = false;
  t.lowerCaseId = true;
  tag = apeTag(t);
  ASSERT_EQ(tag.size(), 48u);
  EXPECT_EQ(text(tag, 16, 8), "apetagex");
  EXPECT_EQ(tag[16 + 23], 0x00);
}

TEST(BuilderAiff, Extended80) {
  auto e = extended80(44100.0);
  EXPECT_EQ(Bytes(e.begin(), e.end()), (Bytes{0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}));
  e = extended80(48000.0);
  EXPECT_EQ(Bytes(e.begin(), e.end()), (Bytes{0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}));
  e = extended80(1.0);
  EXPECT_EQ(Bytes(e.begin(), e.end()), (Bytes{0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}));
  e = extended80(0.0);
  EXPECT_EQ(Bytes(e.begin(), e.end()), Bytes(10, 0));
}

TEST(BuilderAiff, ChunksAndFormSize) {
  Bytes file = AiffBuilder("AIFF")
                   .chunk(commChunk(2, 100, 16, 44100))
                   .chunk("ID3 ", {1, 2, 3})
                   .build();
  // FORM + size + AIFF + COMM(8 + 18) + ID3 (8 + 3 + pad).
  ASSERT_EQ(file.size(), 12u + 26u + 12u);
  EXPECT_EQ(text(file, 0, 4), "FORM");
  EXPECT_EQ(slice(file, 4, 4), (Bytes{0, 0, 0, 42}));
  EXPECT_EQ(text(file, 8, 4), "AIFF");
  EXPECT_EQ(slice(file, 12, 16), (Bytes{'C', 'O', 'M', 'M', 0, 0, 0, 18,
                                        0, 2,            // channels
                                        0, 0, 0, 100,    // sample frames
                                        0, 16}));        // sample size
  EXPECT_EQ(slice(file, 38, 12), (Bytes{'I', 'D', '3', ' ', 0, 0, 0, 3, 1, 2, 3, 0}));

  Bytes aifc = AiffBuilder("AIFC").chunk(commChunkAifc(1, 1, 8, 8000)).formSize(7).build();
  EXPECT_EQ(slice(aifc, 4, 8), (Bytes{0, 0, 0, 7, 'A', 'I', 'F', 'C'}));
  EXPECT_EQ(slice(aifc, 16, 4), (Bytes{0, 0, 0, 38}));  // 18 + 4 + 1 + 14 + pad
  EXPECT_EQ(text(aifc, 38, 4), "NONE");
  EXPECT_EQ(aiffChunkBytes(ssndChunk({5})).size(), 8u + 9u + 1u);
}

TEST(BuilderMp3File, PartsInOrder) {
  Bytes file = mp3File({{1}, {2, 2}, {}, {4}});
  EXPECT_EQ(file, (Bytes{1, 2, 2, 4}));
}

}  // namespace
}  // namespace melos::test
