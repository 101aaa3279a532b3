// What the editors' genre boxes offer, and the default names added to the
// user genres.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <tuple>

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

  const std::vector<std::string> v1 = prefs.v1GenreList(), v2 = prefs.v2GenreList();
  ASSERT_EQ(v1.size(), 79u);
  EXPECT_EQ(std::tuple(v1.front(), v1[16]), std::tuple("Classic Rock", "Rock & Roll"));
  EXPECT_TRUE(v2.size() == 81 && std::equal(v1.begin(), v1.end(), v2.begin()) && v2[79] == "Chiptune");
  prefs.setBoolPreferenceNamed(prefs::kReplaceV2GenreList.key, true);
  EXPECT_EQ(prefs.v2GenreList(), (std::vector<std::string>{"Chiptune", "Rock"}));

  prefs.addiTunesGenres();
  prefs.addiTunesGenres();
  const std::vector<std::string> user = prefs.getUserGenreList();
  // "Rock" was there already.
  EXPECT_EQ(std::tuple(user.size(), user[2], user.back()), std::tuple(26u, "Alternative", "World"));
}

}  // namespace
}  // namespace melos
