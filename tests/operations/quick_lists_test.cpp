// The lists of earlier entries: the quick lists and the completion from a
// list, which lists a save touches, and Open Recent's list.

#include "operations/quick_lists.h"

#include <gtest/gtest.h>

#include "operations/recent_documents.h"
#include "operations/text_completion.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos {

using List = std::vector<std::string>;

TEST(QuickLists, AnEntryGoesInFrontOnceAndFrom26OnTheOldestFallsOff) {
  for (const auto& [list, text, expected] : std::initializer_list<std::tuple<List, const char*, List>>{
           {{"B", "A", "C"}, "A", {"A", "B", "C"}}, {{}, "A", {"A"}}, {{"B"}, "", {"B"}},
           {{"a", "B"}, "A", {"A", "a", "B"}}, {{"A", "B"}, "A", {"A", "B"}}})  // case counts
    EXPECT_EQ(addQuickListEntry(list, text), expected) << text;
  List full;
  for (int i = 0; i < 26; ++i) full.push_back("e" + std::to_string(i));
  // An entry beyond the first 25 that is chosen again is not kept twice.
  for (const auto& [text, size] : {std::pair{"new", 26u}, {"e25", 26u}, {"e3", 25u}}) {
    const List updated = addQuickListEntry(full, text);
    EXPECT_EQ(std::tuple(updated.size(), updated[0], updated[1], updated.back()), std::tuple(size, text, "e0", "e24"));
  }
}

TEST(QuickLists, TheFirstEntryStartingWithAGrownTextCompletesIt) {
  const std::vector<std::u16string> list{u"Rock", u"Rockabilly", u"rap", u"Reggae"};
  for (const auto& [text, previous, deleting, expected] :
       std::initializer_list<std::tuple<std::u16string, size_t, bool, std::optional<Completion>>>{
           {u"Ro", 1, false, Completion{u"Rock", 2, 4}}, {u"Rocka", 4, false, Completion{u"Rockabilly", 5, 10}},
           {u"Rock", 3, false, Completion{u"Rock", 4, 4}}, {u"ra", 1, false, Completion{u"rap", 2, 3}},  // case counts
           {u"Ja", 1, false, std::nullopt}, {u"Ro", 1, true, std::nullopt}, {u"Ro", 2, false, std::nullopt},
           {u"R", 3, false, std::nullopt}, {u"", 0, false, std::nullopt}, {u"Rockabillyx", 10, false, std::nullopt}}) {
    const CompletionStep step = completeWithList(text, list, previous, deleting);
    EXPECT_EQ(std::pair(step.completion, step.rememberedLength), std::pair(expected, text.size())) << previous;
  }
}

// A save adds the non-empty fields of its tag unless the tag is off or the lists hidden; Open Recent's list
// keeps the newest first, each path once, ten at most, until cleared.
TEST(QuickLists, TheListsKeptInThePreferences) {
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
  RecentDocuments recent(preferences, kRecentTracksKey), groups(preferences, kRecentGroupsKey);
  for (int i : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 5}) recent.note("/music/" + std::to_string(i) + ".mp3");
  List expected;
  for (int i : {5, 11, 10, 9, 8, 7, 6, 4, 3, 2}) expected.push_back("/music/" + std::to_string(i) + ".mp3");
  EXPECT_EQ(recent.list(), expected);
  groups.note("/music"), recent.clear();
  EXPECT_EQ(std::pair(recent.list(), groups.list()), std::pair(List{}, List{"/music"}));
}

}  // namespace melos
