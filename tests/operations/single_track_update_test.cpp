// The single-track editor without its window: the update in its order of
// steps with every question and alert, the copies between the tag versions,
// revert, and moving through a set of tracks.

#include "operations/single_track_update.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>

#include "engine/log.h"
#include "engine/text.h"
#include "engine/v2_update.h"
#include "tests/operations/update_fixtures.h"
#include "tests/support/log_capture.h"

namespace melos {
namespace {

using test::readFile;
using test::reopened;
using Strings = std::vector<std::string>;
using Navigation = std::array<bool, 3>;

const std::string kV1Verify = "Verification of the updated V1 tag failed";
UnicodeText latin(const char* text) { return UnicodeText::latin1(text); }

class RecordingView : public EditorView {
 public:
  void updateV1TagData(ID3Tag& track) override {
    calls.push_back("V1");
    if (editV1) editV1(track);
  }
  void updateV2TagData(ID3Tag& track, bool allowUnicode) override {
    calls.push_back(allowUnicode ? "V2 unicode" : "V2");
    if (editV2) editV2(track);
  }
  void initTagWindow(const ID3Tag& track) override { shown.push_back(track.path()); }
  void showFileName(const std::string& path) override { fileNames.push_back(path); }
  IconResult setFileIcon(const ID3Tag&) override { return ++icons, icon; }
  void closeWindow() override { ++closes; }
  void enableNavigation(bool previous, bool next, bool close) override { navigation = {previous, next, close}; }

  Strings calls, shown, fileNames;
  int closes = 0, icons = 0;
  IconResult icon = IconResult::Set;
  Navigation navigation{true, true, true};
  std::function<void(ID3Tag&)> editV1, editV2;
};

class SingleTrackTest : public ::testing::Test, public test::TrackFiles {
 protected:
  SingleTrackTest() { settings.setFileIcon = false; }
  void addTracks(int count) {
    for (int n = 1; n <= count; ++n)
      tracks.add(test::openTrack(addFile("track" + std::to_string(n) + ".mp3", test::numberedTrack(n))));
  }
  SingleTrackEditor editor(bool multiWindow = false) {
    return SingleTrackEditor(tracks, questions, view, fixedSettings(settings), writer, multiWindow);
  }

  RecordingView view;
  TrackSet tracks{TrackSet::Tracks{}};
};

TEST_F(SingleTrackTest, UpdateSavesBothTagsInItsOrderOfSteps) {
  addTracks(1);
  view.editV2 = [](ID3Tag& track) { track.tagData.album = latin("Edited"); };
  view.editV1 = [](ID3Tag& track) { track.v1.album = "Edited V1"; };
  tracks.current().v2Changed = true;
  EXPECT_EQ(editor().updateTag(), UpdateOutcome::Saved);
  const ID3Tag saved = reopened(paths[0]);
  EXPECT_EQ(std::pair(saved.tagData.album, saved.v1.album), std::pair(latin("Edited"), std::string("Edited V1")));
  // Reverted from the file: the window shows what was stored.
  EXPECT_EQ(view.shown, Strings{paths[0]});
  EXPECT_EQ(tracks.current().tagData.album, latin("Edited"));
  EXPECT_FALSE(tracks.current().v1Changed || tracks.current().v2Changed);
  EXPECT_TRUE(questions.asked().empty());
  settings.allowUnicode = false;
  editor().updateTag();
  EXPECT_EQ(view.calls, (Strings{"V1", "V2 unicode", "V1", "V2"}));
}

// Another program saved the file after the editor read it: its changes are
// written over only when the user says so.
TEST_F(SingleTrackTest, AFileChangedOnDiskIsWrittenOverOnlyWhenAsked) {
  const struct {
    const char* answer;
    UpdateOutcome outcome;
    const char* titleOnDisk;
    const char* titleShown;
  } rows[] = {{"Cancel", UpdateOutcome::Declined, "Theirs", "Mine"},
              {"Reload", UpdateOutcome::Declined, "Theirs", "Theirs"},
              {"Overwrite", UpdateOutcome::Saved, "Mine", "Mine"}};
  view.editV2 = [](ID3Tag& track) { track.tagData.title = latin("Mine"); };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answer);
    const std::string path = dir.write(std::string(row.answer) + ".mp3", test::numberedTrack(1));
    TrackSet held(test::openTrack(path));
    const std::unique_ptr<ID3Tag> other = test::openTrack(path);
    other->tagData.title = latin("Theirs");
    ASSERT_EQ(updateV2ToTrack(*other, false, 3, false, false, 0), kSaveOk);
    held.current().tagData.title = latin("Mine");
    held.current().v2Changed = true;
    test::ScriptedQuestions asked;
    asked.answer("The file has changed on disk", {row.answer});
    EXPECT_EQ(SingleTrackEditor(held, asked, view, fixedSettings(settings), writer).updateTag(), row.outcome);
    EXPECT_EQ(reopened(path).tagData.title, latin(row.titleOnDisk));
    EXPECT_EQ(held.current().tagData.title, latin(row.titleShown));
    ASSERT_EQ(asked.asked().size(), 1u);
    EXPECT_EQ(asked.asked()[0].buttons, (Strings{"Reload", "Overwrite", "Cancel"}));
  }
}

// Fields the chosen version cannot hold: "No" writes nothing, "Yes" saves
// without them and verifies, and a version that holds them asks nothing.
// Only the first field lost is named.
TEST_F(SingleTrackTest, SavesThatWouldLoseFields) {
  const struct {
    int version;
    const char* answer;
    UpdateOutcome outcome;
    int savedVersion;  // 0: the file is untouched
  } rows[] = {{3, "No", UpdateOutcome::Declined, 0}, {3, "Yes", UpdateOutcome::Saved, 3}, {0, nullptr, UpdateOutcome::Saved, 4}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.version);
    test::TempDir folder;
    const std::string path = folder.write("a.mp3", test::numberedTrack(1));
    TrackSet one(test::openTrack(path));
    test::ScriptedQuestions asked;
    settings.tag2SaveVersion = row.version;
    TagData& d = one.current().tagData;
    d.releasetime = "2001";
    d.recordtime = "2001-02-03";
    d.mood = "Calm";
    if (row.answer) asked.answer("Updating this track will result in the loss of the tag field 'Release time'", {row.answer});
    EXPECT_EQ(SingleTrackEditor(one, asked, view, fixedSettings(settings), writer).updateTag(), row.outcome);
    const ID3Tag saved = reopened(path);
    EXPECT_EQ(readFile(path) == test::numberedTrack(1), row.savedVersion == 0);
    EXPECT_EQ(saved.v2Version, row.savedVersion ? row.savedVersion : 3);
    const bool kept = row.savedVersion == 4;
    EXPECT_EQ(std::tuple(saved.tagData.releasetime.empty(), saved.tagData.recordtime.empty(), saved.tagData.mood.empty()),
              std::tuple(!kept, !kept, !kept));
    // Only the one question: the save verified.
    EXPECT_EQ(asked.asked().size(), row.answer ? 1u : 0u);
  }
}

// A read-only file is written only when the user says so and it can be
// unlocked.
TEST_F(SingleTrackTest, ReadOnlyFiles) {
  const struct {
    const char* answer;
    bool unlockFails;
    UpdateOutcome outcome;
    int unlocks;
  } rows[] = {{"No", false, UpdateOutcome::Declined, 0}, {"Yes", true, UpdateOutcome::Declined, 1},
              {"Yes", false, UpdateOutcome::Saved, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.answer) + (row.unlockFails ? ", cannot unlock" : ""));
    test::TempDir folder;
    const std::string path = folder.write("a.mp3", test::numberedTrack(1));
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    TrackSet one(test::openTrack(path));
    one.current().readOnly = true;
    one.current().tagData.album = latin("Unlocked");
    test::ScriptedQuestions asked;
    asked.answer("Updating a read only or locked file", {row.answer});
    test::ForcingWriter w;
    w.failUnlock = row.unlockFails;
    EXPECT_EQ(SingleTrackEditor(one, asked, view, fixedSettings(settings), w).updateTag(), row.outcome);
    EXPECT_EQ(w.unlocks, row.unlocks);
    const bool saved = row.outcome == UpdateOutcome::Saved;
    EXPECT_EQ(readFile(path) == test::numberedTrack(1), !saved);
    EXPECT_EQ(one.current().readOnly, !saved);
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ((st.st_mode & S_IWUSR) != 0, saved);
    EXPECT_EQ(asked.messages("Failed to make the file writable").size(), row.unlockFails ? 1u : 0u);
  }
}

// Every alert and question of a failed step: a failed V1 verification asks
// whether to go on, a failed V2 verification, the last step, is only shown.
TEST_F(SingleTrackTest, FailureAlerts) {
  using Setup = std::function<void(test::ForcingWriter&, SaveSettings&, ID3Tag&)>;
  const std::string reload =
      "Please reload the track and check that the details are correct (see melos.log for more details).";
  const std::string unchanged = "Note: The original has not been changed.";
  const Setup v1NotVerified = [](test::ForcingWriter& w, SaveSettings&, ID3Tag&) { w.forceV1 = 7; };
  const struct {
    Setup setUp;
    const char* answer;  // to the V1 verification question
    UpdateOutcome outcome;
    std::string title, message;
    int v2Saves;
  } rows[] = {
      {[](test::ForcingWriter& w, SaveSettings&, ID3Tag&) { w.failV2Before = 2; }, nullptr, UpdateOutcome::Failed,
       "Failed to update the version 2 tag",
       "Note: The version 1 tag has been updated but the original version 2 has not been changed.", 1},
      {[](test::ForcingWriter& w, SaveSettings&, ID3Tag& t) { w.failV2Before = 4, t.v1.enabled = t.v1Loaded = false; },
       nullptr, UpdateOutcome::Failed, "Failed to update the tags", unchanged, 1},
      {[](test::ForcingWriter& w, SaveSettings& s, ID3Tag&) { w.failRename = s.renameUpdate = true; }, nullptr,
       UpdateOutcome::RenameFailed, "Failed to change the file name",
       "Failed to rename the file to the track title or move it to a folder based on the track details.", 1},
      {v1NotVerified, "No", UpdateOutcome::Declined, kV1Verify, reload + " Would you like to continue?", 0},
      {v1NotVerified, "Yes", UpdateOutcome::Saved, kV1Verify, reload + " Would you like to continue?", 1},
      // Saved as "17", read back as "Rock".
      {[](test::ForcingWriter&, SaveSettings&, ID3Tag& t) { t.tagData.genre = latin("17"); }, nullptr,
       UpdateOutcome::Saved, "Verification of the updated V2 tag failed", reload, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title + (row.answer ? row.answer : ""));
    test::TempDir folder;
    TrackSet one(test::openTrack(folder.write("a.mp3", test::numberedTrack(1))));
    test::ScriptedQuestions asked;
    if (row.answer) asked.answer(kV1Verify, {row.answer});
    test::ForcingWriter failing;
    SaveSettings s = settings;
    row.setUp(failing, s, one.current());
    test::LogCapture log;
    EXPECT_EQ(SingleTrackEditor(one, asked, view, fixedSettings(s), failing).updateTag(), row.outcome);
    // Only a "No" ends the update before its last step.
    EXPECT_EQ(log.hasText("Finished updating"), row.outcome != UpdateOutcome::Declined);
    ASSERT_EQ(asked.asked().size(), 1u);
    EXPECT_EQ(asked.asked()[0].title, row.title);
    EXPECT_EQ(asked.asked()[0].message, row.message);
    EXPECT_EQ(failing.v2Saves, row.v2Saves);
  }
}

// A V1 tag that failed leaves the file as it was: no V2 save, no rename.
TEST_F(SingleTrackTest, V1FailureStopsTheUpdateBeforeTheV2SaveAndTheRename) {
  addTracks(1);
  settings.renameUpdate = true;
  writer.failV1Before = 5;
  EXPECT_EQ(editor().updateTag(), UpdateOutcome::Failed);
  EXPECT_EQ(questions.messages("Failed to update the tags"), Strings{"Note: The original has not been changed."});
  EXPECT_EQ(writer.v2Saves + writer.renames, 0);
  EXPECT_TRUE(untouched(0));
}

TEST_F(SingleTrackTest, RenameOrCreateFolderShowsTheNewName) {
  addTracks(1);
  settings.renameUpdate = true;
  EXPECT_EQ(editor().updateTag(), UpdateOutcome::Saved);
  const std::string renamed = dir.file("01-Song 1.mp3");
  EXPECT_EQ(tracks.current().path(), renamed);
  EXPECT_EQ(view.fileNames, Strings{renamed});
  EXPECT_EQ(view.shown.back(), renamed);
  settings.renameUpdate = false;
  settings.createFolder = true;  // alone, it files the track too
  EXPECT_EQ(editor().updateTag(), UpdateOutcome::Saved);
  EXPECT_EQ(writer.renames, 2);
}

TEST_F(SingleTrackTest, CloseWindowOnlyForAMultiWindowEditor) {
  addTracks(1);
  editor(false).updateTag();
  editor(true).updateTag();
  settings.closeWindow = false;
  editor(true).updateTag();
  EXPECT_EQ(view.closes, 1);
}

TEST_F(SingleTrackTest, FileIconFailuresAreLoggedNotShown) {
  addTracks(1);  // the track has a picture
  settings.setFileIcon = true;
  const std::pair<IconResult, std::string> rows[] = {
      {IconResult::ImageFailed, "Failed to create the image for the icon for track "},
      {IconResult::SetFailed, "Failed to set the icon for track "}};
  for (const auto& [result, line] : rows) {
    view.icon = result;
    test::LogCapture log;
    editor().updateTag();
    EXPECT_TRUE(log.has(LogError, line + paths[0])) << log.dump();
  }
  EXPECT_TRUE(questions.asked().empty());
  settings.setFileIcon = false;
  editor().updateTag();
  EXPECT_EQ(view.icons, 2);
}

// The copy replaces the fields the V1 tag holds and clears the track total
// and the lyrics; the rest of the V2 tag stays. Other than MP3: no copy.
TEST_F(SingleTrackTest, CopyV1ToV2) {
  TrackSet set(std::make_unique<ID3Tag>());
  ID3Tag& t = set.current();
  t.v1 = V1Tag{true, "T1", "A1", "L1", "1999", "C1", 7, 17};
  t.tagData.tracks = 12;
  t.tagData.lyrics = latin("words");
  t.tagData.composer = latin("kept");
  SingleTrackEditor e(set, questions, view, fixedSettings(settings), writer);
  e.copyV1ToV2();
  EXPECT_FALSE(t.v2Changed || t.tagData.title == latin("T1"));
  t.isMp3File = true;
  TagData expected = t.tagData;
  expected.enabled = true;
  expected.title = latin("T1"), expected.artist = latin("A1"), expected.album = latin("L1");
  expected.year = "1999", expected.comment = latin("C1"), expected.genre = latin("Rock");
  expected.track = 7, expected.tracks = kUnsetNumber, expected.lyrics = {};
  e.copyV1ToV2();
  EXPECT_EQ(t.tagData, expected);
  EXPECT_TRUE(t.v2Changed && !t.v1Changed);
  EXPECT_EQ(view.calls, (Strings{"V1", "V2 unicode"}));
  t.v1.genre = t.v1.track = kUnsetV1;
  e.copyV1ToV2();
  EXPECT_TRUE(t.tagData.genre.empty());  // no genre selected
  EXPECT_EQ(t.tagData.track, kUnsetNumber);
}

TEST_F(SingleTrackTest, CopyV2ToV1) {
  TrackSet set(std::make_unique<ID3Tag>());
  ID3Tag& t = set.current();
  t.isMp3File = true;
  t.tagData.enabled = true;
  t.tagData.title = UnicodeText::utf16(u"Caf\u00e9 \u00c7a \u4e2d");
  t.tagData.artist = latin(std::string(40, 'a').c_str());
  t.tagData.album = latin("Album");
  t.tagData.comment = latin("Comment");
  t.tagData.year = "2004";
  t.tagData.track = 300;
  t.tagData.genre = latin("Jazz");
  SingleTrackEditor e(set, questions, view, fixedSettings(settings), writer);
  e.copyV2ToV1();
  // Latin-1 keeps 233 and 199; U+4E2D has no Latin-1 form. The writer cuts
  // the artist to its width, not the copy; 300 is track 44 in V1.
  EXPECT_EQ(t.v1, (V1Tag{true, "Caf\xE9 \xC7" "a ?", std::string(40, 'a'), "Album", "2004", "Comment", 44, 8}));
  EXPECT_TRUE(t.v1Changed);
  const struct {
    std::u16string genre;
    uint16_t track;
    uint8_t v1Genre, v1Track;
  } rows[] = {{u"Hard Rock", 1, 79, 1}, {u"jazz", kUnsetNumber, 8, kUnsetV1}, {u"Bebop-ish", 256, 12, kUnsetV1},
              {u"", 12, 12, 12}};
  for (const auto& row : rows) {
    t.tagData.genre = UnicodeText::utf16(row.genre);
    t.tagData.track = row.track;
    e.copyV2ToV1();
    EXPECT_EQ(std::pair(t.v1.genre, t.v1.track), std::pair(row.v1Genre, row.v1Track)) << u16ToUtf8(row.genre);
  }
}

TEST_F(SingleTrackTest, AlwaysApplyPutsTheCurrentDefaultSetOnTheUpdate) {
  addTracks(1);
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), dir.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");
  view.editV2 = [](ID3Tag& track) { track.tagData.album = latin("Typed"); };
  tracks.current().v2Changed = true;
  EXPECT_EQ(SingleTrackEditor(tracks, questions, view, settingsFrom(prefs), writer).updateTag(), UpdateOutcome::Saved);
  EXPECT_EQ(reopened(paths[0]).tagData.album, latin("Default album"));
}

TEST_F(SingleTrackTest, HandlersLogWhatTheyCatch) {
  addTracks(1);
  view.editV1 = [](ID3Tag&) { throw std::runtime_error("boom"); };
  test::LogCapture log;
  editor().copyV1ToV2();
  editor().copyV2ToV1();
  EXPECT_EQ(editor().updateTag(), UpdateOutcome::Failed);
  for (const char* handler : {"cv1tv2bp", "cv2tv1bp", "ut"})
    EXPECT_TRUE(log.has(LogError, std::string("[ID3TagController:") + handler + "] error:std::runtime_error - boom"))
        << log.dump();
  EXPECT_TRUE(untouched(0));
}

TEST_F(SingleTrackTest, RevertDiscardsEditsAndKeepsTheFileFacts) {
  addTracks(1);
  ID3Tag& t = tracks.current();
  const uint64_t size = t.fileSize;
  const AudioInfo audio = t.audio;
  t.tagData.title = latin("Edited");
  t.v1.title = "Edited";
  t.v2Changed = t.v1Changed = true;
  editor().revert();
  EXPECT_EQ(std::pair(t.tagData.title, t.v1.title), std::pair(latin("Song 1"), std::string("V1 Song 1")));
  EXPECT_EQ(std::pair(t.fileSize, t.audio), std::pair(size, audio));
  EXPECT_FALSE(t.v1Changed || t.v2Changed);
  EXPECT_EQ(view.shown, Strings{paths[0]});
}

TEST(TrackSetTest, StepsStayInsideTheSet) {
  TrackSet::Tracks list;
  for (int i = 0; i < 3; ++i) list.push_back(std::make_unique<ID3Tag>());
  TrackSet set(std::move(list));
  set.stepBack();
  EXPECT_EQ(set.position(), 0u);
  for (int i = 0; i < 3; ++i) set.stepOn();
  EXPECT_EQ(set.position(), 2u);
  EXPECT_TRUE(set.removeCurrent());
  EXPECT_EQ(set.position(), 1u);  // it was the last: one back
  set.stepBack();
  EXPECT_TRUE(set.removeCurrent());
  EXPECT_FALSE(set.removeCurrent());  // the last track stays
  EXPECT_EQ(std::pair(set.position(), set.count()), std::pair(size_t{0}, size_t{1}));
  EXPECT_FALSE(set.moveTo(1));
}

TEST_F(SingleTrackTest, NextAndPreviousWithoutChangesAskNothing) {
  addTracks(3);
  SingleTrackEditor e = editor();
  EXPECT_TRUE(e.nextTrack());
  EXPECT_EQ(view.navigation, (Navigation{true, true, true}));
  EXPECT_TRUE(e.nextTrack());
  EXPECT_EQ(view.navigation, (Navigation{true, false, true}));
  EXPECT_FALSE(e.nextTrack());  // never past the last
  EXPECT_EQ(tracks.position(), 2u);
  EXPECT_TRUE(e.previousTrack());
  EXPECT_TRUE(e.previousTrack());
  EXPECT_EQ(view.navigation, (Navigation{false, true, true}));
  EXPECT_FALSE(e.previousTrack());
  EXPECT_EQ(view.fileNames.back(), paths[0]);
  EXPECT_TRUE(questions.asked().empty());
}

TEST_F(SingleTrackTest, LeavingAChangedTrackAsksToSave) {
  addTracks(2);
  SingleTrackEditor e = editor();
  tracks.current().tagData.album = latin("Unsaved");
  e.changedV2();
  questions.answer("Do you want to save changes?", {"Cancel", "Don't save", "Save"});
  EXPECT_FALSE(e.nextTrack());
  EXPECT_EQ(tracks.current().tagData.album, latin("Unsaved"));
  EXPECT_TRUE(e.nextTrack());  // "Don't save": the edits are gone
  EXPECT_EQ(tracks.at(0).tagData.album, latin("Old Album 1"));
  EXPECT_TRUE(untouched(0));
  tracks.current().tagData.album = latin("Saved");
  e.changedV2();
  EXPECT_TRUE(e.previousTrack());  // "Save"
  EXPECT_EQ(reopened(paths[1]).tagData.album, latin("Saved"));
  EXPECT_EQ(tracks.position(), 0u);
}

TEST_F(SingleTrackTest, ClosingATrackOfTheSet) {
  addTracks(3);
  SingleTrackEditor e = editor();
  e.nextTrack();
  e.nextTrack();
  view.shown.clear();
  tracks.current().v1Changed = true;
  questions.answer("Do you want to save changes?", {"Cancel", "Don't save"});
  EXPECT_FALSE(e.closeTrack());
  EXPECT_EQ(tracks.count(), 3u);
  EXPECT_TRUE(e.closeTrack());  // "Don't save": no reload of the closed track
  EXPECT_EQ(std::pair(tracks.count(), tracks.position()), std::pair(size_t{2}, size_t{1}));  // it was the last
  EXPECT_EQ(view.shown, Strings{paths[1]});
  EXPECT_EQ(view.navigation, (Navigation{true, false, true}));
  // Closing a changed track with "Save" saves it first.
  tracks.current().tagData.album = latin("Closed");
  e.changedV2();
  questions.answer("Do you want to save changes?", {"Save"});
  EXPECT_TRUE(e.closeTrack());
  EXPECT_EQ(reopened(paths[1]).tagData.album, latin("Closed"));
  EXPECT_EQ(tracks.current().path(), paths[0]);
  EXPECT_EQ(view.navigation, (Navigation{false, false, false}));
  EXPECT_FALSE(e.closeTrack());  // only with more than one track
}

}  // namespace
}  // namespace melos
