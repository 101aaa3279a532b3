#include "engine/frames_write.h"

#include <gtest/gtest.h>

#include "tests/support/byte_text.h"
#include "tests/support/mp3_file_builder.h"

#include <initializer_list>

namespace melos {
namespace {

using test::ascii;
using test::units;

std::string stored(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

// The frame header as written: ID, size (2.3 plain, 2.4 syncsafe), flags 0.
Bytes header(std::string_view id, uint32_t size, int version) {
  Bytes out = ascii(id);
  uint8_t sizeBytes[4];
  if (version >= 4)
    syncsafeEncode(sizeBytes, size);
  else
    writeU32BE(sizeBytes, size);
  out.insert(out.end(), std::begin(sizeBytes), std::end(sizeBytes));
  out.insert(out.end(), {0, 0});  // flags
  return out;
}

Bytes frame(std::string_view id, const Bytes& content, int version = 3) {
  return test::concat({header(id, static_cast<uint32_t>(content.size()), version), content});
}

const Bytes kLatin1{0x00};        // encoding ISO 8859-1
const Bytes kUtf16{0x01};         // encoding UTF-16 with a mark
const Bytes kMarkLE{0xFF, 0xFE};  // byte-order mark, little-endian
const Bytes kMarkBE{0xFE, 0xFF};  // byte-order mark, big-endian
const Bytes kEnd16{0x00, 0x00};   // UTF-16 terminator

struct TextCase {
  const char* name;
  std::string id;
  Bytes text;    // the field as stored
  bool unicode;
  bool trim;
  Bytes content;  // empty: no frame at all
};

TEST(FrameWrite, TextFrames) {
  const Bytes beHi = test::concat({kMarkBE, {0, 'H', 0, 'i'}});
  const TextCase cases[] = {
      {"utf16 big-endian is swapped", "TPE1", beHi, true, false, test::concat({kUtf16, kMarkLE, units("Hi"), kEnd16})},
      {"empty text", "TIT2", {}, false, false, {}},
      {"empty utf16 text", "TIT2", {}, true, false, {}},
      {"a mark alone is empty", "TIT2", kMarkLE, true, false, {}},
      {"latin1 ends at a zero byte", "TALB", test::concat({ascii("ab"), {0}, ascii("cd")}), false, false,
       test::concat({kLatin1, ascii("ab")})},
      {"utf16 ends at a zero unit", "TALB", test::concat({kMarkLE, units("a"), kEnd16, units("b")}), true, false,
       test::concat({kUtf16, kMarkLE, units("a"), kEnd16})},
      {"trim latin1", "TIT2", ascii(" \t x y\r\n "), false, true, test::concat({kLatin1, ascii("x y")})},
      {"trim only spaces", "TIT2", ascii("   "), false, true, {}},
      {"spaces untrimmed", "TIT2", ascii("   "), false, false, test::concat({kLatin1, ascii("   ")})},
      {"trim utf16 after the mark", "TIT2", test::concat({kMarkLE, units(" a b\t")}), true, true,
       test::concat({kUtf16, kMarkLE, units("a b"), kEnd16})},
      {"trim utf16 big-endian", "TIT2", test::concat({kMarkBE, {0, ' ', 0, 'a', 0, ' '}}), true, true,
       test::concat({kUtf16, kMarkLE, units("a"), kEnd16})},
      {"trim utf16 only blanks", "TIT2", test::concat({kMarkLE, units(" \n")}), true, true, {}},
      // Only text frames are trimmed; COMM keeps its blanks.
      {"comment not trimmed", "COMM", ascii(" c "), false, true,
       test::concat({kLatin1, ascii("eng"), {0}, ascii(" c ")})},
      {"genre number in front", "TCON", ascii("blues"), false, false, test::concat({kLatin1, ascii("(0)blues")})},
      {"genre any case", "TCON", ascii("ROCK"), false, false, test::concat({kLatin1, ascii("(17)ROCK")})},
      {"genre two digits", "TCON", ascii("Other"), false, false, test::concat({kLatin1, ascii("(12)Other")})},
      {"genre unknown unchanged", "TCON", ascii("Chiptune"), false, false, test::concat({kLatin1, ascii("Chiptune")})},
      {"genre trimmed first", "TCON", ascii(" Rock "), false, true, test::concat({kLatin1, ascii("(17)Rock")})},
      {"genre utf16 number after the mark", "TCON", test::concat({kMarkLE, units("Rock")}), true, false,
       test::concat({kUtf16, kMarkLE, units("(17)Rock"), kEnd16})},
      {"genre utf16 big-endian", "TCON", test::concat({kMarkBE, {0, 'P', 0, 'o', 0, 'p'}}), true, false,
       test::concat({kUtf16, kMarkLE, units("(13)Pop"), kEnd16})},
      {"genre utf16 not Latin-1", "TCON", test::concat({kMarkLE, {0x2D, 0x4E}}), true, false,
       test::concat({kUtf16, kMarkLE, {0x2D, 0x4E}, kEnd16})},
      {"comment utf16 overshoots by two", "COMM", test::concat({kMarkLE, units("hi")}), true, false,
       test::concat({kUtf16, ascii("eng"), kMarkLE, kEnd16 /* empty description */, kMarkLE, units("hi"), kEnd16,
            {0, 0} /* overshoot */})},
      {"lyrics utf16 big-endian", "USLT", test::concat({kMarkBE, {0, 'l', 0, 'a'}}), true, false,
       test::concat({kUtf16, ascii("eng"), kMarkLE, kEnd16, kMarkLE, units("la"), kEnd16, {0, 0}})},
      {"other url bare", "WCOM", ascii("http://c"), false, true, ascii("http://c")},
      {"url not trimmed", "WOAR", ascii(" u "), false, true, ascii(" u ")},
      {"empty url", "WXXX", {}, false, false, {}},
  };
  for (const TextCase& c : cases) {
    SCOPED_TRACE(c.name);
    for (int version : {3, 4}) {
      std::string text = stored(c.text);
      Bytes out{0xAA};  // a byte already there stays
      bool error = false;
      uint32_t written = writeFrame(out, c.id, text, c.unicode, error, version, c.trim);
      EXPECT_FALSE(error);
      Bytes expected = c.content.empty() ? Bytes{0xAA} : test::concat({{0xAA}, frame(c.id, c.content, version)});
      EXPECT_EQ(out, expected);
      EXPECT_EQ(written, out.size() - 1);
    }
  }
}

TEST(FrameWrite, BigEndianTextIsSwappedInTheField) {
  std::string text = stored(test::concat({kMarkBE, {0, 'A', 0x4E, 0x2D}}));
  Bytes out;
  bool error = false;
  writeFrame(out, "TIT2", text, true, error, 3, true);
  EXPECT_EQ(text, stored(test::concat({kMarkLE, {'A', 0, 0x2D, 0x4E}})));

  std::string little = stored(test::concat({kMarkLE, units("A")}));
  const std::string before = little;
  writeFrame(out, "TIT2", little, true, error, 3, false);
  EXPECT_EQ(little, before);

  // Only UTF-16 texts are swapped: FE is a Latin-1 character too.
  std::string latin1 = "\xFE\xFFx";
  writeFrame(out, "TIT2", latin1, false, error, 3, false);
  EXPECT_EQ(latin1, "\xFE\xFFx");
}

TEST(FrameWrite, SizeForms) {
  // 200 bytes of content: 2.3 plain 00 00 00 C8, 2.4 syncsafe 00 00 01 48.
  std::string text(199, 'x');
  Bytes out;
  bool error = false;
  EXPECT_EQ(writeFrame(out, "TIT2", text, false, error, 3, false), 210u);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 10), (Bytes{'T', 'I', 'T', '2', 0x00, 0x00, 0x00, 0xC8, 0, 0}));
  out.clear();
  EXPECT_EQ(writeFrame(out, "TIT2", text, false, error, 4, false), 210u);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 10), (Bytes{'T', 'I', 'T', '2', 0x00, 0x00, 0x01, 0x48, 0, 0}));
  EXPECT_FALSE(error);
}

TEST(FrameWrite, Pictures) {
  const Bytes jpeg{0xFF, 0xD8, 0xFF, 0xE0, 0x11};
  struct Case {
    const char* name;
    PicData picture;
    Bytes content;
  };
  const Case cases[] = {
      {"jpeg", {jpeg, "jpeg"},
       test::concat({kLatin1, ascii("image/jpeg"), {0} /* MIME end */, {0} /* type */, {0} /* description */, jpeg})},
      {"png", {jpeg, "png"}, test::concat({kLatin1, ascii("image/png"), {0}, {0}, {0}, jpeg})},
      // "image/%s" is cut to 11 characters.
      {"long subtype", {jpeg, "abcdefgh"}, test::concat({kLatin1, ascii("image/abcde"), {0}, {0}, {0}, jpeg})},
      {"no image", {{}, "jpeg"}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes out;
    bool error = false;
    uint32_t written = writeFrame(out, "APIC", c.picture, error, 4);
    EXPECT_EQ(out, c.content.empty() ? Bytes{} : frame("APIC", c.content, 4));
    EXPECT_EQ(written, out.size());
    if (!c.content.empty() && c.picture.pictureSubtype.size() <= 5) {
      EXPECT_EQ(c.content.size(), c.picture.data.size() + c.picture.pictureSubtype.size() + 10);
    }
  }
}

TEST(FrameWrite, Popularity) {
  Bytes out;
  bool error = false;
  EXPECT_EQ(writeFrame(out, "POPM", PopularityData{"me@example.org", 0, "12"}, error, 3), 0u);
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(writeFrame(out, "POPM", PopularityData{"me@example.org", 255, "12"}, error, 3), 30u);
  EXPECT_EQ(out, frame("POPM", test::concat({ascii("me@example.org"), {0x00 /* email end */, 0xFF /* rating */},
                                             {0, 0, 0, 12} /* play counter, four bytes at least */})));
  out.clear();
  EXPECT_EQ(writeFrame(out, "POPM", PopularityData{"", 1, "4294967296"}, error, 3), 17u);
  EXPECT_EQ(out, frame("POPM", {0x00 /* no email */, 0x01, 0x01, 0, 0, 0, 0 /* five counter bytes */}));
  EXPECT_FALSE(error);
}

TEST(FrameWrite, UniqueFileId) {
  struct Case {
    const char* name;
    UniqueFileID id;
    Bytes content;
  };
  const Bytes longId(70, 'z');
  const Case cases[] = {
      {"owner and data", {"http://mb", {'a', 'b'}}, test::concat({ascii("http://mb"), {0} /* owner end */, ascii("ab")})},
      {"no owner", {"", {'a'}}, {}},
      {"no data", {"owner", {}}, {}},
      {"data cut to 64", {"o", longId}, test::concat({ascii("o"), {0}, Bytes(64, 'z')})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bytes out;
    bool error = false;
    writeFrame(out, "UFID", c.id, error, 3);
    EXPECT_EQ(out, c.content.empty() ? Bytes{} : frame("UFID", c.content));
  }
}

TEST(FrameWrite, RawAndEmptyFrames) {
  Bytes out;
  bool error = false;
  const Bytes body{0x01, 0xFF, 0xFE, 0x00, 0x00, 'v', 0x00};
  EXPECT_EQ(writeFrame(out, "TXXX", ByteSpan(body), error, 4), 17u);
  EXPECT_EQ(out, frame("TXXX", body, 4));

  out.clear();
  EXPECT_EQ(writeFrame(out, "PRIV", ByteSpan(), error, 4), 0u);
  EXPECT_TRUE(out.empty());

  EXPECT_EQ(writeEmptyFrame(out, "PCST", error, 4), 14u);
  EXPECT_EQ(out, (Bytes{'P', 'C', 'S', 'T', 0, 0, 0, 4 /* size */, 0, 0 /* flags */, 0, 0, 0, 0 /* content */}));
  EXPECT_FALSE(error);
}

TEST(FrameWrite, FrameTextSize) {
  struct Case {
    Bytes text;
    bool unicode;
    uint32_t size;
  };
  const Case cases[] = {
      {{}, false, 0},
      {ascii("abc"), false, 3},
      {test::concat({ascii("ab"), {0}, ascii("c")}), false, 2},
      {{}, true, 0},
      {kMarkLE, true, 0},
      {test::concat({kMarkLE, units("ab")}), true, 8},  // mark, two units, terminator
      {test::concat({kMarkBE, {0, 'a'}}), true, 6},
      {test::concat({kMarkLE, units("ab"), {'c'}}), true, 8},  // an odd byte is no unit
      {test::concat({kMarkLE, units("a"), kEnd16, units("b")}), true, 6},
  };
  for (const Case& c : cases) EXPECT_EQ(frameTextSize(stored(c.text), c.unicode), c.size) << stored(c.text);
}

TEST(FrameWrite, TrackString) {
  struct Case {
    uint16_t number, total;
    bool allowTotalOnly;
    const char* text;
  };
  const Case cases[] = {
      {3, 12, false, "3/12"},      {3, kUnsetNumber, true, "3"},   {kUnsetNumber, 12, true, "/12"},
      {kUnsetNumber, 12, false, ""}, {kUnsetNumber, kUnsetNumber, true, ""}, {0, 0, false, "0/0"},
      {65534, 65534, false, "65534/65534"},
  };
  for (const Case& c : cases) EXPECT_EQ(trackString(c.number, c.total, c.allowTotalOnly), c.text);
}

}  // namespace
}  // namespace melos
