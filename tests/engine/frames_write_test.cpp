#include "engine/frames_write.h"

#include <gtest/gtest.h>

#include "tests/support/byte_text.h"
#include "tests/support/mp3_file_builder.h"

namespace melos {
namespace {

using test::ascii, test::concat, test::units;

std::string stored(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

// The frame header as written: ID, size, flags 0. Every content here is under 128 bytes, where the
// 2.3 plain and the 2.4 syncsafe size are the same bytes; the 200-byte frame below tells them apart.
Bytes frame(std::string_view id, const Bytes& content) { return concat({ascii(id), {0, 0, 0, static_cast<uint8_t>(content.size())}, {0, 0}, content}); }

const Bytes kMarkLE{0xFF, 0xFE}, kMarkBE{0xFE, 0xFF}, kEnd16{0x00, 0x00};  // marks and the UTF-16 terminator
Bytes latin1(const char* text) { return concat({{0x00} /* ISO 8859-1 */, ascii(text)}); }
Bytes utf16(const char* text) { return concat({{0x01} /* UTF-16 with a mark */, kMarkLE, units(text), kEnd16}); }
Bytes le(const char* text) { return concat({kMarkLE, units(text)}); }

TEST(FrameWrite, EveryFrameForm) {
  const struct { const char* id; Bytes text; bool unicode, trim; Bytes content; /* empty: no frame */ } cases[] = {
      {"TPE1", concat({kMarkBE, {0, 'H', 0, 'i'}}), true, false, utf16("Hi")},  // big-endian is swapped
      {"TIT2", {}, false, false, {}}, {"TIT2", {}, true, false, {}}, {"TIT2", kMarkLE, true, false, {}},
      {"TALB", concat({ascii("ab"), {0}, ascii("cd")}), false, false, latin1("ab")}, {"TALB", concat({le("a"), kEnd16, units("b")}), true, false, utf16("a")},
      {"TIT2", ascii(" \t x y\r\n "), false, true, latin1("x y")}, {"TIT2", ascii("   "), false, true, {}},
      {"TIT2", ascii("   "), false, false, latin1("   ")},      {"TIT2", le(" a b\t"), true, true, utf16("a b")},
      {"TIT2", concat({kMarkBE, {0, ' ', 0, 'a', 0, ' '}}), true, true, utf16("a")}, {"TIT2", le(" \n"), true, true, {}},
      // Only text frames are trimmed; COMM keeps its blanks.
      {"COMM", ascii(" c "), false, true, concat({latin1("eng"), {0}, ascii(" c ")})},
      {"TCON", ascii("blues"), false, false, latin1("(0)blues")},   {"TCON", ascii("ROCK"), false, false, latin1("(17)ROCK")},
      {"TCON", ascii("Other"), false, false, latin1("(12)Other")}, {"TCON", ascii("Chiptune"), false, false, latin1("Chiptune")},
      {"TCON", ascii(" Rock "), false, true, latin1("(17)Rock")},  {"TCON", le("Rock"), true, false, utf16("(17)Rock")},
      {"TCON", concat({kMarkBE, {0, 'P', 0, 'o', 0, 'p'}}), true, false, utf16("(13)Pop")},
      {"TCON", concat({kMarkLE, {0x2D, 0x4E}}), true, false, concat({{1}, kMarkLE, {0x2D, 0x4E}, kEnd16})},
      {"COMM", le("hi"), true, false,
       concat({{1}, ascii("eng"), kMarkLE, kEnd16 /* empty description */, kMarkLE, units("hi"), kEnd16, {0, 0} /* overshoot */})},
      {"USLT", concat({kMarkBE, {0, 'l', 0, 'a'}}), true, false, concat({{1}, ascii("eng"), kMarkLE, kEnd16, le("la"), kEnd16, {0, 0}})},
      {"WCOM", ascii("http://c"), false, true, ascii("http://c")}, {"WOAR", ascii(" u "), false, true, ascii(" u ")}, {"WXXX", {}, false, false, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id + stored(c.text));
    for (int version : {3, 4}) {
      std::string text = stored(c.text);
      Bytes out{0xAA}, expected = concat({{0xAA}, c.content.empty() ? Bytes{} : frame(c.id, c.content)});  // a byte already there stays
      bool error = false;
      uint32_t written = writeFrame(out, c.id, text, c.unicode, error, version, c.trim);
      EXPECT_EQ(std::make_tuple(out, written, error), std::make_tuple(expected, expected.size() - 1, false));
    }
  }
  // The field itself is swapped to little-endian; FE FF is a Latin-1 text too.
  std::string big = stored(concat({kMarkBE, {0, 'A', 0x4E, 0x2D}})), little = stored(le("A")), latin = "\xFE\xFFx";
  Bytes out;
  bool error = false;
  writeFrame(out, "TIT2", big, true, error, 3, true), writeFrame(out, "TIT2", little, true, error, 3, false), writeFrame(out, "TIT2", latin, false, error, 3, false);
  EXPECT_EQ(big + "|" + little + "|" + latin, stored(concat({kMarkLE, {'A', 0, 0x2D, 0x4E}})) + "|" + stored(le("A")) + "|\xFE\xFFx");
  // 200 bytes of content: 2.3 plain 00 00 00 C8, 2.4 syncsafe 00 00 01 48.
  for (auto [version, size] : {std::pair{3, Bytes{0, 0, 0, 0xC8}}, std::pair{4, Bytes{0, 0, 1, 0x48}}}) {
    out.clear();
    std::string text(199, 'x');
    EXPECT_EQ(writeFrame(out, "TIT2", text, false, error, version, false), 210u);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 10), concat({ascii("TIT2"), size, {0, 0}}));
  }
  // Pictures, ratings and IDs: nothing without content, and the limits the reader keeps.
  const Bytes jpeg{0xFF, 0xD8, 0xFF, 0xE0, 0x11}, body{0x01, 0xFF, 0xFE, 0x00, 0x00, 'v', 0x00};
  out.clear();
  EXPECT_EQ(writeFrame(out, "APIC", PicData{{}, "jpeg"}, error, 4) + writeFrame(out, "POPM", PopularityData{"me@x", 0, "12"}, error, 3) +
                writeFrame(out, "UFID", UniqueFileID{"", {'a'}}, error, 3) + writeFrame(out, "UFID", UniqueFileID{"o", {}}, error, 3) +
                writeFrame(out, "PRIV", ByteSpan(), error, 4), 0u);
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(writeFrame(out, "APIC", PicData{jpeg, "abcdefgh"}, error, 4), 30u);
  EXPECT_EQ(writeFrame(out, "POPM", PopularityData{"me@x", 255, "12"}, error, 3), 20u);
  EXPECT_EQ(writeFrame(out, "POPM", PopularityData{"", 1, "4294967296"}, error, 3), 17u);
  EXPECT_EQ(writeFrame(out, "UFID", UniqueFileID{"o", Bytes(70, 'z')}, error, 3), 76u);
  EXPECT_EQ(writeFrame(out, "TXXX", ByteSpan(body), error, 4), 17u);
  EXPECT_EQ(writeEmptyFrame(out, "PCST", error, 4), 14u);
  EXPECT_EQ(out, concat({frame("APIC", concat({latin1("image/abcde") /* "image/%s" cut to 11 */, {0} /* MIME end */, {0} /* type */,
                                               {0} /* description */, jpeg})),
                         frame("POPM", concat({ascii("me@x"), {0x00 /* email end */, 0xFF /* rating */, 0, 0, 0, 12 /* four counter bytes at least */}})),
                         frame("POPM", {0x00 /* no email */, 0x01, 0x01, 0, 0, 0, 0 /* five counter bytes */}),
                         frame("UFID", concat({ascii("o"), {0} /* owner end */, Bytes(64, 'z') /* data cut to 64 */})), frame("TXXX", body),
                         {'P', 'C', 'S', 'T', 0, 0, 0, 4 /* size */, 0, 0 /* flags */, 0, 0, 0, 0}}));
  EXPECT_FALSE(error);
  // Text sizes and the track strings of TRCK and TPOS.
  const std::tuple<Bytes, bool, uint32_t> sizes[] = {
      {{}, false, 0}, {ascii("abc"), false, 3}, {concat({ascii("ab"), {0}, ascii("c")}), false, 2}, {{}, true, 0},
      {kMarkLE, true, 0}, {le("ab"), true, 8} /* mark, two units, terminator */, {concat({kMarkBE, {0, 'a'}}), true, 6},
      {concat({le("ab"), {'c'}}), true, 8} /* an odd byte is no unit */, {concat({le("a"), kEnd16, units("b")}), true, 6}};
  for (const auto& [text, unicode, size] : sizes) EXPECT_EQ(frameTextSize(stored(text), unicode), size) << stored(text);
  const std::tuple<uint16_t, uint16_t, bool, const char*> tracks[] = {
      {3, 12, false, "3/12"}, {3, kUnsetNumber, true, "3"}, {kUnsetNumber, 12, true, "/12"}, {kUnsetNumber, 12, false, ""},
      {kUnsetNumber, kUnsetNumber, true, ""}, {0, 0, false, "0/0"}, {65534, 65534, false, "65534/65534"}};
  for (const auto& [number, total, totalOnly, text] : tracks) EXPECT_EQ(trackString(number, total, totalOnly), text);
}

}  // namespace
}  // namespace melos
