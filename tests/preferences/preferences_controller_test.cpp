#include "preferences/preferences_controller.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "engine/genres.h"
#include "engine/log.h"
#include "preferences/control_mappings.h"
#include "preferences/preference_keys.h"
#include "preferences/value_conversion.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/log_capture.h"

namespace melos::test {
namespace {

using P = PreferencesController;
QVariant asVariant(bool value) { return value; }
QVariant asVariant(int value) { return value; }
QVariant asVariant(const std::string& value) { return QString::fromStdString(value); }

// A named getter: its key, its default, and another value of the key's type.
struct Getter {
  const char* key;
  QVariant byDefault, other;
  std::function<QVariant(const P&)> read;
};
template <typename R>
Getter G(const char* key, std::type_identity_t<R> byDefault, std::type_identity_t<R> other, R (P::*get)() const) {
  return {key, asVariant(byDefault), asVariant(other), [get](const P& prefs) { return asVariant((prefs.*get)()); }};
}
Getter B(const char* key, bool byDefault, bool (P::*get)() const) { return G(key, byDefault, !byDefault, get); }

// The first 33 in the order a reset removes them.
const std::vector<Getter> kGetters{
    B("Copy composer", false, &P::isCopyComposerSet), B("Copy original artist", false, &P::isCopyOriginalArtistSet),
    B("Copy title", false, &P::isCopyTitleSet), B("Copy track", false, &P::isCopyTrackSet),
    B("Set group check boxes on paste", false, &P::isSetGroupChecksSet), B("Allow Unicode text", true, &P::allowUnicode),
    B("Always show picture", true, &P::isShowPictureSet), B("Sort by track", true, &P::isSortByTrackSet),
    B("Edit in multiple windows", true, &P::isMultipleWindowsSet), B("Add picture to end", true, &P::isAddPicToEndSet),
    B("Show quick lists", true, &P::showQuickLists), B("Show open file at start up", true, &P::showOpenFile),
    B("Load full tag data", false, &P::loadFullTagData), B("Show play controls", true, &P::isShowPlayControlsSet),
    B("Save window position", true, &P::isSaveWindowPositionSet),
    B("Open dropped files in group", false, &P::isOpenDroppedFileInGroupSet),
    B("Show track", false, &P::isShowTrackSet), B("Ignore AIFF corruption", true, &P::isIgnoreAIFFCorruptionSet),
    B("VBR mode", true, &P::isQuickVBRSet), B("Move original to trash", true, &P::isMoveToTrashSet),
    B("Replace tag information", true, &P::isReplaceTagSet), B("Rename updated file", false, &P::isRenameUpdateSet),
    B("Create folder structure", false, &P::isCreateFolderSet), B("Close window after update", true, &P::isCloseWindowSet),
    B("Remove APE tag", false, &P::removeAPETag), B("Copy file times", false, &P::isKeepFileDatesSet),
    B("Trim whitespace", false, &P::isTrimWhitespaceSet), B("Add track number", true, &P::isAddTrackNumberSet),
    B("Date tracks", false, &P::isDateTracksSet), B("UTF8 track names", false, &P::isUTF8TrackNameSet),
    G("Tag 2 version", 0, 4, &P::getTag2SaveVersion),
    B("Replace tag data in group", false, &P::isReplaceTagDataInGroupSet), G("Set file icon", 1, 0, &P::isSetFileIconSet),
    B("Replace with default image", false, &P::isReplaceWithDefaultPictureSet),
    B("Apply defaults to V1 tags", true, &P::applyDefaultsToV1), B("Remove all data", false, &P::removeAllData),
    B("Show defaults button", false, &P::showDefaultsButton), B("Replace V2 genre list", false, &P::replaceV2GenreList),
    G("File name format type", 0, 1, &P::getFromFileNameFormatType),
    G("File name format", "", "%A - %N %T", &P::getFromCustomFileNameFormat),
    G("To file name format type", 0, 1, &P::getToFileNameFormatType),
    G("To file name format", "", "%N-%T", &P::getToCustomFileNameFormat), G("Editor style", 0, 2, &P::getWindowStyle),
    B("Show user tab", false, &P::showUserTab), G("Default path", "", "/srv/music", &P::getDefaultPath),
    B("Always apply default tag data", false, &P::isAlwaysApplyDefTagDataSet),
    G("Defaults index", 0, 7, &P::getDefaultTypeIndex),
    G("Window settings", "", "{{10, 20}, {640, 480}}", &P::getWindowPosition), B("Show splash", true, &P::showSplash)};

using PreferencesControllerTest = StoreTest;

TEST_F(PreferencesControllerTest, EachGetterReadsItsOwnKeyOrElseItsDefault) {
  PreferencesController& empty = open();
  for (const Getter& getter : kGetters) EXPECT_EQ(getter.read(empty), getter.byDefault) << getter.key;
  ASSERT_TRUE(empty.synchronize());
  EXPECT_TRUE(persisted().isEmpty());  // reading a default never writes it
  for (const Getter& changed : kGetters) {
    PreferencesController& prefs = open({{changed.key, changed.other}});
    for (const Getter& getter : kGetters)
      EXPECT_EQ(getter.read(prefs), &getter == &changed ? getter.other : getter.byDefault) << changed.key;
  }
}

// A stored value read as another type than its own: a boolean only from the
// boolean true, a number from the leading integer of a text, a text from a number.
TEST_F(PreferencesControllerTest, StoredValueOfAnotherTypeHasAFixedReading) {
  const std::tuple<QVariant, bool, int, const char*> rows[]{
      {true, true, 1, "1"}, {false, false, 0, "0"}, {1, false, 1, "1"}, {"true", false, 0, "true"},
      {" 2 wide", false, 2, " 2 wide"}, {3.9, false, 3, "3.9"}, {-1.5, false, -1, "-1.5"},
      {1e10 + 0.5, false, INT_MAX, "10000000000.5"}, {-3e9 - 0.5, false, INT_MIN, "-3000000000.5"},
      {QStringList{"1"}, false, 7, "fallback"}, {QVariant::fromValue(nullptr), false, 7, "fallback"}};
  for (const auto& [stored, asBool, asInt, asText] : rows) {
    PreferencesController& prefs = open({{"Key", stored}});
    EXPECT_EQ(prefs.getBoolPreferenceNamed("Key", true), asBool) << asText;
    EXPECT_EQ(prefs.getIntPreferenceNamed("Key", 7), asInt) << asText;
    EXPECT_EQ(prefs.getStringPreferenceNamed("Key", "fallback"), asText);
  }
  EXPECT_EQ(open({{"Tag 2 version", 40000}}).getTag2SaveVersion(), -25536);  // a signed 16-bit number
}

TEST(ValueConversion, LeadingIntegersIndexedNamesAndControls) {
  const std::pair<std::string_view, std::optional<int>> numbers[]{{"", std::nullopt}, {"x1", std::nullopt},
      {"  -7x", -7}, {"+3", 3}, {"99999999999", INT_MAX}, {"-99999999999", INT_MIN}};
  for (const auto& [text, value] : numbers) {
    EXPECT_EQ(leadingInteger(text), value) << text;
    EXPECT_EQ(intValueOfText(text), value.value_or(0)) << text;
  }
  for (auto [index, name] : {std::pair{0, "Default title"}, {-1, "Default title"}, {3, "Default title3"}})
    EXPECT_EQ(P::getPreferenceName("Default title", index), name) << index;
  // The version menu has no item for 2.2; the style buttons store Drawer as 0, and Large wins over Small.
  for (auto [stored, item] : {std::pair{0, 0}, {3, 1}, {4, 2}, {1, -1}}) EXPECT_EQ(tag2VersionItemIndex(stored), item);
  for (auto [item, stored] : {std::pair{0, 0}, {1, 3}, {2, 4}}) EXPECT_EQ(tag2VersionToStore(item), stored);
  for (auto [stored, style] : {std::pair<int, std::optional<EditorStyle>>{0, EditorStyle::Drawer}, {1, EditorStyle::Large},
                               {2, EditorStyle::Small}, {3, std::nullopt}})
    EXPECT_EQ(editorStyleFromStored(stored), style) << stored;
  for (auto style : {EditorStyle::Small, EditorStyle::Large, EditorStyle::Drawer})
    EXPECT_EQ(editorStyleFromStored(editorStyleToStore(style == EditorStyle::Large, style == EditorStyle::Small)), style);
  EXPECT_EQ(editorStyleToStore(true, true), 1);
  EXPECT_TRUE(editorStyleLabel(EditorStyle::Small).starts_with("Small") && editorStyleLabel(EditorStyle::Large).starts_with("Large")
              && editorStyleLabel(EditorStyle::Drawer).starts_with("Drawer"));
}

TEST_F(PreferencesControllerTest, UserGenreListIsTheStoredListOrElseTheTwentyFiveNames) {
  const std::vector<std::string> defaults = open().getUserGenreList();
  ASSERT_EQ(defaults.size(), 25u);
  EXPECT_EQ(defaults[4], "Classial");  // the misspelt name users' files already hold
  EXPECT_EQ(open({{"User genre list", "Rock"}}).getUserGenreList(), defaults);  // a text is no list
  EXPECT_EQ(open({{"User genre list", QVariantList{"Zydeco", 7, QVariantList{"x"}, "Ska"}}}).getUserGenreList(),
            (std::vector<std::string>{"Zydeco", "7", "", "Ska"}));
  PreferencesController& saved = open();
  saved.setUserGenreList({"Gqom", "Amapiano"});
  EXPECT_EQ(saved.getUserGenreList(), (std::vector<std::string>{"Gqom", "Amapiano"}));
  ASSERT_TRUE(saved.synchronize());
  EXPECT_EQ(persisted()["User genre list"].toStringList(), (QStringList{"Gqom", "Amapiano"}));
}

TEST_F(PreferencesControllerTest, GenreListIsStoredAsStatePairsAndCompletedFromTheTable) {
  EXPECT_EQ(open({{"Genre list", "off"}}).getGenreList(), open().getGenreList());  // a text counts as missing
  PreferencesController& prefs = open();
  std::vector<GenreListRow> rows = prefs.getGenreList();
  ASSERT_EQ(rows.size(), 80u);
  for (int genre = 0; genre < 80; ++genre) EXPECT_EQ(rows[genre], (GenreListRow{genre, "on", std::string(kGenres[genre])}));
  rows[17].state = "off";
  prefs.setGenreList(rows);
  EXPECT_EQ(prefs.getGenreList(), rows);
  ASSERT_TRUE(prefs.synchronize());
  EXPECT_EQ(persisted()["Genre list"].toList()[17].toStringList(), (QStringList{"off", "Rock"}));
  // Elements that are no array are skipped, short ones completed, extra items ignored.
  const QVariantList stored{QStringList{"off", "Blues (old)"}, "junk", QVariantList{"off"}, QVariantList{}, 5,
                            QStringList{"on", "Dance", "x"}};
  rows = open({{"Genre list", stored}}).getGenreList();
  ASSERT_EQ(rows.size(), 78u);
  EXPECT_EQ(std::vector(rows.begin(), rows.begin() + 5),
            (std::vector<GenreListRow>{{0, "off", "Blues (old)"}, {2, "off", std::string(kGenres[2])},
                                       {3, "on", std::string(kGenres[3])}, {5, "on", "Dance"}, {6, "on", std::string(kGenres[6])}}));
  EXPECT_TRUE(!rows[0].enabled() && rows[2].enabled());
}

// A reset removes the preferences and every default set, but not the window's
// own keys nor the quick lists; the window then reloads from the saved file.
TEST_F(PreferencesControllerTest, ResetRemovesThePreferencesAndSavesBeforeTheReload) {
  Seed seed{{"Genre list", QVariantList{}}, {"User genre list", QStringList{"x"}}, {"Use default orig. artist", true},
            {"Default title9", "x"}, {"Use default picture9", true}, {"Replace with default image3", true},
            {"Default title10", "beyond the ten sets"}, {"V2 genre", QStringList{"Rock"}}, {"Unknown key", 1}};
  for (const Getter& getter : kGetters) seed.emplace_back(getter.key, getter.other);
  PreferencesController& prefs = open(seed);
  QStringList atLoad;
  prefs.setLoadPreferencesHandler([&] { atLoad = persisted().keys(); });
  prefs.resetPreferences();
  const QStringList kept{"Always apply default tag data", "Default title10", "Defaults index", "Show splash",
                         "Unknown key",                   "V2 genre",        "Window settings"};
  EXPECT_EQ(atLoad, kept);
  EXPECT_EQ(persisted().keys(), kept);
}

TEST_F(PreferencesControllerTest, ClearingQuickListsRemovesTheFirstTwentyFive) {
  Seed seed;
  for (std::string_view key : prefs::kQuickListKeys) seed.emplace_back(QString::fromUtf8(key), QStringList{"recent"});
  open(seed).clearQuickLists();
  EXPECT_EQ(persisted().keys(), (QStringList{"Artist URL", "Podcast description", "Podcast feed", "Podcast identifier"}));
}

// Recent lists and the splash switch reach the file at once; other writes wait for the next save.
TEST_F(PreferencesControllerTest, WritesWaitForTheSaveButListsAndSplashSaveAtOnce) {
  PreferencesController& prefs = open({{"V2 genre", QStringList{"Rock"}}, {"V2 BPM", QStringList{"120"}}, {"Copy title", false}});
  const QVariantMap before = persisted();
  prefs.setWindowPosition("{{5, 6}, {700, 500}}");
  prefs.setBoolPreferenceNamed("Copy track", true);
  prefs.setIntPreferenceNamed("Tag 2 version", 4);
  prefs.setStringPreferenceNamed("Default path", "/srv/müsik");
  prefs.removePreferenceNamed("Copy title");
  EXPECT_EQ(persisted(), before);
  EXPECT_TRUE(prefs.showSplash());
  prefs.setShowSplash(2);  // only 1 is on
  EXPECT_EQ(persisted(), (QVariantMap{{"V2 genre", QVariantList{"Rock"}}, {"V2 BPM", QVariantList{"120"}}, {"Copy track", true},
                                      {"Window settings", "{{5, 6}, {700, 500}}"}, {"Tag 2 version", 4},
                                      {"Default path", "/srv/müsik"}, {"Show splash", false}}));
  EXPECT_EQ(persisted()["Copy track"].typeId(), QMetaType::Bool);
  prefs.setShowSplash(1);
  prefs.clearRecentList("V2 genre");
  EXPECT_EQ(persisted().keys(), (QStringList{"Copy track", "Default path", "Show splash", "Tag 2 version", "V2 BPM", "Window settings"}));
  EXPECT_TRUE(prefs.showSplash());
}

// A store that has gone away under the window: the handler logs and ends.
TEST(PreferencesControllerGuard, WindowOperationsLogAndEndOnAnException) {
  struct FailingStore : MemoryPreferenceStore {
    void remove(const QString&) override { throw std::runtime_error("store is gone"); }
  };
  LogCapture log;
  PreferencesController prefs(std::make_unique<FailingStore>(), "unused");
  bool loaded = false;
  prefs.setLoadPreferencesHandler([&] { loaded = true; });
  EXPECT_NO_THROW(prefs.resetPreferences());
  EXPECT_NO_THROW(prefs.clearQuickLists());
  EXPECT_FALSE(loaded);
  for (const char* tag : {"rp", "cql"})
    EXPECT_TRUE(log.has(LogError, std::string("[PreferencesController:") + tag + "] error:std::runtime_error - store is gone"))
        << log.dump();
}

}  // namespace
}  // namespace melos::test
