#include "operations/single_track_update.h"

#include <unistd.h>

#include "engine/file_state.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "operations/questions.h"
#include "operations/tag_copy.h"
#include "operations/track_writer.h"
#include "operations/version_loss.h"
#include "preferences/handler_guard.h"

namespace melos {
namespace {

constexpr int kNothingToDo = 1;
constexpr int kNotVerified = 7;

const std::string kReloadMessage =
    "Please reload the track and check that the details are correct (see melos.log for more details).";

constexpr const char* kController = "ID3TagController";

bool failedResult(int result) { return result != 0 && result != kNothingToDo && result != kNotVerified; }

}  // namespace

SingleTrackEditor::SingleTrackEditor(TrackSet& tracks, Questions& questions, EditorView& view,
                                     SaveSettingsSource settings, TrackWriter& writer, bool multiWindow)
    : tracks_(tracks),
      questions_(questions),
      view_(view),
      settings_(std::move(settings)),
      writer_(writer),
      multiWindow_(multiWindow) {}

UpdateOutcome SingleTrackEditor::updateTag() {
  return guarded(kController, "ut", [this] { return update(); }, UpdateOutcome::Failed);
}

UpdateOutcome SingleTrackEditor::update() {
  ID3Tag& t = track();
  LogMessage(LogAlways, "Starting track update for %s", t.path().c_str());
  view_.stopPlayback();
  // The file stays locked until the update ends, and is what the track was
  // read from: another program's changes are not written over unasked.
  const std::string path = resolveTrackPath(t.path());
  TrackLock lock = TrackLock::acquire(path);
  if (!lock.isHeld()) {
    tell(questions_, "Failed to update the tags", "Note: The original has not been changed.");
    return UpdateOutcome::Failed;
  }
  if (changedOnDisk(t)) {
    const std::string chosen = questions_.askWithDefault(
        "The file has changed on disk",
        "Another program has changed '" + t.path() +
            "' since it was opened. Reload it and lose your edits, or overwrite the other program's changes?",
        {std::string(kReloadButton), std::string(kOverwriteButton), std::string(kCancelButton)}, 2);
    if (chosen == kReloadButton) {
      revert();
      return UpdateOutcome::Declined;
    }
    if (chosen != kOverwriteButton) return UpdateOutcome::Declined;
  }
  const SaveSettings s = settings_();

  if (t.v1.enabled) view_.updateV1TagData(t);
  if (t.tagData.enabled) view_.updateV2TagData(t, s.allowUnicode);
  // Over what the window holds, as the defaults button would put it.
  if (s.applyDefaults) s.applyDefaults(t);

  if (t.tagData.enabled) {
    const std::vector<std::string> lost = fieldsLostAtVersion(t, s.tag2SaveVersion);
    if (!lost.empty()) {
      if (!askYesNo(questions_, "Updating this track will result in the loss of the tag field '" + lost.front() + "'",
                    "Do you want to continue?"))
        return UpdateOutcome::Declined;
      // What the user agreed to lose is taken out, so that the save verifies.
      dropVersion24Fields(t.tagData);
    }
  }

  if (t.readOnly) {
    if (!askYesNo(questions_, "Updating a read only or locked file", "Do you want to continue and overwrite the file?"))
      return UpdateOutcome::Declined;
    if (!writer_.makeWritable(t.path())) {
      tell(questions_, "Failed to make the file writable",
           "Could not remove the read only or locked state of the file '" + t.path() + "'.");
      return UpdateOutcome::Declined;
    }
    t.readOnly = false;
  }

  LogMessage(LogAlways, "Updating V1 tag...");
  int v1Result = kNothingToDo;
  if (t.isMp3File) {
    if (t.v1.enabled) v1Result = writer_.saveV1(t, s.removeApeTag, s.keepFileDates, s.trimWhitespace);
    else if (t.v1Loaded) v1Result = writer_.removeV1(t, s.removeApeTag, s.keepFileDates);
  }
  if (v1Result != 0 && v1Result != kNothingToDo) {
    LogMessage(LogError, "Failed to update the V1 tag data for '%s' (%d)", t.path().c_str(), v1Result);
    if (v1Result == kNotVerified &&
        !askYesNo(questions_, "Verification of the updated V1 tag failed",
                  kReloadMessage + " Would you like to continue?"))
      return UpdateOutcome::Declined;
  }
  const bool v1Failed = failedResult(v1Result);
  const bool v1Written = v1Result == 0 || v1Result == kNotVerified;

  // A V1 tag that failed leaves the file as it was; the V2 save and the rename
  // would make it half of what the user asked for.
  int v2Result = kNothingToDo;
  if (!v1Failed) {
    view_.showProgress(true);
    LogMessage(LogAlways, "Updating V2 tag...");
    if (t.tagData.enabled)
      v2Result = writer_.saveV2(t, s.moveToTrash, s.tag2SaveVersion, s.keepFileDates, s.trimWhitespace);
    else if (t.hasV2Tag)
      v2Result = writer_.removeV2(t, s.moveToTrash, s.keepFileDates);
    if (v2Result != 0 && v2Result != kNothingToDo) {
      LogMessage(LogError, "Failed to update the V2 tag data for '%s' (%d)", t.path().c_str(), v2Result);
      if (v2Result == kNotVerified) tell(questions_, "Verification of the updated V2 tag failed", kReloadMessage);
    }
    view_.showProgress(false);
  }
  const bool v2Failed = failedResult(v2Result);

  bool renamed = true;
  if (!v1Failed && !v2Failed) {
    LogMessage(LogAlways, "Renaming track...");
    if (s.renameUpdate || s.createFolder) {
      renamed = writer_.rename(t, s);
      if (renamed) view_.showFileName(t.path());
    }
    if (s.setFileIcon && !t.tagData.picdata.empty()) {
      const IconResult icon = view_.setFileIcon(t);
      if (icon == IconResult::ImageFailed)
        LogMessage(LogError, "Failed to create the image for the icon for track %s", t.path().c_str());
      else if (icon == IconResult::SetFailed)
        LogMessage(LogError, "Failed to set the icon for track %s", t.path().c_str());
    }
  }

  t.v1Changed = false;
  t.v2Changed = false;
  if (s.closeWindow && multiWindow_) view_.closeWindow();

  UpdateOutcome outcome = UpdateOutcome::Saved;
  if (v1Failed || (v2Failed && !v1Written)) {
    tell(questions_, "Failed to update the tags", "Note: The original has not been changed.");
    outcome = UpdateOutcome::Failed;
  } else if (v2Failed) {
    tell(questions_, "Failed to update the version 2 tag",
         "Note: The version 1 tag has been updated but the original version 2 has not been changed.");
    outcome = UpdateOutcome::Failed;
  } else if (!renamed) {
    tell(questions_, "Failed to change the file name",
         "Failed to rename the file to the track title or move it to a folder based on the track details.");
    outcome = UpdateOutcome::RenameFailed;
  }

  LogMessage(LogAlways, "Finished updating");
  revert();
  return outcome;
}

void SingleTrackEditor::revert() {
  ID3Tag& t = track();
  // A file that is gone keeps the edits rather than leave an empty tag.
  if (::access(t.path().c_str(), F_OK) == 0) {
    ID3Tag fresh;
    OpenTrack(fresh, t.path(), kScanNone, nullptr, false);
    t.tagData = fresh.tagData;
    t.v2Read = fresh.v2Read;
    t.hasV2Tag = fresh.hasV2Tag;
    t.v2Version = fresh.v2Version;
    t.versionText = fresh.versionText;
    t.v1 = fresh.v1;
    t.v1Loaded = fresh.v1Loaded;
    t.readError = fresh.readError;
    t.readState = fresh.readState;
  }
  view_.initTagWindow(t);
  t.v1Changed = false;
  t.v2Changed = false;
}

bool SingleTrackEditor::askToLeave(bool reloadOnDontSave) {
  if (!isChanged()) return true;
  switch (askToSaveChanges(questions_)) {
    case SaveAnswer::Save: updateTag(); return true;
    case SaveAnswer::DontSave:
      if (reloadOnDontSave) revert();
      return true;
    case SaveAnswer::Cancel: return false;
  }
  return false;
}

bool SingleTrackEditor::previousTrack() {
  if (!askToLeave(true)) return false;
  const size_t before = tracks_.position();
  tracks_.stepBack();
  setTagFromPosition(tracks_.position());
  return tracks_.position() != before;
}

bool SingleTrackEditor::nextTrack() {
  if (!askToLeave(true)) return false;
  const size_t before = tracks_.position();
  tracks_.stepOn();
  setTagFromPosition(tracks_.position());
  return tracks_.position() != before;
}

bool SingleTrackEditor::closeTrack() {
  if (tracks_.count() < 2) return false;
  if (!askToLeave(false)) return false;
  tracks_.removeCurrent();
  setTagFromPosition(tracks_.position());
  return true;
}

void SingleTrackEditor::setTagFromPosition(size_t position) {
  tracks_.moveTo(position);
  ID3Tag& t = track();
  view_.initTagWindow(t);
  t.v1Changed = false;
  t.v2Changed = false;
  const size_t count = tracks_.count();
  if (count < 2) {
    view_.clearTrackOfTracks();
    view_.enableNavigation(false, false, false);
  } else {
    view_.setTrackOfTracks(tracks_.position(), count);
    view_.enableNavigation(tracks_.position() != 0, tracks_.position() + 1 < count, true);
  }
  view_.showFileName(t.path());
}

}  // namespace melos
