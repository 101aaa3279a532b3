#include "preferences/preferences_controller.h"

#include <gtest/gtest.h>

#include <QStringList>
#include <algorithm>
#include <functional>
#include <set>
#include <stdexcept>

#include "engine/genres.h"
#include "engine/log.h"
#include "preferences/preference_keys.h"
#include "preferences/value_conversion.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/log_capture.h"

namespace melos::test {
namespace {

QVariant asVariant(bool value) { return QVariant(value); }
QVariant asVariant(int value) { return QVariant(value); }
QVariant asVariant(int16_t value) { return QVariant(static_cast<int>(value)); }
QVariant asVariant(const std::string& value) { return QVariant(QString::fromStdString(value)); }

// One named getter: its key, its default, and a value of the key's own type
// that differs from the default.
struct GetterRow {
  const char* key;
  QVariant defaultValue;
  QVariant other;
  std::function<QVariant(const PreferencesController&)> read;
};

template <typename Result, typename Value>
GetterRow row(const char* key, Value defaultValue, Value other,
              Result (PreferencesController::*getter)() const) {
  return {key, asVariant(static_cast<Result>(defaultValue)), asVariant(static_cast<Result>(other)),
          [getter](const PreferencesController& prefs) { return asVariant((prefs.*getter)()); }};
}

const std::vector<GetterRow>& getterTable() {
  using P = PreferencesController;
  using S = std::string;
  static const std::vector<GetterRow> rows{
      row("Copy composer", false, true, &P::isCopyComposerSet),
      row("Copy original artist", false, true, &P::isCopyOriginalArtistSet),
      row("Copy title", false, true, &P::isCopyTitleSet),
      row("Copy track", false, true, &P::isCopyTrackSet),
      row("Set group check boxes on paste", false, true, &P::isSetGroupChecksSet),
      row("Allow Unicode text", true, false, &P::allowUnicode),
      row("Always show picture", true, false, &P::isShowPictureSet),
      row("Sort by track", true, false, &P::isSortByTrackSet),
      row("Edit in multiple windows", true, false, &P::isMultipleWindowsSet),
      row("Add picture to end", true, false, &P::isAddPicToEndSet),
      row("Show quick lists", true, false, &P::showQuickLists),
      row("Show open file at start up", true, false, &P::showOpenFile),
      row("Load full tag data", false, true, &P::loadFullTagData),
      row("Show play controls", true, false, &P::isShowPlayControlsSet),
      row("Save window position", true, false, &P::isSaveWindowPositionSet),
      row("Open dropped files in group", false, true, &P::isOpenDroppedFileInGroupSet),
      row("Show track", false, true, &P::isShowTrackSet),
      row("Ignore AIFF corruption", true, false, &P::isIgnoreAIFFCorruptionSet),
      row("VBR mode", true, false, &P::isQuickVBRSet),
      row("Move original to trash", true, false, &P::isMoveToTrashSet),
      row("Replace tag information", true, false, &P::isReplaceTagSet),
      row("Rename updated file", false, true, &P::isRenameUpdateSet),
      row("Create folder structure", false, true, &P::isCreateFolderSet),
      row("Close window after update", true, false, &P::isCloseWindowSet),
      row("Remove APE tag", false, true, &P::removeAPETag),
      row("Copy file times", false, true, &P::isKeepFileDatesSet),
      row("Trim whitespace", false, true, &P::isTrimWhitespaceSet),
      row("Add track number", true, false, &P::isAddTrackNumberSet),
      row("Date tracks", false, true, &P::isDateTracksSet),
      row("UTF8 track names", false, true, &P::isUTF8TrackNameSet),
      row("Tag 2 version", 0, 4, &P::getTag2SaveVersion),
      row("Replace tag data in group", false, true, &P::isReplaceTagDataInGroupSet),
      row("Set file icon", 1, 0, &P::isSetFileIconSet),
      row("Replace with default image", false, true, &P::isReplaceWithDefaultPictureSet),
      row("Apply defaults to V1 tags", true, false, &P::applyDefaultsToV1),
      row("Remove all data", false, true, &P::removeAllData),
      row("Show defaults button", false, true, &P::showDefaultsButton),
      row("Replace V2 genre list", false, true, &P::replaceV2GenreList),
      row("File name format type", 0, 1, &P::getFromFileNameFormatType),
      row("File name format", S(), S("%A - %N %T"), &P::getFromCustomFileNameFormat),
      row("To file name format type", 0, 1, &P::getToFileNameFormatType),
      row("To file name format", S(), S("%N-%T"), &P::getToCustomFileNameFormat),
      row("Editor style", 0, 2, &P::getWindowStyle),
      row("Show user tab", false, true, &P::showUserTab),
      row("Default path", S(), S("/srv/music"), &P::getDefaultPath),
      row("Always apply default tag data", false, true, &P::isAlwaysApplyDefTagDataSet),
      row("Defaults index", 0, 7, &P::getDefaultTypeIndex),
      row("Window settings", S(), S("{{10, 20}, {640, 480}}"), &P::getWindowPosition),
      row("Show splash", true, false, &P::showSplash),
  };
  return rows;
}

using PreferencesControllerTest = StoreTest;

TEST_P(PreferencesControllerTest, EachGetterReadsItsOwnKeyOrElseItsDefault) {
  PreferencesController& empty = open();
  for (const GetterRow& getter : getterTable())
    EXPECT_EQ(getter.read(empty), getter.defaultValue) << getter.key;
  // Defaults are never written into the store by reading them.
  EXPECT_TRUE(recorder().keys().isEmpty());
  EXPECT_TRUE(recorder().events.empty());
  for (const GetterRow& changed : getterTable()) {
    PreferencesController& prefs = open({{changed.key, changed.other}});
    for (const GetterRow& getter : getterTable()) {
      const QVariant& expected = &getter == &changed ? getter.other : getter.defaultValue;
      EXPECT_EQ(getter.read(prefs), expected) << getter.key << " with " << changed.key << " set";
    }
  }
}

TEST_P(PreferencesControllerTest, GettersReadTheStoreAtEachCall) {
  PreferencesController& prefs = open();
  EXPECT_TRUE(prefs.isMoveToTrashSet());
  recorder().setValue("Move original to trash", false);
  EXPECT_FALSE(prefs.isMoveToTrashSet());
  recorder().remove("Move original to trash");
  EXPECT_TRUE(prefs.isMoveToTrashSet());
}

// A stored value of another type than its key's, read through the key's getter.
struct MismatchRow {
  const char* key;
  QVariant stored;
  QVariant expected;
};

TEST_P(PreferencesControllerTest, StoredValueOfAnotherTypeHasAFixedReading) {
  const MismatchRow rows[]{
      {"Allow Unicode text", 1, false},  // a number 1 is no boolean
      {"Copy title", 1, false},
      {"Show splash", "true", false},
      {"Sort by track", 1.5, false},
      {"Show quick lists", QStringList{"1"}, false},
      {"Show splash", QVariant::fromValue(nullptr), false},
      {"Move original to trash", false, false},
      {"Editor style", true, 1},
      {"Set file icon", false, 0},
      {"Tag 2 version", "4", 4},
      {"Editor style", " 2 wide", 2},
      {"Defaults index", "abc", 0},
      {"Defaults index", 3.9, 3},  // cut toward zero
      {"File name format type", -1.5, -1},
      {"Set file icon", QStringList{"0"}, 1},
      {"Set file icon", QVariant::fromValue(nullptr), 1},
      {"Tag 2 version", 40000, -25536},  // a signed 16-bit number
      {"Default path", 42, "42"},
      {"Window settings", true, "1"},
      {"File name format", 2.5, "2.5"},
  };
  for (const MismatchRow& mismatch : rows) {
    SCOPED_TRACE(std::string(mismatch.key) + " holding " + mismatch.stored.toString().toStdString());
    const auto getter = std::find_if(getterTable().begin(), getterTable().end(),
                                     [&](const GetterRow& row) { return row.key == QString(mismatch.key); });
    ASSERT_NE(getter, getterTable().end());
    EXPECT_EQ(getter->read(open({{mismatch.key, mismatch.stored}})), mismatch.expected);
  }
  // Where the default is true, a text still reads false; a list under a text key reads the default.
  EXPECT_FALSE(open({{"Copy composer", "YES"}}).getBoolPreferenceNamed("Copy composer", true));
  EXPECT_EQ(open({{"To file name format", QStringList{"x"}}})
                .getStringPreferenceNamed("To file name format", "fallback"),
            "fallback");
}

TEST_P(PreferencesControllerTest, UserGenreListIsTheStoredListOrElseTheTwentyFiveNames) {
  const std::vector<std::string> defaults = open().getUserGenreList();
  ASSERT_EQ(defaults.size(), 25u);
  // The misspelt name is the one users' files already hold.
  EXPECT_EQ(defaults[4], "Classial");
  EXPECT_EQ(defaults.back(), "World");

  // A text is not a list: the defaults stand in, and nothing is written back.
  PreferencesController& text = open({{"User genre list", "Rock"}});
  EXPECT_EQ(text.getUserGenreList(), defaults);
  EXPECT_EQ(recorder().value("User genre list"), QVariant("Rock"));
  EXPECT_TRUE(recorder().events.empty());

  PreferencesController& mixed =
      open({{"User genre list", QVariantList{"Zydeco", 7, QVariantList{"x"}, "Ska"}}});
  EXPECT_EQ(mixed.getUserGenreList(), (std::vector<std::string>{"Zydeco", "7", "", "Ska"}));
  EXPECT_EQ(open({{"User genre list", QVariantList{}}}).getUserGenreList(),
            std::vector<std::string>{});

  PreferencesController& saved = open();
  saved.setUserGenreList({"Gqom", "Amapiano"});
  ASSERT_TRUE(saved.synchronize());
  EXPECT_EQ(saved.getUserGenreList(), (std::vector<std::string>{"Gqom", "Amapiano"}));
  EXPECT_EQ(persisted()["User genre list"].toStringList(), (QStringList{"Gqom", "Amapiano"}));
}

TEST_P(PreferencesControllerTest, EmptyStoreGivesEightyStandardGenresAllOn) {
  const std::vector<GenreListRow> rows = open().getGenreList();
  ASSERT_EQ(rows.size(), 80u);
  for (int genre = 0; genre < 80; ++genre) {
    EXPECT_EQ(rows[genre].genre, genre);
    EXPECT_EQ(rows[genre].state, "on");
    EXPECT_TRUE(rows[genre].enabled());
    EXPECT_EQ(rows[genre].name, kGenres[genre]);
  }
  EXPECT_EQ(rows[0].name, "Blues");
  EXPECT_EQ(rows[79].name, "Hard Rock");
}

TEST_P(PreferencesControllerTest, MalformedGenreListElementsAreSkippedOrCompleted) {
  const QVariantList stored{
      QStringList{"off", "Blues (old)"},  // 0: taken as it stands
      "junk",                             // 1: not an array, no row
      QVariantList{"off"},                // 2: the name comes from the table
      QVariantList{},                     // 3: state and name come from a fresh row
      5,                                  // 4: not an array, no row
      QStringList{"on", "Dance", "x"},    // 5: extra items are ignored
  };
  const std::vector<GenreListRow> rows = open({{"Genre list", stored}}).getGenreList();
  ASSERT_EQ(rows.size(), 78u);
  EXPECT_EQ(rows[0], (GenreListRow{0, "off", "Blues (old)"}));
  EXPECT_FALSE(rows[0].enabled());
  EXPECT_EQ(rows[1], (GenreListRow{2, "off", std::string(kGenres[2])}));
  EXPECT_EQ(rows[2], (GenreListRow{3, "on", std::string(kGenres[3])}));
  EXPECT_EQ(rows[3], (GenreListRow{5, "on", "Dance"}));
  // Past the stored array every genre is on with its table name.
  EXPECT_EQ(rows[4], (GenreListRow{6, "on", std::string(kGenres[6])}));
  EXPECT_EQ(rows.back(), (GenreListRow{79, "on", std::string(kGenres[79])}));

  // A stored value that is not an array at all counts as missing.
  const std::vector<GenreListRow> fromText = open({{"Genre list", "off"}}).getGenreList();
  ASSERT_EQ(fromText.size(), 80u);
  EXPECT_TRUE(fromText[17].enabled());
}

TEST_P(PreferencesControllerTest, GenreListIsStoredAsStatePairs) {
  PreferencesController& prefs = open();
  std::vector<GenreListRow> rows = prefs.getGenreList();
  rows[17].state = "off";
  prefs.setGenreList(rows);
  ASSERT_TRUE(prefs.synchronize());

  EXPECT_EQ(prefs.getGenreList(), rows);
  const QVariantList stored = persisted()["Genre list"].toList();
  ASSERT_EQ(stored.size(), 80);
  EXPECT_EQ(stored[17].toStringList(), (QStringList{"off", "Rock"}));
  EXPECT_EQ(stored[0].toStringList(), (QStringList{"on", "Blues"}));
}

struct IndexedNameRow {
  const char* base;
  int index;
  const char* expected;
};

TEST(LeadingInteger, ReadsAsAScanForAnIntegerDoes) {
  const struct {
    std::string_view text;
    std::optional<int> value;
  } rows[] = {{"", std::nullopt},   {"x1", std::nullopt},        {"  -7x", -7},
              {"+3", 3},            {"99999999999", INT_MAX},    {"-99999999999", INT_MIN}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(leadingInteger(row.text), row.value);
    EXPECT_EQ(intValueOfText(row.text), row.value.value_or(0));
  }
}

TEST(PreferenceName, IndexedKeysAppendTheIndexFromOneOn) {
  const IndexedNameRow rows[]{
      {"Default title", 0, "Default title"},
      {"Default title", 3, "Default title3"},
      {"Default title", 9, "Default title9"},
      {"Default title", 10, "Default title10"},
      {"Default title", -1, "Default title"},
      {"Use default orig. artist", 1, "Use default orig. artist1"},
      {"Replace with default image", 0, "Replace with default image"},
  };
  for (const IndexedNameRow& name : rows)
    EXPECT_EQ(PreferencesController::getPreferenceName(name.base, name.index), name.expected)
        << name.base << " " << name.index;
}

// The keys a reset removes, built independently of the library's list: the
// first 33 named getters, the ten default sets, then the window's own keys.
std::vector<std::string> expectedResetOrder() {
  std::vector<std::string> keys;
  for (size_t i = 0; i < 33; ++i) keys.emplace_back(getterTable()[i].key);
  const char* fields[]{"title",    "album",        "artist",  "comment", "compilation",
                       "composer", "copyright",    "encoder", "genre",   "track",
                       "tracks",   "orig. artist", "URL",     "year"};
  for (int index = 0; index < 10; ++index) {
    const std::string suffix = index == 0 ? "" : std::to_string(index);
    for (const char* field : fields) {
      keys.push_back(std::string("Use default ") + field + suffix);
      keys.push_back(std::string("Default ") + field + suffix);
    }
    keys.push_back("Use default picture" + suffix);
    keys.push_back("Replace with default image" + suffix);
  }
  for (const char* key : {"Apply defaults to V1 tags", "Remove all data", "Show defaults button",
                          "Genre list", "User genre list", "Replace V2 genre list",
                          "File name format type", "File name format", "To file name format type",
                          "To file name format", "Editor style", "Show user tab", "Default path"})
    keys.emplace_back(key);
  return keys;
}

TEST_P(PreferencesControllerTest, ResetRemovesExactlyItsKeysInOrderAndKeepsTheRest) {
  Seed seed;
  for (const std::string& key : expectedResetOrder())
    seed.emplace_back(QString::fromStdString(key), QVariant(true));
  const Seed kept{
      {"Window settings", "{{1, 2}, {300, 400}}"}, {"Defaults index", 4},
      {"Always apply default tag data", true},     {"Show splash", false},
      {"Default title10", "beyond the ten sets"},  {"Unknown key", "left alone"},
  };
  seed.insert(seed.end(), kept.begin(), kept.end());
  std::set<QString> keptKeys;
  for (const auto& entry : kept) keptKeys.insert(entry.first);
  for (std::string_view list : prefs::kQuickListKeys) {
    seed.emplace_back(QString::fromUtf8(list.data(), static_cast<qsizetype>(list.size())),
                      QStringList{"recent"});
    keptKeys.insert(seed.back().first);
  }

  PreferencesController& prefs = open(seed);
  std::vector<std::string> eventsAtLoad;
  int loads = 0;
  prefs.setLoadPreferencesHandler([&] {
    ++loads;
    eventsAtLoad = recorder().events;
    EXPECT_TRUE(prefs.allowUnicode());  // the window would load the defaults
  });
  prefs.resetPreferences();

  std::vector<std::string> expected;
  for (const std::string& key : expectedResetOrder()) expected.push_back("remove:" + key);
  expected.push_back("sync");
  EXPECT_EQ(recorder().events, expected);
  EXPECT_EQ(loads, 1);
  EXPECT_EQ(eventsAtLoad, expected);

  std::set<QString> remaining;
  for (const auto& [key, value] : persisted()) remaining.insert(key);
  EXPECT_EQ(remaining, keptKeys);

  EXPECT_EQ(prefs.getWindowPosition(), "{{1, 2}, {300, 400}}");
  EXPECT_EQ(prefs.getDefaultTypeIndex(), 4);
  EXPECT_TRUE(prefs.isAlwaysApplyDefTagDataSet());
  EXPECT_FALSE(prefs.showSplash());
  EXPECT_FALSE(prefs.isReplaceWithDefaultPictureSet());
  EXPECT_TRUE(prefs.applyDefaultsToV1());
  EXPECT_EQ(prefs.isSetFileIconSet(), 1);
}

TEST_P(PreferencesControllerTest, ClearingQuickListsRemovesTheFirstTwentyFive) {
  Seed seed{{"Show quick lists", false}};
  std::vector<std::string> expected;
  for (std::string_view list : prefs::kQuickListKeys) {
    seed.emplace_back(QString::fromUtf8(list.data(), static_cast<qsizetype>(list.size())),
                      QStringList{"recent"});
    if (expected.size() < 50) {
      expected.push_back("remove:" + std::string(list));
      expected.push_back("sync");  // each list is gone from the file at once
    }
  }
  open(seed).clearQuickLists();
  EXPECT_EQ(recorder().events, expected);
  std::set<QString> remaining;
  for (const auto& [key, value] : persisted()) remaining.insert(key);
  EXPECT_EQ(remaining, (std::set<QString>{"Artist URL", "Podcast identifier", "Podcast feed",
                                          "Podcast description", "Show quick lists"}));
}

// Which writes reach the file at once and which wait for the next save.
TEST_P(PreferencesControllerTest, WritesStoreTheirTypeAndSyncOnlyWhenTheyMust) {
  using P = PreferencesController&;
  const struct {
    const char* name;
    std::function<void(P)> write;
    std::vector<std::string> events;
    const char* key;
    QVariant stored;  // invalid: removed
  } rows[]{
      {"splash 1", [](P p) { p.setShowSplash(1); }, {"set:Show splash", "sync"}, "Show splash", true},
      {"splash 0", [](P p) { p.setShowSplash(0); }, {"set:Show splash", "sync"}, "Show splash", false},
      {"splash 2", [](P p) { p.setShowSplash(2); }, {"set:Show splash", "sync"}, "Show splash", false},
      {"recent list", [](P p) { p.clearRecentList("V2 genre"); }, {"remove:V2 genre", "sync"},
       "V2 genre", QVariant()},
      {"window", [](P p) { p.setWindowPosition("{{5, 6}, {700, 500}}"); },
       {"set:Window settings"}, "Window settings", "{{5, 6}, {700, 500}}"},
      {"bool", [](P p) { p.setBoolPreferenceNamed("Copy title", true); }, {"set:Copy title"},
       "Copy title", true},
      {"int", [](P p) { p.setIntPreferenceNamed("Tag 2 version", 4); }, {"set:Tag 2 version"},
       "Tag 2 version", 4},
      {"string", [](P p) { p.setStringPreferenceNamed("Default path", "/srv/müsik"); },
       {"set:Default path"}, "Default path", QString::fromUtf8("/srv/müsik")},
      {"remove", [](P p) { p.removePreferenceNamed("Copy title"); }, {"remove:Copy title"},
       "Copy title", QVariant()},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PreferencesController& prefs = open(
        {{"V2 genre", QStringList{"Rock"}}, {"V2 BPM", QStringList{"120"}}, {"Copy title", false}});
    row.write(prefs);
    EXPECT_EQ(recorder().events, row.events);
    // Without a sync of its own, the file still holds what it held before.
    if (GetParam() == StoreKind::File && row.events.back() != "sync") {
      EXPECT_EQ(persisted().count(row.key), QString(row.key) == "Copy title" ? 1u : 0u);
      ASSERT_TRUE(prefs.synchronize());
    }
    const auto saved = persisted();
    EXPECT_EQ(saved.count("V2 BPM"), 1u);
    if (!row.stored.isValid()) {
      EXPECT_EQ(saved.count(row.key), 0u);
      continue;
    }
    ASSERT_EQ(saved.count(row.key), 1u);
    EXPECT_EQ(saved.at(row.key).toString(), row.stored.toString());
    EXPECT_EQ(saved.at(row.key).typeId() == QMetaType::Bool,
              row.stored.typeId() == QMetaType::Bool);
    EXPECT_EQ(row.stored.typeId() == QMetaType::Int, saved.at(row.key).typeId() == QMetaType::Int ||
                                                          saved.at(row.key).typeId() == QMetaType::LongLong);
  }
  PreferencesController& prefs = open();
  prefs.setStringPreferenceNamed("Default path", "/srv/müsik");
  prefs.setShowSplash(1);
  EXPECT_EQ(prefs.getDefaultPath(), "/srv/müsik");
  EXPECT_TRUE(prefs.showSplash());
}

INSTANTIATE_TEST_SUITE_P(Stores, PreferencesControllerTest,
                         ::testing::Values(StoreKind::Memory, StoreKind::File), storeKindName);

// A store that has gone away under the window: every change throws.
class FailingStore : public MemoryPreferenceStore {
 public:
  void remove(const QString&) override { throw std::runtime_error("store is gone"); }
};

TEST(PreferencesControllerGuard, WindowOperationsLogAndEndOnAnException) {
  LogCapture log;
  PreferencesController prefs(std::make_unique<FailingStore>(), "unused");
  bool loaded = false;
  prefs.setLoadPreferencesHandler([&] { loaded = true; });

  EXPECT_NO_THROW(prefs.resetPreferences());
  EXPECT_FALSE(loaded);
  EXPECT_TRUE(
      log.has(LogError, "[PreferencesController:rp] error:std::runtime_error - store is gone"))
      << log.dump();

  EXPECT_NO_THROW(prefs.clearQuickLists());
  EXPECT_TRUE(log.has(LogError,
                      "[PreferencesController:cql] error:std::runtime_error - "
                      "store is gone"))
      << log.dump();
}

}  // namespace
}  // namespace melos::test
