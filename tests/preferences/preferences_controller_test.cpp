#include "preferences/preferences_controller.h"

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

#include "preferences/control_mappings.h"
#include "preferences/default_tag_data.h"
#include "preferences/preference_keys.h"
#include "tests/preferences/store_fixture.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/tag_fixtures.h"

namespace melos::test {
namespace {

using P = PreferencesController;
using PreferencesControllerTest = StoreTest;
QVariant asVariant(bool value) { return value; }
QVariant asVariant(int value) { return value; }
QVariant asVariant(const std::string& value) { return QString::fromStdString(value); }

// A named getter: its key, its default, and another value of the key's type.
struct Getter { const char* key; QVariant byDefault, other; std::function<QVariant(const P&)> read; };
template <typename R>
Getter G(const char* key, std::type_identity_t<R> byDefault, std::type_identity_t<R> other, R (P::*get)() const) {
  return {key, asVariant(byDefault), asVariant(other), [get](const P& prefs) { return asVariant((prefs.*get)()); }};
}
Getter B(const char* key, bool byDefault, bool (P::*get)() const) { return G(key, byDefault, !byDefault, get); }

const std::vector<Getter> kGetters{
    B("Always apply default tag data", false, &P::isAlwaysApplyDefTagDataSet), B("VBR mode", true, &P::isQuickVBRSet),
    B("Apply defaults to V1 tags", true, &P::applyDefaultsToV1), B("Rename updated file", false, &P::isRenameUpdateSet),
    B("Close window after update", true, &P::isCloseWindowSet), B("Move original to trash", true, &P::isMoveToTrashSet),
    B("Copy original artist", false, &P::isCopyOriginalArtistSet), B("Always show picture", true, &P::isShowPictureSet),
    B("Copy title", false, &P::isCopyTitleSet), B("Copy track", false, &P::isCopyTrackSet),
    B("Create folder structure", false, &P::isCreateFolderSet), B("Show open file at start up", true, &P::showOpenFile),
    B("Edit in multiple windows", true, &P::isMultipleWindowsSet), B("Trim whitespace", false, &P::isTrimWhitespaceSet),
    B("Ignore AIFF corruption", true, &P::isIgnoreAIFFCorruptionSet), B("Copy composer", false, &P::isCopyComposerSet),
    B("Load full tag data", false, &P::loadFullTagData), B("Copy file times", false, &P::isKeepFileDatesSet),
    B("Open dropped files in group", false, &P::isOpenDroppedFileInGroupSet),
    B("Remove all data", false, &P::removeAllData), B("Date tracks", false, &P::isDateTracksSet),
    B("Replace V2 genre list", false, &P::replaceV2GenreList), B("Show play controls", true, &P::isShowPlayControlsSet),
    B("Replace tag data in group", false, &P::isReplaceTagDataInGroupSet), B("Remove APE tag", false, &P::removeAPETag),
    B("Replace with default image", false, &P::isReplaceWithDefaultPictureSet), B("Show splash", true, &P::showSplash),
    B("Save window position", true, &P::isSaveWindowPositionSet), B("Add track number", true, &P::isAddTrackNumberSet),
    B("Set group check boxes on paste", false, &P::isSetGroupChecksSet), B("Sort by track", true, &P::isSortByTrackSet),
    B("Show defaults button", false, &P::showDefaultsButton), B("Replace tag information", true, &P::isReplaceTagSet),
    B("Show quick lists", true, &P::showQuickLists), B("Allow Unicode text", true, &P::allowUnicode),
    B("Show track", false, &P::isShowTrackSet), B("Show user tab", false, &P::showUserTab),
    B("UTF8 track names", false, &P::isUTF8TrackNameSet), B("Add picture to end", true, &P::isAddPicToEndSet),
    G("File name format", "", "%A - %N %T", &P::getFromCustomFileNameFormat),
    G("To file name format", "", "%N-%T", &P::getToCustomFileNameFormat), G("Editor style", 0, 2, &P::getWindowStyle),
    G("To file name format type", 0, 1, &P::getToFileNameFormatType), G("Default path", "", "/srv", &P::getDefaultPath),
    G("File name format type", 0, 1, &P::getFromFileNameFormatType), G("Defaults index", 0, 7, &P::getDefaultTypeIndex),
    G("Window settings", "", "{{1, 2}}", &P::getWindowPosition), G("Tag 2 version", 0, 4, &P::getTag2SaveVersion),
    G("Set file icon", 1, 0, &P::isSetFileIconSet)};

TEST_F(PreferencesControllerTest, EachGetterReadsItsOwnKeyOrElseItsDefaultAndOtherTypesAsFixed) {
  for (const Getter& changed : kGetters) {
    PreferencesController& prefs = open({{changed.key, changed.other}});
    for (const Getter& getter : kGetters)
      EXPECT_EQ(getter.read(prefs), &getter == &changed ? getter.other : getter.byDefault) << changed.key;
    EXPECT_TRUE(prefs.synchronize() && persisted().size() == 1);  // reading a default never writes it
  }
  // A stored value read as another type than its own: a boolean only from the
  // boolean true, a number from the leading integer of a text, a text from a number.
  const std::tuple<QVariant, bool, int, const char*> rows[]{
      {true, true, 1, "1"}, {false, false, 0, "0"}, {1, false, 1, "1"}, {"true", false, 0, "true"}, {"", false, 0, ""},
      {" 2 wide", false, 2, " 2 wide"}, {"+3", false, 3, "+3"}, {"99999999999", false, INT_MAX, "99999999999"},
      {"\t-99999999999", false, INT_MIN, "\t-99999999999"}, {3.9, false, 3, "3.9"}, {-1.5, false, -1, "-1.5"},
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

// The version menu has no item for 2.2; the style buttons store Drawer as 0, and Large wins over Small.
TEST(ControlMappings, StoredValuesSelectTheirControlsAndBack) {
  for (auto [stored, item] : {std::pair{0, 0}, {3, 1}, {4, 2}}) EXPECT_TRUE(tag2VersionItemIndex(stored) == item);
  for (auto [item, stored] : {std::pair{0, 0}, {1, 3}, {2, 4}}) EXPECT_TRUE(tag2VersionToStore(item) == stored);
  using enum EditorStyle;
  for (auto [style, label] : {std::pair{Small, "Small"}, {Large, "Large"}, {Drawer, "Drawer"}})
    EXPECT_TRUE(editorStyleLabel(style).starts_with(label) &&
                editorStyleFromStored(editorStyleToStore(style == Large, style == Small)) == style);
  EXPECT_TRUE(editorStyleToStore(true, true) == 1 && !editorStyleFromStored(3) && tag2VersionItemIndex(1) == -1);
}

// A value that is no array counts as missing; elements that are no array are
// skipped, short ones completed from the table, extra items ignored.
TEST_F(PreferencesControllerTest, GenreListsAreTheStoredArraysOrElseTheDefaults) {
  const std::vector<std::string> names = open({{"Genre list", "off"}}).getUserGenreList();
  EXPECT_TRUE(names.size() == 25 && names[4] == "Classial");  // the misspelt name users' files already hold
  const std::vector<GenreListRow> defaults = current_->getGenreList();
  EXPECT_EQ(open({{"User genre list", "Rock"}}).getUserGenreList(), names);
  EXPECT_EQ(open({{"User genre list", QVariantList{"Zydeco", 7, QVariantList{"x"}, "Ska"}}}).getUserGenreList(),
            (std::vector<std::string>{"Zydeco", "7", "", "Ska"}));
  std::vector<GenreListRow> rows = current_->getGenreList();
  ASSERT_TRUE(rows == defaults && rows.size() == 80 && rows[17] == (GenreListRow{17, "on", "Rock"}));
  rows[17].state = "off";
  current_->setGenreList(rows);
  current_->setUserGenreList({"Gqom", "Amapiano"});
  EXPECT_EQ(current_->getGenreList(), rows);
  EXPECT_EQ(current_->getUserGenreList(), (std::vector<std::string>{"Gqom", "Amapiano"}));
  ASSERT_TRUE(current_->synchronize());
  EXPECT_EQ(persisted()["Genre list"].toList()[17].toStringList(), (QStringList{"off", "Rock"}));
  EXPECT_EQ(persisted()["User genre list"].toStringList(), (QStringList{"Gqom", "Amapiano"}));
  rows = open({{"Genre list", QVariantList{QStringList{"off", "Old"}, "junk", QVariantList{"off"}, QVariantList{}, 5,
                                           QStringList{"on", "X", "y"}}}}).getGenreList();
  ASSERT_EQ(rows.size(), 78u);
  const std::vector<GenreListRow> first{{0, "off", "Old"}, {2, "off", "Country"}, {3, "on", "Dance"}, {5, "on", "X"}};
  EXPECT_EQ(std::vector(rows.begin(), rows.begin() + 4), first);
  EXPECT_TRUE(!rows[0].enabled() && rows[2].enabled());
}

// A reset removes the preferences and every default set, but not the window's
// own keys nor the quick lists; the window then reloads from the saved file.
// Clearing the quick lists keeps the artist URL and podcast lists.
TEST_F(PreferencesControllerTest, ResetAndClearingTheQuickListsKeepWhatTheyMustOrLogAndEnd) {
  Seed seed{{"Genre list", QVariantList{}}, {"User genre list", QStringList{"x"}}, {"Use default orig. artist", true},
            {"Default title9", "x"}, {"Use default picture9", true}, {"Replace with default image3", true},
            {"Default title10", "beyond the ten sets"}, {"Unknown key", 1}};
  for (const Getter& getter : kGetters) seed.insert(getter.key, getter.other);
  for (std::string_view key : prefs::kQuickListKeys) seed.insert(QString::fromUtf8(key), QStringList{"recent"});
  PreferencesController& prefs = open(seed);
  qsizetype atLoad = 0;
  prefs.setLoadPreferencesHandler([&] { atLoad = persisted().size(); });
  prefs.resetPreferences();
  prefs.clearQuickLists();
  const QStringList kept{"Always apply default tag data", "Artist URL", "Default title10", "Defaults index",
                         "Podcast description", "Podcast feed", "Podcast identifier", "Show splash", "Unknown key",
                         "Window settings"};
  EXPECT_EQ(persisted().keys(), kept);
  EXPECT_EQ(atLoad, kept.size() + 25);
  // A store that has gone away under the window: each logs and ends.
  struct FailingStore : MemoryPreferenceStore {
    void remove(const QString&) override { throw std::runtime_error("gone"); }
  };
  LogCapture log;
  PreferencesController failing(std::make_unique<FailingStore>(), "unused");
  failing.setLoadPreferencesHandler([] { ADD_FAILURE() << "reloaded after a failed reset"; });
  failing.resetPreferences();
  failing.clearQuickLists();
  for (const char* tag : {"rp", "cql"})
    EXPECT_TRUE(log.has(LogError, "[PreferencesController:" + std::string(tag) + "] error:std::runtime_error - gone"));
}

// Recent lists and the splash switch reach the file at once; other writes wait for the next save.
TEST_F(PreferencesControllerTest, WritesWaitForTheSaveButListsAndSplashSaveAtOnce) {
  PreferencesController& prefs = open({{"V2 genre", QStringList{"Rock"}}, {"Copy title", false}});
  prefs.setWindowPosition("{{5}}");
  prefs.setBoolPreferenceNamed("Copy track", true);
  prefs.setIntPreferenceNamed("Tag 2 version", 4);
  prefs.setStringPreferenceNamed("Default path", "/mü");
  prefs.removePreferenceNamed("Copy title");
  EXPECT_EQ(persisted().keys(), (QStringList{"Copy title", "V2 genre"}));  // nothing saved yet
  prefs.setShowSplash(2);  // only 1 is on
  EXPECT_EQ(persisted(), (QVariantMap{{"V2 genre", QVariantList{"Rock"}}, {"Copy track", true}, {"Tag 2 version", 4},
                                      {"Window settings", "{{5}}"}, {"Default path", "/mü"}, {"Show splash", false}}));
  EXPECT_EQ(persisted()["Copy track"].typeId(), QMetaType::Bool);
  prefs.setShowSplash(1);
  prefs.clearRecentList("V2 genre");
  EXPECT_TRUE(!persisted().contains("V2 genre") && persisted()["Show splash"].toBool());
}

UnicodeText latin1(const char* text) { return UnicodeText::latin1(text); }

// The "use" flag and the value of one field of set `index`.
Seed useDefault(const std::string& field, int index, const QVariant& value) {
  const std::string suffix = P::getPreferenceName("", index);
  Seed seed{{QString::fromStdString("Use default " + field + suffix), true}};
  if (value.isValid()) seed.insert(QString::fromStdString("Default " + field + suffix), value);
  return seed;
}

Seed operator+(Seed a, const Seed& b) { a.insert(b); return a; }

// A track with something in every field that a set can touch.
ID3Tag track() {
  ID3Tag t;
  t.tagData = fullTagData(false);
  t.v1 = V1Tag{true, "Old title", "Old artist", "Old album", "1999", "Old comment", 5, 17};
  return t;
}

TEST(DefaultPictureFile, FailingToWriteItIsTheAlertMessage) {
  LogCapture log;
  TempDir dir;
  const std::string blocked = dir.write("a file", {});
  const std::string failure = "Failed to create the image file '" + blocked + "/default0.img' (20).";
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), blocked);
  EXPECT_EQ(prefs.setDefaultPicture(jpegBytes()), failure);
  EXPECT_TRUE(log.has(LogError, failure)) << log.dump();
}

// Set 2 applied to track(), compared whole with track() changed by `expect`,
// so any field the row does not name must stay as it was.
TEST_F(PreferencesControllerTest, ApplyingADefaultSetChangesExactlyWhatItSupplies) {
  using T = ID3Tag&;
  Seed everyField = useDefault("compilation", 2, false);
  for (auto [field, value] : {std::pair{"title", "A title longer than thirty characters"}, {"album", "Album é"},
                              {"artist", "Сергей"}, {"comment", "A comment of exactly thirty ch"}, {"year", "20245"},
                              {"composer", "Satie"}, {"orig. artist", "Someone"}, {"copyright", "(c)"}, {"URL", "u"},
                              {"encoder", "LAME 3"}, {"track", "300"}, {"tracks", "14"}, {"genre", "Trance"}})
    everyField = everyField + useDefault(field, 2, value);
  const std::tuple<const char*, Seed, std::function<void(T)>> rows[]{
      // V1 texts are Latin-1 cut to their widths; the V1 genre is never set.
      {"every field", everyField, [](T t) {
         TagData& d = t.tagData;
         d.title = latin1("A title longer than thirty characters"); d.album = latin1("Album \xE9"); d.year = "2024";
         d.artist = UnicodeText::utf16(u"Сергей"); d.comment = latin1("A comment of exactly thirty ch"); d.track = 300;
         d.composer = latin1("Satie"); d.origArtist = latin1("Someone"); d.copyright = latin1("(c)"); d.url = "u";
         d.encodedBy = "LAME 3"; d.tracks = 14; d.genre = latin1("Trance"); d.compilation = false;
         t.v1.title = "A title longer than thirty cha"; t.v1.album = "Album \xE9"; t.v1.artist = "??????";
         t.v1.year = "2024"; t.v1.comment = "A comment of exactly thirty c"; t.v1.track = 44;
       }},
      // Other sets' keys say nothing of set 2; a value counts only under a use flag that is the boolean true.
      {"not this set", useDefault("title", 0, "Zero") + useDefault("track", 3, "4") +
                           Seed{{"Default artist2", "x"}, {"Use default title2", false}, {"Default title2", "x"},
                                {"Use default compilation2", 1}, {"Default compilation2", false}}, [](T) {}},
      {"enabled but empty", useDefault("title", 2, {}) + useDefault("track", 2, {}) + useDefault("URL", 2, "") +
                                useDefault("compilation", 2, {}), [](T t) {
         t.v1.title.clear(); t.v1.track = kUnsetV1; t.tagData.title = UnicodeText();
         t.tagData.track = kUnsetNumber; t.tagData.url.clear(); t.tagData.compilation = false;
       }},
      // Without Unicode, Latin-1 is kept up to U+00FF and anything beyond becomes "?".
      {"no Unicode", useDefault("artist", 2, "Сергей and Zoÿ Ā") +
                         Seed{{"Allow Unicode text", false}, {"Apply defaults to V1 tags", false}},
       [](T t) { t.tagData.artist = latin1("?????? and Zo\xFF ?"); }},
      // Numbers are the integer values of the texts; the V1 track is their low byte.
      {"numbers out of range", useDefault("track", 2, "-1") + useDefault("tracks", 2, "70000"),
       [](T t) { t.v1.track = 255; t.tagData.track = t.tagData.tracks = kUnsetNumber; }},
      {"remove all data", useDefault("title", 2, "Only this") + useDefault("compilation", 2, true) +
                              Seed{{"Remove all data", true}}, [](T t) {
         t.tagData = TagData{}; t.tagData.enabled = t.tagData.compilation = true; t.tagData.title = latin1("Only this");
         t.v1.clear(); t.v1.enabled = true; t.v1.title = "Only this";
       }}};
  for (const auto& [name, seed, expect] : rows) {
    ID3Tag t = track(), expected = track();
    expect(expected);
    setDefaultTagData(t, 2, open(seed));
    EXPECT_TRUE(t.tagData == expected.tagData && t.v1 == expected.v1 && t.v1Changed && t.v2Changed) << name;
  }
}

// Every set shares picture file 0. It goes in at the position shown, or replaces
// all with "Replace with default image", which is read un-indexed whatever the
// set; a file that is no accepted image, or is too large, is worth a line in the
// log, an empty one is unset.
TEST_F(PreferencesControllerTest, DefaultPictureGoesAtThePositionShownOrReplacesAll) {
  const PicData jpeg{jpegBytes(), "jpeg"}, png{pngBytes(), "png"};
  const PicDataArray old = track().tagData.picdata;
  const Seed use{{"Use default picture8", true}}, replace = use + Seed{{"Replace with default image", true}};
  const struct {
    const char* name; Seed seed; std::optional<Bytes> file; size_t at; PicDataArray expected; bool shown;
    const char* warning = nullptr; off_t grownTo = 0;
  } rows[]{{"inserted", use, jpeg.data, 1, {old[0], jpeg, old[1]}, true},
           {"past the end", use, png.data, 99, {old[0], old[1], png}, true},
           {"replacing", replace, jpeg.data, 1, {jpeg}, true},
           {"indexed", use + Seed{{"Replace with default image8", true}}, png.data, 0, {png, old[0], old[1]}, true},
           {"not shown", use + Seed{{"Always show picture", false}}, jpeg.data, 2, {old[0], old[1], jpeg}, false},
           {"missing file replacing", replace, std::nullopt, 0, {}, false},
           {"missing file", use, std::nullopt, 0, old, true},
           {"empty file", use, Bytes{}, 0, old, true},
           {"not an image", use, Bytes{'I', 'I', 0x2A, 0x00}, 0, old, true, "is not an accepted image"},
           {"too large", use, jpeg.data, 0, old, true, "is too large", off_t(kMaxDefaultPictureBytes + 1)}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PreferencesController& prefs = open(row.seed);
    const std::string file = prefs.defaultPicturePath(8);
    std::filesystem::remove(file);
    ASSERT_TRUE(!row.file || !prefs.setDefaultPicture(*row.file));  // the one file every set shares
    ASSERT_TRUE(row.grownTo == 0 || truncate(file.c_str(), row.grownTo) == 0);
    LogCapture log;
    ID3Tag t = track();
    EXPECT_EQ(setDefaultTagData(t, 8, prefs, row.at).showPicture, row.shown);
    EXPECT_EQ(t.tagData.picdata, row.expected);
    EXPECT_EQ(log.count(LogWarning), row.warning && log.has(LogWarning, row.warning) ? 1u : 0u) << log.dump();
  }
}

}  // namespace
}  // namespace melos::test
