// What the editors' genre boxes offer, and the default names added to the
// user genres.

#include <gtest/gtest.h>

#include <memory>

#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

TEST(GenreLists, DisabledGenresAreOfferedNowhereAndTheUserListFollowsOrReplaces) {
  test::TempDir dir;
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), dir.path());
  std::vector<GenreListRow> rows = prefs.getGenreList();
  rows[0].state = "off";         // Blues
  rows[17].name = "Rock & Roll";  // renamed in the window
  prefs.setGenreList(rows);
  prefs.setUserGenreList({"Chiptune", "Rock"});

  const std::vector<std::string> v1 = prefs.v1GenreList();
  ASSERT_EQ(v1.size(), 79u);
  EXPECT_EQ(v1.front(), "Classic Rock");
  EXPECT_EQ(v1[16], "Rock & Roll");
  std::vector<std::string> v2 = v1;
  v2.insert(v2.end(), {"Chiptune", "Rock"});
  EXPECT_EQ(prefs.v2GenreList(), v2);
  prefs.setBoolPreferenceNamed(prefs::kReplaceV2GenreList.key, true);
  EXPECT_EQ(prefs.v2GenreList(), (std::vector<std::string>{"Chiptune", "Rock"}));

  prefs.addiTunesGenres();
  prefs.addiTunesGenres();
  const std::vector<std::string> user = prefs.getUserGenreList();
  ASSERT_EQ(user.size(), 26u);  // "Rock" was there already
  EXPECT_EQ(user[2], "Alternative");
  EXPECT_EQ(user.back(), "World");
}

}  // namespace
}  // namespace melos
