// Latin-1 or Unicode: what the editors store for a typed text.

#include "operations/latin_text.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

std::string stored(std::string_view bytes) { return std::string(bytes) + std::string(2, '\0'); }

struct StoreCase {
  std::u16string text;
  bool allowUnicode;
  std::string bytes;  // without the two terminating zero bytes
  bool unicode;
};

class LatinTextStore : public testing::TestWithParam<StoreCase> {};

TEST_P(LatinTextStore, Bytes) {
  const StoreCase& c = GetParam();
  EXPECT_EQ(LatinText::createISOLatin1String(c.text, c.allowUnicode), stored(c.bytes));
  EXPECT_EQ(LatinText::isStringUnicode(c.text), c.unicode);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LatinTextStore,
    testing::Values(
        StoreCase{u"", false, "", false},
        StoreCase{u"", true, "", false},
        StoreCase{u"Plain", false, "Plain", false},
        // Without Unicode every Latin-1 character is kept; the bound only sends
        // a text to Unicode where Unicode is allowed.
        StoreCase{u"Caf\u00E9", false, "Caf\xE9", true},
        StoreCase{u"Caf\u00E9", true, std::string("\xFF\xFE" "C\0a\0f\0\xE9\0", 10), true},
        StoreCase{u"\u00C7", true, "\xC7", false},      // C-cedilla, 199
        StoreCase{u"\u00CF", false, "\xCF", false},     // 207: the last stored as Latin-1
        StoreCase{u"\u00D0", false, "\xD0", true},      // 208: the first sent to Unicode
        StoreCase{u"\u00FFx\u0100", false, "\xFFx?", true},  // beyond Latin-1: "?"
        StoreCase{u"\u65E5", true, std::string("\xFF\xFE\xE5\x65", 4), true}));

TEST(LatinTextTest, BytesReadBack) {
  EXPECT_EQ(LatinText::convertToISOLatin1String(std::string("Caf\xE9\0tail", 9)), u"Caf\u00E9");
  EXPECT_EQ(LatinText::createISOLatin1NSString(u"Caf\u00E9", false), u"Caf\u00E9");
  EXPECT_EQ(LatinText::createISOLatin1NSString(u"\u00C7a", true), u"\u00C7a");
  // UTF-16 bytes read as a C string stop at the first zero byte.
  EXPECT_EQ(LatinText::createISOLatin1NSString(u"Caf\u00E9", true), u"\u00FF\u00FEC");
}

TEST(LatinTextTest, UnicodeUnits) {
  EXPECT_EQ(LatinText::convertToUnicodeString(u"\uFEFFhi"), u"hi");
  EXPECT_EQ(LatinText::convertToUnicodeString(u"\uFFFE\u6800\u6900"), u"hi");  // swapped mark
  EXPECT_EQ(LatinText::convertToUnicodeString(std::u16string(u"ab\0c", 4)), u"ab");
  EXPECT_EQ(LatinText::convertToUISOString(std::string("\xFF\xFEh\0i\0\0\0x\0", 10), true), u"hi");
  EXPECT_EQ(LatinText::convertToUISOString(std::string("\xFE\xFF\0h\0i", 6), true), u"hi");
  EXPECT_EQ(LatinText::convertToUISOString("\xE9t\xE9", false), u"\u00E9t\u00E9");
}

TEST(LatinTextTest, RoundTripOfStoredUnicode) {
  const std::u16string text = u"\u65E5\u672C \u00E9";
  const std::string bytes = LatinText::createISOLatin1String(text, true);
  EXPECT_EQ(LatinText::convertToUISOString(bytes, true), text);
}

}  // namespace
}  // namespace melos
