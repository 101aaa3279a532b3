// The warnings of the checked fields: what each shows for a typed text.

#include "operations/field_checks.h"

#include <gtest/gtest.h>

#include "engine/text.h"

namespace melos {
namespace {

using Warning = std::optional<std::u16string>;
const Warning kNo = std::nullopt, kIncorrect = std::u16string(kIncorrectFieldTooltip);

Warning result(std::u16string_view stored) { return std::u16string(kEntryResultTooltip) + std::u16string(stored); }
std::u16string xs(size_t count) { return std::u16string(count, u'x'); }

TEST(FieldCheck, WarningOfEachFieldForATypedText) {
  using enum CheckedField;
  const struct {
    CheckedField field;
    std::u16string text;
    Warning warning;
    bool podcastOn = false;
  } cases[] = {
      {V1Title, xs(30), kNo}, {V1Title, xs(31), result(xs(30))}, {V1Artist, xs(31), result(xs(30))},
      {V1Album, u"", kNo}, {V1Comment, xs(29), kNo}, {V1Comment, xs(30), result(xs(29))},
      {V1Track, u"255", kIncorrect}, {V1Track, u"256", kIncorrect}, {V1Track, u"257", result(u"1")},
      {V1Track, u"300", result(u"44")}, {V1Track, u"12", kNo}, {V1Track, u"0", kNo}, {V1Track, u"", kNo},
      {V1Track, u"abc", result(u"0")}, {V1Track, u"07", result(u"7")}, {Isrc, xs(12), kNo},
      {Isrc, xs(13), result(xs(12))}, {InitialKey, u"Dbm", kNo}, {InitialKey, u"Dbmo", result(u"Dbm")},
      {InitialKey, u"XYZ", kNo},  // letters are not checked
      {ReleaseTime, u"1099", kIncorrect}, {ReleaseTime, u"1100", kNo}, {ReleaseTime, u"2007-13", result(u"2007")},
      {ReleaseTime, u"2007-02-30", kNo}, {RecordTime, u"2007-5-3 9:7", result(u"2007-05-03 09:07")},
      {RecordTime, u"2007-05-03T09:07", result(u"2007-05-03 09:07")}, {RecordTime, u"2007-05-03 09:07:05", kNo},
      {RecordTime, u"", kNo}, {PodcastId, u"", std::u16string(kEmptyFieldTooltip), true},
      {PodcastId, u"", kNo, false}, {PodcastId, u"id", kNo, true}};
  for (const auto& c : cases) EXPECT_EQ(fieldWarning(c.field, c.text, c.podcastOn), c.warning) << u16ToUtf8(c.text);
}

TEST(FieldCheck, WarningDecisionTrackRemainderAndOneLetterGenres) {
  EXPECT_EQ(warningTooltip(u"", std::u16string()), kNo);
  EXPECT_EQ(warningTooltip(u"", std::u16string(u"x")), kNo);
  EXPECT_EQ(warningTooltip(u"a", std::nullopt), kNo);
  EXPECT_EQ(warningTooltip(u"a", std::u16string(u"A")), result(u"A"));  // case counts
  EXPECT_EQ(v1TrackValidString(u"-1"), u"-1");  // the remainder keeps the sign
  for (const auto& [typed, entry] : {std::pair<std::u16string, std::u16string>{u"r", u"R"}, {u"\u00E9", u"\u00C9"},
                                     {u"\u00FF", u"\u0178"}, {u"ro", u"ro"}, {u"1", u"1"}, {u"", u""}})
    EXPECT_EQ(genreEntry(typed), entry) << u16ToUtf8(typed);
}

}  // namespace
}  // namespace melos
