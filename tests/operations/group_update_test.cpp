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
const std::string kContinue =
    "Please reload the track and check that the details are correct (see melos.log for more details). Would you "
    "like to continue?";
const std::string kIgnore =
    "Please reload the track and check that the details are correct (see melos.log for more details). Would you "
    "like to ignore this?";

class GroupUpdateTest : public ::testing::Test {
 protected:
  GroupUpdateTest() { settings.moveToTrash = false; }

  // Tracks 0 to count - 1, written and opened into the model.
  void addTracks(int count) {
    for (int n = 0; n < count; ++n) addFile("track" + std::to_string(n) + ".mp3", test::numberedTrack(n));
  }
  void addFile(const std::string& name, const Bytes& bytes) {
    paths.push_back(dir.write(name, bytes));
    originals.push_back(bytes);
    model.addTrack(test::openTrack(paths.back()));
  }

  GroupUpdateOptions options() const {
    GroupUpdateOptions o;
    o.pauseBetweenTracks = std::chrono::milliseconds(0);
    o.sheetPoll = std::chrono::milliseconds(2);
    o.afterSheet = std::chrono::milliseconds(0);
    return o;
  }

  std::unique_ptr<GroupUpdate> makeUpdate() {
    return std::make_unique<GroupUpdate>(model, questions, observer, fixedSettings(settings), writer, options());
  }

  void run(int jobs = 1) {
    GroupUpdateOptions o = options();
    o.jobs = jobs;
    auto update = std::make_unique<GroupUpdate>(model, questions, observer, fixedSettings(settings), writer, o);
    ASSERT_TRUE(update->updateTracks());
    update->wait();
    outcomes = update->outcomes();
    cancelled = update->cancelled();
  }

  void setAlbum(const std::u16string& album) {
    model.values.album = album;
    model.setChangeBox(GroupField::V2Album, true);
    model.changedV2(true, true);
  }

  bool untouched(size_t index) const { return readFile(paths[index]) == originals[index]; }

  test::TempDir dir;
  test::ScopedEnv dataHome{"XDG_DATA_HOME", dir.path() + "/data"};
  test::ScriptedQuestions questions;
  test::RecordingObserver observer;
  test::ForcingWriter writer;
  SaveSettings settings;
  GroupModel model;
  std::vector<std::string> paths;
  std::vector<Bytes> originals;
  std::vector<TrackOutcome> outcomes;
  bool cancelled = false;
};

TEST_F(GroupUpdateTest, AGroupWhereNothingChangedWritesNothing) {
  addTracks(3);
  // Values typed and boxes on, but no field was edited: no track is marked changed.
  model.values.album = u"X";
  model.setChangeBox(GroupField::V2Album, true);
  model.enableV2 = true;
  run();
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(untouched(i));
    EXPECT_EQ(outcomes[i].status, TrackStatus::Unchanged);
  }
  EXPECT_EQ(writer.v1Saves + writer.v2Saves, 0);
  EXPECT_TRUE(questions.asked().empty());
  EXPECT_TRUE(observer.finished);
  EXPECT_FALSE(observer.finishedError);
  EXPECT_EQ(observer.maximum, 3u);
  EXPECT_EQ(observer.status, "Updating...");
  EXPECT_EQ(observer.progress, 4);  // one at the start, one a track
}

TEST_F(GroupUpdateTest, OnlyTheTickedFieldChangesOnEveryTrack) {
  addTracks(3);
  std::vector<TagData> before;
  std::vector<V1Tag> beforeV1;
  for (const std::string& path : paths) {
    before.push_back(test::reopened(path).tagData);
    beforeV1.push_back(test::reopened(path).v1);
  }
  setAlbum(u"X");
  run();
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(outcomes[i].status, TrackStatus::Saved);
    const ID3Tag after = test::reopened(paths[i]);
    TagData expected = before[i];
    expected.album = UnicodeText::latin1("X");
    EXPECT_EQ(after.tagData, expected) << paths[i];
    EXPECT_EQ(after.v1, beforeV1[i]);
    EXPECT_EQ(after.v2Version, 3);
    // The audio and the V1 tag behind the new tag are the original bytes.
    EXPECT_EQ(test::afterTag(paths[i]), test::afterTag(dir.write("orig", originals[i])));
  }
  EXPECT_EQ(writer.v1Saves, 0);
  EXPECT_EQ(writer.reopens, 3);  // the group holds what is now on disk
  for (const auto& track : model.tracks()) {
    EXPECT_EQ(track->tagData.album, UnicodeText::latin1("X"));
    EXPECT_FALSE(track->v1Changed || track->v2Changed);
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
  model.values.v1Title = u"Same V1 title";
  model.setChangeBox(GroupField::V1Title, true);
  model.changedV1(true, true);
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

TEST_F(GroupUpdateTest, IsrcIncrementGivesEachTrackTheNextNumber) {
  addTracks(3);
  model.values.isrc = u"CCXXX1500729";
  model.setChangeBox(GroupField::Isrc, true);
  model.isrcIncrement = true;
  model.changedV2(true, true);
  run();
  EXPECT_EQ(test::reopened(paths[0]).tagData.isrc, "CCXXX1500729");
  EXPECT_EQ(test::reopened(paths[1]).tagData.isrc, "CCXXX1500730");
  EXPECT_EQ(test::reopened(paths[2]).tagData.isrc, "CCXXX1500731");
}

TEST_F(GroupUpdateTest, IsrcWithoutTheIncrementBoxIsTheSameOnEveryTrack) {
  addTracks(2);
  model.values.isrc = u"CCXXX1500729";
  model.setChangeBox(GroupField::Isrc, true);
  model.changedV2(true, true);
  run();
  EXPECT_EQ(test::reopened(paths[0]).tagData.isrc, "CCXXX1500729");
  EXPECT_EQ(test::reopened(paths[1]).tagData.isrc, "CCXXX1500729");
}

// A genre typed as a bare number is saved as it stands and read back as the
// genre's name: a real verification failure on every track.
void typeUnverifiableGenre(GroupModel& model) {
  model.values.genre = u"17";
  model.setChangeBox(GroupField::V2Genre, true);
  model.changedV2(true, true);
}

TEST_F(GroupUpdateTest, V2VerificationAsksToContinueAndOnTheLastTrackToIgnore) {
  addTracks(3);
  typeUnverifiableGenre(model);
  questions.answer(kV2Verify, {"Yes"});
  test::LogCapture log;
  run();
  const std::vector<Asked> asked = questions.askedTitled(kV2Verify);
  ASSERT_EQ(asked.size(), 3u);
  EXPECT_EQ(asked[0].message, kContinue);
  EXPECT_EQ(asked[1].message, kContinue);
  EXPECT_EQ(asked[2].message, kIgnore);
  EXPECT_EQ(asked[2].buttons, (std::vector<std::string>{"Yes", "No"}));
  for (const TrackOutcome& outcome : outcomes) {
    EXPECT_EQ(outcome.status, TrackStatus::Saved);
    EXPECT_TRUE(outcome.v2NotVerified);
  }
  EXPECT_FALSE(observer.finishedError);
  EXPECT_TRUE(log.has(LogError, "Failed to update the V2 tag data for '" + paths[0] + "' (7)")) << log.dump();
}

TEST_F(GroupUpdateTest, V2VerificationNoStopsTheRunAndTheGroupIsNotReloaded) {
  addTracks(3);
  typeUnverifiableGenre(model);
  questions.answer(kV2Verify, {"No"});
  test::LogCapture log;
  run();
  EXPECT_EQ(questions.askedTitled(kV2Verify).size(), 1u);
  EXPECT_EQ(outcomes[0].status, TrackStatus::Failed);
  EXPECT_EQ(outcomes[0].v2Result, 7);
  EXPECT_FALSE(untouched(0));  // written before it was verified
  EXPECT_TRUE(untouched(1));
  EXPECT_TRUE(untouched(2));
  EXPECT_EQ(outcomes[1].status, TrackStatus::NotReached);
  EXPECT_TRUE(observer.finishedError);
  EXPECT_EQ(writer.reopens, 0);
  EXPECT_TRUE(log.has(LogError, "Ending update due to errors"));
  // No alert beyond the question: both results are 0 or 7.
  EXPECT_EQ(questions.asked().size(), 1u);
}

TEST_F(GroupUpdateTest, V2VerificationOfASingleTrackAsksToIgnore) {
  addTracks(1);
  typeUnverifiableGenre(model);
  questions.answer(kV2Verify, {"No"});
  run();
  ASSERT_EQ(questions.askedTitled(kV2Verify).size(), 1u);
  EXPECT_EQ(questions.askedTitled(kV2Verify)[0].message, kIgnore);
  EXPECT_TRUE(observer.finishedError);
}

TEST_F(GroupUpdateTest, V1VerificationYesGoesOnToTheV2Tag) {
  addTracks(2);
  model.values.v1Album = u"A";
  model.setChangeBox(GroupField::V1Album, true);
  model.changedV1(true, true);
  setAlbum(u"A");
  writer.forceV1 = 7;
  questions.answer(kV1Verify, {"Yes"});
  run();
  const std::vector<Asked> asked = questions.askedTitled(kV1Verify);
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(asked[0].message, kContinue);
  EXPECT_EQ(asked[1].message, kContinue);  // the V1 question never says "ignore"
  EXPECT_EQ(writer.v2Saves, 2);
  EXPECT_EQ(test::reopened(paths[1]).tagData.album, UnicodeText::latin1("A"));
  EXPECT_FALSE(observer.finishedError);
}

TEST_F(GroupUpdateTest, V1VerificationNoLeavesTheV2TagAndStops) {
  addTracks(2);
  model.values.v1Album = u"A";
  model.setChangeBox(GroupField::V1Album, true);
  model.changedV1(true, true);
  setAlbum(u"A");
  writer.forceV1 = 7;
  questions.answer(kV1Verify, {"No"});
  run();
  EXPECT_EQ(writer.v2Saves, 0);
  EXPECT_EQ(test::afterTag(paths[0]).size(), test::afterTag(dir.write("o", originals[0])).size());
  EXPECT_EQ(test::reopened(paths[0]).tagData.album, UnicodeText::latin1("Old Album 0"));
  EXPECT_EQ(outcomes[0].v1Result, 7);
  EXPECT_TRUE(untouched(1));
  EXPECT_TRUE(observer.finishedError);
}

TEST_F(GroupUpdateTest, V2CheckQuestionEndsTheTrackEitherWay) {
  addTracks(1);
  model.values.v1Title = u"T";
  model.setChangeBox(GroupField::V1Title, true);
  model.changedV1(true, true);
  model.changedV2(true, false);
  for (const std::string answer : {"Yes", "No"}) {
    questions.answer("V2 tag check error", {answer});
    test::LogCapture log;
    auto update = makeUpdate();
    // The run expected a V2 change that the window does not hold.
    EXPECT_EQ(update->saveTag(0, 1, true, true), answer == "Yes");
    EXPECT_TRUE(untouched(0));
    EXPECT_EQ(update->outcomes()[0].status, TrackStatus::CheckDeclined);
    EXPECT_TRUE(log.has(LogError,
                        "The V2 tag should be changed before it is updated but it has not been changed."));
  }
  const std::vector<Asked> asked = questions.askedTitled("V2 tag check error");
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(asked[0].message,
            "The V2 tag should be changed before it is updated but it has not been changed. Would you like to "
            "continue?");
  EXPECT_EQ(writer.v1Saves, 0);
}

TEST_F(GroupUpdateTest, MissingV1ChangeIsLoggedOnly) {
  addTracks(1);
  setAlbum(u"B");
  test::LogCapture log;
  auto update = makeUpdate();
  EXPECT_TRUE(update->saveTag(0, 1, true, true));
  EXPECT_TRUE(log.has(LogError, "The V1 tag has not been changed as expected"));
  EXPECT_TRUE(log.has(LogAlways, "Starting track update for " + paths[0] + " (1 of 1)"));
  EXPECT_TRUE(log.has(LogAlways, "Updating V2 tag..."));
  EXPECT_TRUE(log.has(LogAlways, "Finished updating"));
}

TEST_F(GroupUpdateTest, CancelDuringTheRunFinishesTheTrackAndBeginsNoOther) {
  addTracks(3);
  setAlbum(u"C");
  questions.answer("Do you want to cancel?", {"Yes"});
  std::unique_ptr<GroupUpdate> update = makeUpdate();
  GroupUpdate* running = update.get();
  CloseAnswer answer = CloseAnswer::Cancel;
  observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) {
    // The window's close while the worker runs: the question is a sheet.
    if (index == 0) answer = running->askToUpdate();
  };
  ASSERT_TRUE(update->updateTracks());
  update->wait();
  EXPECT_EQ(answer, CloseAnswer::StopRun);
  EXPECT_FALSE(untouched(0));
  EXPECT_TRUE(untouched(1));
  EXPECT_TRUE(untouched(2));
  EXPECT_TRUE(update->cancelled());
  EXPECT_EQ(writer.reopens, 0);
  EXPECT_TRUE(model.tracks()[1]->v2Changed);  // not reloaded
  EXPECT_TRUE(observer.finished);
  EXPECT_FALSE(observer.finishedError);
  EXPECT_EQ(observer.status, "Stopping after the current track...");
  const std::vector<Asked> asked = questions.askedTitled("Do you want to cancel?");
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].message, "If you cancel now, no more tracks will be changed.");
  EXPECT_EQ(asked[0].buttons, (std::vector<std::string>{"No", "Yes"}));
  EXPECT_TRUE(model.isDirty());  // what was not written is still to save
}

TEST_F(GroupUpdateTest, NotCancellingLetsTheRunGoOn) {
  addTracks(3);
  setAlbum(u"C");
  questions.answer("Do you want to cancel?", {"No"});
  std::unique_ptr<GroupUpdate> update = makeUpdate();
  GroupUpdate* running = update.get();
  CloseAnswer answer = CloseAnswer::Cancel;
  observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) {
    if (index == 0) answer = running->askToUpdate();
  };
  ASSERT_TRUE(update->updateTracks());
  update->wait();
  EXPECT_EQ(answer, CloseAnswer::KeepRunning);
  for (size_t i = 0; i < 3; ++i) EXPECT_FALSE(untouched(i));
  EXPECT_FALSE(update->cancelled());
  EXPECT_FALSE(update->m_bShowingSheet);
  EXPECT_EQ(writer.reopens, 3);
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
  const Asked asked = questions.askedTitled("Do you want to save changes?").front();
  EXPECT_EQ(asked.message, "If you do not save, your changes will be lost.");
  EXPECT_EQ(asked.buttons, (std::vector<std::string>{"Save", "Don't save", "Cancel"}));
}

TEST_F(GroupUpdateTest, ReadOnlyTracksArePassedOver) {
  addTracks(3);
  model.tracks()[1]->readOnly = true;
  setAlbum(u"D");
  run();
  EXPECT_FALSE(untouched(0));
  EXPECT_TRUE(untouched(1));
  EXPECT_FALSE(untouched(2));
  EXPECT_EQ(outcomes[1].status, TrackStatus::ReadOnly);
  EXPECT_FALSE(observer.finishedError);
  EXPECT_EQ(writer.v2Saves, 2);
}

Bytes v24WithRecordTime() {
  return test::mp3File({test::Id3v2Builder(4)
                            .text("TIT2", test::Enc::Latin1, "Dated")
                            .text("TDRC", test::Enc::Latin1, "2004-05-06")
                            .build(),
                        test::shortAudio(), {}, {}});
}

TEST_F(GroupUpdateTest, LossCheckNoLeavesTheTrackAndGoesOn) {
  addFile("dated.mp3", v24WithRecordTime());
  addTracks(1);
  settings.tag2SaveVersion = 3;
  setAlbum(u"E");
  const std::string title = "Updating this track will result in the loss of the tag field 'Record time'";
  questions.answer(title, {"No"});
  run();
  EXPECT_TRUE(untouched(0));
  EXPECT_EQ(outcomes[0].status, TrackStatus::LossDeclined);
  EXPECT_EQ(outcomes[0].dropped, std::vector<std::string>{"Record time"});
  EXPECT_FALSE(untouched(1));
  EXPECT_EQ(outcomes[1].status, TrackStatus::Saved);
  const std::vector<Asked> asked = questions.askedTitled(title);
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].message, "Do you want to continue?");
  EXPECT_EQ(asked[0].buttons, (std::vector<std::string>{"Yes", "No"}));
  EXPECT_FALSE(observer.finishedError);
}

TEST_F(GroupUpdateTest, LossCheckYesSavesWithoutTheField) {
  addFile("dated.mp3", v24WithRecordTime());
  settings.tag2SaveVersion = 3;
  setAlbum(u"E");
  questions.answer("Updating this track will result in the loss of the tag field 'Record time'", {"Yes"});
  run();
  EXPECT_EQ(outcomes[0].status, TrackStatus::Saved);
  EXPECT_FALSE(outcomes[0].v2NotVerified);
  const ID3Tag saved = test::reopened(paths[0]);
  EXPECT_EQ(saved.v2Version, 3);
  EXPECT_TRUE(saved.tagData.recordtime.empty());
  EXPECT_EQ(saved.tagData.album, UnicodeText::latin1("E"));
}

TEST_F(GroupUpdateTest, AutomaticVersionKeepsTheTimesWithoutAsking) {
  addFile("dated.mp3", v24WithRecordTime());
  setAlbum(u"E");
  run();
  EXPECT_TRUE(questions.asked().empty());
  EXPECT_EQ(test::reopened(paths[0]).tagData.recordtime, "2004-05-06");
}

TEST_F(GroupUpdateTest, V2FailureOfAnMp3SaysTheV1TagWasUpdated) {
  addTracks(2);
  setAlbum(u"F");
  writer.failV2Before = 2;
  test::LogCapture log;
  run();
  const std::vector<Asked> asked = questions.askedTitled("Failed to update the version 2 tag");
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].message,
            "Note: The version 1 tag has been updated but the original version 2 has not been changed.");
  EXPECT_EQ(asked[0].buttons, std::vector<std::string>{"OK"});
  EXPECT_EQ(outcomes[0].status, TrackStatus::Failed);
  EXPECT_EQ(outcomes[1].status, TrackStatus::NotReached);
  EXPECT_TRUE(untouched(1));
  EXPECT_TRUE(log.has(LogError, "Failed to update the V2 tag data for '" + paths[0] + "' (2)"));
  EXPECT_TRUE(log.has(LogError, "Ending update due to errors"));
}

TEST_F(GroupUpdateTest, V2FailureOfAnAiffFileSaysTheOriginalIsUnchanged) {
  addFile("a.aif",
          test::AiffBuilder().chunk(test::commChunk(2, 16, 16, 44100)).chunk(test::ssndChunk(Bytes(64, 1))).build());
  setAlbum(u"F");
  writer.failV2Before = 3;
  run();
  const std::vector<Asked> asked = questions.askedTitled("Failed to update the version 2 tag");
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].message, "Note: The original has not been changed.");
}

TEST_F(GroupUpdateTest, V1FailureSkipsTheV2TagAndSaysNothingChanged) {
  addTracks(2);
  model.values.v1Album = u"G";
  model.setChangeBox(GroupField::V1Album, true);
  model.changedV1(true, true);
  setAlbum(u"G");
  writer.failV1Before = 5;
  test::LogCapture log;
  run();
  const std::vector<Asked> asked = questions.askedTitled("Failed to update the tags");
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].message, "Note: The original has not been changed.");
  EXPECT_EQ(writer.v2Saves, 0);
  EXPECT_TRUE(untouched(0));
  EXPECT_TRUE(log.has(LogError, "Failed to update the V1 tag data for '" + paths[0] + "' (5)"));
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
  const std::vector<Asked> asked = questions.askedTitled("Failed to change the file name");
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(asked[0].message,
            "Failed to rename the file to the track title or move it to a folder based on the track details.");
  EXPECT_TRUE(outcomes[0].renameFailed);
  EXPECT_EQ(outcomes[1].status, TrackStatus::Saved);
  EXPECT_FALSE(observer.finishedError);
}

TEST_F(GroupUpdateTest, NoRenameWhenTheSaveDidNotVerify) {
  addTracks(1);
  settings.renameUpdate = true;
  typeUnverifiableGenre(model);
  questions.answer(kV2Verify, {"Yes"});
  run();
  EXPECT_EQ(writer.renames, 1);  // "Yes" clears the error, so the rename follows
  questions.answer(kV2Verify, {"No"});
  writer.renames = 0;
  typeUnverifiableGenre(model);
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
  model.values.tracks = u"9";
  model.setChangeBox(GroupField::V2Tracks, true);
  run();
  const ID3Tag saved = test::reopened(paths[0]);
  EXPECT_EQ(saved.v1.title, "A very long title that is long");
  EXPECT_EQ(saved.v1.track, 7);
  EXPECT_EQ(saved.tagData.tracks, 9);  // the box wins over the count
}

TEST_F(GroupUpdateTest, V2ForV1FillsTheV1Tag) {
  addTracks(1);
  model.copyV2Details = true;
  model.changedV1(true, false);
  run();
  EXPECT_TRUE(model.enableV1);
  const ID3Tag saved = test::reopened(paths[0]);
  EXPECT_EQ(saved.v1.title, "Song 0");
  EXPECT_EQ(saved.v1.album, "Old Album 0");
  EXPECT_EQ(saved.v1.artist, "Artist ? 0");  // U+4E2D has no Latin-1 form
  EXPECT_EQ(saved.v1.genre, 17);
  EXPECT_EQ(saved.v1.comment, "Comment 0");
}

TEST_F(GroupUpdateTest, AlwaysApplyPutsTheCurrentDefaultSetOnEachTrack) {
  addTracks(2);
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), dir.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");
  model.values.title = u"Group title";
  model.setChangeBox(GroupField::V2Title, true);
  model.changedV2(true, true);
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
  model.values.v1Album = u"R";
  model.setChangeBox(GroupField::V1Album, true);
  model.changedV1(true, true);
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

TEST_F(GroupUpdateTest, TheEndWaitsWhileASheetIsShowing) {
  addTracks(1);
  setAlbum(u"S");
  auto update = makeUpdate();
  update->m_bShowingSheet = true;
  ASSERT_TRUE(update->updateTracks());
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(observer.finished);
  EXPECT_FALSE(update->m_bCanExit);
  update->m_bShowingSheet = false;
  update->wait();
  EXPECT_TRUE(observer.finished);
  EXPECT_TRUE(update->m_bCanExit);
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
  EXPECT_EQ(sent, (std::vector<bool>{true, false}));
  update->m_bShowingSheet = false;
  update->wait();
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
  model.isrcIncrement = true;
  settings.closeWindow = true;
  run();
  EXPECT_FALSE(model.isDirty());
  EXPECT_FALSE(model.changeBox(GroupField::V2Album));
  EXPECT_FALSE(model.isrcIncrement);
  EXPECT_TRUE(observer.closeWindow);

  settings.closeWindow = false;
  setAlbum(u"V");
  run();
  EXPECT_FALSE(observer.closeWindow);
}

TEST_F(GroupUpdateTest, AnErrorKeepsTheBoxesForAnotherTry) {
  addTracks(1);
  setAlbum(u"W");
  writer.failV2Before = 2;
  run();
  EXPECT_TRUE(model.isDirty());
  EXPECT_TRUE(model.changeBox(GroupField::V2Album));
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

// Tracks written at once: begun in order, each written exactly as in turn.
TEST_F(GroupUpdateTest, TracksWrittenAtOnceEachGetTheirOwnResult) {
  addTracks(6);
  std::vector<TagData> before;
  for (const std::string& path : paths) before.push_back(test::reopened(path).tagData);
  setAlbum(u"Together");
  model.values.isrc = u"GBAAA0000100";
  model.setChangeBox(GroupField::Isrc, true);
  model.isrcIncrement = true;
  run(3);
  for (size_t i = 0; i < paths.size(); ++i) {
    EXPECT_EQ(outcomes[i].status, TrackStatus::Saved) << i;
    TagData expected = before[i];
    expected.album = UnicodeText::latin1("Together");
    expected.isrc = "GBAAA000010" + std::to_string(i);
    EXPECT_EQ(test::reopened(paths[i]).tagData, expected) << paths[i];
  }
  std::vector<size_t> updated = observer.updated;
  std::sort(updated.begin(), updated.end());
  EXPECT_EQ(updated, (std::vector<size_t>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(writer.v2Saves, 6);
  EXPECT_EQ(observer.progress, 7);
  EXPECT_EQ(writer.reopens, 6);
  EXPECT_FALSE(cancelled);
  EXPECT_FALSE(observer.finishedError);
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
  GroupUpdateOptions o = options();
  o.jobs = 2;
  GroupUpdate update(model, questions, observer, fixedSettings(settings), writer, o);
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
// that switch off, the tracks are written in turn, as the window does.
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
}

}  // namespace
}  // namespace melos
