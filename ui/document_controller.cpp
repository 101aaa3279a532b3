#include "ui/document_controller.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>
#include <QUrl>
#include <algorithm>

#include "engine/open_track.h"
#include "melos_version.h"
#include "operations/app_log.h"
#include "preferences/handler_guard.h"
#include "operations/track_file.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "ui/file_chooser.h"
#include "ui/group_window.h"
#include "ui/preferences_window.h"
#include "ui/shown_path.h"
#include "ui/start_panel.h"
#include "ui/track_window.h"
#include "ui/qt_text.h"

namespace melos::ui {
namespace {


struct ActionText {
  MenuItem item;
  const char* text;
  QKeySequence shortcut;
};

}  // namespace

DocumentController::DocumentController(PreferencesController& preferences, Questions& questions,
                                       FileChooser& chooser, QObject* parent)
    : QObject(parent),
      preferences_(preferences),
      questions_(questions),
      chooser_(chooser),
      ctrlHeld_([] { return QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier); }),
      opener_(*this, questions, preferences, [this] { return ctrlHeld_(); }),
      recentTracks_(preferences, kRecentTracksKey),
      recentGroups_(preferences, kRecentGroupsKey) {
  makeActions();
  connect(qApp, &QApplication::focusChanged, this, &DocumentController::updateMenus);
  updateMenus();
}

DocumentController::~DocumentController() {
  // Its handlers call back into this controller.
  delete preferencesWindow_.data();
  for (const QPointer<DocumentWindow>& window : windows_)
    if (window) disconnect(window, nullptr, this, nullptr);
}

void DocumentController::makeActions() {
  const std::vector<ActionText> texts = {
      {MenuItem::About, QT_TR_NOOP("&About Meloscribe"), {}},
      {MenuItem::AddLyrics, QT_TR_NOOP("Add &lyrics…"), {}},
      {MenuItem::AlwaysApplyDefaultTagData, QT_TR_NOOP("Always apply default tag data"), {}},
      {MenuItem::ApplyDefaultTagData, QT_TR_NOOP("Apply &default tag data"), QKeySequence(Qt::CTRL | Qt::Key_D)},
      {MenuItem::ClearTagData, QT_TR_NOOP("C&lear tag data"), {}},
      {MenuItem::CopyAllTagData, QT_TR_NOOP("Copy &all tag data"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C)},
      {MenuItem::CopyTagData, QT_TR_NOOP("&Copy tag data"), QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_C)},
      {MenuItem::Help, QT_TR_NOOP("Meloscribe &help"), QKeySequence::HelpContents},
      {MenuItem::Hide, QT_TR_NOOP("&Minimise"), QKeySequence(Qt::CTRL | Qt::Key_M)},
      {MenuItem::LoadTagData, QT_TR_NOOP("&Load tag data…"), {}},
      {MenuItem::OpenGroup, QT_TR_NOOP("Open &group…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O)},
      {MenuItem::Open, QT_TR_NOOP("&Open…"), QKeySequence::Open},
      {MenuItem::PasteTagData, QT_TR_NOOP("&Paste tag data"), QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_V)},
      {MenuItem::Quit, QT_TR_NOOP("&Quit"), QKeySequence::Quit},
      {MenuItem::Revert, QT_TR_NOOP("&Revert"), {}},
      {MenuItem::SaveTagData, QT_TR_NOOP("Sa&ve tag data…"), {}},
      {MenuItem::ShowLyrics, QT_TR_NOOP("Show l&yrics"), {}},
      {MenuItem::ShowPicture, QT_TR_NOOP("Show &picture"), {}},
      {MenuItem::Update, QT_TR_NOOP("&Update"), QKeySequence::Save},
      {MenuItem::CopyV1ToV2, QT_TR_NOOP("Copy V&1 to V2"), {}},
      {MenuItem::CopyV2ToV1, QT_TR_NOOP("Copy V&2 to V1"), {}},
      {MenuItem::SaveAs, QT_TR_NOOP("Save &as…"), QKeySequence::SaveAs},
      {MenuItem::AddImage, QT_TR_NOOP("Add &image…"), {}},
      {MenuItem::ExportAsCSV, QT_TR_NOOP("Export as &CSV…"), {}},
      {MenuItem::ExportAsXML, QT_TR_NOOP("Export as &XML…"), {}},
  };
  for (const ActionText& text : texts) {
    auto* action = new QAction(tr(text.text), this);
    action->setObjectName(qtext(menuItemName(text.item)));
    action->setShortcut(text.shortcut);
    actions_.at(static_cast<size_t>(text.item)) = action;
  }
  undo_ = undoGroup_.createUndoAction(this);
  undo_->setObjectName(QStringLiteral("mUndoMenuItem"));
  undo_->setShortcut(QKeySequence::Undo);
  redo_ = undoGroup_.createRedoAction(this);
  redo_->setObjectName(QStringLiteral("mRedoMenuItem"));
  redo_->setShortcut(QKeySequence::Redo);
  preferencesAction_ = new QAction(tr("Pr&eferences…"), this);
  preferencesAction_->setObjectName(QStringLiteral("mPreferencesMenuItem"));
  preferencesAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
  connect(preferencesAction_, &QAction::triggered, this, [this] { showPreferences(); });
  recentMenu_ = new QMenu(tr("Open &recent"));
  recentMenu_->setObjectName(QStringLiteral("openRecentMenu"));
  connect(recentMenu_, &QMenu::aboutToShow, this, &DocumentController::fillRecentMenu);
  fillRecentMenu();

  connect(action(MenuItem::Open), &QAction::triggered, this, &DocumentController::openMenuItemSelected);
  connect(action(MenuItem::OpenGroup), &QAction::triggered, this, &DocumentController::openGroupMenuItemSelected);
  connect(action(MenuItem::Quit), &QAction::triggered, this, [this] {
    QApplication::closeAllWindows();
    // A group that was writing stays until its current track is done; the
    // quit goes on once it has closed.
    for (DocumentWindow* window : windows())
      if (auto* group = qobject_cast<GroupWindow*>(window); group != nullptr && group->closesAfterRun())
        connect(group, &QObject::destroyed, this, [this] { action(MenuItem::Quit)->trigger(); },
                Qt::QueuedConnection);
  });
  connect(action(MenuItem::CopyTagData), &QAction::triggered, this, [this] { copyTagData(false); });
  connect(action(MenuItem::CopyAllTagData), &QAction::triggered, this, [this] { copyTagData(true); });
  connect(action(MenuItem::PasteTagData), &QAction::triggered, this, [this] {
    guarded("DocumentController", "ptdmis", [this] { clipboard_.pasteTagData(frontWindow()); });
  });
  connect(action(MenuItem::ClearTagData), &QAction::triggered, this, [this] {
    guarded("DocumentController", "cltdmis", [this] { clipboard_.clearTagData(frontWindow()); });
  });
  for (MenuItem item : {MenuItem::Update, MenuItem::Revert, MenuItem::CopyV1ToV2, MenuItem::CopyV2ToV1,
                        MenuItem::ApplyDefaultTagData, MenuItem::ShowLyrics, MenuItem::ShowPicture,
                        MenuItem::AddLyrics, MenuItem::AddImage})
    connect(action(item), &QAction::triggered, this, [this, item] {
      if (DocumentWindow* front = frontWindow()) front->perform(item);
    });
  for (bool xml : {true, false})
    connect(action(xml ? MenuItem::ExportAsXML : MenuItem::ExportAsCSV), &QAction::triggered, this, [this, xml] {
      auto* track = qobject_cast<TrackWindow*>(frontWindow());
      if (track == nullptr) return;
      const QString path = chooser_.chooseExportDestination(track, xml);
      if (!path.isEmpty()) track->exportAs(xml, path);
    });
  QAction* always = action(MenuItem::AlwaysApplyDefaultTagData);
  always->setCheckable(true);
  always->setChecked(preferences_.isAlwaysApplyDefTagDataSet());
  connect(always, &QAction::toggled, this, [this](bool on) {
    preferences_.setBoolPreferenceNamed(prefs::kAlwaysApplyDefTagData.key, on);
    preferences_.synchronize();
  });
  connect(action(MenuItem::LoadTagData), &QAction::triggered, this, &DocumentController::loadTagData);
  connect(action(MenuItem::SaveTagData), &QAction::triggered, this, &DocumentController::saveTagData);
  connect(action(MenuItem::Hide), &QAction::triggered, this, [this] {
    if (DocumentWindow* front = frontWindow()) front->showMinimized();
  });
  connect(action(MenuItem::About), &QAction::triggered, this, [this] {
    QMessageBox::about(dialogParent(), tr("About Meloscribe"),
                       tr("Meloscribe %1\nAn editor for the ID3 tags of MP3, AIFF and tag-data files.")
                           .arg(QString::fromLatin1(kVersionText)));
  });
  connect(action(MenuItem::Help), &QAction::triggered, this, [] {
    QDesktopServices::openUrl(QUrl(QStringLiteral(MELOSCRIBE_README_URL)));
  });
}

void DocumentController::buildMenuBar(QMenuBar* bar) {
  using enum MenuItem;
  QMenu* file = bar->addMenu(tr("&File"));
  file->setObjectName(QStringLiteral("fileMenu"));
  file->addAction(action(Open));
  file->addMenu(recentMenu_);
  file->addAction(action(OpenGroup));
  file->addSeparator();
  file->addActions({action(Update), action(Revert), action(SaveAs)});
  file->addSeparator();
  file->addActions({action(LoadTagData), action(SaveTagData)});
  file->addSeparator();
  file->addActions({action(ExportAsXML), action(ExportAsCSV)});
  file->addSeparator();
  file->addAction(action(Quit));
  QMenu* edit = bar->addMenu(tr("&Edit"));
  edit->setObjectName(QStringLiteral("editMenu"));
  edit->addActions({undo_, redo_});
  edit->addSeparator();
  edit->addActions({action(CopyTagData), action(CopyAllTagData), action(PasteTagData), action(ClearTagData)});
  edit->addSeparator();
  edit->addActions({action(CopyV1ToV2), action(CopyV2ToV1)});
  edit->addSeparator();
  edit->addActions({action(ApplyDefaultTagData), action(AlwaysApplyDefaultTagData)});
  edit->addSeparator();
  edit->addAction(preferencesAction_);
  QMenu* track = bar->addMenu(tr("&Track"));
  track->setObjectName(QStringLiteral("trackMenu"));
  track->addActions({action(ShowLyrics), action(AddLyrics), action(ShowPicture), action(AddImage)});
  QMenu* window = bar->addMenu(tr("&Window"));
  window->setObjectName(QStringLiteral("windowMenu"));
  window->addAction(action(Hide));
  QMenu* help = bar->addMenu(tr("&Help"));
  help->setObjectName(QStringLiteral("helpMenu"));
  help->addActions({action(Help), action(About)});
}

void DocumentController::fillRecentMenu() {
  recentMenu_->clear();
  const auto addEntries = [this](RecentDocuments& recent) {
    for (const std::string& path : recent.list()) {
      const QString full = displayPath(path);
      // A "&" in a file name is not a shortcut.
      QAction* entry = recentMenu_->addAction(shownPath(full).replace(QLatin1Char('&'), QStringLiteral("&&")));
      connect(entry, &QAction::triggered, this, [this, full] { openFiles({full}); });
    }
  };
  addEntries(recentTracks_);
  if (!recentGroups_.list().empty()) recentMenu_->addSeparator();
  addEntries(recentGroups_);
  recentMenu_->addSeparator();
  QAction* clear = recentMenu_->addAction(tr("Clear menu"));
  clear->setObjectName(QStringLiteral("clearRecentMenuItem"));
  clear->setEnabled(!recentTracks_.list().empty() || !recentGroups_.list().empty());
  connect(clear, &QAction::triggered, this, [this] {
    recentTracks_.clear();
    recentGroups_.clear();
    emit recentChanged();
  });
}

bool DocumentController::openFiles(const QStringList& paths) {
  std::vector<std::string> local;
  for (const QString& path : paths) local.push_back(localPath(path));
  pruneApplicationLog(preferences_);
  return opener_.openFiles(local);
}

void DocumentController::openMenuItemSelected() {
  const QStringList paths = chooser_.chooseTracks(dialogParent());
  if (!paths.isEmpty()) openFiles(paths);
}

void DocumentController::openGroupMenuItemSelected() {
  const QString folder = chooser_.chooseFolder(dialogParent());
  if (!folder.isEmpty()) openFiles({folder});
}

void DocumentController::startOpenPanelTimer(int milliseconds) {
  QTimer::singleShot(milliseconds, this, [this] {
    if (windows().empty() && preferences_.showOpenFile()) openMenuItemSelected();
  });
}

void DocumentController::copyTagData(bool all) {
  guarded("DocumentController", all ? "catdmis" : "ctdmis", [&] {
    clipboard_.copyTagData(frontWindow(), all);
    updateMenus();
  });
}

void DocumentController::loadTagData() {
  DocumentWindow* front = frontWindow();
  if (front == nullptr || front->kind() != DocumentKind::SingleTrack) return;
  const QString path = chooser_.chooseTagSource(front, displayPath(tagDataStartFolder(preferences_)));
  if (path.isEmpty()) return;
  if (!front->loadTagDataFromFile(localPath(path)))
    tell(questions_, "Load failed", "Could not read the tag data from the file '" + localPath(path) + "'.");
}

void DocumentController::saveTagData() {
  DocumentWindow* front = frontWindow();
  if (front == nullptr || front->kind() != DocumentKind::SingleTrack) return;
  const QString path = chooser_.chooseTagDestination(front, displayPath(tagDataStartFolder(preferences_)));
  if (path.isEmpty()) return;
  if (!front->saveTagDataToFile(localPath(path)))
    tell(questions_, "Save failed", "Could not write the tag data to the file '" + localPath(path) + "'.");
}

DocumentWindow* DocumentController::frontWindow() const {
  for (auto it = windows_.rbegin(); it != windows_.rend(); ++it)
    if (*it) return it->data();
  return nullptr;
}

std::vector<DocumentWindow*> DocumentController::windows() const {
  std::vector<DocumentWindow*> open;
  for (const QPointer<DocumentWindow>& window : windows_)
    if (window) open.push_back(window.data());
  return open;
}

void DocumentController::notifyPreferencesChanged() {
  for (DocumentWindow* window : windows()) window->preferencesChanged();
  // The menu item shows the preference, wherever it was changed.
  action(MenuItem::AlwaysApplyDefaultTagData)->setChecked(preferences_.isAlwaysApplyDefTagDataSet());
  updateMenus();
}

PreferencesWindow* DocumentController::showPreferences() {
  if (!preferencesWindow_) {
    preferencesWindow_ = new PreferencesWindow(preferences_, questions_);
    preferencesWindow_->setAttribute(Qt::WA_DeleteOnClose, false);
    preferencesWindow_->setPreferencesChangedHandler([this] { notifyPreferencesChanged(); });
    preferencesWindow_->setPreviewTrack([this] {
      DocumentWindow* front = frontWindow();
      return front != nullptr && front->kind() == DocumentKind::SingleTrack ? front->tagForCopy() : nullptr;
    });
  }
  preferencesWindow_->show();
  preferencesWindow_->raise();
  preferencesWindow_->activateWindow();
  return preferencesWindow_.data();
}

QWidget* DocumentController::dialogParent() const {
  if (DocumentWindow* front = frontWindow()) return front;
  return startPanel_.data();
}

void DocumentController::attach(DocumentWindow* window) {
  buildMenuBar(window->menuBar());
  undoGroup_.addStack(window->undoStack());
  windows_.emplace_back(window);
  connect(window, &DocumentWindow::activated, this, [this](DocumentWindow* activated) {
    std::erase(windows_, QPointer<DocumentWindow>(activated));
    windows_.emplace_back(activated);
    undoGroup_.setActiveStack(activated->undoStack());
    updateMenus();
  });
  connect(window, &DocumentWindow::stateChanged, this, &DocumentController::updateMenus);
  connect(window, &DocumentWindow::closing, this, [this](DocumentWindow* closing) {
    std::erase(windows_, QPointer<DocumentWindow>(closing));
    std::erase(windows_, QPointer<DocumentWindow>());
    updateMenus();
  });
  connect(window, &DocumentWindow::filesDropped, this, &DocumentController::openFiles);
  updateMenus();
}

void DocumentController::updateMenus() {
  std::optional<FrontDocument> front;
  if (DocumentWindow* window = frontWindow()) front = window->describe();
  for (MenuItem item : allMenuItems()) action(item)->setEnabled(isMenuItemEnabled(item, front, clipboard_.hasCopy()));
}

std::optional<DocumentKind> DocumentController::frontKind() const {
  if (DocumentWindow* front = frontWindow()) return front->kind();
  return std::nullopt;
}

bool DocumentController::frontIsSingleEditWindow() const {
  DocumentWindow* front = frontWindow();
  return front != nullptr && front->isSingleEditWindow();
}

bool DocumentController::addTrackToFrontGroup(const std::string& path) {
  auto* group = qobject_cast<GroupWindow*>(frontWindow());
  return group != nullptr && group->addTracks({path});
}

bool DocumentController::openGroup(const std::vector<std::string>& paths) {
  auto* group = new GroupWindow(questions_, preferences_, this);
  attach(group);
  group->show();
  if (group->addTracks(paths)) return true;
  group->close();
  return false;
}

bool DocumentController::replaceFrontTrack(const std::string& path, std::string& cause) {
  auto* window = qobject_cast<TrackWindow*>(frontWindow());
  if (window == nullptr) return false;
  if (window->isBusy()) {
    cause = "the window is saving its track";
    return false;
  }
  TrackFile file = openTrackFile(path, kScanQuick);
  if (!file.opened()) {
    cause = file.cause;
    return false;
  }
  window->replaceTrack(std::move(file.track));
  recentTracks_.note(path);
  emit recentChanged();
  return true;
}

bool DocumentController::openSingleTrack(const std::string& path, std::string& cause) {
  TrackFile file = openTrackFile(path, kScanQuick);
  if (!file.opened()) {
    cause = file.cause;
    return false;
  }
  auto* window = new TrackWindow(std::move(file.track), preferences_, questions_);
  attach(window);
  recentTracks_.note(path);
  emit recentChanged();
  window->show();
  return true;
}

void DocumentController::noteRecentGroup(const std::string& folder) {
  recentGroups_.note(folder);
  emit recentChanged();
}

StartPanel* DocumentController::showStartPanel() {
  if (!startPanel_) {
    startPanel_ = new StartPanel(*this, preferences_);
    connect(this, &DocumentController::recentChanged, startPanel_.data(), &StartPanel::refresh);
  }
  startPanel_->show();
  return startPanel_.data();
}

}  // namespace melos::ui
