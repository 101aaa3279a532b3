#pragma once
// The single-track editor's decisions without its window: the update of one
// track in its fixed order of steps, the copies between the two tag versions,
// reverting to the file, and moving through a set of tracks with the question
// about unsaved changes. The window stands behind EditorView; questions and
// alerts go through Questions.

#include <string>

#include "operations/save_settings.h"
#include "operations/track_set.h"

namespace melos {

class Questions;
class TrackWriter;

enum class IconResult { Set, ImageFailed, SetFailed };

// What the editor window does for the update flow. Every call comes from the
// main thread.
class EditorView {
 public:
  virtual ~EditorView() = default;
  // The window's V1 or V2 fields into the track, adding them to the quick lists.
  virtual void updateV1TagData(ID3Tag& /*track*/) {}
  virtual void updateV2TagData(ID3Tag& /*track*/, bool /*allowUnicode*/) {}
  // The window filled from the track (initTagWindow).
  virtual void initTagWindow(const ID3Tag& /*track*/) {}
  virtual void stopPlayback() {}
  virtual void showProgress(bool /*shown*/) {}
  // After a rename: the file-name field, the title and the location.
  virtual void showFileName(const std::string& /*path*/) {}
  // The first picture of the tag as the file's icon.
  virtual IconResult setFileIcon(const ID3Tag& /*track*/) { return IconResult::Set; }
  virtual void closeWindow() {}
  // The position and count of the set; none when fewer than two tracks remain.
  virtual void setTrackOfTracks(size_t /*position*/, size_t /*count*/) {}
  virtual void clearTrackOfTracks() {}
  virtual void enableNavigation(bool /*previous*/, bool /*next*/, bool /*close*/) {}
};

// How an update ended.
enum class UpdateOutcome {
  Saved,         // both tags written (a V2 tag that did not verify included)
  RenameFailed,  // written, but the rename failed
  Declined,      // the user said no to a question; nothing more was written
  Failed,        // a tag failed to save
};

class SingleTrackEditor {
 public:
  // `multiWindow`: a window of the multi-window kind, which closes after an
  // update when the preferences say so.
  SingleTrackEditor(TrackSet& tracks, Questions& questions, EditorView& view, SaveSettingsSource settings,
                    TrackWriter& writer, bool multiWindow = false);

  ID3Tag& track() { return tracks_.current(); }
  TrackSet& tracks() noexcept { return tracks_; }

  // The editor's changed mark: either tag of the current track changed.
  bool isChanged() { return track().v1Changed || track().v2Changed; }
  void changedV1() { track().v1Changed = true; }
  void changedV2() { track().v2Changed = true; }

  // updateTag: the twelve steps of saving the current track.
  UpdateOutcome updateTag();

  // The current track's tags read afresh from its file; edits are gone.
  void revert();

  // previousTrack, nextTrack and closeTrack: false when nothing moved (the
  // user cancelled, or there is nowhere to go).
  bool previousTrack();
  bool nextTrack();
  bool closeTrack();
  // setTagFromPosition
  void setTagFromPosition(size_t position);

 private:
  UpdateOutcome update();
  // The unsaved-changes question; false when the user cancelled.
  bool askToLeave(bool reloadOnDontSave);

  TrackSet& tracks_;
  Questions& questions_;
  EditorView& view_;
  SaveSettingsSource settings_;
  TrackWriter& writer_;
  bool multiWindow_;
};

}  // namespace melos
