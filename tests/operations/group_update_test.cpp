// The group update run over real files: what is written and what is left
// alone, every question of the run with both of its answers, cancelling, and
// the end of the run.

#include "operations/group_update.h"

#include <gtest/gtest.h>

#include <thread>

#include "engine/log.h"
#include "engine/v2_update.h"
#include "tests/operations/update_fixtures.h"
#include "tests/support/aiff_builder.h"
#include "tests/support/log_capture.h"

namespace melos {
namespace {

using test::reopened;
using S = TrackStatus;
using Strings = std::vector<std::string>;
using Flags = std::vector<bool>;

const std::string kReload =
    "Please reload the track and check that the details are correct (see melos.log for more details).";
const std::string kContinue = kReload + " Would you like to continue?";
const std::string kIgnore = kReload + " Would you like to ignore this?";
UnicodeText latin(const char* text) { return UnicodeText::latin1(text); }

// One group of tracks on disk and everything a run talks to; the tables build
// one per row so that no row sees another's files.
struct GroupRun : test::TrackFiles {
  void addTracks(int count) {
    for (int n = 0; n < count; ++n) addFile("track" + std::to_string(n) + ".mp3", test::numberedTrack(n));
  }
  void addFile(const std::string& name, const Bytes& bytes) {
    model.addTrack(test::openTrack(TrackFiles::addFile(name, bytes)));
  }
  std::unique_ptr<GroupUpdate> makeUpdate(int jobs = 1, int pauseMs = 0, SaveSettingsSource source = {}) {
    GroupUpdateOptions o;
    o.pauseBetweenTracks = std::chrono::milliseconds(pauseMs);
    o.sheetPoll = std::chrono::milliseconds(2);
    o.afterSheet = std::chrono::milliseconds(0);
    o.jobs = jobs;
    return std::make_unique<GroupUpdate>(model, questions, observer, source ? source : fixedSettings(settings), writer, o);
  }
  void run(int jobs = 1, SaveSettingsSource source = {}) {
    auto update = makeUpdate(jobs, 0, std::move(source));
    ASSERT_TRUE(update->updateTracks());
    update->wait();
    outcomes = update->outcomes();
    cancelled = update->cancelled();
  }
  void tick(GroupField field, std::u16string GroupValues::*value, std::u16string text) {
    model.values.*value = std::move(text);
    model.setChangeBox(field, true);
    isV1Field(field) ? model.changedV1(true, true) : model.changedV2(true, true);
  }
  void setAlbum(const std::u16string& album) { tick(GroupField::V2Album, &GroupValues::album, album); }
  Flags untouchedAll() const {
    Flags all(paths.size());
    for (size_t i = 0; i < paths.size(); ++i) all[i] = untouched(i);
    return all;
  }
  std::vector<S> statuses() const {
    std::vector<S> all;
    for (const TrackOutcome& o : outcomes) all.push_back(o.status);
    return all;
  }

  test::RecordingObserver observer;
  GroupModel model;
  std::vector<TrackOutcome> outcomes;
  bool cancelled = false;
};

class GroupUpdateTest : public ::testing::Test, public GroupRun {};

// Passed over: tracks with no field edited (values typed and boxes on are not
// enough) and read-only tracks. A run that succeeds clears the dirty mark and
// the boxes, and closes the window when the preferences say so.
TEST_F(GroupUpdateTest, UnchangedAndReadOnlyTracksArePassedOver) {
  addTracks(3);
  model.values.album = u"X", model.enableV2 = true;
  model.setChangeBox(GroupField::V2Album, true);
  run();
  EXPECT_EQ(statuses(), std::vector<S>(3, S::Unchanged));
  EXPECT_TRUE(observer.finished && observer.closeWindow && !observer.finishedError && questions.asked().empty());
  EXPECT_EQ(std::pair(observer.maximum, observer.progress.load()), std::pair(size_t{3}, 4));  // one a track, one more
  model.tracks()[1]->readOnly = true;
  setAlbum(u"D");
  model.isrcIncrement = true, settings.closeWindow = false;  // without the ISRC box: no code is given
  run();
  EXPECT_EQ(untouchedAll(), (Flags{false, true, false}));
  EXPECT_EQ(outcomes[1].status, S::ReadOnly);
  EXPECT_EQ(reopened(paths[0]).tagData.isrc, "GBAAA0000000");
  EXPECT_FALSE(model.isDirty() || model.changeBox(GroupField::V2Album) || model.isrcIncrement || observer.closeWindow);
}

// The ticked fields, and nothing else, change on every track, whether the
// tracks are written in turn or several at once. Each track is read again
// just before it is written: what another program saved meanwhile stays. The
// ISRC is the same on every track unless it is incremented.
TEST(GroupUpdate, OnlyTheTickedFieldsChangeOnEveryTrack) {
  for (const int jobs : {1, 3}) {
    SCOPED_TRACE(jobs);
    GroupRun g;
    g.addTracks(6);
    const auto other = test::openTrack(g.paths[2]);
    other->tagData.title = latin("Changed on disk");
    ASSERT_EQ(updateV2ToTrack(*other, false, 3, false, false, 0), kSaveOk);
    std::vector<std::pair<TagData, V1Tag>> before;
    for (const std::string& path : g.paths) before.emplace_back(reopened(path).tagData, reopened(path).v1);
    g.setAlbum(u"X");
    g.tick(GroupField::Isrc, &GroupValues::isrc, u"GBAAA0000100");
    g.model.isrcIncrement = jobs > 1;
    g.run(jobs);
    EXPECT_EQ(g.statuses(), std::vector<S>(6, S::Saved));
    for (size_t i = 0; i < g.paths.size(); ++i) {
      const ID3Tag after = reopened(g.paths[i]);
      TagData expected = before[i].first;
      expected.album = latin("X");
      expected.isrc = jobs > 1 ? "GBAAA000010" + std::to_string(i) : "GBAAA0000100";
      EXPECT_EQ(after.tagData, expected) << i;
      EXPECT_EQ(after.v1, before[i].second);
      // The audio and the V1 tag behind the new tag are the original bytes.
      EXPECT_EQ(test::afterTag(test::readFile(g.paths[i])), test::afterTag(g.originals[i]));
    }
    EXPECT_EQ(std::pair(g.observer.progress.load(), g.writer.reopens.load()), std::pair(7, 6));
    EXPECT_EQ(g.model.tracks()[5]->tagData.album, latin("X"));  // the group holds what is now on disk
    EXPECT_FALSE(g.model.tracks()[5]->v2Changed || g.cancelled || g.observer.finishedError || g.outcomes[0].v1Written);
  }
}

// Each answer to a failed verification: "Yes" goes on, "No" ends the run
// with the rest of the group untouched; only the last track's V2 question
// offers to ignore. A genre typed as a bare number is read back as its name.
TEST(GroupUpdate, VerificationQuestions) {
  const struct { int tracks; bool v1; const char* answer; Strings messages; std::vector<S> statuses; } rows[] = {
      {3, false, "Yes", {kContinue, kContinue, kIgnore}, {S::Saved, S::Saved, S::Saved}},
      {3, false, "No", {kContinue}, {S::Failed, S::NotReached, S::NotReached}},
      {1, false, "No", {kIgnore}, {S::Failed}},
      {2, true, "Yes", {kContinue, kContinue}, {S::Saved, S::Saved}},
      {2, true, "No", {kContinue}, {S::Failed, S::NotReached}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.v1 ? "V1 " : "V2 ") + row.answer + std::to_string(row.tracks));
    GroupRun g;
    g.addTracks(row.tracks);
    if (row.v1) g.tick(GroupField::V1Album, &GroupValues::v1Album, u"A"), g.writer.forceV1 = 7;
    g.tick(GroupField::V2Genre, &GroupValues::genre, row.v1 ? u"Jazz" : u"17");
    const std::string title = std::string("Verification of the updated ") + (row.v1 ? "V1" : "V2") + " tag failed";
    g.questions.answer(title, {row.answer});
    g.run();
    EXPECT_EQ(g.questions.messages(title), row.messages);
    EXPECT_EQ(g.questions.asked().size(), row.messages.size());  // no alert beside the question
    EXPECT_EQ(g.statuses(), row.statuses);
    for (size_t i = 0; i < g.paths.size(); ++i) EXPECT_EQ(g.untouched(i), row.statuses[i] == S::NotReached);
    const bool stopped = std::string(row.answer) == "No";
    // A stopped group is not reloaded.
    EXPECT_EQ(std::pair(g.observer.finishedError, g.writer.reopens.load()),
              std::pair(stopped, stopped ? 0 : row.tracks));
    // "Yes" clears the error.
    EXPECT_EQ(row.v1 ? g.outcomes[0].v1Result : g.outcomes[0].v2Result, stopped ? 7 : 0);
    EXPECT_EQ(g.outcomes[0].v2NotVerified, !stopped && !row.v1);
  }
}

// saveTag on its own: a V2 change the window does not hold ends the track
// whatever the answer; a V1 change that is missing is only logged.
TEST(GroupUpdate, ExpectedChangesThatAreMissing) {
  for (const char* answer : {"Yes", "No", static_cast<const char*>(nullptr)}) {
    SCOPED_TRACE(answer ? answer : "V1");
    GroupRun g;
    g.addTracks(1);
    answer ? g.tick(GroupField::V1Title, &GroupValues::v1Title, u"T") : g.setAlbum(u"B");
    g.model.changedV2(true, g.model.enableV2);
    if (answer) g.questions.answer("V2 tag check error", {answer});
    test::LogCapture log;
    auto update = g.makeUpdate();
    EXPECT_EQ(update->saveTag(0, 1, true, true), !answer || answer == std::string("Yes"));
    EXPECT_EQ(update->outcomes()[0].status, answer ? S::CheckDeclined : S::Saved);
    EXPECT_EQ(g.untouched(0), answer != nullptr);
    EXPECT_EQ(log.has(LogError, "The V1 tag has not been changed as expected"), !answer);
    // The count in the log is the only place the track's place in the run shows.
    EXPECT_TRUE(log.has(LogAlways, "Starting track update for " + g.paths[0] + " (1 of 1)")) << log.dump();
  }
}

// While the run goes on the window's close asks whether to cancel (a sheet);
// the track begun is finished, no other is begun. After it, whether to save.
TEST(GroupUpdate, AskingToCloseWhileTheRunGoesOnAndAfter) {
  for (const bool stop : {true, false}) {
    GroupRun g;
    g.addTracks(3);
    g.setAlbum(u"C");
    g.questions.answer("Do you want to cancel?", {stop ? "Yes" : "No"});
    std::unique_ptr<GroupUpdate> update = g.makeUpdate();
    CloseAnswer answer = CloseAnswer::Cancel;
    g.observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) {
      if (index == 0) answer = update->askToUpdate();
    };
    ASSERT_TRUE(update->updateTracks());
    update->wait();
    EXPECT_EQ(answer, stop ? CloseAnswer::StopRun : CloseAnswer::KeepRunning);
    EXPECT_EQ(g.untouchedAll(), (Flags{false, stop, stop}));
    EXPECT_EQ(std::pair(update->cancelled(), g.writer.reopens.load()), std::pair(stop, stop ? 0 : 3));
    EXPECT_EQ(g.model.tracks()[1]->v2Changed && g.model.isDirty(), stop);  // what was not written is still to save
    g.questions.answer("Do you want to save changes?", {"Save", "Don't save", "Cancel"});
    for (const CloseAnswer expected : {CloseAnswer::Save, CloseAnswer::DontSave, CloseAnswer::Cancel})
      EXPECT_EQ(update->askToUpdate(), expected);
    EXPECT_FALSE(update->m_bShowingSheet);
  }
}

// A 2.4 record time that a 2.3 save would lose: "No" leaves the track and
// goes on with the next, "Yes" saves without it, and the automatic version
// keeps it without asking.
TEST(GroupUpdate, SavesThatWouldLoseAField) {
  const struct { int version; const char* answer; S status; int savedVersion; const char* recordTime; } rows[] = {
      {3, "No", S::LossDeclined, 4, "2004-05-06"}, {3, "Yes", S::Saved, 3, ""}, {0, nullptr, S::Saved, 4, "2004-05-06"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.version);
    GroupRun g;
    const Bytes tag = test::Id3v2Builder(4).text("TDRC", test::Enc::Latin1, "2004-05-06").build();
    g.addFile("dated.mp3", test::mp3File({tag, test::shortAudio(), {}, {}}));
    g.addTracks(1);
    g.settings.tag2SaveVersion = row.version, g.setAlbum(u"E");
    if (row.answer)
      g.questions.answer("Updating this track will result in the loss of the tag field 'Record time'", {row.answer});
    g.run();
    EXPECT_EQ(g.statuses(), (std::vector<S>{row.status, S::Saved}));
    EXPECT_EQ(g.untouched(0), row.status == S::LossDeclined);
    EXPECT_EQ(g.outcomes[0].dropped, row.version == 3 ? Strings{"Record time"} : Strings{});
    const ID3Tag saved = reopened(g.paths[0]);
    EXPECT_EQ(std::pair(saved.v2Version, saved.tagData.recordtime), std::pair(row.savedVersion, std::string(row.recordTime)));
    EXPECT_EQ(g.questions.asked().size(), row.answer ? 1u : 0u);
  }
}

// A failed save ends the run, with what was not written still to save; the
// alert says which tag is as it was. A track that no longer reads is no save.
TEST(GroupUpdate, FailedSaves) {
  const Strings unchanged = {"Note: The original has not been changed."};
  const struct { bool aiff, v1Fails, unreadable; std::string title; Strings messages; } rows[] = {
      {false, false, false, "Failed to update the version 2 tag",
       {"Note: The version 1 tag has been updated but the original version 2 has not been changed."}},
      {true, false, false, "Failed to update the version 2 tag", unchanged},
      {false, true, false, "Failed to update the tags", unchanged}, {false, false, true, "", {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title + std::to_string(row.aiff));
    GroupRun g;
    if (row.aiff)
      g.addFile("a.aif",
                test::AiffBuilder().chunk(test::commChunk(2, 16, 16, 44100)).chunk(test::ssndChunk(Bytes(64, 1))).build());
    g.addTracks(2);
    if (row.unreadable) g.originals[0] = Bytes(2000, 0), g.dir.write("track0.mp3", g.originals[0]);
    if (row.v1Fails) g.tick(GroupField::V1Album, &GroupValues::v1Album, u"G");
    if (!row.unreadable) (row.v1Fails ? g.writer.failV1Before : g.writer.failV2Before) = 5;
    g.setAlbum(u"G");
    g.run();
    EXPECT_EQ(g.questions.messages(row.title), row.messages);
    std::vector<S> expected(g.paths.size(), S::NotReached);
    expected[0] = S::Failed;
    EXPECT_EQ(g.statuses(), expected);
    EXPECT_EQ(g.untouchedAll(), Flags(g.paths.size(), true));  // both failures come before the engine writes
    EXPECT_TRUE(g.observer.finishedError && g.model.isDirty() && g.model.changeBox(GroupField::V2Album));
  }
}

// Renamed after the save and read again from the new path; a failed rename
// is shown and the run goes on.
TEST(GroupUpdate, RenameAfterTheSave) {
  for (const bool fails : {false, true}) {
    GroupRun g;
    g.addTracks(2);
    g.settings.renameUpdate = true, g.writer.failRename = fails, g.setAlbum(u"H");
    g.run();
    EXPECT_EQ(g.questions.messages("Failed to change the file name").size(), fails ? 2u : 0u);
    EXPECT_EQ(std::pair(g.outcomes[0].renameFailed, g.statuses()), std::pair(fails, std::vector<S>(2, S::Saved)));
    if (fails) continue;
    EXPECT_EQ(g.outcomes[0].newPath, g.dir.file("Song 0.mp3"));  // no number to put in front
    EXPECT_EQ(g.model.tracks()[1]->path(), g.dir.file("01-Song 1.mp3"));
    EXPECT_EQ(g.model.tracks()[1]->tagData.album, latin("H"));
  }
}

// The title and number from the file name; the total on disk, read again
// before the track is written, is the group's count when there is none, and
// the total box wins over it.
TEST(GroupUpdate, FileNameBoxSetsTitleAndTrackAndTheTotal) {
  GroupRun g;
  g.addFile("01 - Alpha.mp3", test::numberedTrack(1));
  g.addFile("00 - Beta.mp3", test::numberedTrack(2));
  g.model.tracks()[0]->tagData.tracks = kUnsetNumber;
  ASSERT_EQ(updateV2ToTrack(*g.model.tracks()[0], false, 3, false, false, 0), kSaveOk);
  g.model.fileName = true, g.model.changedV2(true, true);
  g.run();
  const ID3Tag first = reopened(g.paths[0]), second = reopened(g.paths[1]);
  EXPECT_EQ(std::tuple(first.tagData.title, first.tagData.track, first.tagData.tracks),
            std::tuple(latin("Alpha"), 1, 2));
  EXPECT_EQ(std::pair(second.tagData.title, second.tagData.track), std::pair(latin("Beta"), kUnsetNumber));
  EXPECT_EQ(first.v1.title, "V1 Song 1");  // V1 was not enabled in the window
  GroupRun v1;
  v1.addFile("07 - A very long title that is longer than thirty.mp3", test::numberedTrack(1));
  v1.model.fileName = v1.model.enableV1 = true;
  v1.tick(GroupField::V2Tracks, &GroupValues::tracks, u"9");
  v1.run();
  const ID3Tag saved = reopened(v1.paths[0]);
  EXPECT_EQ(std::tuple(saved.v1.title, saved.v1.track, saved.tagData.tracks), std::tuple("A very long title that is long", 7, 9));
}

// The default set applies on top; replacing group data clears what belongs
// to one track; disabled tags are removed.
TEST(GroupUpdate, WhatTheSettingsAddToEachTrack) {
  GroupRun g;
  g.addTracks(1);
  PreferencesController prefs(std::make_unique<MemoryPreferenceStore>(), g.dir.path());
  test::alwaysApplyDefaultAlbum(prefs, "Default album");
  g.tick(GroupField::V2Title, &GroupValues::title, u"Group title");
  g.run(1, settingsFrom(prefs));
  const ID3Tag saved = reopened(g.paths[0]);
  EXPECT_EQ(std::pair(saved.tagData.title, saved.tagData.album), std::pair(latin("Group title"), latin("Default album")));
  EXPECT_TRUE(saved.v1Loaded);  // the V1 tag, off in the window, is not taken as changed
  g.settings.replaceTagDataInGroup = true;
  g.tick(GroupField::V1Album, &GroupValues::v1Album, u"R"), g.setAlbum(u"R");
  g.run();
  const ID3Tag replaced = reopened(g.paths[0]);
  EXPECT_EQ(std::tuple(replaced.tagData.track, replaced.v1.track, replaced.tagData.album),
            std::tuple(kUnsetNumber, kUnsetV1, latin("R")));
  EXPECT_EQ(replaced.tagData.isrc, "GBAAA0000000");  // not per-track data here
  g.model.changedV1(true, false), g.model.changedV2(true, false);
  g.model.enableV1 = g.model.enableV2 = false;
  g.run();
  const ID3Tag removed = reopened(g.paths[0]);
  EXPECT_FALSE(removed.hasV2Tag || removed.v1Loaded || !g.outcomes[0].v2Removed);
}

// An empty group or a second start sends the action at once; the end of a
// run waits while a sheet is showing, and its action may start another run
// and delete the update.
TEST_F(GroupUpdateTest, TheEndAction) {
  Flags sent;
  EXPECT_FALSE(makeUpdate()->updateTracks([&](bool value) { sent.push_back(value); }));
  addTracks(2);
  setAlbum(u"First");
  std::unique_ptr<GroupUpdate> update = makeUpdate();
  GroupUpdate* raw = update.get();
  update->m_bShowingSheet = true;
  // The second run may end before the first run's action has stored that it
  // began: both flags are awaited before `sent` is read.
  std::atomic<bool> deleted{false};
  std::atomic<bool> firstEnded{false};
  ASSERT_TRUE(raw->updateTracks([&](bool value) {
    sent.push_back(value);
    setAlbum(u"Second");
    sent.push_back(raw->updateTracks([&](bool) { update.reset(), deleted = true; }));
    firstEnded = true;
  }));
  EXPECT_FALSE(raw->updateTracks([&](bool value) { sent.push_back(!value); }));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(observer.finished || raw->m_bCanExit);
  EXPECT_EQ(sent, (Flags{true, false}));
  raw->m_bShowingSheet = false;
  for (int i = 0; i < 500 && !(deleted && firstEnded); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_TRUE(deleted && firstEnded);
  EXPECT_EQ(sent, (Flags{true, false, true, true}));
  EXPECT_EQ(reopened(paths[1]).tagData.album, latin("Second"));
}

// Stopping during the first track: with a pause, and with tracks written at
// once, where at most the two first and one claimed by the other thread begin.
TEST_F(GroupUpdateTest, StoppingBeginsNoOtherTrack) {
  addTracks(6);
  setAlbum(u"Halt");
  for (const auto& [jobs, pauseMs] : {std::pair{1, 20}, std::pair{2, 0}}) {
    auto update = makeUpdate(jobs, pauseMs);
    observer.onTrackUpdated = [&](size_t, const TrackOutcome&) { update->m_bExit = true; };
    ASSERT_TRUE(update->updateTracks());
    update->wait();
    EXPECT_TRUE(update->cancelled());
    // One after another, the track after the stopped one never begins.
    for (size_t i = jobs == 1 ? 1 : 3; i < paths.size(); ++i) EXPECT_TRUE(untouched(i)) << i;
  }
  EXPECT_EQ(writer.reopens, 0);
}

// Those begun beside the failed track finished; from the first track not
// begun on, none was.
TEST_F(GroupUpdateTest, AFailureAmongTracksWrittenAtOnceBeginsNoLaterTrack) {
  addTracks(8);
  setAlbum(u"Stop");
  writer.failV2Before = 4, writer.failV2Of = paths[3];
  run(2);
  bool reachedEnd = false;
  for (size_t i = 0; i < paths.size(); ++i) {
    reachedEnd = reachedEnd || (i > 3 && outcomes[i].status == S::NotReached);
    const S expected = i == 3 ? S::Failed : reachedEnd ? S::NotReached : S::Saved;
    EXPECT_EQ(std::pair(outcomes[i].status, untouched(i)), std::pair(expected, expected != S::Saved)) << i;
  }
  EXPECT_TRUE(reachedEnd && observer.finishedError && !cancelled && writer.reopens == 0);
}

// The first MP3 track turns the V1 switch on when V2 details go to V1: with
// that switch off, the tracks are written in turn, as the window does, and
// each V1 tag is filled from its V2 tag.
TEST_F(GroupUpdateTest, CopyingV2ToV1WithTheV1SwitchOffIsWrittenInTurn) {
  addTracks(4);
  model.copyV2Details = true;
  model.changedV1(true, true), model.enableV1 = false;
  std::vector<size_t> order;
  observer.onTrackUpdated = [&](size_t index, const TrackOutcome&) { order.push_back(index); };
  run(4);
  EXPECT_EQ(order, (std::vector<size_t>{0, 1, 2, 3}));
  EXPECT_TRUE(model.enableV1);
  const V1Tag v1 = reopened(paths[0]).v1;  // U+4E2D has no Latin-1 form
  EXPECT_EQ(std::tuple(v1.title, v1.artist, v1.album, v1.comment, v1.genre),
            std::tuple("Song 0", "Artist ? 0", "Old Album 0", "Comment 0", 17));
}

}  // namespace
}  // namespace melos
