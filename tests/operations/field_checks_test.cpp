// The warnings of the checked fields: what each shows for a typed text.

#include "operations/field_checks.h"

#include <gtest/gtest.h>

#include <climits>

#include "engine/text.h"

namespace melos {
namespace {

constexpr std::nullopt_t kNoWarning = std::nullopt;

std::u16string result(std::u16string_view stored) { return std::u16string(kEntryResultTooltip) + std::u16string(stored); }
std::u16string repeat(size_t count) { return std::u16string(count, u'x'); }

struct CheckCase {
  CheckedField field;
  std::u16string text;
  std::optional<std::u16string> warning;
  bool podcastOn = false;
};

class FieldCheck : public testing::TestWithParam<CheckCase> {};

TEST_P(FieldCheck, Warns) {
  const CheckCase& c = GetParam();
  EXPECT_EQ(fieldWarning(c.field, c.text, c.podcastOn), c.warning) << u16ToUtf8(c.text);
}

INSTANTIATE_TEST_SUITE_P(
    V1, FieldCheck,
    testing::Values(
        CheckCase{CheckedField::V1Title, repeat(30), kNoWarning},
        CheckCase{CheckedField::V1Title, repeat(31), result(repeat(30))},
        CheckCase{CheckedField::V1Artist, repeat(31), result(repeat(30))},
        CheckCase{CheckedField::V1Album, u"", kNoWarning},
        CheckCase{CheckedField::V1Comment, repeat(29), kNoWarning},
        CheckCase{CheckedField::V1Comment, repeat(30), result(repeat(29))},
        CheckCase{CheckedField::V1Track, u"255", std::u16string(kIncorrectFieldTooltip)},
        CheckCase{CheckedField::V1Track, u"256", std::u16string(kIncorrectFieldTooltip)},
        CheckCase{CheckedField::V1Track, u"257", result(u"1")},
        CheckCase{CheckedField::V1Track, u"300", result(u"44")},
        CheckCase{CheckedField::V1Track, u"12", kNoWarning},
        CheckCase{CheckedField::V1Track, u"0", kNoWarning},
        CheckCase{CheckedField::V1Track, u"abc", result(u"0")},
        CheckCase{CheckedField::V1Track, u"07", result(u"7")},
        CheckCase{CheckedField::V1Track, u"", kNoWarning}));

INSTANTIATE_TEST_SUITE_P(
    V2, FieldCheck,
    testing::Values(
        CheckCase{CheckedField::Isrc, repeat(12), kNoWarning},
        CheckCase{CheckedField::Isrc, repeat(13), result(repeat(12))},
        CheckCase{CheckedField::InitialKey, u"Dbm", kNoWarning},
        CheckCase{CheckedField::InitialKey, u"Dbmo", result(u"Dbm")},
        CheckCase{CheckedField::InitialKey, u"XYZ", kNoWarning},  // letters are not checked
        CheckCase{CheckedField::ReleaseTime, u"1099", std::u16string(kIncorrectFieldTooltip)},
        CheckCase{CheckedField::ReleaseTime, u"1100", kNoWarning},
        CheckCase{CheckedField::ReleaseTime, u"2007-13", result(u"2007")},
        CheckCase{CheckedField::ReleaseTime, u"2007-02-30", kNoWarning},
        CheckCase{CheckedField::RecordTime, u"2007-5-3 9:7", result(u"2007-05-03 09:07")},
        CheckCase{CheckedField::RecordTime, u"2007-05-03T09:07", result(u"2007-05-03 09:07")},
        CheckCase{CheckedField::RecordTime, u"2007-05-03 09:07:05", kNoWarning},
        CheckCase{CheckedField::RecordTime, u"", kNoWarning},
        CheckCase{CheckedField::PodcastId, u"", std::u16string(kEmptyFieldTooltip), true},
        CheckCase{CheckedField::PodcastId, u"", kNoWarning, false},
        CheckCase{CheckedField::PodcastId, u"id", kNoWarning, true}));

TEST(FieldCheckTest, WarningDecision) {
  EXPECT_EQ(warningTooltip(u"", std::nullopt), std::u16string(kEmptyFieldTooltip));
  EXPECT_EQ(warningTooltip(u"", std::u16string()), kNoWarning);
  EXPECT_EQ(warningTooltip(u"", std::u16string(u"x")), kNoWarning);
  EXPECT_EQ(warningTooltip(u"a", std::nullopt), kNoWarning);
  EXPECT_EQ(warningTooltip(u"a", std::u16string()), std::u16string(kIncorrectFieldTooltip));
  EXPECT_EQ(warningTooltip(u"a", std::u16string(u"a")), kNoWarning);
  EXPECT_EQ(warningTooltip(u"a", std::u16string(u"A")), result(u"A"));  // case counts
}

TEST(FieldCheckTest, V1TrackRemainderKeepsTheSign) {
  EXPECT_EQ(v1TrackValidString(u"-1"), u"-1");
}

TEST(FieldCheckTest, OneLetterGenresAreCapitalised) {
  EXPECT_EQ(genreEntry(u"r"), u"R");
  EXPECT_EQ(genreEntry(u"\u00E9"), u"\u00C9");
  EXPECT_EQ(genreEntry(u"ro"), u"ro");
  EXPECT_EQ(genreEntry(u"1"), u"1");
  EXPECT_EQ(genreEntry(u""), u"");
}

}  // namespace
}  // namespace melos
