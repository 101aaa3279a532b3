// The file-name settings of the preferences choose the split and the naming.

#include "operations/naming_preferences.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/temp_dir.h"

namespace melos {

TEST(NamingPreferences, FormatsCountOnlyWithTypeOneAndRenameFollowsTheSwitches) {
  test::TempDir dir;
  PreferencesController preferences(std::make_unique<MemoryPreferenceStore>(), dir.path());
  preferences.setStringPreferenceNamed(prefs::kFromFileNameFormat.key, "%A - %N %T");
  preferences.setStringPreferenceNamed(prefs::kToFileNameFormat.key, "%T");
  EXPECT_EQ(fileNameFieldsByPreferences("Artist - 01 A title.mp3", preferences).title, "01 A title");
  ID3Tag track;
  track.setPath(dir.write("old.mp3", {1, 2, 3}));
  track.tagData.enabled = true;
  track.tagData.title = UnicodeText::latin1("Song");
  track.tagData.artist = UnicodeText::latin1("Band");
  track.tagData.track = 4;
  ASSERT_TRUE(renameByPreferences(track, preferences));  // the defaults: a number in front, no folders
  EXPECT_EQ(track.path(), dir.file("04-Song.mp3"));
  preferences.setBoolPreferenceNamed(prefs::kAddTrackNumber.key, false);
  preferences.setBoolPreferenceNamed(prefs::kCreateFolder.key, true);
  ASSERT_TRUE(renameByPreferences(track, preferences));
  EXPECT_EQ(track.path(), dir.file("Band/Song/Song.mp3"));
  EXPECT_TRUE(std::filesystem::exists(track.path()));

  preferences.setIntPreferenceNamed(prefs::kFromFileNameFormatType.key, 1);
  preferences.setIntPreferenceNamed(prefs::kToFileNameFormatType.key, 1);
  EXPECT_EQ(toFileNameFormat(preferences), "%T");
  const FileNameFields fields = fileNameFieldsByPreferences("Artist - 01 A title.mp3", preferences);
  EXPECT_EQ(fields.artist, "Artist");
  EXPECT_EQ(fields.track, 1);
}

}  // namespace melos
