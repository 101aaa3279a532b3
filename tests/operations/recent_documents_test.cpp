// Open Recent's list: newest first, each path once, ten at most, cleared on request.

#include "operations/recent_documents.h"

#include <gtest/gtest.h>

#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

TEST(RecentDocuments, NewestFirstOnceEachAndTenAtMost) {
  TempDir dir;
  PreferencesController preferences(std::make_unique<MemoryPreferenceStore>(), dir.path());
  RecentDocuments recent(preferences, kRecentTracksKey);
  EXPECT_TRUE(recent.list().empty());
  for (int i = 0; i < 12; ++i) recent.note("/music/" + std::to_string(i) + ".mp3");
  std::vector<std::string> list = recent.list();
  ASSERT_EQ(list.size(), 10u);
  EXPECT_EQ(list.front(), "/music/11.mp3");
  EXPECT_EQ(list.back(), "/music/2.mp3");

  recent.note("/music/5.mp3");
  list = recent.list();
  EXPECT_EQ(list.size(), 10u);
  EXPECT_EQ(list.front(), "/music/5.mp3");
  EXPECT_EQ(std::count(list.begin(), list.end(), "/music/5.mp3"), 1);

  RecentDocuments groups(preferences, kRecentGroupsKey);
  groups.note("/music");
  EXPECT_EQ(groups.list(), std::vector<std::string>{"/music"});
  recent.clear();
  EXPECT_TRUE(recent.list().empty());
  EXPECT_EQ(groups.list().size(), 1u);
}

}  // namespace
}  // namespace melos::test
