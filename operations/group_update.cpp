#include "operations/group_update.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "engine/file_state.h"
#include "engine/log.h"
#include "operations/file_name_fields.h"
#include "operations/questions.h"
#include "operations/tag_copy.h"
#include "operations/threads.h"
#include "operations/track_writer.h"
#include "operations/version_loss.h"

namespace melos {
namespace {

constexpr int kNotVerified = 7;

const std::string kReloadMessage =
    "Please reload the track and check that the details are correct (see melos.log for more details).";

std::string lossQuestion(const std::string& field) {
  return "Updating this track will result in the loss of the tag field '" + field + "'";
}

bool acceptable(int result) { return result == 0 || result == kNotVerified; }

// Step 4: what belongs to one track alone is cleared before the group's
// values go in.
void clearPerTrackData(ID3Tag& track) {
  track.v1.track = kUnsetV1;
  track.tagData.lyrics = UnicodeText{};
  track.tagData.releasetime.clear();
  track.tagData.recordtime.clear();
  track.tagData.track = kUnsetNumber;
}

}  // namespace

void GroupUpdate::applyDefaults(ID3Tag& track, const SaveSettings& settings) const {
  const V1Tag v1 = track.v1;
  const bool v1Changed = track.v1Changed;
  const bool v2Changed = track.v2Changed;
  settings.applyDefaults(track);
  // A tag counts as changed only where the run writes it: a changed tag whose
  // enable box is off would be removed.
  track.v1Changed = v1Changed || (track.isMp3File && model_.enableV1 && !(track.v1 == v1));
  track.v2Changed = v2Changed || model_.enableV2;
}

GroupUpdate::GroupUpdate(GroupModel& model, Questions& questions, UpdateObserver& observer,
                         SaveSettingsSource settings, TrackWriter& writer, GroupUpdateOptions options)
    : model_(model),
      questions_(questions),
      observer_(observer),
      settings_(std::move(settings)),
      writer_(writer),
      options_(options) {}

GroupUpdate::~GroupUpdate() {
  if (!worker_.joinable()) return;
  // Past the start of the run's end the worker only returns, touching nothing
  // of this object: it need not be waited for, and must not be when this is
  // deleted by the action sent at that end, which the worker waits on.
  if (finishing_ || std::this_thread::get_id() == worker_.get_id()) worker_.detach();
  else worker_.join();
}

void GroupUpdate::wait() {
  if (worker_.joinable() && std::this_thread::get_id() != worker_.get_id()) worker_.join();
}

bool GroupUpdate::updateTracks(std::function<void(bool)> whenDone) {
  if (model_.count() == 0 || !m_bCanExit) {
    if (whenDone) whenDone(true);
    return false;
  }
  // The last run's worker has handed back its end and touches nothing of
  // this object any more; it may still be returning from that call, which
  // can be this very call's caller.
  if (worker_.joinable()) worker_.detach();
  m_CancelSelector = std::move(whenDone);
  m_bExit = false;
  m_bCanExit = false;
  cancelled_ = false;
  finishing_ = false;
  {
    std::lock_guard lock(outcomesMutex_);
    outcomes_.assign(model_.count(), TrackOutcome{});
    for (size_t i = 0; i < model_.count(); ++i) outcomes_[i].path = model_.tracks()[i]->path();
  }
  observer_.updateStarted(model_.count(), std::string(kUpdatingStatus));
  observer_.progressAdvanced();
  // A run can end, and its end action start the next run, on the worker
  // itself (an observer that runs the end where it is called): the worker
  // waits until its handle is stored, so that nothing reads it half written.
  std::lock_guard starting(startMutex_);
  worker_ = std::thread([this] {
    { std::lock_guard started(startMutex_); }
    lowerCurrentThreadPriority();
    updateWithThread();
  });
  return true;
}

void GroupUpdate::updateWithThread() {
  bool error = false;
  try {
    const size_t count = model_.count();
    // The V1 switch is turned on by the first MP3 track when V2 details are
    // copied to V1; tracks written at once would race for it.
    const bool together = options_.jobs > 1 && count > 1 && (!model_.copyV2Details || model_.enableV1);
    const size_t begun = together ? updateTogether(count, std::min<int>(options_.jobs, static_cast<int>(count)), error)
                                  : updateInTurn(count, error);
    cancelled_ = !error && begun < count;

    // The end of the run would rebuild the window under a showing sheet.
    for (int polls = 0; m_bShowingSheet && polls < options_.sheetPollLimit; ++polls)
      std::this_thread::sleep_for(options_.sheetPoll);
    if (options_.afterSheet.count() > 0) std::this_thread::sleep_for(options_.afterSheet);

    // A cancelled run leaves the unwritten tracks as the user edited them.
    if (!error && !cancelled_ && options_.reload) reloadTracks();
  } catch (const std::exception& exception) {
    error = true;
    LogMessage(LogError, "[MultipleTagController:updateWithThread] error:%s", exception.what());
    tell(questions_, "Failed to update the tags", "Note: The files before this error will have been updated.");
  } catch (...) {
    error = true;
    tell(questions_, "Failed to update the tags", "Note: The files before this error will have been updated.");
  }
  observer_.runOnMainThread([this, error] { finishedUpdate(error); });
}

bool GroupUpdate::runTrack(size_t index, size_t count) {
  const bool expectV1 = model_.updateV1();
  const bool expectV2 = model_.updateV2();
  observer_.trackStarting(index);
  const bool saved = saveTag(index, count, expectV1, expectV2);
  observer_.trackUpdated(index, outcomeAt(index));
  if (!saved) return false;
  observer_.progressAdvanced();
  return true;
}

size_t GroupUpdate::updateInTurn(size_t count, bool& error) {
  size_t index = 0;
  for (; index < count && !m_bExit; ++index) {
    if (index > 0 && options_.pauseBetweenTracks.count() > 0) {
      std::this_thread::sleep_for(options_.pauseBetweenTracks);
      if (m_bExit) break;
    }
    if (!runTrack(index, count)) {
      LogMessage(LogError, "Ending update due to errors");
      error = true;
      return index + 1;
    }
  }
  return index;
}

size_t GroupUpdate::updateTogether(size_t count, int jobs, bool& error) {
  std::atomic<size_t> next{0};
  std::atomic<size_t> begun{0};
  std::atomic<bool> failed{false};
  std::mutex thrownMutex;
  std::exception_ptr thrown;
  auto work = [&] {
    try {
      for (;;) {
        if (failed || m_bExit) return;
        const size_t index = next++;
        if (index >= count) return;
        // Claimed while the failure of an earlier track was being recorded.
        if (failed || m_bExit) return;
        ++begun;
        if (!runTrack(index, count)) {
          if (!failed.exchange(true)) LogMessage(LogError, "Ending update due to errors");
          return;
        }
      }
    } catch (...) {
      std::lock_guard lock(thrownMutex);
      if (!thrown) thrown = std::current_exception();
      failed = true;
    }
  };
  runOnThreads(jobs, work);
  if (thrown) std::rethrow_exception(thrown);
  error = failed;
  return begun;
}

void GroupUpdate::reloadTracks() {
  for (auto& track : model_.tracks()) {
    writer_.reopen(*track, options_.reopenScanMode);
    track->v1Changed = false;
    track->v2Changed = false;
  }
}

void GroupUpdate::finishedUpdate(bool error) {
  // From here on the worker only waits for this call to return.
  finishing_ = true;
  const bool success = !error && !cancelled_;
  const bool closeWindow = success && settings_().closeWindow;
  if (success) {
    model_.setDirty(false);
    model_.resetCheckBoxes();
  }
  // Taken before a new run may be started, which would store its own.
  std::function<void(bool)> selector = std::exchange(m_CancelSelector, nullptr);
  observer_.updateFinished(error, closeWindow);
  m_bCanExit = true;
  // Last: the action may delete this object.
  if (selector) selector(true);
}

CloseAnswer GroupUpdate::askToUpdate() {
  m_bShowingSheet = true;
  CloseAnswer answer = CloseAnswer::Cancel;
  if (m_bCanExit) {
    const SaveAnswer chosen = askToSaveChanges(questions_);
    if (chosen == SaveAnswer::Save) answer = CloseAnswer::Save;
    else if (chosen == SaveAnswer::DontSave) answer = CloseAnswer::DontSave;
  } else {
    const std::string chosen =
        questions_.ask("Do you want to cancel?", "If you cancel now, no more tracks will be changed.",
                       {std::string(kNoButton), std::string(kYesButton)});
    if (chosen == kYesButton) {
      m_bExit = true;
      observer_.statusChanged(std::string(kStoppingStatus));
      answer = CloseAnswer::StopRun;
    } else {
      answer = CloseAnswer::KeepRunning;
    }
  }
  m_bShowingSheet = false;
  return answer;
}

std::vector<TrackOutcome> GroupUpdate::outcomes() const {
  std::lock_guard lock(outcomesMutex_);
  return outcomes_;
}

TrackOutcome GroupUpdate::outcomeAt(size_t index) const {
  std::lock_guard lock(outcomesMutex_);
  return index < outcomes_.size() ? outcomes_[index] : TrackOutcome{};
}

bool GroupUpdate::saveTag(size_t index, size_t count, bool expectV1, bool expectV2) {
  ID3Tag& track = *model_.tracks().at(index);
  TrackOutcome outcome;
  outcome.path = track.path();
  bool result = true;
  if (track.readOnly) {
    outcome.status = TrackStatus::ReadOnly;
  } else if (!track.v1Changed && !track.v2Changed) {
    outcome.status = TrackStatus::Unchanged;
  } else {
    const SaveSettings settings = settings_();
    LogMessage(LogAlways, "Starting track update for %s (%d of %d)", track.path().c_str(),
               static_cast<int>(index + 1), static_cast<int>(count));
    // Locked, then read again: the checked fields go onto what the file holds
    // now, so that what another program or save changed meanwhile stays.
    const std::string path = resolveTrackPath(track.path());
    TrackLock lock = TrackLock::acquire(path);
    if (!lock.isHeld()) {
      outcome.status = TrackStatus::Failed;
      result = false;
    } else if (!writer_.readForUpdate(track)) {
      outcome.status = TrackStatus::Failed;
      result = false;
    } else {
      if (options_.perTrack) options_.perTrack(track);
      result = saveTrack(track, index, count, expectV1, expectV2, settings, outcome);
    }
  }
  std::lock_guard lock(outcomesMutex_);
  if (outcomes_.size() < count) outcomes_.resize(count);
  outcomes_[index] = std::move(outcome);
  return result;
}

bool GroupUpdate::saveTrack(ID3Tag& track, size_t index, size_t count, bool expectV1, bool expectV2,
                            const SaveSettings& settings, TrackOutcome& outcome) {
  int v1Result = 0;
  int v2Result = 0;
  bool renamed = true;
  try {
    if (settings.replaceTagDataInGroup) clearPerTrackData(track);

    if (track.isMp3File) {
      if (model_.updateV1()) {
        LogMessage(LogAlways, "Updating V1 tag...");
        model_.updateV1TagData(track);
      } else if (expectV1) {
        LogMessage(LogError, "The V1 tag has not been changed as expected");
      }
    }

    if (model_.updateV2()) {
      LogMessage(LogAlways, "Updating V2 tag...");
      model_.updateV2TagData(track, settings.addPicToEnd);
      if (model_.changeBox(GroupField::Isrc) && model_.isrcIncrement)
        track.tagData.isrc = incrementedIsrc(model_.values.isrc, index);
    } else if (expectV2) {
      LogMessage(LogError, "The V2 tag should be changed before it is updated but it has not been changed.");
      // Either way this track is not written: the question ends its update.
      const bool goOn = askYesNo(questions_, "V2 tag check error",
                                 "The V2 tag should be changed before it is updated but it has not been changed. "
                                 "Would you like to continue?");
      outcome.status = TrackStatus::CheckDeclined;
      return goOn;
    }

    if (settings.applyDefaults) applyDefaults(track, settings);

    if (model_.fileName) {
      const FileNameFields fields = parseFileName(track.path(), settings.fromFileNameFormat);
      const int number = fields.track;
      track.tagData.track = number == 0 ? kUnsetNumber : static_cast<uint16_t>(number);
      if (track.isMp3File) track.v1.track = v1TrackFor(number);
      // A name that gives no title leaves the title as it was.
      if (fields.title) {
        const std::u16string title = utf8ToU16(*fields.title);
        track.tagData.title = storedText(title);
        if (track.isMp3File) track.v1.title = v1Field(title, kV1TextField);
      }
      if (!model_.changeBox(GroupField::V2Tracks) && track.tagData.tracks > kUnsetNumber - 1)
        track.tagData.tracks = static_cast<uint16_t>(count);
      if (track.isMp3File && model_.enableV1) track.v1Changed = true;
      if (model_.enableV2) track.v2Changed = true;
    }

    if (track.isMp3File && model_.copyV2Details) {
      fillV1FromV2(track);
      track.v1Changed = true;
      // Written only while tracks are written one after another.
      if (!model_.enableV1) model_.enableV1 = true;
    }

    // A 2.3 save has no frame for some fields; they would be gone without a word.
    if (track.v2Changed && model_.enableV2) {
      const std::vector<std::string> lost = fieldsLostAtVersion(track, settings.tag2SaveVersion);
      if (!lost.empty()) {
        if (!askYesNo(questions_, lossQuestion(lost.front()), "Do you want to continue?")) {
          outcome.status = TrackStatus::LossDeclined;
          outcome.dropped = lost;
          LogMessage(LogAlways, "Finished updating");
          return true;
        }
        dropVersion24Fields(track.tagData);
        outcome.dropped = lost;
      }
    }

    if (track.isMp3File && track.v1Changed) {
      if (!model_.enableV1) {
        v1Result = writer_.removeV1(track, settings.removeApeTag, settings.keepFileDates);
        outcome.v1Removed = v1Result == 0;
      } else {
        v1Result = writer_.saveV1(track, settings.removeApeTag, settings.keepFileDates, settings.trimWhitespace);
        outcome.v1Written = v1Result == 0 || v1Result == kNotVerified;
      }
      if (v1Result != 0) {
        LogMessage(LogError, "Failed to update the V1 tag data for '%s' (%d)", track.path().c_str(), v1Result);
        if (v1Result == kNotVerified &&
            askYesNo(questions_, "Verification of the updated V1 tag failed",
                     kReloadMessage + " Would you like to continue?")) {
          v1Result = 0;
          outcome.v1NotVerified = true;
        }
      }
    }

    if (v1Result == 0 && track.v2Changed) {
      if (!model_.enableV2) {
        v2Result = writer_.removeV2(track, settings.moveToTrash, settings.keepFileDates);
        outcome.v2Removed = v2Result == 0;
      } else {
        v2Result = writer_.saveV2(track, settings.moveToTrash, settings.tag2SaveVersion, settings.keepFileDates,
                                  settings.trimWhitespace);
        outcome.v2Written = v2Result == 0 || v2Result == kNotVerified;
      }
      if (v2Result != 0) {
        LogMessage(LogError, "Failed to update the V2 tag data for '%s' (%d)", track.path().c_str(), v2Result);
        const bool last = index + 1 >= count;
        if (v2Result == kNotVerified &&
            askYesNo(questions_, "Verification of the updated V2 tag failed",
                     kReloadMessage + (last ? " Would you like to ignore this?" : " Would you like to continue?"))) {
          v2Result = 0;
          outcome.v2NotVerified = true;
        }
      }
    }

    if (v1Result == 0 && v2Result == 0 && settings.renameUpdate) {
      const std::string before = track.path();
      renamed = writer_.rename(track, settings);
      if (renamed && track.path() != before) outcome.newPath = track.path();
    }
  } catch (const std::exception& exception) {
    LogMessage(LogError, "[MultipleTagController:saveTag] error:%s", exception.what());
    outcome.status = TrackStatus::Error;
    return true;
  }

  outcome.v1Result = v1Result;
  outcome.v2Result = v2Result;
  if (acceptable(v1Result) && acceptable(v2Result)) {
    if (!renamed) {
      outcome.renameFailed = true;
      outcome.alertTitle = "Failed to change the file name";
      outcome.alertMessage =
          "Failed to rename the file to the track title or move it to a folder based on the track details.";
      tell(questions_, outcome.alertTitle, outcome.alertMessage);
    }
    LogMessage(LogAlways, "Finished updating");
    const bool saved = v1Result == 0 && v2Result == 0;
    outcome.status = saved ? TrackStatus::Saved : TrackStatus::Failed;
    return saved;
  }
  if (!acceptable(v1Result)) {
    outcome.alertTitle = "Failed to update the tags";
    outcome.alertMessage = "Note: The original has not been changed.";
  } else {
    outcome.alertTitle = "Failed to update the version 2 tag";
    outcome.alertMessage = track.isAiffFile
                               ? "Note: The original has not been changed."
                               : "Note: The version 1 tag has been updated but the original version 2 has not "
                                 "been changed.";
  }
  tell(questions_, outcome.alertTitle, outcome.alertMessage);
  LogMessage(LogAlways, "Finished updating");
  outcome.status = TrackStatus::Failed;
  return false;
}

}  // namespace melos
