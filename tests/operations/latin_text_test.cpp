// Latin-1 or Unicode: what the editors store for a typed text.

#include "operations/latin_text.h"

#include <gtest/gtest.h>

namespace melos {

TEST(LatinText, StoredBytesEndInTwoZeros) {
  const struct {
    std::u16string text;
    bool allowUnicode;
    std::string bytes;  // without the two terminating zero bytes
    bool unicode;
  } cases[] = {
      {u"", true, "", false}, {u"Plain", false, "Plain", false},
      // Without Unicode every Latin-1 character is kept; the bound only sends
      // a text to Unicode where Unicode is allowed.
      {u"Caf\u00E9", false, "Caf\xE9", true}, {u"Caf\u00E9", true, std::string("\xFF\xFE" "C\0a\0f\0\xE9\0", 10), true},
      {u"\u00C7", true, "\xC7", false},                // C-cedilla, 199
      {u"\u00CF", false, "\xCF", false},               // 207: the last stored as Latin-1
      {u"\u00D0", false, "\xD0", true},                // 208: the first sent to Unicode
      {u"\u00FFx\u0100", false, "\xFFx?", true},       // beyond Latin-1: "?"
      {u"\u65E5", true, std::string("\xFF\xFE\xE5\x65", 4), true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    EXPECT_EQ(LatinText::createISOLatin1String(c.text, c.allowUnicode), c.bytes + std::string(2, '\0'));
    EXPECT_EQ(LatinText::isStringUnicode(c.text), c.unicode);
  }
}

TEST(LatinText, StoredBytesReadBack) {
  EXPECT_EQ(LatinText::convertToISOLatin1String(std::string("Caf\xE9\0tail", 9)), u"Caf\u00E9");
  EXPECT_EQ(LatinText::createISOLatin1NSString(u"\u00C7a", true), u"\u00C7a");
  // UTF-16 bytes read as a C string stop at the first zero byte.
  EXPECT_EQ(LatinText::createISOLatin1NSString(u"Caf\u00E9", true), u"\u00FF\u00FEC");
  EXPECT_EQ(LatinText::convertToUnicodeString(u"\uFFFE\u6800\u6900"), u"hi");  // swapped mark
  EXPECT_EQ(LatinText::convertToUnicodeString(std::u16string(u"\uFEFFab\0c", 5)), u"ab");
  EXPECT_EQ(LatinText::convertToUISOString(std::string("\xFF\xFEh\0i\0\0\0x\0", 10), true), u"hi");
  EXPECT_EQ(LatinText::convertToUISOString(std::string("\xFE\xFF\0h\0i", 6), true), u"hi");
  EXPECT_EQ(LatinText::convertToUISOString("\xE9t\xE9", false), u"\u00E9t\u00E9");
  const std::u16string text = u"\u65E5\u672C \u00E9";
  EXPECT_EQ(LatinText::convertToUISOString(LatinText::createISOLatin1String(text, true), true), text);
}

}  // namespace melos
