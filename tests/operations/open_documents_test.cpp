// The opening rules over real files in temporary folders: which editor takes
// each path, what a folder gives, and what the user is told when paths fail.

#include "operations/open_documents.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>
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

struct Asked {
  std::string title;
  std::string message;
};

class AnsweringQuestions : public Questions {
 public:
  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override {
    asked.push_back({title, message});
    return buttons.empty() ? std::string() : buttons.front();
  }
  std::vector<Asked> asked;
};

// Opens tracks for real, as the editors do, and notes which editor took what.
class RecordingHost : public DocumentHost {
 public:
  explicit RecordingHost(Questions& questions) : questions_(questions) {}

  std::optional<DocumentKind> frontKind() const override { return front; }
  bool frontIsSingleEditWindow() const override { return singleEditWindow; }
  bool addTrackToFrontGroup(const std::string& path) override {
    if (throwOnOpen) throw std::runtime_error("no room");
    if (!readable(path)) return false;
    addedToFront.push_back(path);
    return true;
  }
  bool openGroup(const std::vector<std::string>& paths) override {
    std::vector<std::string> added;
    for (const std::string& path : paths) {
      if (readable(path)) added.push_back(path);
      else tell(questions_, "Open failed", "Could not read the tag information from the file '" + path + "'.");
    }
    if (added.empty()) return false;
    groups.push_back(added);
    front = DocumentKind::Group;
    return true;
  }
  bool replaceFrontTrack(const std::string& path, std::string& cause) override {
    return open(path, cause, replaced);
  }
  bool openSingleTrack(const std::string& path, std::string& cause) override {
    if (throwOnOpen) throw std::runtime_error("no room");
    if (!open(path, cause, singles)) return false;
    front = DocumentKind::SingleTrack;
    return true;
  }
  void noteRecentGroup(const std::string& folder) override { recentGroups.push_back(folder); }

  std::optional<DocumentKind> front;
  bool singleEditWindow = false;
  bool throwOnOpen = false;
  std::vector<std::string> singles, replaced, addedToFront, recentGroups;
  std::vector<std::vector<std::string>> groups;

 private:
  static bool readable(const std::string& path) { return openTrackFile(path, kScanQuick).opened(); }
  static bool open(const std::string& path, std::string& cause, std::vector<std::string>& into) {
    TrackFile file = openTrackFile(path, kScanQuick);
    if (!file.opened()) {
      cause = file.cause;
      return false;
    }
    into.push_back(path);
    return true;
  }
  Questions& questions_;
};

// A file whose ID3 header claims far more than the file holds, and nothing
// else, as the fuzzer's corpus has many.
Bytes brokenMp3() { return {'I', 'D', '3', 3, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F, 0xFF, 0xFB, 0x90}; }

std::map<std::string, Bytes> snapshot(const std::string& folder) {
  std::map<std::string, Bytes> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) files[entry.path().string()] = readFile(entry.path().string());
  return files;
}

class OpenDocumentsTest : public ::testing::Test {
 protected:
  OpenDocumentsTest()
      : preferences_(std::make_unique<MemoryPreferenceStore>(), dir_.path()),
        host_(questions_),
        opener_(host_, questions_, preferences_, [this] { return ctrl_; }) {}

  std::vector<std::string> brokenFiles(size_t count) {
    std::vector<std::string> paths;
    for (size_t i = 0; i < count; ++i)
      paths.push_back(dir_.write("broken" + std::to_string(i) + ".mp3", brokenMp3()));
    return paths;
  }

  TempDir dir_;
  PreferencesController preferences_;
  AnsweringQuestions questions_;
  RecordingHost host_;
  bool ctrl_ = false;
  DocumentOpener opener_;
};

TEST_F(OpenDocumentsTest, FolderWithoutTracksTellsNoTracksAndReportsNoFailure) {
  const std::string folder = dir_.path() + "/empty-of-tracks";
  fs::create_directory(folder);
  std::ofstream(folder + "/notes.txt") << "text";
  std::ofstream(folder + "/long.aiff") << "x";
  fs::create_directory(folder + "/inner.mp3.d");
  EXPECT_TRUE(opener_.openFiles({folder}));
  ASSERT_EQ(questions_.asked.size(), 1u);
  EXPECT_EQ(questions_.asked[0].title, "No tracks found");
  EXPECT_EQ(questions_.asked[0].message, "There are no valid tracks in the folder.");
  EXPECT_TRUE(host_.groups.empty());
}

TEST_F(OpenDocumentsTest, FolderGivesItsMp3AndAifEntriesInDirectoryOrderWithoutDescending) {
  const std::string folder = dir_.path() + "/album";
  fs::create_directory(folder);
  fs::create_directory(folder + "/disc2");
  std::ofstream(folder + "/disc2/deep.mp3") << "never taken";
  TempDir scratch;
  const std::map<std::string, Bytes> entries = {
      {"one.mp3", sampleMp3("One")},     {"two.MP3", sampleMp3("Two")},
      {"three.aif", sampleAiff("Three")}, {"four.AIF", sampleAiff("Four")},
      {"five.aiff", sampleAiff("Five")},  {"six.tdf", sampleTagData("Six")},
      {"mp3", sampleMp3("bare")}};
  for (const auto& [name, bytes] : entries) {
    std::ofstream out(folder + "/" + name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  std::vector<std::string> expected;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name == "one.mp3" || name == "two.MP3" || name == "three.aif" || name == "four.AIF")
      expected.push_back(folder + "/" + name);
  }
  EXPECT_EQ(folderTracks(folder), expected);
  EXPECT_TRUE(opener_.openFiles({folder}));
  ASSERT_EQ(host_.groups.size(), 1u);
  EXPECT_EQ(host_.groups[0], expected);
  EXPECT_EQ(host_.recentGroups, std::vector<std::string>{folder});
  EXPECT_TRUE(questions_.asked.empty());
}

TEST(FolderTrackNames, TakeTheLastFourCharactersOnly) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"a.mp3", true},  {"A.MP3", true},     {"b.aif", true},   {"b.Aif", true},
      {"c.aiff", false}, {"d.tdf", false},   {"e.mp3.txt", false}, {".mp3", true},
      {"mp3", false},   {"x.mp2", false},    {"song.wav", false}, {"aif", false}};
  for (const auto& [name, taken] : cases) EXPECT_EQ(isFolderTrackName(name), taken) << name;
}

struct GroupingCase {
  bool preferGroups;
  bool ctrl;
  bool expectGroup;
};

TEST_F(OpenDocumentsTest, CtrlInvertsTheGroupingPreferenceBothWays) {
  const std::vector<GroupingCase> cases = {
      {false, false, false}, {false, true, true}, {true, false, true}, {true, true, false}};
  for (const GroupingCase& c : cases) {
    RecordingHost host(questions_);
    bool ctrl = c.ctrl;
    DocumentOpener opener(host, questions_, preferences_, [&] { return ctrl; });
    preferences_.setBoolPreferenceNamed("Open dropped files in group", c.preferGroups);
    const std::string path = dir_.write("track.mp3", sampleMp3("Dropped"));
    EXPECT_TRUE(opener.openFiles({path}));
    EXPECT_EQ(host.groups.size(), c.expectGroup ? 1u : 0u) << c.preferGroups << c.ctrl;
    EXPECT_EQ(host.singles.size(), c.expectGroup ? 0u : 1u) << c.preferGroups << c.ctrl;
  }
}

TEST_F(OpenDocumentsTest, AFileForAGroupGoesIntoTheFrontGroup) {
  preferences_.setBoolPreferenceNamed("Open dropped files in group", true);
  host_.front = DocumentKind::Group;
  const std::string path = dir_.write("more.mp3", sampleMp3("More"));
  EXPECT_TRUE(opener_.openFiles({path}));
  EXPECT_EQ(host_.addedToFront, std::vector<std::string>{path});
  EXPECT_TRUE(host_.groups.empty());
}

TEST_F(OpenDocumentsTest, TheSingleEditWindowTakesTheFileOnlyWithoutMultipleWindows) {
  const std::string path = dir_.write("next.mp3", sampleMp3("Next"));
  host_.front = DocumentKind::SingleTrack;
  host_.singleEditWindow = true;
  preferences_.setBoolPreferenceNamed("Edit in multiple windows", false);
  EXPECT_TRUE(opener_.openFiles({path}));
  EXPECT_EQ(host_.replaced, std::vector<std::string>{path});
  preferences_.setBoolPreferenceNamed("Edit in multiple windows", true);
  EXPECT_TRUE(opener_.openFiles({path}));
  EXPECT_EQ(host_.singles, std::vector<std::string>{path});
}

TEST_F(OpenDocumentsTest, SevenFailuresListThreeNamesAndOthers) {
  EXPECT_FALSE(opener_.openFiles(brokenFiles(7)));
  ASSERT_EQ(questions_.asked.size(), 1u);
  EXPECT_EQ(questions_.asked[0].title, "Could not open any of the specified files");
  const std::string& message = questions_.asked[0].message;
  EXPECT_EQ(message.rfind("broken0.mp3 (", 0), 0u) << message;
  EXPECT_NE(message.find("\nbroken1.mp3 ("), std::string::npos);
  EXPECT_NE(message.find("\nbroken2.mp3 ("), std::string::npos);
  EXPECT_EQ(message.find("broken3.mp3"), std::string::npos);
  EXPECT_EQ(message.substr(message.size() - 13), "\n(And others)");
}

TEST_F(OpenDocumentsTest, FiveFailuresListAllFive) {
  std::vector<std::string> paths = brokenFiles(5);
  paths.push_back(dir_.write("good.mp3", sampleMp3("Good")));
  EXPECT_TRUE(opener_.openFiles(paths));
  ASSERT_EQ(questions_.asked.size(), 1u);
  EXPECT_EQ(questions_.asked[0].title, "Could not open some of the specified files");
  const std::string& message = questions_.asked[0].message;
  for (int i = 0; i < 5; ++i) EXPECT_NE(message.find("broken" + std::to_string(i) + ".mp3"), std::string::npos);
  EXPECT_EQ(message.find("(And others)"), std::string::npos);
  EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 4);
  EXPECT_EQ(host_.singles.size(), 1u);
}

TEST(OpenFailuresAlert, ListsAllBelowSixAndThreeFromSixOn) {
  for (size_t count = 2; count <= 8; ++count) {
    std::vector<OpenFailure> failures;
    for (size_t i = 0; i < count; ++i) failures.push_back({"/music/f" + std::to_string(i) + ".mp3", ""});
    const Alert alert = openFailuresAlert(failures, false);
    const size_t lines = static_cast<size_t>(std::count(alert.message.begin(), alert.message.end(), '\n')) + 1;
    EXPECT_EQ(lines, count < 6 ? count : 4u) << count;
    EXPECT_EQ(alert.message.find("(And others)") != std::string::npos, count >= 6) << count;
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"OK"});
  }
}

TEST(OpenFailuresAlert, OneFailureShowsItsDescription) {
  const Alert alert = openFailuresAlert({{"/music/gone.mp3", "the file does not exist"}}, false);
  EXPECT_EQ(alert.title, "Could not open the file");
  EXPECT_EQ(alert.message, "The file 'gone.mp3' could not be opened: the file does not exist.");
}

TEST(DisplayName, IsTheLastComponentElseThePath) {
  EXPECT_EQ(displayName("/a/b/c.mp3"), "c.mp3");
  EXPECT_EQ(displayName("/a/folder/"), "folder");
  EXPECT_EQ(displayName("plain.mp3"), "plain.mp3");
  EXPECT_EQ(displayName("/"), "/");
}

TEST_F(OpenDocumentsTest, BadInputIsToldAndNothingIsWritten) {
  const std::string missing = dir_.path() + "/missing.mp3";
  const std::string otherKind = dir_.write("notes.txt", {'h', 'i'});
  const std::string broken = dir_.write("broken.mp3", brokenMp3());
  const std::string good = dir_.write("good.mp3", sampleMp3("Good"));
  const auto before = snapshot(dir_.path());
  for (const std::string& bad : {missing, otherKind, broken}) {
    questions_.asked.clear();
    EXPECT_FALSE(opener_.openFiles({bad})) << bad;
    ASSERT_EQ(questions_.asked.size(), 1u) << bad;
    EXPECT_EQ(questions_.asked[0].title, "Could not open the file");
    EXPECT_NE(questions_.asked[0].message.find(displayName(bad)), std::string::npos);
  }
  EXPECT_NE(questions_.asked[0].message.find("could not be opened: "), std::string::npos);
  // The program goes on: the next good file opens.
  EXPECT_TRUE(opener_.openFiles({good}));
  EXPECT_EQ(host_.singles, std::vector<std::string>{good});
  EXPECT_EQ(snapshot(dir_.path()), before);
}

TEST_F(OpenDocumentsTest, AFolderWithoutPermissionIsToldAsAFailure) {
  const std::string folder = dir_.path() + "/locked";
  fs::create_directory(folder);
  dir_.write("locked/inside.mp3", sampleMp3("Inside"));
  ::chmod(folder.c_str(), 0);
  // The superuser reads any folder; the rule cannot be seen then.
  if (::access(folder.c_str(), R_OK) == 0) {
    ::chmod(folder.c_str(), 0755);
    GTEST_SKIP() << "running with the right to read any folder";
  }
  LogCapture log;
  EXPECT_FALSE(opener_.openFiles({folder}));
  ::chmod(folder.c_str(), 0755);
  ASSERT_EQ(questions_.asked.size(), 1u);
  EXPECT_EQ(questions_.asked[0].title, "Could not open the file");
  EXPECT_NE(questions_.asked[0].message.find("the folder cannot be read"), std::string::npos);
  EXPECT_TRUE(log.has(1, "[DocumentController:cgff] error:std::filesystem::__cxx11::filesystem_error"))
      << log.dump();
}

TEST_F(OpenDocumentsTest, AnExceptionIsLoggedAndTheNextPathStillOpens) {
  LogCapture log;
  host_.throwOnOpen = true;
  const std::string first = dir_.write("first.mp3", sampleMp3("First"));
  EXPECT_FALSE(opener_.openFiles({first}));
  EXPECT_TRUE(log.has(1, "[DocumentController:cdwcof] error:std::runtime_error - no room")) << log.dump();
  host_.throwOnOpen = false;
  EXPECT_TRUE(opener_.openFiles({first}));
}

TEST_F(OpenDocumentsTest, AGroupOfUnreadableTracksTellsEachAndFails) {
  const std::string folder = dir_.path() + "/bad-album";
  fs::create_directory(folder);
  dir_.write("bad-album/a.mp3", brokenMp3());
  EXPECT_FALSE(opener_.openFiles({folder}));
  ASSERT_EQ(questions_.asked.size(), 2u);
  EXPECT_EQ(questions_.asked[0].title, "Open failed");
  EXPECT_EQ(questions_.asked[1].title, "Could not open the file");
}

}  // namespace
}  // namespace melos::test
