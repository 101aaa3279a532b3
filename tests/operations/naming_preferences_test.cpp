// The file-name settings of the preferences choose the split and the naming.

#include "operations/naming_preferences.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos {
namespace {

class NamingPreferencesTest : public testing::Test {
 protected:
  NamingPreferencesTest() : preferences_(std::make_unique<MemoryPreferenceStore>(), dir_.path()) {}
  test::TempDir dir_;
  PreferencesController preferences_;
};

TEST_F(NamingPreferencesTest, TheFormatCountsOnlyWithTypeOne) {
  preferences_.setStringPreferenceNamed(prefs::kFromFileNameFormat.key, "%A - %N %T");
  preferences_.setStringPreferenceNamed(prefs::kToFileNameFormat.key, "%T");
  EXPECT_EQ(fromFileNameFormat(preferences_), "");
  EXPECT_EQ(toFileNameFormat(preferences_), "");
  const FileNameFields standard = fileNameFieldsByPreferences("Artist - 01 A title.mp3", preferences_);
  EXPECT_EQ(standard.title, "01 A title");
  EXPECT_EQ(standard.track, -1);

  preferences_.setIntPreferenceNamed(prefs::kFromFileNameFormatType.key, 1);
  preferences_.setIntPreferenceNamed(prefs::kToFileNameFormatType.key, 1);
  EXPECT_EQ(fromFileNameFormat(preferences_), "%A - %N %T");
  EXPECT_EQ(toFileNameFormat(preferences_), "%T");
  const FileNameFields fields = fileNameFieldsByPreferences("Artist - 01 A title.mp3", preferences_);
  EXPECT_EQ(fields.artist, "Artist");
  EXPECT_EQ(fields.track, 1);
}

TEST_F(NamingPreferencesTest, RenameFollowsTheSwitches) {
  ID3Tag track;
  track.setPath(dir_.write("old.mp3", {1, 2, 3}));
  track.tagData.enabled = true;
  track.tagData.title = UnicodeText::latin1("Song");
  track.tagData.artist = UnicodeText::latin1("Band");
  track.tagData.track = 4;
  // The defaults: a track number in front, no folders.
  ASSERT_TRUE(renameByPreferences(track, preferences_));
  EXPECT_EQ(track.path(), dir_.file("04-Song.mp3"));

  preferences_.setBoolPreferenceNamed(prefs::kAddTrackNumber.key, false);
  preferences_.setBoolPreferenceNamed(prefs::kCreateFolder.key, true);
  ASSERT_TRUE(renameByPreferences(track, preferences_));
  EXPECT_EQ(track.path(), dir_.file("Band/Song/Song.mp3"));
  EXPECT_TRUE(std::filesystem::exists(track.path()));
}

}  // namespace
}  // namespace melos
