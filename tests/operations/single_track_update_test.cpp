// The single-track editor without its window: the update in its order of
// steps with every question and alert, the copies between the tag versions,
// revert, and moving through a set of tracks.

#include "operations/single_track_update.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "engine/log.h"
#include "engine/text.h"
#include "engine/v2_update.h"
#include "tests/operations/update_fixtures.h"
#include "tests/support/log_capture.h"

namespace melos {
namespace {

using test::reopened;
using Strings = std::vector<std::string>;
using Navigation = std::array<bool, 3>;
using O = UpdateOutcome;

const std::string kV1Verify = "Verification of the updated V1 tag failed";
const std::string kReload =
    "Please reload the track and check that the details are correct (see melos.log for more details).";
UnicodeText latin(const std::string& text) { return UnicodeText::latin1(text); }

class RecordingView : public EditorView {
 public:
  void updateV1TagData(ID3Tag& track) override { calls.push_back("V1"), editV1 ? editV1(track) : void(); }
  void updateV2TagData(ID3Tag& track, bool unicode) override {
    calls.push_back(unicode ? "V2 unicode" : "V2"), editV2 ? editV2(track) : void();
  }
  void initTagWindow(const ID3Tag& track) override { shown.push_back(track.path()); }
  void showFileName(const std::string& path) override { fileNames.push_back(path); }
  IconResult setFileIcon(const ID3Tag&) override { return icon; }
  void closeWindow() override { ++closes, changedAtClose = onClose && onClose(); }
  void enableNavigation(bool previous, bool next, bool close) override { navigation = {previous, next, close}; }

  Strings calls, shown, fileNames;
  int closes = 0;
  bool changedAtClose = false;
  std::function<bool()> onClose;
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
  // One track of its own, answered from its own script, for the tables.
  O updateOne(test::ScriptedQuestions& asked, test::ForcingWriter& w, const std::function<void(ID3Tag&)>& edit,
              SaveSettings s, bool readOnly = false) {
    addFile("t" + std::to_string(paths.size()) + ".mp3", test::numberedTrack(1));
    EXPECT_EQ(readOnly ? ::chmod(paths.back().c_str(), 0444) : 0, 0);
    TrackSet one(test::openTrack(paths.back()));
    one.current().readOnly = readOnly;
    edit(one.current());
    return SingleTrackEditor(one, asked, view, fixedSettings(s), w).updateTag();
  }

  RecordingView view;
  TrackSet tracks{TrackSet::Tracks{}};
};

// Both tags from the window, saved, and read back into the window; a
// multi-window editor then closes when the preferences say so. The default
// set, always applied, goes over the window's fields.
TEST_F(SingleTrackTest, UpdateSavesBothTagsInItsOrderOfSteps) {
  addTracks(1);
  view.editV2 = [](ID3Tag& track) { track.tagData.album = latin("Edited"); };
  view.editV1 = [](ID3Tag& track) { track.v1.album = "Edited V1"; };
  tracks.current().v2Changed = true;
  EXPECT_EQ(editor().updateTag(), O::Saved);
  const ID3Tag saved = reopened(paths[0]);
  EXPECT_EQ(std::pair(saved.tagData.album, saved.v1.album), std::pair(latin("Edited"), std::string("Edited V1")));
  EXPECT_EQ(std::pair(view.shown, tracks.current().tagData.album), std::pair(Strings{paths[0]}, latin("Edited")));
  EXPECT_FALSE(tracks.current().v1Changed || tracks.current().v2Changed || view.closes || !questions.asked().empty());
  settings.allowUnicode = false;
  SingleTrackEditor closing = editor(true);
  view.onClose = [&] { return closing.isChanged(); };  // the window closes on a saved track
  closing.updateTag();
  settings.closeWindow = false;
  editor(true).updateTag();
  EXPECT_EQ(view.calls, (Strings{"V1", "V2 unicode", "V1", "V2", "V1", "V2"}));
  EXPECT_TRUE(view.closes == 1 && !view.changedAtClose);
  // "Always apply" puts the current default set over what the window holds.
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), dir.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");
  EXPECT_EQ(SingleTrackEditor(tracks, questions, view, settingsFrom(prefs), writer).updateTag(), O::Saved);
  EXPECT_EQ(reopened(paths[0]).tagData.album, latin("Default album"));
}

// Another program saved the file after the editor read it: its changes are
// written over only when the user says so.
TEST_F(SingleTrackTest, AFileChangedOnDiskIsWrittenOverOnlyWhenAsked) {
  const struct { const char* answer; O outcome; const char* onDisk; const char* shown; } rows[] = {
      {"Cancel", O::Declined, "Theirs", "Mine"}, {"Reload", O::Declined, "Theirs", "Theirs"},
      {"Overwrite", O::Saved, "Mine", "Mine"}};
  view.editV2 = [](ID3Tag& track) { track.tagData.title = latin("Mine"); };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answer);
    const std::string path = dir.write(std::string(row.answer) + ".mp3", test::numberedTrack(1));
    TrackSet held(test::openTrack(path));
    const std::unique_ptr<ID3Tag> other = test::openTrack(path);
    other->tagData.title = latin("Theirs");
    ASSERT_EQ(updateV2ToTrack(*other, false, 3, false, false, 0), kSaveOk);
    held.current().tagData.title = latin("Mine");
    test::ScriptedQuestions asked;
    asked.answer("The file has changed on disk", {row.answer});
    EXPECT_EQ(SingleTrackEditor(held, asked, view, fixedSettings(settings), writer).updateTag(), row.outcome);
    EXPECT_EQ(std::pair(reopened(path).tagData.title, held.current().tagData.title), std::pair(latin(row.onDisk), latin(row.shown)));
    ASSERT_EQ(asked.asked().size(), 1u);
    EXPECT_EQ(asked.asked()[0].buttons, (Strings{"Reload", "Overwrite", "Cancel"}));
  }
}

// Fields the chosen version cannot hold: "No" writes nothing, "Yes" saves
// without them and verifies, a version that holds them asks nothing. A
// read-only file is written only when the user says so and it can be unlocked.
TEST_F(SingleTrackTest, QuestionsBeforeTheSave) {
  const std::string loss = "Updating this track will result in the loss of the tag field 'Release time'";
  const std::string locked = "Updating a read only or locked file";
  const struct { int version; bool readOnly, unlockFails; const char* answer; O outcome; int savedVersion; } rows[] = {
      {3, false, false, "No", O::Declined, 3}, {3, false, false, "Yes", O::Saved, 3}, {0, false, false, nullptr, O::Saved, 4},
      {4, true, false, "No", O::Declined, 3}, {4, true, true, "Yes", O::Declined, 3}, {4, true, false, "Yes", O::Saved, 4}};
  for (const auto& row : rows) {
    SCOPED_TRACE(paths.size());
    test::ScriptedQuestions asked;
    test::ForcingWriter w;
    w.failUnlock = row.unlockFails;
    if (row.answer) asked.answer(row.readOnly ? locked : loss, {row.answer});
    settings.tag2SaveVersion = row.version;
    const auto edit = [](ID3Tag& t) { t.tagData.releasetime = "2001", t.tagData.mood = "Calm"; };
    const O outcome = updateOne(asked, w, edit, settings, row.readOnly);
    EXPECT_EQ(outcome, row.outcome);
    const ID3Tag saved = reopened(paths.back());
    EXPECT_EQ(untouched(paths.size() - 1), row.outcome != O::Saved);
    EXPECT_EQ(std::pair(saved.v2Version, saved.tagData.mood.empty()), std::pair(row.savedVersion, row.savedVersion != 4));
    EXPECT_EQ(asked.asked().size(), (row.answer ? 1u : 0u) + row.unlockFails);  // the save verified
    EXPECT_EQ(w.unlocks, row.readOnly && std::string(row.answer) == "Yes");
    struct stat st;
    ASSERT_EQ(::stat(paths.back().c_str(), &st), 0);
    EXPECT_EQ((st.st_mode & S_IWUSR) == 0, row.readOnly && row.outcome != O::Saved);
  }
}

// Every alert and question of a failed step: a failed V1 verification asks
// whether to go on, a failed V2 verification, the last step, is only shown.
TEST_F(SingleTrackTest, FailureAlerts) {
  const struct { int failV2; bool noV1, badGenre, failRename; const char* answer; O outcome;
                 std::string title, message; int v2Saves; } rows[] = {
      {2, false, false, false, nullptr, O::Failed, "Failed to update the version 2 tag",
       "Note: The version 1 tag has been updated but the original version 2 has not been changed.", 1},
      {4, true, false, false, nullptr, O::Failed, "Failed to update the tags", "Note: The original has not been changed.", 1},
      {0, false, false, true, nullptr, O::RenameFailed, "Failed to change the file name",
       "Failed to rename the file to the track title or move it to a folder based on the track details.", 1},
      {0, false, false, false, "No", O::Declined, kV1Verify, kReload + " Would you like to continue?", 0},
      {0, false, false, false, "Yes", O::Saved, kV1Verify, kReload + " Would you like to continue?", 1},
      // Saved as "17", read back as "Rock".
      {0, false, true, false, nullptr, O::Saved, "Verification of the updated V2 tag failed", kReload, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title + (row.answer ? row.answer : ""));
    test::ScriptedQuestions asked;
    if (row.answer) asked.answer(kV1Verify, {row.answer});
    test::ForcingWriter w;
    if (row.failV2) w.failV2Before = row.failV2;
    if (row.answer) w.forceV1 = 7;
    SaveSettings s = settings;
    s.renameUpdate = w.failRename = row.failRename;
    test::LogCapture log;
    EXPECT_EQ(updateOne(asked, w, [&](ID3Tag& t) {
      if (row.noV1) t.v1.enabled = t.v1Loaded = false;
      if (row.badGenre) t.tagData.genre = latin("17");
    }, s), row.outcome);
    // Only a "No" ends the update before its last step.
    EXPECT_EQ(log.hasText("Finished updating"), row.outcome != O::Declined);
    ASSERT_EQ(asked.asked().size(), 1u);
    EXPECT_EQ(std::pair(asked.asked()[0].title, asked.asked()[0].message), std::pair(row.title, row.message));
    EXPECT_EQ(w.v2Saves, row.v2Saves);
  }
}

// A V1 tag that failed leaves the file as it was: no V2 save, no rename.
TEST_F(SingleTrackTest, V1FailureStopsTheUpdateBeforeTheV2SaveAndTheRename) {
  addTracks(1);
  settings.renameUpdate = true, writer.failV1Before = 5;
  EXPECT_EQ(editor().updateTag(), O::Failed);
  EXPECT_EQ(questions.messages("Failed to update the tags"), Strings{"Note: The original has not been changed."});
  EXPECT_TRUE(writer.v2Saves + writer.renames == 0 && untouched(0));
}

// Renamed, or filed by "create folder" alone; the icon's failures are logged.
TEST_F(SingleTrackTest, AfterTheSaveTheNameAndTheIcon) {
  addTracks(1);
  settings.renameUpdate = true;
  EXPECT_EQ(editor().updateTag(), O::Saved);
  const std::string renamed = dir.file("01-Song 1.mp3");
  EXPECT_EQ(std::tuple(tracks.current().path(), view.fileNames, view.shown.back()),
            std::tuple(renamed, Strings{renamed}, renamed));
  settings.renameUpdate = false;
  settings.createFolder = settings.setFileIcon = true;  // the track has a picture
  for (const auto& [result, line] : {std::pair{IconResult::ImageFailed, "Failed to create the image for the icon for track "},
                                     std::pair{IconResult::SetFailed, "Failed to set the icon for track "}}) {
    view.icon = result;
    test::LogCapture log;
    EXPECT_EQ(editor().updateTag(), O::Saved);
    EXPECT_TRUE(log.has(LogError, line + tracks.current().path())) << log.dump();
  }
  EXPECT_TRUE(writer.renames == 3 && questions.asked().empty());
}

TEST(TrackSetTest, StepsStayInsideTheSet) {
  TrackSet::Tracks list;
  for (int i = 0; i < 2; ++i) list.push_back(std::make_unique<ID3Tag>());
  TrackSet set(std::move(list));
  EXPECT_TRUE(set.removeCurrent());                    // the first: the next takes its place
  EXPECT_FALSE(set.removeCurrent() || set.moveTo(1));  // the last track stays
  EXPECT_EQ(std::pair(set.position(), set.count()), std::pair(size_t{0}, size_t{1}));
}

// Leaving or closing a changed track asks: "Cancel" stays, "Don't save"
// drops the edits, "Save" saves first. Moving never goes past either end.
TEST_F(SingleTrackTest, LeavingOrClosingAChangedTrackAsksToSave) {
  addTracks(3);
  SingleTrackEditor e = editor();
  questions.answer("Do you want to save changes?", {"Cancel", "Don't save", "Save", "Cancel", "Don't save", "Save"});
  const auto edit = [&](const char* album) { tracks.current().tagData.album = latin(album), e.changedV2(); };
  edit("Unsaved");
  EXPECT_FALSE(e.nextTrack());
  EXPECT_EQ(tracks.current().tagData.album, latin("Unsaved"));
  EXPECT_TRUE(e.nextTrack());
  EXPECT_EQ(tracks.at(0).tagData.album, latin("Old Album 1"));
  edit("Saved");
  EXPECT_TRUE(e.previousTrack());
  EXPECT_EQ(reopened(paths[1]).tagData.album, latin("Saved"));
  EXPECT_EQ(view.navigation, (Navigation{false, true, true}));
  EXPECT_TRUE(e.nextTrack() && e.nextTrack());
  view.shown.clear();
  tracks.current().v1Changed = true;
  EXPECT_FALSE(e.closeTrack());
  EXPECT_TRUE(e.closeTrack());  // no reload of the closed track; it was the last
  EXPECT_EQ(std::tuple(tracks.count(), tracks.position(), view.shown),
            std::tuple(size_t{2}, size_t{1}, Strings{paths[1]}));
  EXPECT_EQ(view.navigation, (Navigation{true, false, true}));
  edit("Closed");
  EXPECT_TRUE(e.closeTrack());
  EXPECT_EQ(std::pair(reopened(paths[1]).tagData.album, tracks.current().path()), std::pair(latin("Closed"), paths[0]));
  EXPECT_EQ(view.navigation, (Navigation{false, false, false}));
  EXPECT_FALSE(e.closeTrack() || e.nextTrack() || e.previousTrack());  // only with more than one track
  EXPECT_TRUE(untouched(0) && untouched(2));
}

}  // namespace
}  // namespace melos
