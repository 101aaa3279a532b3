#pragma once
// The group editor's window: one set of field values with a "change" box
// beside each, the group's tracks in a table below, and the update that
// writes the checked fields into every track on a worker thread. Tracks are
// read in the background as well, so the window opens at once and fills in.

#include <QPointer>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "operations/group_fill.h"
#include "operations/group_model.h"
#include "operations/group_tracks.h"
#include "operations/group_update.h"
#include "ui/document_window.h"
#include "ui/main_thread_calls.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTableView;
class QWidget;

namespace melos {
class PreferencesController;
class TrackWriter;
class DocumentHost;
}  // namespace melos

namespace melos::ui {

class DragImageView;
class TrackTableModel;

class GroupWindow : public DocumentWindow, private UpdateObserver {
  Q_OBJECT

 public:
  // `host` opens a track of the list in its own editor; none in tests that do
  // not need it.
  GroupWindow(Questions& questions, const PreferencesController& preferences, DocumentHost* host = nullptr,
              QWidget* parent = nullptr);
  ~GroupWindow() override;

  // addTrack: and addTracks:. The tracks are read in the background and join
  // the list as they are read; those that cannot be read are told once, when
  // all have been read. False when there is nothing to read.
  bool addTracks(const std::vector<std::string>& paths);
  size_t trackCount() const { return model_.count(); }
  bool loading() const { return loader_ != nullptr; }
  bool running() const { return update_->running(); }
  // The user agreed to cancel a run by closing the window: it closes when the
  // track being written is done.
  bool closesAfterRun() const { return closeAfterRun_; }
  const GroupModel& model() const { return model_; }

  // updateTracks: with `whenDone` sent at the end of the run.
  void updateTracks(std::function<void(bool)> whenDone = {});
  // The pauses of a run, which a benchmark or a test shortens, and the
  // writer of its files (the engine's unless given).
  void setRunOptions(const GroupUpdateOptions& options, TrackWriter* writer = nullptr);
  // Threads that read tracks at once.
  void setLoadJobs(int jobs) { loadJobs_ = jobs; }
  // Where "Add picture…" asks for a file; an open dialog by default.
  void setPictureChooser(std::function<QString(QWidget*)> choose) { choosePicture_ = std::move(choose); }
  // setDefaultTagData: the default data set `index` over the window's values.
  void setDefaultTagData(int index);

  FrontDocument describe() const override;
  // Update and Apply default tag data from the menus.
  bool perform(MenuItem item) override;
  DocumentKind kind() const override { return DocumentKind::Group; }
  std::unique_ptr<ID3Tag> tagForCopy() const override;  // getTagData
  void setTagData(const ID3Tag& tag, bool all) override;
  void clearTagData() override;
  void preferencesChanged() override;

 signals:
  // Every track handed over has been read and listed.
  void loadingFinished();
  // The end of a run has been shown.
  void runFinished(bool error);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  struct SlotWidgets {
    QLineEdit* line = nullptr;
    QComboBox* combo = nullptr;
    QCheckBox* flag = nullptr;
    DragImageView* picture = nullptr;
    QComboBox* pictureType = nullptr;
    QLineEdit* pictureDescription = nullptr;
  };

  void buildFields(QWidget* v1Page, QWidget* v2Page, QWidget* morePage);
  QWidget* buildTrackList();
  void connectSlot(size_t slot);
  void refreshFields();
  void refreshTotals();
  void setControlsEnabled(bool enabled);

  // Every edit goes through here: `change` alters the model, and the edit
  // becomes one undoable command (consecutive typing in one field, one).
  void edit(int mergeId, const std::function<void()>& change);
  void restoreState(const GroupEditState& state);

  void startLoading(std::vector<std::string> paths);
  void startAllReaders();
  void takeBatch(std::vector<LoadedTrack> batch);
  void showLoaded();
  void loadEnded(std::vector<OpenFailure> failures);
  void removeSelectedTracks();
  void openTrackAt(const QModelIndex& index);
  void addPicture();

  // UpdateObserver, from the worker thread unless said otherwise.
  void runOnMainThread(const std::function<void()>& task) override;
  void updateStarted(size_t maximum, const std::string& status) override;  // main thread
  void progressAdvanced() override;
  void statusChanged(const std::string& status) override;
  void trackStarting(size_t index) override;
  void trackUpdated(size_t index, const TrackOutcome& outcome) override;
  void updateFinished(bool error, bool closeWindow) override;  // main thread

  const PreferencesController& preferences_;
  DocumentHost* host_ = nullptr;
  // Sheets over this window, unless the controller's questions are not
  // dialogs (a script in the tests); either way safe from the worker.
  std::unique_ptr<WindowQuestions> questions_;
  GroupModel model_;
  SlotSet differing_;
  CommonValues common_;
  std::unique_ptr<GroupUpdate> update_;
  std::unique_ptr<GroupLoader> loader_;
  int loadJobs_ = 0;
  size_t loadTotal_ = 0;
  size_t loadDone_ = 0;
  std::vector<TrackRow> unlistedRows_;  // read, in the group, not yet in the list
  std::vector<OpenFailure> loadFailures_;
  std::vector<std::string> pendingPaths_;
  bool closeAfterRun_ = false;
  bool closeConfirmed_ = false;
  bool refreshing_ = false;
  bool undoWasActive_ = false;
  bool painted_ = false;
  QTimer shownSoon_;

  std::vector<SlotWidgets> slots_;
  std::vector<QCheckBox*> changeBoxes_;  // by GroupField
  QCheckBox* enableV1_ = nullptr;
  QCheckBox* enableV2_ = nullptr;
  std::vector<std::pair<GroupOption, QCheckBox*>> options_;
  QPushButton* removePicture_ = nullptr;
  DragImageView* well_ = nullptr;
  std::function<QString(QWidget*)> choosePicture_;
  TrackTableModel* table_ = nullptr;
  QTableView* list_ = nullptr;
  QLabel* totals_ = nullptr;
  QLabel* status_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QPushButton* updateButton_ = nullptr;
  QPushButton* cancelButton_ = nullptr;
  QWidget* fields_ = nullptr;
};

}  // namespace melos::ui
