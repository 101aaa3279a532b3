// The opening rules over real files in temporary folders: which editor takes
// each path, what a folder gives, and what the user is told when paths fail.

#include "operations/open_documents.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/log_capture.h"
#include "tests/support/sample_tracks.h"
#include "tests/support/temp_dir.h"

namespace melos::test {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

// A file whose ID3 header claims far more than the file holds, and nothing
// else, as the fuzzer's corpus has many.
const Bytes kBrokenMp3 = {'I', 'D', '3', 3, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F, 0xFF, 0xFB, 0x90};

// The test is the editors and the user: it opens tracks for real, notes which
// editor took what, and answers every question with its first button.
class OpenDocumentsTest : public testing::Test, public DocumentHost, public Questions {
 protected:
  std::string ask(const std::string& title, const std::string& message, const Paths& buttons) override {
    asked.push_back(title + ": " + message);
    return buttons.empty() ? std::string() : buttons.front();
  }
  std::optional<DocumentKind> frontKind() const override { return front; }
  bool frontIsSingleEditWindow() const override { return true; }
  bool addTrackToFrontGroup(const std::string& path) override { return take(path, addedToFront); }
  bool openGroup(const Paths& paths) override {
    Paths added;
    for (const std::string& path : paths)
      if (!take(path, added)) tell(*this, "Open failed", "Could not read the file '" + path + "'.");
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
  for (const auto& [path, name] : std::map<std::string, std::string>{
           {"/a/b/c.mp3", "c.mp3"}, {"/a/folder/", "folder"}, {"plain.mp3", "plain.mp3"}, {"/", "/"}})
    EXPECT_EQ(displayName(path), name);
  // Below six failures each is listed, from six on three and "(And others)".
  for (size_t count = 2; count <= 8; ++count) {
    std::vector<OpenFailure> failures;
    for (size_t i = 0; i < count; ++i) failures.push_back({"/music/f" + std::to_string(i) + ".mp3", ""});
    const Alert alert = openFailuresAlert(failures, count % 2 == 0);
    EXPECT_EQ(alert.title, count % 2 == 0 ? "Could not open some of the specified files"
                                          : "Could not open any of the specified files");
    EXPECT_EQ(std::count(alert.message.begin(), alert.message.end(), '\n') + 1, count < 6 ? count : 4u) << count;
    EXPECT_EQ(alert.message.ends_with("\n(And others)"), count >= 6) << count;
    EXPECT_EQ(alert.buttons, Paths{"OK"});
  }
  const Alert one = openFailuresAlert({{"/music/gone.mp3", "the file does not exist"}}, false);
  EXPECT_EQ(one.title, "Could not open the file");
  EXPECT_EQ(one.message, "The file 'gone.mp3' could not be opened: the file does not exist.");
}

TEST_F(OpenDocumentsTest, AFolderIsAGroupOfItsMp3AndAifEntriesInDirectoryOrderWithoutDescending) {
  for (const char* folder : {"album/disc2", "none", "bad"}) fs::create_directories(dir_.file(folder));
  const std::map<std::string, Bytes> entries = {
      {"one.mp3", sampleMp3("One")}, {"two.MP3", sampleMp3("Two")}, {"three.aif", sampleAiff("Three")},
      {"four.AIF", sampleAiff("Four")}, {"five.aiff", sampleAiff("Five")}, {"six.tdf", sampleTagData("Six")},
      {"mp3", sampleMp3("bare")}, {"disc2/deep.mp3", sampleMp3("Deep")}};
  for (const auto& [name, bytes] : entries) dir_.write("album/" + name, bytes);
  const std::set<std::string> taken = {"one.mp3", "two.MP3", "three.aif", "four.AIF"};
  Paths expected;
  for (const auto& entry : fs::directory_iterator(dir_.file("album")))
    if (taken.contains(entry.path().filename().string())) expected.push_back(entry.path().string());
  EXPECT_EQ(folderTracks(dir_.file("album")), expected);
  EXPECT_TRUE(opener_.openFiles({dir_.file("album")}));
  EXPECT_EQ(groups, std::vector<Paths>{expected});
  EXPECT_EQ(recentGroups, Paths{dir_.file("album")});
  // A folder without tracks is told as such, not as a failure; one whose tracks all fail is a failure.
  dir_.write("none/long.aiff", {'x'});
  const std::string bad = dir_.write("bad/a.mp3", kBrokenMp3);
  EXPECT_TRUE(opener_.openFiles({dir_.file("none")}));
  EXPECT_FALSE(opener_.openFiles({dir_.file("bad")}));
  EXPECT_EQ(asked, (Paths{"No tracks found: There are no valid tracks in the folder.",
                          "Open failed: Could not read the file '" + bad + "'.",
                          "Could not open the file: The file 'bad' could not be opened."}));
  EXPECT_EQ(groups.size(), 1u);
}

TEST_F(OpenDocumentsTest, CtrlInvertsTheGroupingPreferenceAndTheFrontEditorsTakeFiles) {
  const std::string path = dir_.write("track.mp3", sampleMp3("Dropped"));
  for (const auto& [preferGroups, held] : {std::pair{false, false}, {false, true}, {true, false}, {true, true}}) {
    SCOPED_TRACE(testing::Message() << preferGroups << held);
    preferences_.setBoolPreferenceNamed("Open dropped files in group", preferGroups);
    ctrl = held;
    EXPECT_TRUE(opener_.openFiles({path}));
    EXPECT_EQ(groups.size(), preferGroups != held ? 1u : 0u);
    EXPECT_EQ(singles.size(), preferGroups != held ? 0u : 1u);
    groups.clear(), singles.clear();
  }
  ctrl = false;
  front = DocumentKind::Group;
  EXPECT_TRUE(opener_.openFiles({path}));
  EXPECT_EQ(addedToFront, Paths{path});
  // The single edit window takes the file only without multiple windows.
  front = DocumentKind::SingleTrack;
  preferences_.setBoolPreferenceNamed("Open dropped files in group", false);
  preferences_.setBoolPreferenceNamed("Edit in multiple windows", false);
  EXPECT_TRUE(opener_.openFiles({path}));
  EXPECT_EQ(replaced, Paths{path});
  preferences_.setBoolPreferenceNamed("Edit in multiple windows", true);
  EXPECT_TRUE(opener_.openFiles({path}));
  EXPECT_EQ(singles, Paths{path});
}

TEST_F(OpenDocumentsTest, FailuresAreToldOnceNothingIsWrittenAndTheNextPathStillOpens) {
  const auto snapshot = [this] {
    std::map<std::string, Bytes> files;
    for (const auto& entry : fs::recursive_directory_iterator(dir_.path()))
      if (entry.is_regular_file()) files[entry.path().string()] = readFile(entry.path().string());
    return files;
  };
  const std::string good = dir_.write("good.mp3", sampleMp3("Good")), other = dir_.write("notes.txt", {'h', 'i'});
  Paths broken;
  for (int i = 0; i < 7; ++i) broken.push_back(dir_.write("broken" + std::to_string(i) + ".mp3", kBrokenMp3));
  const auto before = snapshot();
  EXPECT_FALSE(opener_.openFiles(broken));
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_TRUE(asked[0].starts_with("Could not open any of the specified files: broken0.mp3 (")) << asked[0];
  EXPECT_NE(asked[0].find("\nbroken2.mp3 ("), std::string::npos);
  for (const std::string& bad : {dir_.file("missing.mp3"), other, broken[0]}) {
    asked.clear();
    EXPECT_FALSE(opener_.openFiles({bad})) << bad;
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_TRUE(asked[0].starts_with("Could not open the file: The file '" + displayName(bad) + "' could not be opened: "))
        << asked[0];
  }
  LogCapture log;
  throwOnOpen = true;
  EXPECT_FALSE(opener_.openFiles({good}));
  EXPECT_TRUE(log.has(1, "[DocumentController:cdwcof] error:std::runtime_error - no room")) << log.dump();
  throwOnOpen = false;
  EXPECT_TRUE(opener_.openFiles({good}));
  EXPECT_EQ(singles, Paths{good});
  EXPECT_EQ(snapshot(), before);
}

TEST_F(OpenDocumentsTest, AFolderWithoutPermissionIsToldAsAFailure) {
  const std::string folder = dir_.file("locked");
  fs::create_directory(folder);
  ::chmod(folder.c_str(), 0);
  const bool readable = ::access(folder.c_str(), R_OK) == 0;  // as the superuser, who reads any folder
  LogCapture log;
  const bool opened = opener_.openFiles({folder});
  ::chmod(folder.c_str(), 0755);
  if (readable) GTEST_SKIP() << "running with the right to read any folder";
  EXPECT_FALSE(opened);
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_NE(asked[0].find("Could not open the file: The file 'locked' could not be opened: the folder cannot be read"),
            std::string::npos);
  EXPECT_TRUE(log.has(1, "[DocumentController:cgff] error:std::filesystem::__cxx11::filesystem_error")) << log.dump();
}

}  // namespace
}  // namespace melos::test
