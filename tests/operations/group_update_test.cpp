// The group update run over real files: what is written and what is left
// alone, every question of the run with both of its answers, cancelling, and
// the end of the run.

#include "operations/group_update.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "engine/log.h"
#include "engine/v2_update.h"

#include "tests/operations/update_fixtures.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/fault_injector.h"
#include "tests/support/log_capture.h"

namespace melos {
namespace {

using test::Asked;
using test::readFile;

const std::string kV1Verify = "Verification of the updated V1 tag failed";
const std::string kV2Verify = "Verification of the updated V2 tag failed";
const std::string kLoss = "Updating this track will result in the loss of the tag field 'Record time'";
const std::string kContinue =
    "Please reload the track and check that the details are correct (see melos.log for more details). Would you "
    "like to continue?";
const std::string kIgnore =
    "Please reload the track and check that the details are correct (see melos.log for more details). Would you "
    "like to ignore this?";

// One group of tracks on disk and everything a run talks to; the tables build
// one per row so that no row sees another's files.
struct GroupRun : test::TrackFiles {
  // Tracks 0 to count - 1, written and opened into the model.
  void addTracks(int count) {
    for (int n = 0; n < count; ++n) addFile("track" + std::to_string(n) + ".mp3", test::numberedTrack(n));
  }
  void addFile(const std::string& name, const Bytes& bytes) { model.addTrack(test::openTrack(TrackFiles::addFile(name, bytes))); }

  GroupUpdateOptions options(int jobs = 1) const {
    GroupUpdateOptions o;
    o.pauseBetweenTracks = std::chrono::milliseconds(0);
    o.sheetPoll = std::chrono::milliseconds(2);
    o.afterSheet = std::chrono::milliseconds(0);
    o.jobs = jobs;
    return o;
  }

  std::unique_ptr<GroupUpdate> makeUpdate(int jobs = 1) {
    return std::make_unique<GroupUpdate>(model, questions, observer, fixedSettings(settings), writer, options(jobs));
  }

  void run(int jobs = 1) {
    auto update = makeUpdate(jobs);
    ASSERT_TRUE(update->updateTracks());
    update->wait();
    outcomes = update->outcomes();
    cancelled = update->cancelled();
  }

  void tick(GroupField field, std::u16string GroupValues::*value, std::u16string text) {
    model.values.*value = std::move(text);
    model.setChangeBox(field, true);
    if (isV1Field(field)) {
      model.changedV1(true, true);
    } else {
      model.changedV2(true, true);
    }
  }
  void setAlbum(const std::u16string& album) { tick(GroupField::V2Album, &GroupValues::album, album); }
  // A genre typed as a bare number is saved as it stands and read back as
  // the genre's name: a real verification failure on every track.
  void typeUnverifiableGenre() { tick(GroupField::V2Genre, &GroupValues::genre, u"17"); }

  std::vector<bool> untouchedAll() const {
    std::vector<bool> all;
    for (size_t i = 0; i < paths.size(); ++i) all.push_back(untouched(i));
    return all;
  }
  std::vector<std::string> messages(const std::string& title) const {
    std::vector<std::string> found;
    for (const Asked& asked : questions.askedTitled(title)) found.push_back(asked.message);
    return found;
  }

  test::RecordingObserver observer;
  GroupModel model;
  std::vector<TrackOutcome> outcomes;
  bool cancelled = false;
};

class GroupUpdateTest : public ::testing::Test, public GroupRun {};

TEST_F(GroupUpdateTest, AGroupWhereNothingChangedWritesNothing) {
  addTracks(3);
  // Values typed and boxes on, but no field was edited: no track is marked changed.
  model.values.album = u"X";
  model.setChangeBox(GroupField::V2Album, true);
  model.enableV2 = true;
  run();
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(outcomes[i].status, TrackStatus::Unchanged);
  EXPECT_EQ(untouchedAll(), std::vector<bool>(3, true));
  EXPECT_EQ(writer.v1Saves + writer.v2Saves, 0);
  EXPECT_TRUE(questions.asked().empty());
  EXPECT_TRUE(observer.finished);
  EXPECT_FALSE(observer.finishedError);
  EXPECT_EQ(observer.maximum, 3u);
  EXPECT_EQ(observer.progress, 4);  // one at the start, one a track
}

// The ticked fields, and nothing else, change on every track, whether the
// tracks are written in turn or several at once; the ISRC is the same on
// every track unless it is incremented.
TEST(GroupUpdate, OnlyTheTickedFieldsChangeOnEveryTrack) {
  for (const int jobs : {1, 3}) {
    SCOPED_TRACE(jobs);
    const bool increment = jobs > 1;
    GroupRun g;
    g.addTracks(6);
    std::vector<TagData> before;
    std::vector<V1Tag> beforeV1;
    for (const std::string& path : g.paths) {
      before.push_back(test::reopened(path).tagData);
      beforeV1.push_back(test::reopened(path).v1);
    }
    g.setAlbum(u"X");
    g.tick(GroupField::Isrc, &GroupValues::isrc, u"GBAAA0000100");
    g.model.isrcIncrement = increment;
    g.run(jobs);
    for (size_t i = 0; i < g.paths.size(); ++i) {
      EXPECT_EQ(g.outcomes[i].status, TrackStatus::Saved) << i;
      const ID3Tag after = test::reopened(g.paths[i]);
      TagData expected = before[i];
      expected.album = UnicodeText::latin1("X");
      expected.isrc = increment ? "GBAAA000010" + std::to_string(i) : "GBAAA0000100";
      EXPECT_EQ(after.tagData, expected) << g.paths[i];
      EXPECT_EQ(after.v1, beforeV1[i]);
      EXPECT_EQ(after.v2Version, 3);
      // The audio and the V1 tag behind the new tag are the original bytes.
      EXPECT_EQ(test::afterTag(g.paths[i]), test::afterTag(g.dir.write("orig", g.originals[i])));
    }
    std::vector<size_t> updated = g.observer.updated;
    std::sort(updated.begin(), updated.end());
    EXPECT_EQ(updated, (std::vector<size_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(g.writer.v1Saves, 0);
    EXPECT_EQ(g.writer.v2Saves, 6);
    EXPECT_EQ(g.observer.progress, 7);
    EXPECT_EQ(g.writer.reopens, 6);  // the group holds what is now on disk
    for (const auto& track : g.model.tracks()) {
      EXPECT_EQ(track->tagData.album, UnicodeText::latin1("X"));
      EXPECT_FALSE(track->v1Changed || track->v2Changed);
    }
    EXPECT_FALSE(g.cancelled);
    EXPECT_FALSE(g.observer.finishedError);
  }
}

TEST_F(GroupUpdateTest, OnlyTheTickedV1FieldChangesAndTheV2TagStays) {
  addTracks(2);
  std::vector<TagData> before;
  std::vector<V1Tag> beforeV1;
  for (const std::string& path : paths) {
    before.push_back(test::reopened(path).tagData);
    beforeV1.push_back(test::reopened(path).v1);
  }
  tick(GroupField::V1Title, &GroupValues::v1Title, u"Same V1 title");
  run();
  for (size_t i = 0; i < 2; ++i) {
    const Bytes now = readFile(paths[i]);
    ASSERT_EQ(now.size(), originals[i].size());
    // Only the last 128 bytes may differ.
    EXPECT_TRUE(std::equal(now.begin(), now.end() - 128, originals[i].begin()));
    const ID3Tag after = test::reopened(paths[i]);
    V1Tag expected = beforeV1[i];
    expected.title = "Same V1 title";
    EXPECT_EQ(after.v1, expected);
    EXPECT_EQ(after.tagData, before[i]);
  }
  EXPECT_EQ(writer.v2Saves, 0);
}

// Each answer to a failed verification: "Yes" goes on, "No" ends the run
// with the rest of the group untouched; only the last track's V2 question
// offers to ignore.
TEST(GroupUpdate, VerificationQuestions) {
  const struct {
    const char* name;
    int tracks;
    bool v1;
    const char* answer;
    std::vector<std::string> messages;
    std::vector<TrackStatus> statuses;
    std::vector<bool> untouched;
    int v2Saves;
  } rows[] = {
      {"V2 yes", 3, false, "Yes", {kContinue, kContinue, kIgnore},
       {TrackStatus::Saved, TrackStatus::Saved, TrackStatus::Saved}, {false, false, false}, 3},
      {"V2 no", 3, false, "No", {kContinue},
       {TrackStatus::Failed, TrackStatus::NotReached, TrackStatus::NotReached}, {false, true, true}, 1},
      {"V2 no, one track", 1, false, "No", {kIgnore}, {TrackStatus::Failed}, {false}, 1},
      {"V1 yes", 2, true, "Yes", {kContinue, kContinue}, {TrackStatus::Saved, TrackStatus::Saved}, {false, false}, 2},
      {"V1 no", 2, true, "No", {kContinue}, {TrackStatus::Failed, TrackStatus::NotReached}, {false, true}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    GroupRun g;
    g.addTracks(row.tracks);
    if (row.v1) {
      g.tick(GroupField::V1Album, &GroupValues::v1Album, u"A");
      g.setAlbum(u"A");
      g.writer.forceV1 = 7;
    } else {
      g.typeUnverifiableGenre();
    }
    const std::string& title = row.v1 ? kV1Verify : kV2Verify;
    g.questions.answer(title, {row.answer});
    g.run();
    EXPECT_EQ(g.messages(title), row.messages);
    EXPECT_EQ(g.questions.asked().size(), row.messages.size());  // no alert beside the question
    for (size_t i = 0; i < g.outcomes.size(); ++i) EXPECT_EQ(g.outcomes[i].status, row.statuses[i]) << i;
    EXPECT_EQ(g.untouchedAll(), row.untouched);
    EXPECT_EQ(g.writer.v2Saves, row.v2Saves);
    const bool stopped = std::string(row.answer) == "No";
    EXPECT_EQ(g.observer.finishedError, stopped);
    EXPECT_EQ(g.writer.reopens, stopped ? 0 : row.tracks);  // a stopped group is not reloaded
    if (row.v1) {
      EXPECT_EQ(g.outcomes[0].v1Result, stopped ? 7 : 0);  // "Yes" clears the error
      // The V2 tag of the first track holds the new album only if the run went on.
      EXPECT_EQ(test::reopened(g.paths[0]).tagData.album, UnicodeText::latin1(stopped ? "Old Album 0" : "A"));
    } else {
      EXPECT_EQ(g.outcomes[0].v2NotVerified, !stopped);
      if (stopped) { EXPECT_EQ(g.outcomes[0].v2Result, 7); }
    }
  }
}

// saveTag on its own: a V2 change the window does not hold ends the track
// whatever the answer; a V1 change that is missing is only logged.
TEST(GroupUpdate, ExpectedChangesThatAreMissing) {
  const struct {
    const char* name;
    bool v1Ticked;
    const char* answer;
    bool goesOn;
    TrackStatus status;
  } rows[] = {
      {"V2 missing, yes", true, "Yes", true, TrackStatus::CheckDeclined},
      {"V2 missing, no", true, "No", false, TrackStatus::CheckDeclined},
      {"V1 missing", false, "", true, TrackStatus::Saved},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    GroupRun g;
    g.addTracks(1);
    if (row.v1Ticked) {
      g.tick(GroupField::V1Title, &GroupValues::v1Title, u"T");
      g.model.changedV2(true, false);
      g.questions.answer("V2 tag check error", {row.answer});
    } else {
      g.setAlbum(u"B");
    }
    test::LogCapture log;
    auto update = g.makeUpdate();
    EXPECT_EQ(update->saveTag(0, 1, true, true), row.goesOn);
    EXPECT_EQ(update->outcomes()[0].status, row.status);
    EXPECT_EQ(g.untouched(0), row.v1Ticked);
    EXPECT_EQ(g.writer.v1Saves, 0);
    EXPECT_EQ(g.questions.asked().size(), row.v1Ticked ? 1u : 0u);
    if (!row.v1Ticked) { EXPECT_TRUE(log.has(LogError, "The V1 tag has not been changed as expected")); }
    // The count in the log is the only place the track's place in the run shows.
    EXPECT_TRUE(log.has(LogAlways, "Starting track update for " + g.paths[0] + " (1 of 1)")) << log.dump();
  }
}

TEST(GroupUpdate, AskingToCloseWhileTheRunGoesOn) {
  const struct {
    const char* answer;
    CloseAnswer expected;
    std::vector<bool> untouched;
  } rows[] = {
      {"Yes", CloseAnswer::StopRun, {false, true, true}},  // the track begun is finished, no other begun
      {"No", CloseAnswer::KeepRunning, {false, false, false}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answer);
    GroupRun g;
    g.addTracks(3);
    g.setAlbum(u"C");
    g.questions.answer("Do you want to cancel?", {row.answer});
    std::unique_ptr<GroupUpdate> update = g.makeUpdate();
    GroupUpdate* running = update.get();
    CloseAnswer answer = CloseAnswer::Cancel;
    g.observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) {
      // The window's close while the worker runs: the question is a sheet.
      if (index == 0) answer = running->askToUpdate();
    };
    ASSERT_TRUE(update->updateTracks());
    update->wait();
    const bool stopped = row.expected == CloseAnswer::StopRun;
    EXPECT_EQ(answer, row.expected);
    EXPECT_EQ(g.untouchedAll(), row.untouched);
    EXPECT_EQ(update->cancelled(), stopped);
    EXPECT_FALSE(update->m_bShowingSheet);
    EXPECT_EQ(g.writer.reopens, stopped ? 0 : 3);
    EXPECT_EQ(g.model.tracks()[1]->v2Changed, stopped);  // what was not written is still to save
    EXPECT_EQ(g.model.isDirty(), stopped);
    EXPECT_TRUE(g.observer.finished);
    EXPECT_FALSE(g.observer.finishedError);
    EXPECT_EQ(g.questions.asked().size(), 1u);
  }
}

TEST_F(GroupUpdateTest, ClosingQuestionWhenNoRunIsGoing) {
  addTracks(1);
  const struct {
    std::string button;
    CloseAnswer answer;
  } rows[] = {{"Save", CloseAnswer::Save}, {"Don't save", CloseAnswer::DontSave}, {"Cancel", CloseAnswer::Cancel}};
  auto update = makeUpdate();
  for (const auto& row : rows) {
    questions.answer("Do you want to save changes?", {row.button});
    EXPECT_EQ(update->askToUpdate(), row.answer);
    EXPECT_FALSE(update->m_bShowingSheet);
    EXPECT_FALSE(update->m_bExit);
  }
}

TEST_F(GroupUpdateTest, ReadOnlyTracksArePassedOver) {
  addTracks(3);
  model.tracks()[1]->readOnly = true;
  setAlbum(u"D");
  run();
  EXPECT_EQ(untouchedAll(), (std::vector<bool>{false, true, false}));
  EXPECT_EQ(outcomes[1].status, TrackStatus::ReadOnly);
  EXPECT_FALSE(observer.finishedError);
  EXPECT_EQ(writer.v2Saves, 2);
}

// A 2.4 record time that a 2.3 save would lose: "No" leaves the track and
// goes on with the next, "Yes" saves without it, and the automatic version
// keeps it without asking.
TEST(GroupUpdate, SavesThatWouldLoseAField) {
  const struct {
    const char* name;
    int version;
    const char* answer;
    TrackStatus status;
    int savedVersion;
    const char* recordTime;
  } rows[] = {
      {"no", 3, "No", TrackStatus::LossDeclined, 4, "2004-05-06"},
      {"yes", 3, "Yes", TrackStatus::Saved, 3, ""},
      {"automatic", 0, nullptr, TrackStatus::Saved, 4, "2004-05-06"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    GroupRun g;
    g.addFile("dated.mp3", test::mp3File({test::Id3v2Builder(4)
                                              .text("TIT2", test::Enc::Latin1, "Dated")
                                              .text("TDRC", test::Enc::Latin1, "2004-05-06")
                                              .build(),
                                          test::shortAudio(), {}, {}}));
    g.addTracks(1);
    g.settings.tag2SaveVersion = row.version;
    g.setAlbum(u"E");
    if (row.answer) g.questions.answer(kLoss, {row.answer});
    g.run();
    EXPECT_EQ(g.outcomes[0].status, row.status);
    EXPECT_FALSE(g.outcomes[0].v2NotVerified);
    EXPECT_EQ(g.untouched(0), row.status == TrackStatus::LossDeclined);
    EXPECT_EQ(g.outcomes[0].dropped, row.version == 3 ? std::vector<std::string>{"Record time"}
                                                      : std::vector<std::string>{});
    const ID3Tag saved = test::reopened(g.paths[0]);
    EXPECT_EQ(saved.v2Version, row.savedVersion);
    EXPECT_EQ(saved.tagData.recordtime, row.recordTime);
    EXPECT_EQ(g.outcomes[1].status, TrackStatus::Saved);
    EXPECT_FALSE(g.observer.finishedError);
    EXPECT_EQ(g.questions.asked().size(), row.answer ? 1u : 0u);
  }
}

// A failed save ends the run; the alert says which tag is as it was.
TEST(GroupUpdate, FailedSaves) {
  const struct {
    const char* name;
    bool aiff;
    bool v1Fails;
    const char* title;
    const char* message;
  } rows[] = {
      {"V2 of an MP3", false, false, "Failed to update the version 2 tag",
       "Note: The version 1 tag has been updated but the original version 2 has not been changed."},
      {"V2 of an AIFF file", true, false, "Failed to update the version 2 tag",
       "Note: The original has not been changed."},
      {"V1", false, true, "Failed to update the tags", "Note: The original has not been changed."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    GroupRun g;
    if (row.aiff) {
      g.addFile("a.aif", test::AiffBuilder()
                             .chunk(test::commChunk(2, 16, 16, 44100))
                             .chunk(test::ssndChunk(Bytes(64, 1)))
                             .build());
    }
    g.addTracks(2);
    if (row.v1Fails) {
      g.tick(GroupField::V1Album, &GroupValues::v1Album, u"G");
      g.writer.failV1Before = 5;
    } else {
      g.writer.failV2Before = 2;
    }
    g.setAlbum(u"G");
    g.run();
    const std::vector<Asked> asked = g.questions.askedTitled(row.title);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].message, row.message);
    EXPECT_EQ(asked[0].buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(g.outcomes[0].status, TrackStatus::Failed);
    EXPECT_EQ(g.outcomes[1].status, TrackStatus::NotReached);
    EXPECT_TRUE(g.untouched(1));
    EXPECT_TRUE(g.untouched(0));  // both failures come before the engine writes
    EXPECT_EQ(g.writer.v2Saves, row.v1Fails ? 0 : 1);
    EXPECT_TRUE(g.observer.finishedError);
    // What was not written stays to save, for another try.
    EXPECT_TRUE(g.model.isDirty());
    EXPECT_TRUE(g.model.changeBox(GroupField::V2Album));
    EXPECT_FALSE(g.observer.closeWindow);
  }
}

TEST_F(GroupUpdateTest, RenameAfterTheSaveAndReloadFromTheNewPath) {
  addTracks(2);
  settings.renameUpdate = true;
  setAlbum(u"H");
  run();
  // Track 0 has no number to put in front.
  EXPECT_EQ(outcomes[0].newPath, dir.file("Song 0.mp3"));
  EXPECT_EQ(outcomes[1].newPath, dir.file("01-Song 1.mp3"));
  EXPECT_EQ(model.tracks()[1]->path(), dir.file("01-Song 1.mp3"));
  EXPECT_EQ(model.tracks()[1]->tagData.album, UnicodeText::latin1("H"));
  EXPECT_EQ(test::reopened(dir.file("Song 0.mp3")).tagData.album, UnicodeText::latin1("H"));
}

TEST_F(GroupUpdateTest, FailedRenameIsShownAndTheRunGoesOn) {
  addTracks(2);
  settings.renameUpdate = true;
  writer.failRename = true;
  setAlbum(u"H");
  run();
  EXPECT_EQ(questions.askedTitled("Failed to change the file name").size(), 2u);
  EXPECT_TRUE(outcomes[0].renameFailed);
  EXPECT_EQ(outcomes[1].status, TrackStatus::Saved);
  EXPECT_FALSE(observer.finishedError);
}

TEST_F(GroupUpdateTest, NoRenameWhenTheSaveDidNotVerify) {
  addTracks(1);
  settings.renameUpdate = true;
  typeUnverifiableGenre();
  questions.answer(kV2Verify, {"Yes"});
  run();
  EXPECT_EQ(writer.renames, 1);  // "Yes" clears the error, so the rename follows
  questions.answer(kV2Verify, {"No"});
  writer.renames = 0;
  typeUnverifiableGenre();
  run();
  EXPECT_EQ(writer.renames, 0);
}

TEST_F(GroupUpdateTest, FileNameBoxSetsTitleAndTrackAndTheTotal) {
  addFile("03 - Alpha.mp3", test::numberedTrack(1));
  addFile("Beta.mp3", test::numberedTrack(2));
  // Without a total on disk: the group's count is given.
  model.tracks()[0]->tagData.tracks = kUnsetNumber;
  ASSERT_EQ(updateV2ToTrack(*model.tracks()[0], false, 3, false, false, 0), kSaveOk);
  model.fileName = true;
  model.changedV2(true, true);
  run();
  const ID3Tag first = test::reopened(paths[0]);
  EXPECT_EQ(first.tagData.title, UnicodeText::latin1("Alpha"));
  EXPECT_EQ(first.tagData.track, 3);
  EXPECT_EQ(first.tagData.tracks, 2);
  const ID3Tag second = test::reopened(paths[1]);
  EXPECT_EQ(second.tagData.title, UnicodeText::latin1("Beta"));
  EXPECT_EQ(second.tagData.track, kUnsetNumber);
  // V1 was not enabled in the window: its tag is left as it was.
  EXPECT_EQ(first.v1.title, "V1 Song 1");
}

TEST_F(GroupUpdateTest, FileNameBoxWithV1EnabledSetsTheV1TitleAndTrack) {
  addFile("07 - A very long title that is longer than thirty.mp3", test::numberedTrack(1));
  model.fileName = true;
  model.changedV2(true, true);
  model.enableV1 = true;
  tick(GroupField::V2Tracks, &GroupValues::tracks, u"9");
  run();
  const ID3Tag saved = test::reopened(paths[0]);
  EXPECT_EQ(saved.v1.title, "A very long title that is long");
  EXPECT_EQ(saved.v1.track, 7);
  EXPECT_EQ(saved.tagData.tracks, 9);  // the box wins over the count
}

TEST_F(GroupUpdateTest, AlwaysApplyPutsTheCurrentDefaultSetOnEachTrack) {
  addTracks(2);
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), dir.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");
  tick(GroupField::V2Title, &GroupValues::title, u"Group title");
  auto update = std::make_unique<GroupUpdate>(model, questions, observer, settingsFrom(prefs), writer, options());
  ASSERT_TRUE(update->updateTracks());
  update->wait();
  for (const std::string& path : paths) {
    const ID3Tag saved = test::reopened(path);
    EXPECT_EQ(saved.tagData.title, UnicodeText::latin1("Group title"));
    EXPECT_EQ(saved.tagData.album, UnicodeText::latin1("Default album"));
  }
  EXPECT_EQ(writer.v1Removals, 0);  // the V1 tag, off in the window, is not taken as changed
}

TEST_F(GroupUpdateTest, ReplaceTagDataInGroupClearsWhatBelongsToOneTrack) {
  addTracks(1);
  settings.replaceTagDataInGroup = true;
  tick(GroupField::V1Album, &GroupValues::v1Album, u"R");
  setAlbum(u"R");
  run();
  const ID3Tag saved = test::reopened(paths[0]);
  EXPECT_EQ(saved.tagData.track, kUnsetNumber);
  EXPECT_EQ(saved.v1.track, kUnsetV1);
  EXPECT_EQ(saved.tagData.album, UnicodeText::latin1("R"));
  EXPECT_EQ(saved.tagData.isrc, "GBAAA0000000");  // not per-track data here
}

TEST_F(GroupUpdateTest, DisabledTagsAreRemoved) {
  addTracks(1);
  model.changedV1(true, false);
  model.changedV2(true, false);
  model.enableV1 = false;
  model.enableV2 = false;
  run();
  EXPECT_EQ(writer.v1Removals, 1);
  EXPECT_EQ(writer.v2Removals, 1);
  const ID3Tag saved = test::reopened(paths[0]);
  EXPECT_FALSE(saved.hasV2Tag);
  EXPECT_FALSE(saved.v1Loaded);
}

TEST_F(GroupUpdateTest, StartingWhileRunningOrEmptySendsTheActionAtOnce) {
  std::vector<bool> sent;
  {
    auto empty = makeUpdate();
    EXPECT_FALSE(empty->updateTracks([&](bool value) { sent.push_back(value); }));
    EXPECT_EQ(sent, std::vector<bool>{true});
  }
  addTracks(1);
  setAlbum(u"T");
  auto update = makeUpdate();
  update->m_bShowingSheet = true;  // holds the run at its end
  ASSERT_TRUE(update->updateTracks([&](bool value) { sent.push_back(value); }));
  EXPECT_FALSE(update->updateTracks([&](bool value) { sent.push_back(!value); }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  // The end waits while a sheet is showing.
  EXPECT_FALSE(observer.finished);
  EXPECT_FALSE(update->m_bCanExit);
  EXPECT_EQ(sent, (std::vector<bool>{true, false}));
  update->m_bShowingSheet = false;
  update->wait();
  EXPECT_TRUE(update->m_bCanExit);
  EXPECT_EQ(sent, (std::vector<bool>{true, false, true}));
}

TEST_F(GroupUpdateTest, TheEndActionMayStartAnotherRunAndDeleteTheUpdate) {
  addTracks(2);
  setAlbum(u"First");
  std::unique_ptr<GroupUpdate> update = makeUpdate();
  GroupUpdate* raw = update.get();
  std::atomic<bool> restarted{false};
  std::atomic<bool> deleted{false};
  ASSERT_TRUE(raw->updateTracks([&](bool) {
    setAlbum(u"Second");
    restarted = raw->updateTracks([&](bool) {
      update.reset();
      deleted = true;
    });
  }));
  for (int i = 0; i < 500 && !deleted; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_TRUE(deleted);
  EXPECT_TRUE(restarted);
  EXPECT_EQ(test::reopened(paths[1]).tagData.album, UnicodeText::latin1("Second"));
}

TEST_F(GroupUpdateTest, SuccessClearsTheDirtyMarkAndTheBoxesAndMayCloseTheWindow) {
  addTracks(1);
  setAlbum(u"U");
  model.isrcIncrement = true;  // without the ISRC box: no code is given
  settings.closeWindow = true;
  run();
  EXPECT_FALSE(model.isDirty());
  EXPECT_FALSE(model.changeBox(GroupField::V2Album));
  EXPECT_FALSE(model.isrcIncrement);
  EXPECT_TRUE(observer.closeWindow);
  EXPECT_EQ(test::reopened(paths[0]).tagData.isrc, "GBAAA0000000");

  settings.closeWindow = false;
  setAlbum(u"V");
  run();
  EXPECT_FALSE(observer.closeWindow);
}

TEST_F(GroupUpdateTest, PauseBetweenTracksIsTakenAndStopChecked) {
  addTracks(2);
  setAlbum(u"P");
  GroupUpdateOptions slow = options();
  slow.pauseBetweenTracks = std::chrono::milliseconds(20);
  GroupUpdate update(model, questions, observer, fixedSettings(settings), writer, slow);
  observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) {
    if (index == 0) update.m_bExit = true;  // set during the first track: the second is never begun
  };
  ASSERT_TRUE(update.updateTracks());
  update.wait();
  EXPECT_FALSE(untouched(0));
  EXPECT_TRUE(untouched(1));
}

TEST_F(GroupUpdateTest, AFailureAmongTracksWrittenAtOnceBeginsNoLaterTrack) {
  addTracks(8);
  setAlbum(u"Stop");
  writer.failV2Before = 4;
  writer.failV2Of = paths[3];
  run(2);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(outcomes[i].status, TrackStatus::Saved) << i;
    EXPECT_FALSE(untouched(i)) << i;
  }
  EXPECT_EQ(outcomes[3].status, TrackStatus::Failed);
  EXPECT_TRUE(untouched(3));
  // Those begun beside the failed track finished; from the first track not
  // begun on, none was.
  bool reachedEnd = false;
  for (size_t i = 4; i < paths.size(); ++i) {
    SCOPED_TRACE(i);
    if (outcomes[i].status == TrackStatus::NotReached) reachedEnd = true;
    if (reachedEnd) {
      EXPECT_EQ(outcomes[i].status, TrackStatus::NotReached);
      EXPECT_TRUE(untouched(i));
    } else {
      EXPECT_EQ(outcomes[i].status, TrackStatus::Saved);
    }
  }
  EXPECT_TRUE(reachedEnd);
  EXPECT_TRUE(observer.finishedError);
  EXPECT_FALSE(cancelled);
  EXPECT_EQ(writer.reopens, 0);
}

TEST_F(GroupUpdateTest, StoppingTracksWrittenAtOnceBeginsNoOther) {
  addTracks(6);
  setAlbum(u"Halt");
  GroupUpdate update(model, questions, observer, fixedSettings(settings), writer, options(2));
  observer.onTrackUpdated = [&](size_t, const TrackOutcome&) { update.m_bExit = true; };
  ASSERT_TRUE(update.updateTracks());
  update.wait();
  EXPECT_TRUE(update.cancelled());
  // At most the two first tracks and one claimed by the other thread began.
  EXPECT_LE(writer.v2Saves, 3);
  for (size_t i = 3; i < paths.size(); ++i) EXPECT_TRUE(untouched(i)) << i;
  EXPECT_EQ(writer.reopens, 0);
}

// The first MP3 track turns the V1 switch on when V2 details go to V1: with
// that switch off, the tracks are written in turn, as the window does, and
// each V1 tag is filled from its V2 tag.
TEST_F(GroupUpdateTest, CopyingV2ToV1WithTheV1SwitchOffIsWrittenInTurn) {
  addTracks(4);
  model.copyV2Details = true;
  model.changedV1(true, true);
  model.enableV1 = false;
  std::vector<size_t> order;
  std::mutex orderMutex;
  observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) {
    std::lock_guard lock(orderMutex);
    order.push_back(index);
  };
  run(4);
  EXPECT_EQ(order, (std::vector<size_t>{0, 1, 2, 3}));
  for (size_t i = 0; i < paths.size(); ++i) EXPECT_EQ(outcomes[i].status, TrackStatus::Saved) << i;
  EXPECT_TRUE(model.enableV1);
  const V1Tag v1 = test::reopened(paths[0]).v1;
  EXPECT_EQ(v1.title, "Song 0");
  EXPECT_EQ(v1.album, "Old Album 0");
  EXPECT_EQ(v1.artist, "Artist ? 0");  // U+4E2D has no Latin-1 form
  EXPECT_EQ(v1.genre, 17);
  EXPECT_EQ(v1.comment, "Comment 0");
}

}  // namespace
}  // namespace melos
