// Open Recent's list: newest first, each path once, ten at most, cleared on request.

#include "operations/recent_documents.h"

#include <gtest/gtest.h>

#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

TEST(RecentDocuments, NewestFirstOnceEachAndTenAtMost) {
  TempDir dir;
  PreferencesController preferences(std::make_unique<MemoryPreferenceStore>(), dir.path());
  RecentDocuments recent(preferences, kRecentTracksKey), groups(preferences, kRecentGroupsKey);
  EXPECT_TRUE(recent.list().empty());
  for (int i = 0; i < 12; ++i) recent.note("/music/" + std::to_string(i) + ".mp3");
  recent.note("/music/5.mp3");
  std::vector<std::string> expected;
  for (int i : {5, 11, 10, 9, 8, 7, 6, 4, 3, 2}) expected.push_back("/music/" + std::to_string(i) + ".mp3");
  EXPECT_EQ(recent.list(), expected);
  groups.note("/music");
  recent.clear();
  EXPECT_TRUE(recent.list().empty());
  EXPECT_EQ(groups.list(), std::vector<std::string>{"/music"});
}

}  // namespace melos::test
