// The quick lists: adding entries, the bound, and which lists a save touches.

#include "operations/quick_lists.h"

#include <gtest/gtest.h>

#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

using List = std::vector<std::string>;

List numbered(int count) {
  List list;
  for (int i = 0; i < count; ++i) list.push_back("e" + std::to_string(i));
  return list;
}

TEST(QuickListTest, AddingAnEntry) {
  struct Case {
    List list;
    std::string text;
    List expected;
  } cases[] = {
      {{"B", "A", "C"}, "A", {"A", "B", "C"}},
      {{}, "A", {"A"}},
      {{"B"}, "", {"B"}},
      {{"a", "B"}, "A", {"A", "a", "B"}},  // case counts
      {{"A", "B"}, "A", {"A", "B"}},
  };
  for (const Case& c : cases) EXPECT_EQ(addQuickListEntry(c.list, c.text), c.expected) << c.text;
}

TEST(QuickListTest, AtMost26Entries) {
  const List full = numbered(26);
  const List updated = addQuickListEntry(full, "new");
  ASSERT_EQ(updated.size(), kMaxQuickListEntries);
  EXPECT_EQ(updated.front(), "new");
  EXPECT_EQ(updated.back(), "e24");  // the oldest fell off

  // An entry beyond the first 25 that is chosen again is not kept twice.
  const List moved = addQuickListEntry(full, "e25");
  EXPECT_EQ(moved.size(), kMaxQuickListEntries);
  EXPECT_EQ(moved.front(), "e25");
  EXPECT_EQ(moved.back(), "e24");

  const List repeated = addQuickListEntry(full, "e3");
  EXPECT_EQ(repeated.size(), 25u);
  EXPECT_EQ(repeated[0], "e3");
  EXPECT_EQ(repeated[1], "e0");
}

class QuickListsStoreTest : public testing::Test {
 protected:
  QuickListsStoreTest()
      : preferences_(std::make_unique<MemoryPreferenceStore>(), dir_.path()) {}

  static std::string fieldText(std::string_view key) {
    if (key == "V2 album" || key == "V1 album") return "";  // an empty field
    return std::string("text of ") + std::string(key);
  }

  test::TempDir dir_;
  PreferencesController preferences_;
};

TEST_F(QuickListsStoreTest, V1SaveAddsItsFourFieldsInOrder) {
  QuickLists lists(preferences_);
  const auto stored = lists.updateV1QuickList(true, fieldText);
  EXPECT_EQ(stored, (std::vector<std::string_view>{"V1 artist", "V1 year", "V1 comment"}));
  EXPECT_EQ(preferences_.getRecentList("V1 artist"), List{"text of V1 artist"});
  EXPECT_EQ(preferences_.getRecentList("V1 album"), std::nullopt);  // empty: unchanged
  EXPECT_EQ(preferences_.getRecentList("V2 artist"), std::nullopt);
}

TEST_F(QuickListsStoreTest, V2SaveAddsEveryV2List) {
  preferences_.setRecentList("V2 album", {"Kept"});
  QuickLists lists(preferences_);
  const auto stored = lists.updateV2QuickList(true, fieldText);
  EXPECT_EQ(stored.size(), 24u);
  EXPECT_EQ(stored.front(), "V2 artist");
  EXPECT_EQ(stored.back(), "Podcast description");
  EXPECT_EQ(preferences_.getRecentList("V2 album"), List{"Kept"});
  EXPECT_EQ(preferences_.getRecentList("V1 artist"), std::nullopt);
  EXPECT_EQ(*lists.list("V2 genre"), List{"text of V2 genre"});
}

TEST_F(QuickListsStoreTest, NothingWhenTheTagIsOffOrListsAreHidden) {
  QuickLists lists(preferences_);
  EXPECT_TRUE(lists.updateV1QuickList(false, fieldText).empty());
  EXPECT_TRUE(lists.updateV2QuickList(false, fieldText).empty());
  preferences_.setBoolPreferenceNamed(prefs::kShowQuickLists.key, false);
  EXPECT_TRUE(lists.updateV1QuickList(true, fieldText).empty());
  EXPECT_TRUE(lists.updateV2QuickList(true, fieldText).empty());
  for (std::string_view key : prefs::kQuickListKeys) EXPECT_EQ(preferences_.getRecentList(key), std::nullopt);
}

TEST_F(QuickListsStoreTest, RepeatedSavesMoveEntriesToTheFront) {
  preferences_.setRecentList("V2 artist", {"B", "A", "C"});
  QuickLists lists(preferences_);
  ASSERT_NE(lists.list("V2 artist"), nullptr);
  EXPECT_EQ(lists.list("V2 BPM"), nullptr);  // no list: no button
  preferences_.setStringPreferenceNamed("V2 ISRC", "not a list");
  EXPECT_EQ(preferences_.getRecentList("V2 ISRC"), std::nullopt);
  EXPECT_TRUE(lists.updateRecentList("V2 artist", "A"));
  EXPECT_EQ(preferences_.getRecentList("V2 artist"), (List{"A", "B", "C"}));
  EXPECT_FALSE(lists.updateRecentList("V2 artist", ""));
  EXPECT_EQ(*lists.list("V2 artist"), (List{"A", "B", "C"}));
}

}  // namespace
}  // namespace melos
