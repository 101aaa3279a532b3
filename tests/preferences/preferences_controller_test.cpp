#include "preferences/preferences_controller.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "engine/genres.h"
#include "engine/log.h"
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

TEST_P(PreferencesControllerTest, EachGetterReadsItsOwnKeyOrElseItsDefault) {
  PreferencesController& empty = open();
  for (const Getter& getter : kGetters) EXPECT_EQ(getter.read(empty), getter.byDefault) << getter.key;
  // Reading a default never writes it.
  EXPECT_TRUE(recorder_->keys().isEmpty() && recorder_->events.empty());
  for (const Getter& changed : kGetters) {
    PreferencesController& prefs = open({{changed.key, changed.other}});
    for (const Getter& getter : kGetters)
      EXPECT_EQ(getter.read(prefs), &getter == &changed ? getter.other : getter.byDefault) << changed.key;
  }
}

// A stored value read as another type than its own: a boolean only from the
// boolean true, a number from the leading integer of a text, a text from a number.
TEST_P(PreferencesControllerTest, StoredValueOfAnotherTypeHasAFixedReading) {
  const struct {
    QVariant stored;
    bool asBool;
    int asInt;
    const char* asText;
  } rows[]{{true, true, 1, "1"},         {false, false, 0, "0"},        {1, false, 1, "1"},
           {"true", false, 0, "true"},   {" 2 wide", false, 2, " 2 wide"}, {3.9, false, 3, "3.9"},
           {-1.5, false, -1, "-1.5"},    {1e10 + 0.5, false, INT_MAX, "10000000000.5"}, {-3e9 - 0.5, false, INT_MIN, "-3000000000.5"},
           {QStringList{"1"}, false, 7, "fallback"}, {QVariant::fromValue(nullptr), false, 7, "fallback"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.stored.toString().toStdString());
    PreferencesController& prefs = open({{"Key", row.stored}});
    EXPECT_EQ(prefs.getBoolPreferenceNamed("Key", true), row.asBool);
    EXPECT_EQ(prefs.getIntPreferenceNamed("Key", 7), row.asInt);
    EXPECT_EQ(prefs.getStringPreferenceNamed("Key", "fallback"), row.asText);
  }
  EXPECT_EQ(open({{"Tag 2 version", 40000}}).getTag2SaveVersion(), -25536);  // a signed 16-bit number
}

TEST(ValueConversion, LeadingIntegersAndIndexedNames) {
  const std::pair<std::string_view, std::optional<int>> numbers[]{
      {"", std::nullopt}, {"x1", std::nullopt}, {"  -7x", -7}, {"+3", 3}, {"99999999999", INT_MAX}, {"-99999999999", INT_MIN}};
  for (const auto& [text, value] : numbers) {
    EXPECT_EQ(leadingInteger(text), value) << text;
    EXPECT_EQ(intValueOfText(text), value.value_or(0)) << text;
  }
  for (auto [index, name] : {std::pair{0, "Default title"}, {-1, "Default title"}, {3, "Default title3"}, {10, "Default title10"}})
    EXPECT_EQ(P::getPreferenceName("Default title", index), name) << index;
}

TEST_P(PreferencesControllerTest, UserGenreListIsTheStoredListOrElseTheTwentyFiveNames) {
  const std::vector<std::string> defaults = open().getUserGenreList();
  ASSERT_EQ(defaults.size(), 25u);
  EXPECT_EQ(defaults[4], "Classial");  // the misspelt name users' files already hold
  // A text is not a list: the defaults stand in, and nothing is written back.
  EXPECT_EQ(open({{"User genre list", "Rock"}}).getUserGenreList(), defaults);
  EXPECT_TRUE(recorder_->events.empty());
  EXPECT_EQ(open({{"User genre list", QVariantList{"Zydeco", 7, QVariantList{"x"}, "Ska"}}}).getUserGenreList(),
            (std::vector<std::string>{"Zydeco", "7", "", "Ska"}));
  PreferencesController& saved = open();
  saved.setUserGenreList({"Gqom", "Amapiano"});
  ASSERT_TRUE(saved.synchronize());
  EXPECT_EQ(saved.getUserGenreList(), (std::vector<std::string>{"Gqom", "Amapiano"}));
  EXPECT_EQ(persisted()["User genre list"].toStringList(), (QStringList{"Gqom", "Amapiano"}));
}

TEST_P(PreferencesControllerTest, GenreListIsStoredAsStatePairsAndCompletedFromTheTable) {
  PreferencesController& prefs = open();
  std::vector<GenreListRow> rows = prefs.getGenreList();
  ASSERT_EQ(rows.size(), 80u);
  for (int genre = 0; genre < 80; ++genre) EXPECT_EQ(rows[genre], (GenreListRow{genre, "on", std::string(kGenres[genre])}));
  rows[17].state = "off";
  prefs.setGenreList(rows);
  ASSERT_TRUE(prefs.synchronize());
  EXPECT_EQ(prefs.getGenreList(), rows);
  EXPECT_EQ(persisted()["Genre list"].toList()[17].toStringList(), (QStringList{"off", "Rock"}));
  // Elements that are no array are skipped, short ones completed, extra items ignored.
  const QVariantList stored{QStringList{"off", "Blues (old)"}, "junk", QVariantList{"off"}, QVariantList{}, 5,
                            QStringList{"on", "Dance", "x"}};
  rows = open({{"Genre list", stored}}).getGenreList();
  ASSERT_EQ(rows.size(), 78u);
  EXPECT_EQ(std::vector(rows.begin(), rows.begin() + 5),
            (std::vector<GenreListRow>{{0, "off", "Blues (old)"}, {2, "off", std::string(kGenres[2])},
                                       {3, "on", std::string(kGenres[3])}, {5, "on", "Dance"}, {6, "on", std::string(kGenres[6])}}));
  EXPECT_EQ(open({{"Genre list", "off"}}).getGenreList().size(), 80u);
}

TEST_P(PreferencesControllerTest, ResetRemovesExactlyItsKeysInOrderAndKeepsTheRest) {
  std::vector<std::string> order;
  for (size_t i = 0; i < 33; ++i) order.emplace_back(kGetters[i].key);
  for (int index = 0; index < 10; ++index) {
    const std::string suffix = index == 0 ? "" : std::to_string(index);
    for (const char* field : {"title", "album", "artist", "comment", "compilation", "composer", "copyright", "encoder",
                              "genre", "track", "tracks", "orig. artist", "URL", "year"})
      order.insert(order.end(), {"Use default " + (field + suffix), "Default " + (field + suffix)});
    order.insert(order.end(), {"Use default picture" + suffix, "Replace with default image" + suffix});
  }
  order.insert(order.end(), {"Apply defaults to V1 tags", "Remove all data", "Show defaults button", "Genre list",
                             "User genre list", "Replace V2 genre list", "File name format type", "File name format",
                             "To file name format type", "To file name format", "Editor style", "Show user tab",
                             "Default path"});
  const Seed kept{{"Window settings", "{{1, 2}, {300, 400}}"}, {"Defaults index", 4}, {"Always apply default tag data", true},
                  {"Show splash", false}, {"Default title10", "beyond the ten sets"}, {"V2 genre", QStringList{"Rock"}}};
  Seed seed = kept;
  std::vector<std::string> expected;
  for (const std::string& key : order) {
    seed.emplace_back(QString::fromStdString(key), true);
    expected.push_back("remove:" + key);
  }
  expected.push_back("sync");
  PreferencesController& prefs = open(seed);
  std::vector<std::string> eventsAtLoad;
  prefs.setLoadPreferencesHandler([&] { eventsAtLoad = recorder_->events; });
  prefs.resetPreferences();
  EXPECT_EQ(recorder_->events, expected);
  EXPECT_EQ(eventsAtLoad, expected);  // the window reloads after the save
  QVariantMap remaining;
  for (const auto& [key, value] : kept) remaining[key] = value;
  EXPECT_EQ(persisted().keys(), remaining.keys());
  EXPECT_TRUE(prefs.allowUnicode());
  EXPECT_FALSE(prefs.showSplash());
}

TEST_P(PreferencesControllerTest, ClearingQuickListsRemovesTheFirstTwentyFiveAndSavesEach) {
  Seed seed;
  std::vector<std::string> expected;
  for (size_t i = 0; i < prefs::kQuickListKeys.size(); ++i) {
    seed.emplace_back(QString::fromUtf8(prefs::kQuickListKeys[i]), QStringList{"recent"});
    if (i < 25) expected.insert(expected.end(), {"remove:" + std::string(prefs::kQuickListKeys[i]), "sync"});
  }
  open(seed).clearQuickLists();
  EXPECT_EQ(recorder_->events, expected);
  EXPECT_EQ(persisted().keys(), (QStringList{"Artist URL", "Podcast description", "Podcast feed", "Podcast identifier"}));
}

// Recent lists and the splash switch reach the file at once; other writes wait for the next save.
TEST_P(PreferencesControllerTest, WritesStoreTheirTypeAndSyncOnlyWhenTheyMust) {
  const struct {
    std::function<void(P&)> write;
    const char* key;
    QVariant stored;  // invalid: removed
    bool syncs;
  } rows[]{{[](P& p) { p.setShowSplash(1); }, "Show splash", true, true},
           {[](P& p) { p.setShowSplash(2); }, "Show splash", false, true},
           {[](P& p) { p.clearRecentList("V2 genre"); }, "V2 genre", QVariant(), true},
           {[](P& p) { p.setWindowPosition("{{5, 6}, {700, 500}}"); }, "Window settings", "{{5, 6}, {700, 500}}", false},
           {[](P& p) { p.setBoolPreferenceNamed("Copy title", true); }, "Copy title", true, false},
           {[](P& p) { p.setIntPreferenceNamed("Tag 2 version", 4); }, "Tag 2 version", 4, false},
           {[](P& p) { p.setStringPreferenceNamed("Default path", "/srv/müsik"); }, "Default path", "/srv/müsik", false},
           {[](P& p) { p.removePreferenceNamed("Copy title"); }, "Copy title", QVariant(), false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.key);
    PreferencesController& prefs = open({{"V2 genre", QStringList{"Rock"}}, {"Copy title", false}});
    const QVariantMap before = persisted();
    row.write(prefs);
    EXPECT_EQ(recorder_->events.back() == "sync", row.syncs);
    if (!row.syncs) {
      EXPECT_TRUE(GetParam() == StoreKind::Memory || persisted() == before);  // the file waits for the save
      ASSERT_TRUE(prefs.synchronize());
    }
    QVariantMap expected = before;
    if (row.stored.isValid()) expected[row.key] = row.stored; else expected.remove(row.key);
    EXPECT_EQ(persisted(), expected);
    EXPECT_EQ(persisted()[row.key].typeId() == QMetaType::Bool, row.stored.typeId() == QMetaType::Bool);
  }
}

INSTANTIATE_TEST_SUITE_P(Stores, PreferencesControllerTest, ::testing::Values(StoreKind::Memory, StoreKind::File),
                         storeKindName);

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
