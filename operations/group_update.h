#pragma once
// The group update: the tracks of a group model written one after another on
// a worker thread, each with exactly the fields whose change box is on. The
// run stops at the first track that fails unless the user chooses to go on;
// tracks written before it stay written.

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/open_track.h"
#include "operations/group_model.h"
#include "operations/save_settings.h"

namespace melos {

class Questions;
class TrackWriter;

// How one track of a run ended.
enum class TrackStatus {
  NotReached,     // the run ended before this track
  ReadOnly,       // passed over: the file may not be written
  Unchanged,      // passed over: neither tag was changed
  Saved,          // written (a failed verification the user let pass included)
  CheckDeclined,  // the V2 tag was expected to change but had not; not written
  LossDeclined,   // the save version would lose fields and the user said no
  Failed,         // a tag failed, or its verification failed and the user said no
  Error,          // an unexpected error; the run goes on
};

struct TrackOutcome {
  TrackStatus status = TrackStatus::NotReached;
  std::string path;       // the track's path when it was reached
  std::string newPath;    // the path after a rename, else empty
  int v1Result = 0;       // the engine's result codes
  int v2Result = 0;
  bool v1Written = false;
  bool v2Written = false;
  bool v1Removed = false;
  bool v2Removed = false;
  bool renameFailed = false;
  bool v1NotVerified = false;  // let pass by the user
  bool v2NotVerified = false;
  std::vector<std::string> dropped;  // fields the user agreed to lose
  std::string alertTitle;            // the alert shown for this track, if any
  std::string alertMessage;
};

// What the window sees of a run. The progress calls come from the worker
// thread; updateFinished comes through runOnMainThread.
class UpdateObserver {
 public:
  virtual ~UpdateObserver() = default;
  // Runs the task on the thread that owns the window and returns once it has
  // run. The default runs it on the calling thread.
  virtual void runOnMainThread(const std::function<void()>& task) { task(); }
  // Controls disabled, the progress shown from 0 to `maximum`, the status text.
  virtual void updateStarted(size_t /*maximum*/, const std::string& /*status*/) {}
  virtual void progressAdvanced() {}
  virtual void statusChanged(const std::string& /*status*/) {}
  virtual void trackStarting(size_t /*index*/) {}
  virtual void trackUpdated(size_t /*index*/, const TrackOutcome& /*outcome*/) {}
  // The end of the run, after the model's own end: close the window when
  // asked, else rebuild it from the tracks; enable the controls and hide the
  // progress.
  virtual void updateFinished(bool /*error*/, bool /*closeWindow*/) {}
};

struct GroupUpdateOptions {
  // Between two tracks; the window keeps it at 100 ms, the command line has none.
  std::chrono::milliseconds pauseBetweenTracks{100};
  // While a question sheet is showing at the end of a run, the worker looks
  // again this often, this many times at most, and then waits once more.
  std::chrono::milliseconds sheetPoll{1000};
  int sheetPollLimit = 1000;
  std::chrono::milliseconds afterSheet{1000};
  // The tracks read afresh from their files after a run without errors, so
  // that the window shows what is on disk; a run with no window skips it.
  bool reload = true;
  int reopenScanMode = kScanQuick;
  // What a caller gives every track beyond the change boxes (the command
  // line's track number), put on each track as it is read just before it is
  // written.
  std::function<void(ID3Tag&)> perTrack;
  // Tracks written at once. The window writes one after another. With more,
  // tracks are still begun in order, so every track before a failed one is
  // written; none is begun after the failure, and those begun beside it
  // finish. The observer then hears of the tracks in the order they end.
  int jobs = 1;
};

// What the closing question gave.
enum class CloseAnswer {
  Save,         // "Save": update, then close
  DontSave,     // "Don't save": close without saving
  Cancel,       // "Cancel": stay open
  StopRun,      // during a run, "Yes": no further track is begun
  KeepRunning,  // during a run, "No"
};

inline constexpr std::string_view kUpdatingStatus = "Updating...";
inline constexpr std::string_view kStoppingStatus = "Stopping after the current track...";

class GroupUpdate {
 public:
  GroupUpdate(GroupModel& model, Questions& questions, UpdateObserver& observer, SaveSettingsSource settings,
              TrackWriter& writer, GroupUpdateOptions options = {});
  // Waits for a running worker; the window never closes while one runs. It
  // may be deleted by the action sent at the end of a run.
  ~GroupUpdate();
  GroupUpdate(const GroupUpdate&) = delete;
  GroupUpdate& operator=(const GroupUpdate&) = delete;

  // updateTracks: starts a run on its own thread. `whenDone` is sent, with
  // true, at the end of the run, or at once when a run is going or the group
  // is empty (then false is returned).
  bool updateTracks(std::function<void(bool)> whenDone = {});
  // Returns once the worker of the last run has ended.
  void wait();

  // updateWithThread: the body of the worker thread.
  void updateWithThread();
  // saveTag: updates the track at `index` of `count`; false ends the run.
  bool saveTag(size_t index, size_t count, bool expectV1, bool expectV2);
  // finishedUpdate: the end of the run, on the main thread.
  void finishedUpdate(bool error);

  // askToUpdate: the closing question. Shown as a sheet, so the worker does
  // not end the run while it is up.
  CloseAnswer askToUpdate();

  // One per track of the last run.
  std::vector<TrackOutcome> outcomes() const;
  TrackOutcome outcomeAt(size_t index) const;
  bool running() const noexcept { return !m_bCanExit; }
  bool cancelled() const noexcept { return cancelled_; }

  std::atomic<bool> m_bShowingSheet{false};
  std::atomic<bool> m_bCanExit{true};
  std::atomic<bool> m_bExit{false};

 private:
  bool saveTrack(ID3Tag& track, size_t index, size_t count, bool expectV1, bool expectV2,
                 const SaveSettings& settings, TrackOutcome& outcome);
  // "Always apply default tag data", after the window's fields.
  void applyDefaults(ID3Tag& track, const SaveSettings& settings) const;
  void reloadTracks();
  // The two ways through the tracks; each returns how many were begun.
  size_t updateInTurn(size_t count, bool& error);
  size_t updateTogether(size_t count, int jobs, bool& error);
  // Saves one track and tells the observer; false ends the run.
  bool runTrack(size_t index, size_t count);

  GroupModel& model_;
  Questions& questions_;
  UpdateObserver& observer_;
  SaveSettingsSource settings_;
  TrackWriter& writer_;
  GroupUpdateOptions options_;
  std::function<void(bool)> m_CancelSelector;
  std::thread worker_;
  std::mutex startMutex_;  // held while a new worker's handle is stored
  mutable std::mutex outcomesMutex_;
  std::vector<TrackOutcome> outcomes_;
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> finishing_{false};
};

}  // namespace melos
