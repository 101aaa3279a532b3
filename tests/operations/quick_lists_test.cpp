// The quick lists: adding entries, the bound, and which lists a save touches.

#include "operations/quick_lists.h"

#include <gtest/gtest.h>

#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos {

using List = std::vector<std::string>;

TEST(QuickLists, AnEntryGoesInFrontOnceAndFrom26OnTheOldestFallsOff) {
  const struct {
    List list;
    std::string text;
    List expected;
  } cases[] = {{{"B", "A", "C"}, "A", {"A", "B", "C"}}, {{}, "A", {"A"}}, {{"B"}, "", {"B"}},
               {{"a", "B"}, "A", {"A", "a", "B"}}, {{"A", "B"}, "A", {"A", "B"}}};  // case counts
  for (const auto& c : cases) EXPECT_EQ(addQuickListEntry(c.list, c.text), c.expected) << c.text;
  List full;
  for (int i = 0; i < 26; ++i) full.push_back("e" + std::to_string(i));
  // An entry beyond the first 25 that is chosen again is not kept twice.
  for (const auto& [text, size, second] : {std::tuple{"new", 26u, "e0"}, {"e25", 26u, "e0"}, {"e3", 25u, "e0"}}) {
    const List updated = addQuickListEntry(full, text);
    EXPECT_EQ(std::tuple(updated.size(), updated[0], updated[1], updated.back()), std::tuple(size, text, second, "e24"));
  }
}

TEST(QuickLists, ASaveAddsTheNonEmptyFieldsOfItsTagUnlessTheTagIsOffOrListsAreHidden) {
  test::TempDir dir;
  PreferencesController preferences(std::make_unique<MemoryPreferenceStore>(), dir.path());
  const auto text = [](std::string_view key) { return key.ends_with("album") ? "" : "text of " + std::string(key); };
  preferences.setRecentList("V2 album", {"Kept"});
  preferences.setRecentList("V2 artist", {"B", "A", "C"});
  preferences.setStringPreferenceNamed("V2 ISRC", "not a list");
  QuickLists lists(preferences);
  EXPECT_EQ(lists.list("V2 ISRC"), nullptr);  // no list: no button
  EXPECT_TRUE(lists.updateV1QuickList(false, text).empty() && lists.updateV2QuickList(false, text).empty());
  preferences.setBoolPreferenceNamed(prefs::kShowQuickLists.key, false);
  EXPECT_TRUE(lists.updateV1QuickList(true, text).empty() && lists.updateV2QuickList(true, text).empty());
  EXPECT_EQ(preferences.getRecentList("V2 genre"), std::nullopt);
  preferences.setBoolPreferenceNamed(prefs::kShowQuickLists.key, true);
  EXPECT_EQ(lists.updateV1QuickList(true, text), (std::vector<std::string_view>{"V1 artist", "V1 year", "V1 comment"}));
  EXPECT_EQ(preferences.getRecentList("V1 album"), std::nullopt);
  const std::vector<std::string_view> v2 = lists.updateV2QuickList(true, text);
  EXPECT_EQ(std::tuple(v2.size(), v2.front(), v2.back()), std::tuple(24u, "V2 artist", "Podcast description"));
  EXPECT_EQ(preferences.getRecentList("V2 album"), List{"Kept"});
  EXPECT_EQ(preferences.getRecentList("V2 artist"), (List{"text of V2 artist", "B", "A", "C"}));
  EXPECT_EQ(*lists.list("V1 year"), List{"text of V1 year"});
  EXPECT_FALSE(lists.updateRecentList("V2 artist", ""));
}

}  // namespace melos
