// What the editors make of a typed text: the warnings of the checked fields,
// and whether it is stored as Latin-1 or Unicode.

#include "operations/field_checks.h"

#include <gtest/gtest.h>

#include "engine/text.h"
#include "operations/latin_text.h"

namespace melos {

using Warning = std::optional<std::u16string>;
static const Warning kNo = std::nullopt, kIncorrect = std::u16string(kIncorrectFieldTooltip);
static Warning result(std::u16string_view stored) { return std::u16string(kEntryResultTooltip) + std::u16string(stored); }
static std::u16string xs(size_t count) { return std::u16string(count, u'x'); }

TEST(FieldCheck, WarningOfEachFieldForATypedText) {
  using enum CheckedField;
  for (const auto& [field, text, warning, podcastOn] :
       std::initializer_list<std::tuple<CheckedField, std::u16string, Warning, bool>>{
           {V1Title, xs(30), kNo, 0}, {V1Artist, xs(31), result(xs(30)), 0}, {V1Comment, xs(29), kNo, 0},
           {V1Comment, xs(30), result(xs(29)), 0},
           {V1Track, u"255", kIncorrect, 0}, {V1Track, u"256", kIncorrect, 0}, {V1Track, u"257", result(u"1"), 0},
           {V1Track, u"300", result(u"44"), 0}, {V1Track, u"12", kNo, 0}, {V1Track, u"0", kNo, 0}, {V1Track, u"", kNo, 0},
           {V1Track, u"abc", result(u"0"), 0}, {V1Track, u"07", result(u"7"), 0}, {Isrc, xs(12), kNo, 0},
           {Isrc, xs(13), result(xs(12)), 0}, {InitialKey, u"Dbm", kNo, 0}, {InitialKey, u"Dbmo", result(u"Dbm"), 0},
           {InitialKey, u"XYZ", kNo, 0},  // letters are not checked
           {ReleaseTime, u"1099", kIncorrect, 0}, {ReleaseTime, u"1100", kNo, 0},
           {ReleaseTime, u"2007-13", result(u"2007"), 0},
           {ReleaseTime, u"2007-02-30", kNo, 0}, {RecordTime, u"2007-5-3 9:7", result(u"2007-05-03 09:07"), 0},
           {RecordTime, u"2007-05-03T09:07", result(u"2007-05-03 09:07"), 0}, {RecordTime, u"2007-05-03 09:07:05", kNo, 0},
           {RecordTime, u"", kNo, 0}, {PodcastId, u"", std::u16string(kEmptyFieldTooltip), 1}, {PodcastId, u"", kNo, 0},
           {PodcastId, u"id", kNo, 1}})
    EXPECT_EQ(fieldWarning(field, text, podcastOn), warning) << u16ToUtf8(text);
  EXPECT_EQ(warningTooltip(u"", std::u16string()), kNo);
  EXPECT_EQ(warningTooltip(u"", std::u16string(u"x")), kNo);
  EXPECT_EQ(warningTooltip(u"a", std::nullopt), kNo);
  EXPECT_EQ(warningTooltip(u"a", std::u16string(u"A")), result(u"A"));  // case counts
  EXPECT_EQ(v1TrackValidString(u"-1"), u"-1");                            // the remainder keeps the sign
  for (const auto& [typed, entry] : std::initializer_list<std::pair<std::u16string, std::u16string>>{
           {u"r", u"R"}, {u"\u00E0", u"\u00C0"}, {u"\u00E9", u"\u00C9"}, {u"\u00FF", u"\u0178"}, {u"ro", u"ro"},
           {u"1", u"1"}, {u"", u""}})
    EXPECT_EQ(genreEntry(typed), entry) << u16ToUtf8(typed);  // one-letter genres are capitalised
}

TEST(LatinText, StoredBytesEndInTwoZerosAndReadBack) {
  // Without Unicode every Latin-1 character is kept; the bound (207) only
  // sends a text to Unicode where Unicode is allowed. Beyond Latin-1: "?".
  for (const auto& [text, allowUnicode, bytes, unicode] :
       std::initializer_list<std::tuple<std::u16string, bool, std::string, bool>>{
           {u"", true, "", false}, {u"Plain", false, "Plain", false}, {u"Caf\u00E9", false, "Caf\xE9", true},
           {u"Caf\u00E9", true, std::string("\xFF\xFE" "C\0a\0f\0\xE9\0", 10), true}, {u"\u00C7", true, "\xC7", false},
           {u"\u00CF", false, "\xCF", false}, {u"\u00D0", false, "\xD0", true}, {u"\u00FFx\u0100", false, "\xFFx?", true},
           {u"\u65E5", true, std::string("\xFF\xFE\xE5\x65", 4), true}}) {
    EXPECT_EQ(LatinText::createISOLatin1String(text, allowUnicode), bytes + std::string(2, '\0')) << u16ToUtf8(text);
    EXPECT_EQ(LatinText::isStringUnicode(text), unicode) << u16ToUtf8(text);
  }
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
