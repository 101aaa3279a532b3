#pragma once
// The single-track editor: one track (or one at a time of a set) with every
// field of its two tags, the checks as the user types, the quick lists, undo,
// and the update, which runs on a worker thread so the window never freezes.
// The decisions live in operations/ (SingleTrackEditor, EditorValues); this
// window fills controls, forwards actions and shows questions.

#include <QFileSystemWatcher>
#include <functional>
#include <memory>
#include <thread>

#include "operations/editor_values.h"
#include "operations/quick_lists.h"
#include "operations/save_settings.h"
#include "operations/single_track_update.h"
#include "ui/document_window.h"
#include "ui/main_thread_calls.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTabWidget;
class QToolButton;
class QDockWidget;

namespace melos {
class PreferencesController;
class TrackWriter;
}

namespace melos::ui {

class EditorFields;
class PicturePanel;
class PlayControls;

class TrackWindow : public DocumentWindow, private EditorView {
  Q_OBJECT

 public:
  TrackWindow(std::unique_ptr<ID3Tag> track, PreferencesController& preferences, Questions& questions,
              QWidget* parent = nullptr, TrackWriter* writer = nullptr);
  ~TrackWindow() override;

  const ID3Tag& track() const { return tracks_.current(); }
  TrackSet& tracks() { return tracks_; }
  const EditorValues& values() const { return values_; }
  // Shows another track in this window (the single edit window).
  void replaceTrack(std::unique_ptr<ID3Tag> track);
  void showTrackAt(size_t position);
  // Adds a track to the set and shows it.
  void addTrack(std::unique_ptr<ID3Tag> track);
  // A save or a move through the set is under way: the controls are off.
  bool isBusy() const { return busy_; }

  // The window's commands; each returns at once and runs its file work on a
  // worker thread.
  void updateTag();
  void previousTrack();
  void nextTrack();
  void closeTrack();
  void revert();
  void copyV1ToV2();
  void copyV2ToV1();
  void useFileNameForTitle(bool v1, Qt::KeyboardModifiers modifiers);
  void applyDefaultTagData(int index);
  bool exportAs(bool xml, const QString& path);

  bool perform(MenuItem item) override;
  FrontDocument describe() const override;
  DocumentKind kind() const override { return DocumentKind::SingleTrack; }
  std::unique_ptr<ID3Tag> tagForCopy() const override;
  void setTagData(const ID3Tag& tag, bool all) override;
  void clearTagData() override;
  bool loadTagDataFromFile(const std::string& path) override;
  bool saveTagDataToFile(const std::string& path) override;
  void preferencesChanged() override;

 signals:
  // A command's file work ended and the window is usable again.
  void idle();

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // EditorView: called on the main thread, during the worker's run too.
  void updateV1TagData(ID3Tag& track) override;
  void updateV2TagData(ID3Tag& track, bool allowUnicode) override;
  void initTagWindow(const ID3Tag& track) override;
  void stopPlayback() override;
  void showProgress(bool shown) override;
  void showFileName(const std::string& path) override;
  IconResult setFileIcon(const ID3Tag& track) override;
  void closeWindow() override;
  void setTrackOfTracks(size_t position, size_t count) override;
  void clearTrackOfTracks() override;
  void enableNavigation(bool previous, bool next, bool close) override;

  void buildWindow();
  void layOut();
  void connectFields();
  // Every edit goes through here: one undoable step from the values before
  // to the values after. Typing into the same field merges into one step.
  // Consecutive edits with the same merge id (a field's typing) are one step.
  void edit(const QString& name, const std::function<void(EditorValues&)>& change, int mergeId = -1);
  // With `whole` every control is filled again, else only those that change.
  void showValues(const EditorValues& values, bool whole = false);
  void showEnables();
  void showTitle();
  void showFacts();
  void watchFile();
  void fileChangedOnDisk();
  // Runs the editor's step on a worker thread with the controls off.
  void runInBackground(std::function<void()> work);
  // The controls and the panels beside the window, off while a step runs.
  void enableControls(bool enabled);
  std::unique_ptr<ID3Tag> trackFromValues() const;
  void showPanel(QWidget* panel, bool add);

  PreferencesController& preferences_;
  WindowQuestions questions_;
  SaveSettings settingsForRun_;
  TrackWriter& writer_;
  TrackSet tracks_;
  MainThreadView view_;
  SingleTrackEditor editor_;
  QuickLists quickLists_;
  EditorValues values_;
  std::shared_ptr<const PicDataArray> shownPictures_;
  EditorFields* fields_ = nullptr;
  QGroupBox* v1Box_ = nullptr;
  QGroupBox* v2Box_ = nullptr;
  QTabWidget* v2Tabs_ = nullptr;
  QTabWidget* sideTabs_ = nullptr;
  PicturePanel* picture_ = nullptr;
  PlayControls* play_ = nullptr;
  QWidget* lyricsPage_ = nullptr;
  QDockWidget* pictureDock_ = nullptr;
  QDockWidget* lyricsDock_ = nullptr;
  QLabel* fileName_ = nullptr;
  QLabel* folder_ = nullptr;
  QLabel* facts_ = nullptr;
  QLabel* trackOfTracks_ = nullptr;
  QPushButton* previous_ = nullptr;
  QPushButton* next_ = nullptr;
  QPushButton* closeTrack_ = nullptr;
  QPushButton* copyV1ToV2_ = nullptr;
  QPushButton* copyV2ToV1_ = nullptr;
  QPushButton* fileNameV1_ = nullptr;
  QPushButton* fileNameV2_ = nullptr;
  QPushButton* update_ = nullptr;
  QToolButton* defaults_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QFileSystemWatcher watcher_;
  std::thread worker_;
  bool busy_ = false;
  bool closeWhenIdle_ = false;
  bool askingAboutDisk_ = false;
  int layoutStyle_ = 0;
};

}  // namespace melos::ui
