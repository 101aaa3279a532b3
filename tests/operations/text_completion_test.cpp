// Completion of typed text from a list.

#include "operations/text_completion.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

const std::vector<std::u16string> kList{u"Rock", u"Rockabilly", u"rap", u"Reggae"};

struct CompletionCase {
  const char* name;
  std::u16string text;
  size_t previous;
  bool deleting;
  std::optional<Completion> expected;
};

class CompleteWithList : public testing::TestWithParam<CompletionCase> {};

TEST_P(CompleteWithList, Completes) {
  const CompletionCase& c = GetParam();
  const CompletionStep step = completeWithList(c.text, kList, c.previous, c.deleting);
  EXPECT_EQ(step.completion, c.expected);
  EXPECT_EQ(step.rememberedLength, c.text.size());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CompleteWithList,
    testing::Values(
        CompletionCase{"first_match_in_list_order", u"Ro", 1, false, Completion{u"Rock", 2, 4}},
        CompletionCase{"longer_typed_text", u"Rocka", 4, false, Completion{u"Rockabilly", 5, 10}},
        CompletionCase{"exact_entry", u"Rock", 3, false, Completion{u"Rock", 4, 4}},
        CompletionCase{"case_counts", u"ra", 1, false, Completion{u"rap", 2, 3}},
        CompletionCase{"no_match", u"Ja", 1, false, std::nullopt},
        CompletionCase{"deleting", u"Ro", 1, true, std::nullopt},
        CompletionCase{"not_grown", u"Ro", 2, false, std::nullopt},
        CompletionCase{"shrunk", u"R", 3, false, std::nullopt},
        CompletionCase{"empty", u"", 0, false, std::nullopt},
        CompletionCase{"longer_than_entries", u"Rockabillyx", 10, false, std::nullopt}),
    [](const testing::TestParamInfo<CompletionCase>& param) { return std::string(param.param.name); });

TEST(CompletionTest, DeletingThenTypingAgainCompletes) {
  // Typing "Ro", deleting back to "R", typing "o" again.
  CompletionStep step = completeWithList(u"Ro", kList, 1, false);
  ASSERT_TRUE(step.completion.has_value());
  step = completeWithList(u"R", kList, step.rememberedLength, true);
  EXPECT_FALSE(step.completion.has_value());
  EXPECT_EQ(step.rememberedLength, 1u);
  step = completeWithList(u"Ro", kList, step.rememberedLength, false);
  EXPECT_TRUE(step.completion.has_value());
}

}  // namespace
}  // namespace melos
