// The opening rules over real files in temporary folders: which editor takes
// each path, what a folder gives, and what the user is told when paths fail;
// the paths a second launch hands over, and the menus the front document enables.

#include "operations/open_documents.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

#include "engine/open_track.h"
#include "operations/instance_channel.h"
#include "operations/menu_rules.h"
#include "operations/track_file.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/log_capture.h"
#include "tests/support/sample_tracks.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

// An ID3 header that claims far more than the file holds, and nothing else,
// as the fuzzer's corpus has many.
static const Bytes kBrokenMp3 = {'I', 'D', '3', 3, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F, 0xFF, 0xFB, 0x90};

// The test is the editors and the user: it opens tracks for real, notes which
// editor took what, and answers every question with its first button.
class OpenDocumentsTest : public testing::Test, public DocumentHost, public Questions {
 protected:
  std::string ask(const std::string& title, const std::string& message, const Paths& buttons) override {
    asked.push_back(title + ": " + message);
    return buttons.front();
  }
  std::optional<DocumentKind> frontKind() const override { return front; }
  bool frontIsSingleEditWindow() const override { return true; }
  bool addTrackToFrontGroup(const std::string& path) override { return take(path, addedToFront); }
  bool openGroup(const Paths& paths) override {
    Paths added;
    for (const std::string& path : paths)
      if (!take(path, added)) tell(*this, "Open failed", "Could not read '" + displayName(path) + "'.");
    if (!added.empty()) groups.push_back(added);
    return !added.empty();
  }
  bool replaceFrontTrack(const std::string& path, std::string& cause) override { return take(path, replaced, &cause); }
  bool openSingleTrack(const std::string& path, std::string& cause) override { return take(path, singles, &cause); }
  void noteRecentGroup(const std::string& folder) override { recentGroups.push_back(folder); }
  bool take(const std::string& path, Paths& into, std::string* cause = nullptr) {
    if (throwOnOpen) throw std::runtime_error("no room");
    const TrackFile file = openTrackFile(path, kScanQuick);
    if (cause != nullptr) *cause = file.cause;
    if (file.opened()) into.push_back(path);
    return file.opened();
  }

  TempDir dir_;
  PreferencesController preferences_{std::make_unique<MemoryPreferenceStore>(), dir_.path()};
  std::optional<DocumentKind> front;
  bool ctrl = false, throwOnOpen = false;
  Paths asked, singles, replaced, addedToFront, recentGroups;
  std::vector<Paths> groups;
  DocumentOpener opener_{*this, *this, preferences_, [this] { return ctrl; }};
};

TEST(OpenDocuments, FolderTrackNamesDisplayNamesAndFailureAlerts) {
  for (const auto& [name, taken] : std::map<std::string, bool>{
           {"a.mp3", true}, {"A.MP3", true}, {"b.aif", true}, {"b.Aif", true}, {".mp3", true}, {"c.aiff", false},
           {"d.tdf", false}, {"e.mp3.txt", false}, {"mp3", false}, {"x.mp2", false}, {"aif", false}})
    EXPECT_EQ(isFolderTrackName(name), taken) << name;
  EXPECT_EQ(displayName("/a/b/c.mp3") + displayName("/a/folder/") + displayName("plain") + displayName("/"),
            "c.mp3folderplain/");
  // Below six failures each is listed, from six on three and "(And others)".
  for (size_t count = 1; count <= 8; ++count) {
    std::vector<OpenFailure> failures;
    for (size_t i = 0; i < count; ++i) failures.push_back({"/music/f" + std::to_string(i) + ".mp3", i ? "" : "gone"});
    const Alert alert = openFailuresAlert(failures, count % 2 == 0);
    const std::string title = count == 1 ? "the file" : (count % 2 ? "any" : "some") + std::string(" of the specified files");
    EXPECT_EQ(std::tuple(alert.title, alert.buttons), std::tuple("Could not open " + title, Paths{"OK"}));
    EXPECT_EQ(std::count(alert.message.begin(), alert.message.end(), '\n') + 1, count < 6 ? count : 4u) << count;
    EXPECT_EQ(alert.message.ends_with("\n(And others)"), count >= 6) << count;
  }
}

TEST_F(OpenDocumentsTest, AFolderIsAGroupOfItsMp3AndAifEntriesInDirectoryOrderWithoutDescending) {
  for (const char* folder : {"album/disc2", "none", "bad"}) fs::create_directories(dir_.file(folder));
  for (const auto& [name, bytes] : std::map<std::string, Bytes>{{"one.mp3", sampleMp3("One")}, {"two.MP3", sampleMp3("Two")},
           {"three.aif", sampleAiff("Three")}, {"five.aiff", sampleAiff("Five")}, {"disc2/deep.mp3", sampleMp3("Deep")}})
    dir_.write("album/" + name, bytes);
  Paths expected;
  for (const auto& entry : fs::directory_iterator(dir_.file("album")))
    if (entry.path().extension() != ".aiff" && !entry.is_directory()) expected.push_back(entry.path().string());
  EXPECT_EQ(folderTracks(dir_.file("album")), expected);
  EXPECT_TRUE(opener_.openFiles({dir_.file("album")}));
  EXPECT_EQ(groups, std::vector<Paths>{expected});
  EXPECT_EQ(recentGroups, Paths{dir_.file("album")});
  // A folder without tracks is told as such, not as a failure; one whose tracks all fail is a failure.
  dir_.write("bad/a.mp3", kBrokenMp3);
  EXPECT_TRUE(opener_.openFiles({dir_.file("none")}));
  EXPECT_FALSE(opener_.openFiles({dir_.file("bad")}));
  EXPECT_EQ(asked, (Paths{"No tracks found: There are no valid tracks in the folder.", "Open failed: Could not read 'a.mp3'.",
                          "Could not open the file: The file 'bad' could not be opened."}));
}

TEST_F(OpenDocumentsTest, CtrlInvertsTheGroupingPreferenceAndTheFrontEditorsTakeFiles) {
  const std::string path = dir_.write("track.mp3", sampleMp3("Dropped"));
  for (const auto& [preferGroups, held] : {std::pair{false, false}, {false, true}, {true, false}, {true, true}}) {
    preferences_.setBoolPreferenceNamed("Open dropped files in group", preferGroups);
    ctrl = held;
    EXPECT_TRUE(opener_.openFiles({path}));
    EXPECT_EQ(std::pair(groups.size(), singles.size()), preferGroups != held ? std::pair(1ul, 0ul) : std::pair(0ul, 1ul));
    groups.clear(), singles.clear();
  }
  ctrl = false, front = DocumentKind::Group;  // the file goes into the front group
  EXPECT_TRUE(opener_.openFiles({path}));
  preferences_.setBoolPreferenceNamed("Open dropped files in group", false);
  front = DocumentKind::SingleTrack;  // the single edit window takes it only without multiple windows
  for (const bool multiple : {false, true}) {
    preferences_.setBoolPreferenceNamed("Edit in multiple windows", multiple);
    EXPECT_TRUE(opener_.openFiles({path}));
  }
  EXPECT_EQ(std::tuple(addedToFront, replaced, singles), std::tuple(Paths{path}, Paths{path}, Paths{path}));
}

TEST_F(OpenDocumentsTest, FailuresAreToldOnceNothingIsWrittenAndTheNextPathStillOpens) {
  const std::string good = dir_.write("good.mp3", sampleMp3("Good")), other = dir_.write("notes.txt", {'h', 'i'});
  Paths broken;
  for (int i = 0; i < 7; ++i) broken.push_back(dir_.write("broken" + std::to_string(i) + ".mp3", kBrokenMp3));
  EXPECT_FALSE(opener_.openFiles(broken));
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_TRUE(asked[0].starts_with("Could not open any of the specified files: broken0.mp3 (")) << asked[0];
  for (const std::string& bad : {dir_.file("missing.mp3"), other, broken[0]}) {
    EXPECT_FALSE(opener_.openFiles({bad})) << bad;
    EXPECT_TRUE(asked.back().starts_with("Could not open the file: The file '" + displayName(bad) + "' could not be opened: "))
        << asked.back();
  }
  LogCapture log;
  throwOnOpen = true;
  EXPECT_FALSE(opener_.openFiles({good}));
  EXPECT_TRUE(log.has(1, "[DocumentController:cdwcof] error:std::runtime_error - no room")) << log.dump();
  throwOnOpen = false;
  EXPECT_TRUE(opener_.openFiles({good}) && singles == Paths{good});
  EXPECT_EQ(std::tuple(readFile(good), readFile(broken[0]), asked.size()), std::tuple(sampleMp3("Good"), kBrokenMp3, 5u));
  // A folder that cannot be read is a failure too; the superuser, though, reads any folder.
  fs::create_directory(dir_.file("locked"));
  ::chmod(dir_.file("locked").c_str(), 0);
  if (::access(dir_.file("locked").c_str(), R_OK) != 0) {
    EXPECT_FALSE(opener_.openFiles({dir_.file("locked")}));
    EXPECT_NE(asked.back().find("The file 'locked' could not be opened: the folder cannot be read"), std::string::npos);
    EXPECT_TRUE(log.has(1, "[DocumentController:cgff] error:std::filesystem::__cxx11::filesystem_error"));
  }
}

// The socket lives in the runtime folder, else per user in /tmp; a request keeps its paths in order.
TEST(InstanceChannel, SocketPlaceAndRequests) {
  EXPECT_EQ(instanceSocketPath("/run/user/1000", 1000), "/run/user/1000/meloscribe.socket");
  EXPECT_EQ(instanceSocketPath(nullptr, 1000), "/tmp/meloscribe-1000.socket");
  EXPECT_EQ(instanceSocketPath("relative", 42), "/tmp/meloscribe-42.socket");
  const Paths paths = {"/music/a b.mp3", "/music/\xC3\xA9t\xC3\xA9.aif", "/music"};
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest(paths)), paths);
  // A line feed in a path must not split it into another path.
  EXPECT_EQ(decodeOpenRequest(encodeOpenRequest({"/a\n/etc/passwd", "", "/b.mp3"})), Paths{"/b.mp3"});
  for (const char* other : {"", "hello\n/a.mp3\n", "meloscribe-open 1\n/a.mp3"})
    EXPECT_EQ(decodeOpenRequest(other), std::nullopt) << other;
}

// Each row names the items that must be disabled; every other item must be enabled.
TEST(MenuRules, EveryItemInEveryScenario) {
  using enum MenuItem;
  using Items = std::set<MenuItem>;
  const Items none = {CopyTagData, CopyAllTagData, PasteTagData, Revert, ShowLyrics, ShowPicture, Update, AddLyrics,
                      ClearTagData, ApplyDefaultTagData, LoadTagData, SaveTagData, SaveAs, CopyV1ToV2, CopyV2ToV1, AddImage};
  const Items inGroup = {Revert, ShowLyrics, ShowPicture, AddLyrics, LoadTagData, SaveTagData, SaveAs, CopyV1ToV2,
                         CopyV2ToV1, AlwaysApplyDefaultTagData, AddImage, ExportAsCSV, ExportAsXML};
  Items busy;
  for (MenuItem item : allMenuItems())
    if (!std::set{About, Help, Hide, Open, OpenGroup, Quit}.contains(item)) busy.insert(item);
  Items cleanGroup = inGroup;
  cleanGroup.insert({Update, PasteTagData});
  using K = DocumentKind;
  // Rows: the front document (kind, dirty, MP3, V1 on, V2 on), whether a tag was copied, the items disabled.
  const std::vector<std::tuple<std::optional<FrontDocument>, bool, Items>> rows = {
      {std::nullopt, false, none}, {std::nullopt, true, none}, {FrontDocument{K::Group, true, 0, 0, 0}, true, inGroup},
      {FrontDocument{K::Group, false, 0, 0, 0}, false, cleanGroup}, {FrontDocument{K::Other, 0, 0, 0, 0}, true, {}},
      {FrontDocument{K::SingleTrack, true, true, true, true}, true, {}},
      {FrontDocument{K::SingleTrack, false, true, false, true}, true, {CopyV1ToV2, Update}},
      {FrontDocument{K::SingleTrack, true, true, true, false}, true, {CopyV2ToV1}},
      {FrontDocument{K::SingleTrack, false, false, true, true}, false, {CopyV1ToV2, CopyV2ToV1, Update, PasteTagData}},
      {FrontDocument{K::SingleTrack, true, true, true, true, true}, true, busy}};
  for (size_t row = 0; row < rows.size(); ++row)
    for (MenuItem item : allMenuItems())
      EXPECT_EQ(isMenuItemEnabled(item, std::get<0>(rows[row]), std::get<1>(rows[row])),
                !std::get<2>(rows[row]).contains(item)) << "row " << row << ": " << menuItemName(item);
  EXPECT_EQ(menuItemName(ApplyDefaultTagData), "mApplyDefaulttagDataMenuItem");  // the outlet's name, typo and all
}

}  // namespace melos::test
