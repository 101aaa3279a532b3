// Completion of typed text from a list.

#include "operations/text_completion.h"

#include <gtest/gtest.h>

namespace melos {

TEST(CompleteWithList, TheFirstEntryStartingWithAGrownTextWins) {
  const std::vector<std::u16string> list{u"Rock", u"Rockabilly", u"rap", u"Reggae"};
  const struct {
    std::u16string text;
    size_t previous;
    bool deleting;
    std::optional<Completion> expected;
  } cases[] = {
      {u"Ro", 1, false, Completion{u"Rock", 2, 4}}, {u"Rocka", 4, false, Completion{u"Rockabilly", 5, 10}},
      {u"Rock", 3, false, Completion{u"Rock", 4, 4}}, {u"ra", 1, false, Completion{u"rap", 2, 3}},  // case counts
      {u"Ja", 1, false, std::nullopt},  {u"Ro", 1, true, std::nullopt}, {u"Ro", 2, false, std::nullopt},
      {u"R", 3, false, std::nullopt},   {u"", 0, false, std::nullopt},  {u"Rockabillyx", 10, false, std::nullopt}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const CompletionStep step = completeWithList(c.text, list, c.previous, c.deleting);
    EXPECT_EQ(step.completion, c.expected);
    EXPECT_EQ(step.rememberedLength, c.text.size());
  }
}

}  // namespace melos
