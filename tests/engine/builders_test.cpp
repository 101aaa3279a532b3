// The fixture builders are checked byte by byte against literals written from
// the formats, so that a builder sharing a fault with the engine (both use the
// engine's syncsafe and big-endian helpers) cannot hide it.

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
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
               bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), offset + count)));
}

TEST(Builders, BytesAsTheFormatsLayThemOut) {
  MpegHeader mpeg2;
  mpeg2.version = kMpeg2;
  mpeg2.layer = 1;
  mpeg2.protectionBit = 0;
  mpeg2.bitrateIndex = 14;
  mpeg2.sampleRateIndex = 2;
  mpeg2.padding = 1;
  mpeg2.channelMode = 3;
  mpeg2.copyright = 1;
  mpeg2.original = 1;
  Id3Frame big{"TIT2", Bytes(200, 'a')};
  Id3Frame unsync{"TIT2", {0xFF, 0xE0, 0xFF, 0x00, 0xFF}};
  unsync.unsynchronise = true;
  unsync.dataLengthIndicator = true;
  ExtendedHeader ext4;
  ext4.flags = 0x40;
  Id3v1Fields v1;
  v1.title = std::string(31, 't');
  v1.track = 7;
  v1.genre = 17;
  ApeTag ape;
  ape.items = {apeText("Title", "ab")};
  const auto e80 = extended80(44100.0);
  struct Row {
    const char* name;
    Bytes got;
    Bytes want;
  };
  const Row rows[] = {
      {"MPEG-1 Layer III 128 kbps 44100", mpegHeaderBytes({}),
       {0xFF, 0xFB /* sync, MPEG-1, Layer III, no CRC */, 0x90 /* 128 kbps, 44100 */, 0x00}},
      {"MPEG-2 header fields", mpegHeaderBytes(mpeg2),
       {0xFF, 0xF6 /* MPEG-2, Layer I, CRC */, 0xEA /* 1110, index 2, padding */, 0xCC /* mono, (c), orig */}},
      {"frames of 417 bytes back to back", slice(cbrStream({}, 2), 416, 3), {kMpegFill, 0xFF, 0xFB}},
      {"ID3v2 header size syncsafe", slice(Id3v2Builder(3).padding(257).build(), 0, 10),
       {'I', 'D', '3', 3, 0 /* 2.3.0 */, 0 /* flags */, 0, 0, 2, 1 /* 257 */}},
      {"2.3 frame size plain", slice(frameBytes(big, 3), 0, 10), {'T', 'I', 'T', '2', 0, 0, 0, 0xC8, 0, 0}},
      {"2.4 frame size syncsafe", slice(frameBytes(big, 4), 4, 4), {0, 0, 1, 0x48}},
      {"2.2 frame", frameBytes({"TT2", Bytes(3, 'a')}, 2), {'T', 'T', '2', 0, 0, 3, 'a', 'a', 'a'}},
      {"2.4 frame unsync and data length", frameBytes(unsync, 4),
       {'T', 'I', 'T', '2', 0, 0, 0, 12, 0x00, 0x03 /* unsync, data length */, 0, 0, 0, 5 /* length before */,
        0xFF, 0x00, 0xE0, 0xFF, 0x00, 0x00, 0xFF, 0x00}},
      {"tag unsync", Id3v2Builder(3).frame("PRIV", {0xFF, 0xF0}).unsynchronised().build(),
       {'I', 'D', '3', 3, 0, 0x80, 0, 0, 0, 13, 'P', 'R', 'I', 'V', 0, 0, 0, 2, 0, 0, 0xFF, 0x00, 0xF0}},
      {"2.3 extended header", extendedHeaderBytes({}, 3),
       {0, 0, 0, 6 /* size without itself */, 0, 0 /* flags */, 0, 0, 0, 0 /* padding */}},
      {"2.4 extended header", extendedHeaderBytes(ext4, 4), {0, 0, 0, 6 /* with itself */, 1, 0x40}},
      {"UTF-16 text with mark and end", textBody(Enc::Utf16LE, "\xC3\xA9", true), {1, 0xFF, 0xFE, 0xE9, 0, 0, 0}},
      {"UTF-16BE surrogates", encodeText(Enc::Utf16BE, "\xF0\x9F\x8E\xB5"), {0xD8, 0x3C, 0xDF, 0xB5}},
      {"Latin-1 of a raw byte", textBody(Enc::Latin1, "\xE9"), {0, 0xE9}},
      {"comment", frameBytes(commentFrame(Enc::Latin1, "eng", "d", "t"), 2), {'C', 'O', 'M', 0, 0, 7, 0, 'e', 'n', 'g', 'd', 0, 't'}},
      {"popularity", popularityFrame("a", 255, 7).body, {'a', 0, 255, 0, 0, 0, 7}},
      {"ID3v1 title cut at 30", slice(id3v1Tag(v1), 0, 34),
       test::concat({{'T', 'A', 'G'}, Bytes(30, 't'), {0}})},
      {"ID3v1 track and genre", slice(id3v1Tag(v1), 125, 3), {0, 7, 17}},
      {"APE header", slice(apeTag(ape), 0, 24),
       {'A', 'P', 'E', 'T', 'A', 'G', 'E', 'X', 0xD0, 0x07, 0, 0 /* 2000 */, 48, 0, 0, 0 /* items + footer */,
        1, 0, 0, 0 /* items */, 0, 0, 0, 0xA0 /* has header, is header */}},
      {"APE item", slice(apeTag(ape), 32, 16), {2, 0, 0, 0, 0, 0, 0, 0, 'T', 'i', 't', 'l', 'e', 0, 'a', 'b'}},
      {"80-bit 44100", Bytes(e80.begin(), e80.end()), {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}},
      {"AIFF chunk with pad", AiffBuilder().chunk("ID3 ", {1, 2, 3}).build(),
       {'F', 'O', 'R', 'M', 0, 0, 0, 16, 'A', 'I', 'F', 'F', 'I', 'D', '3', ' ', 0, 0, 0, 3, 1, 2, 3, 0}},
  };
  for (const Row& r : rows) EXPECT_EQ(r.got, r.want) << r.name;
}

}  // namespace
}  // namespace melos::test
