// The controls of the preferences window: each reads and writes exactly its
// key, the mappings of the radio buttons and pop-ups, the default sets' fields
// and names, and the edits of the genre lists.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "preferences/genre_list_edit.h"
#include "preferences/preference_controls.h"
#include "tests/preferences/store_fixture.h"

namespace melos::test {
namespace {

using Names = std::vector<std::string>;

struct PreferenceControlsTest : StoreTest {};

// Every key the reset removes is a key the user sets, so each needs a control;
// the indexed keys of the sets are the set page's.
TEST(PreferenceControls, EveryKeyAUserSetsHasOneControlWithANameOfItsOwn) {
  const std::set<std::string_view> otherControls{
      prefs::kTag2Version.key,       prefs::kGenreList,           prefs::kUserGenreList,
      prefs::kFromFileNameFormatType.key, prefs::kToFileNameFormatType.key, prefs::kEditorStyle.key};
  std::set<std::string> textKeys;
  for (const TextControl& control : kTextControls) textKeys.emplace(control.preference.key);
  for (const std::string& key : resetPreferenceKeys()) {
    SCOPED_TRACE(key);
    if (key.starts_with("Use default") || key.starts_with("Default ") ||
        (key.starts_with(prefs::kReplaceWithDefaultPicture.key) && key != prefs::kReplaceWithDefaultPicture.key))
      continue;
    EXPECT_TRUE(findCheckBoxControl(key) != nullptr || textKeys.contains(key) || otherControls.contains(key));
  }

  std::set<std::string_view> names, keys;
  for (const CheckBoxControl& control : kCheckBoxControls) {
    EXPECT_TRUE(names.insert(control.objectName).second) << control.objectName;
    EXPECT_TRUE(keys.insert(control.key).second) << control.key;
    EXPECT_FALSE(control.label.empty() || control.toolTip.empty()) << control.key;
  }
  for (const TextControl& control : kTextControls) EXPECT_TRUE(names.insert(control.objectName).second);
  for (const DefaultFieldControl& control : kDefaultFieldControls) EXPECT_TRUE(names.insert(control.objectName).second);
}

TEST_F(PreferenceControlsTest, EachCheckBoxShowsItsDefaultAndWritesOnlyItsKeyAsABoolean) {
  for (const CheckBoxControl& control : kCheckBoxControls) {
    SCOPED_TRACE(std::string(control.key));
    PreferencesController& prefs = open();
    EXPECT_EQ(loadCheckBox(prefs, control), control.defaultOn);
    ASSERT_TRUE(saveCheckBox(prefs, control, !control.defaultOn));
    const QVariantMap file = persisted();
    ASSERT_EQ(file.keys(), QStringList{QString::fromUtf8(control.key)});
    EXPECT_EQ(file.first().typeId(), QMetaType::Bool);
    EXPECT_EQ(loadCheckBox(open(file), control), !control.defaultOn);
  }
}

TEST_F(PreferenceControlsTest, StoredValuesOfOtherTypesShowAsTheReadersGiveThem) {
  struct Row {
    const char* key;
    QVariant stored;
    bool shown;
  } rows[] = {
      {"Move original to trash", 1, false},  // a number under a boolean key reads false
      {"Move original to trash", "true", false},
      {"Remove APE tag", true, true},
      {"Set file icon", true, true},  // saved as a boolean, read as an integer
      {"Set file icon", 0, false},
      {"Set file icon", 65536, false},  // read as a 16-bit value
      {"Set file icon", "2", true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.key) + " " + row.stored.toString().toStdString());
    const CheckBoxControl* control = findCheckBoxControl(row.key);
    ASSERT_NE(control, nullptr);
    PreferencesController& prefs = open({{row.key, row.stored}});
    EXPECT_EQ(loadCheckBox(prefs, *control), row.shown);
    EXPECT_EQ(persisted().value(row.key), row.stored);  // reading repairs nothing
  }
}

TEST(PreferenceControls, FormatTypesLogLevelsAndSizesMapBothWays) {
  struct Row {
    int stored;
    std::optional<int> radio;
    bool fieldEnabled;
    std::optional<int> level;
  } rows[] = {{0, 0, false, 0}, {1, 1, true, 1}, {2, std::nullopt, false, 2},
              {6, std::nullopt, false, 6}, {7, std::nullopt, false, std::nullopt},
              {-1, std::nullopt, false, std::nullopt}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.stored);
    EXPECT_EQ(formatTypeRadio(row.stored), row.radio);
    EXPECT_EQ(formatFieldEnabled(row.stored), row.fieldEnabled);
    EXPECT_EQ(logLevelItem(row.stored), row.level);
  }
  EXPECT_EQ(std::pair(formatTypeToStore(false), formatTypeToStore(true)), std::pair(0, 1));
  EXPECT_EQ(logSizeKiB(static_cast<int>(kDefaultMaxLogSize)), 100);
  EXPECT_EQ(logSizeKiB(0), kMinLogSizeKiB);
  EXPECT_EQ(logSizeToStore(100), 102400);
  EXPECT_EQ(logSizeToStore(kMaxLogSizeKiB + 1), kMaxLogSizeKiB * 1024);
}

TEST_F(PreferenceControlsTest, ADefaultSetsFieldsAreItsIndexedKeysAsTheGettersReadThem) {
  PreferencesController& prefs = open();
  const DefaultFieldControl& title = kDefaultFieldControls[0];
  const DefaultFieldControl& compilation = kDefaultFieldControls.back();
  ASSERT_TRUE(compilation.booleanValue && !title.booleanValue);
  EXPECT_EQ(loadDefaultField(prefs, title, 3), DefaultFieldState{});
  ASSERT_TRUE(saveDefaultUse(prefs, title, 3, true) && saveDefaultText(prefs, title, 3, "Señal") &&
              saveDefaultUse(prefs, compilation, 0, true) && saveDefaultOn(prefs, compilation, 0, true) &&
              saveUseDefaultPicture(prefs, 9, true));
  const QVariantMap file = persisted();
  EXPECT_EQ(file.keys(), (QStringList{"Default compilation", "Default title3", "Use default compilation",
                                      "Use default picture9", "Use default title3"}));
  EXPECT_EQ(prefs.getDefaultT2Title(3), "Señal");
  EXPECT_EQ(prefs.getDefaultT2Title(0), std::nullopt);
  EXPECT_TRUE(prefs.useDefaultT2Compilation(0) && prefs.getDefaultT2Compilation(0));
  EXPECT_EQ(loadDefaultField(prefs, title, 3), (DefaultFieldState{true, "Señal", false}));
  EXPECT_TRUE(loadUseDefaultPicture(prefs, 9) && !loadUseDefaultPicture(prefs, 8));
}

TEST_F(PreferenceControlsTest, ATrackFillsTheFieldsItHasAndLeavesTheRestOfTheSet) {
  PreferencesController& prefs = open({{"Use default comment2", true}, {"Default comment2", "Kept"},
                                       {"Default title2", "Replaced"}});
  ID3Tag track;
  track.tagData.title = UnicodeText::fromUtf8("Señal");
  track.tagData.url = "http://example.org/\xE9";  // Latin-1 in the tag, UTF-8 in the set
  track.tagData.track = 7;
  EXPECT_EQ(storeDefaultSetFromTrack(prefs, 2, track), 3);
  EXPECT_EQ(prefs.getDefaultT2Title(2), "Señal");
  EXPECT_EQ(prefs.getDefaultT2URL(2), "http://example.org/é");
  EXPECT_EQ(prefs.getDefaultT2Track(2), "7");
  EXPECT_EQ(prefs.getDefaultT2OfTracks(2), std::nullopt);  // unset in the track
  EXPECT_EQ(prefs.getDefaultT2Comment(2), "Kept");
  EXPECT_FALSE(prefs.useDefaultT2Compilation(2));
  track.tagData.compilation = true;
  EXPECT_EQ(storeDefaultSetFromTrack(prefs, 2, track), 4);
  EXPECT_TRUE(prefs.useDefaultT2Compilation(2) && prefs.getDefaultT2Compilation(2));
  EXPECT_EQ(persisted().value("Default title2"), "Señal");  // saved at once
}

TEST_F(PreferenceControlsTest, SetsAreNamedByTheUserOrByNumberAndThePickedOneIsHeldInRange) {
  PreferencesController& prefs = open({{"Defaults index", 42}});
  EXPECT_EQ(currentDefaultSet(prefs), 9);
  EXPECT_EQ(defaultSetName(prefs, 3), "Default 4");
  ASSERT_TRUE(saveDefaultSetName(prefs, 3, "Label A") && saveCurrentDefaultSet(prefs, 3));
  EXPECT_EQ(defaultSetName(prefs, 3), "Label A");
  EXPECT_EQ(prefs.getDefaultTypeIndex(), 3);
  prefs.resetPreferences();  // names, like the picture file, outlive a reset
  EXPECT_EQ(defaultSetName(prefs, 3), "Label A");
  ASSERT_TRUE(saveDefaultSetName(prefs, 3, "  "));
  EXPECT_EQ(defaultSetName(prefs, 3), "Default 4");
  EXPECT_FALSE(persisted().contains("Default set name3"));
}

TEST_F(PreferenceControlsTest, AGenreTheStoredListLeftOutStaysOutAndInPlaceWhenTheListIsSaved) {
  QVariantList stored{QStringList{"off", "Blues"}, 7, QStringList{"on", "Country"}};
  PreferencesController& prefs = open({{"Genre list", stored}});
  std::vector<GenreListRow> rows = prefs.getGenreList();
  ASSERT_EQ(rows.size(), 79u);
  rows = toggleGenreRows(rows, {0, 1, 500});
  prefs.setGenreList(rows);
  const std::vector<GenreListRow> read = prefs.getGenreList();
  ASSERT_EQ(read.size(), 79u);
  EXPECT_EQ(read[0], (GenreListRow{0, "on", "Blues"}));
  EXPECT_EQ(read[1], (GenreListRow{2, "off", "Country"}));
  EXPECT_EQ(read[2], (GenreListRow{3, "on", "Dance"}));
}

TEST(GenreListEdit, MovesDropsRemovesRenamesAndAdds) {
  const Names abcde{"a", "b", "c", "d", "e"};
  struct Row {
    const char* what;
    GenreListEdit edit;
    Names names;
    std::vector<int> selected;
    bool changed;
  } rows[] = {
      {"up", moveGenreRows(abcde, {1, 3}, -1), {"b", "a", "d", "c", "e"}, {0, 2}, true},
      {"down", moveGenreRows(abcde, {3, 1}, 1), {"a", "c", "b", "e", "d"}, {2, 4}, true},
      {"up at the top", moveGenreRows(abcde, {0, 2}, -1), abcde, {0, 2}, false},
      {"down at the end", moveGenreRows(abcde, {4}, 1), abcde, {4}, false},
      {"drop before", dropGenreRows(abcde, {3, 4}, 1), {"a", "d", "e", "b", "c"}, {1, 2}, true},
      {"drop after", dropGenreRows(abcde, {0, 2}, 4), {"b", "d", "a", "c", "e"}, {2, 3}, true},
      {"drop at the end", dropGenreRows(abcde, {1}, 99), {"a", "c", "d", "e", "b"}, {4}, true},
      {"drop onto itself", dropGenreRows(abcde, {2}, 3), abcde, {2}, false},
      {"remove", removeGenreRows(abcde, {4, 1, 9}), {"a", "c", "d"}, {1}, true},
      {"remove all", removeGenreRows({"a"}, {0}), {}, {}, true},
      {"remove none", removeGenreRows(abcde, {}), abcde, {}, false},
      {"rename", renameGenreRow(abcde, 2, "  Dub "), {"a", "b", "Dub", "d", "e"}, {2}, true},
      {"rename blank", renameGenreRow(abcde, 2, " "), abcde, {2}, false},
      {"add", addGenre({"a"}, "Dub"), {"a", "Dub"}, {1}, true},
      {"add blank", addGenre({"a"}, ""), {"a"}, {}, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(row.edit.names, row.names);
    EXPECT_EQ(row.edit.selected, row.selected);
    EXPECT_EQ(row.edit.changed, row.changed);
  }
}

}  // namespace
}  // namespace melos::test
