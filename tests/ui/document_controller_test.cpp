// The controller behind the windows: documents from paths, the menus for the
// front window, the tag clipboard, Open Recent, the start panel and drops.

#include <QAction>
#include <QApplication>
#include <QMenuBar>
#include <QDropEvent>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QUrl>
#include <filesystem>
#include <memory>

#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/ui/window_harness.h"
#include "ui/document_controller.h"
#include "ui/file_chooser.h"
#include "ui/group_window.h"
#include "ui/start_panel.h"
#include "ui/track_window.h"

namespace melos::test {

class DocumentControllerTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<TempDir> dir_;
  std::unique_ptr<PreferencesController> preferences_;
  std::unique_ptr<ScriptedQuestions> questions_;
  std::unique_ptr<ScriptedChooser> chooser_;
  std::unique_ptr<ui::DocumentController> controller_;

  QString track(const std::string& name, const std::string& title) {
    return QString::fromStdString(dir_->write(name, sampleMp3(title)));
  }
  bool enabled(MenuItem item) { return controller_->action(item)->isEnabled(); }
  QString frontText() {
    auto* facts = findByName<QPlainTextEdit>(controller_->frontWindow(), "trackFacts");
    return facts ? facts->toPlainText() : QString();
  }
  void bringToFront(ui::DocumentWindow* window) {
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QCOMPARE(controller_->frontWindow(), window);
  }

 private slots:
  void initTestCase() { prepareWindowTests(); }

  void init() {
    dir_ = std::make_unique<TempDir>();
    preferences_ = std::make_unique<PreferencesController>(std::make_unique<MemoryPreferenceStore>(), dir_->path());
    questions_ = std::make_unique<ScriptedQuestions>();
    chooser_ = std::make_unique<ScriptedChooser>();
    controller_ = std::make_unique<ui::DocumentController>(*preferences_, *questions_, *chooser_);
    controller_->setCtrlHeld([] { return false; });
  }

  void cleanup() {
    for (ui::DocumentWindow* window : controller_->windows()) delete window;
    controller_.reset();
    QVERIFY(!questions_->unscripted);
  }

  void theMenusUseTheStandardKeysAndStartWithTheGeneralItems() {
    QCOMPARE(controller_->action(MenuItem::Open)->shortcut(), QKeySequence(QKeySequence::Open));
    QCOMPARE(controller_->action(MenuItem::Update)->shortcut(), QKeySequence(QKeySequence::Save));
    QCOMPARE(controller_->action(MenuItem::Quit)->shortcut(), QKeySequence(QKeySequence::Quit));
    // Without a document only the general items are enabled.
    QVERIFY(enabled(MenuItem::Open) && enabled(MenuItem::OpenGroup) && enabled(MenuItem::ExportAsXML));
    QVERIFY(!enabled(MenuItem::Update) && !enabled(MenuItem::CopyTagData) && !enabled(MenuItem::PasteTagData));
  }

  void aTrackOpensInItsWindowAndTheMenusFollowIt() {
    // Ctrl held while opening makes a group instead.
    controller_->setCtrlHeld([] { return true; });
    QVERIFY(controller_->openFiles({track("g.mp3", "Grouped")}));
    QVERIFY(qobject_cast<ui::GroupWindow*>(controller_->frontWindow()));
    controller_->setCtrlHeld([] { return false; });
    QVERIFY(controller_->openFiles({track("a.mp3", "Alpha")}));
    QCOMPARE(controller_->windows().size(), size_t{2});
    QVERIFY(qobject_cast<ui::TrackWindow*>(controller_->frontWindow()));
    QVERIFY(frontText().contains(QStringLiteral("Alpha")));
    QVERIFY(controller_->frontWindow()->menuBar()->findChild<QMenu*>(QStringLiteral("fileMenu")));
    QVERIFY(enabled(MenuItem::CopyTagData) && enabled(MenuItem::CopyV1ToV2) && enabled(MenuItem::Revert));
    QVERIFY(!enabled(MenuItem::Update) && !enabled(MenuItem::PasteTagData));
  }

  void copyAllAndPasteIntoAnotherTrackThroughTheMenus() {
    QVERIFY(controller_->openFiles({track("a.mp3", "Alpha"), track("b.mp3", "Beta")}));
    auto windows = controller_->windows();
    QCOMPARE(windows.size(), size_t{2});
    bringToFront(windows[1]);
    controller_->action(MenuItem::CopyAllTagData)->trigger();
    QVERIFY(enabled(MenuItem::PasteTagData));
    bringToFront(windows[0]);
    controller_->action(MenuItem::PasteTagData)->trigger();
    QVERIFY(frontText().contains(QStringLiteral("Beta")));
    QVERIFY(enabled(MenuItem::Update));
    QVERIFY(windows[0]->isWindowModified());
  }

  void aFolderOpensAsAGroupWithTheGroupsMenus() {
    const std::string folder = dir_->path() + "/album";
    std::filesystem::create_directory(folder);
    dir_->write("album/1.mp3", sampleMp3("One"));
    dir_->write("album/2.aif", sampleAiff("Two"));
    QVERIFY(controller_->openFiles({QString::fromStdString(folder)}));
    auto* group = qobject_cast<ui::GroupWindow*>(controller_->frontWindow());
    QVERIFY(group);
    QCOMPARE(group->trackCount(), size_t{2});
    QVERIFY(!enabled(MenuItem::Revert) && !enabled(MenuItem::ExportAsXML) && !enabled(MenuItem::Update));
    QVERIFY(enabled(MenuItem::CopyTagData));
    controller_->action(MenuItem::ClearTagData)->trigger();
    QVERIFY(enabled(MenuItem::Update));
    QCOMPARE(controller_->recentGroups().list(), std::vector<std::string>{folder});
  }

  void failuresAreToldOnceAndNoWindowOpens() {
    QVERIFY(!controller_->openFiles({QString::fromStdString(dir_->path() + "/gone.mp3")}));
    QCOMPARE(questions_->asked.size(), size_t{1});
    QCOMPARE(questions_->asked[0].title, std::string("Could not open the file"));
    QVERIFY(controller_->windows().empty());
    std::filesystem::create_directory(dir_->path() + "/nothing");
    questions_->asked.clear();
    QVERIFY(controller_->openFiles({QString::fromStdString(dir_->path() + "/nothing")}));
    QCOMPARE(questions_->asked.size(), size_t{1});
    QCOMPARE(questions_->asked[0].title, std::string("No tracks found"));
    QVERIFY(controller_->windows().empty());
  }

  void openRecentListsOpenedTracksAndIsCleared() {
    const QString path = track("r.mp3", "Recent");
    QVERIFY(controller_->openFiles({path}));
    QMenu* recent = controller_->recentMenu();
    emit recent->aboutToShow();
    QCOMPARE(recent->actions().first()->text(), path);
    auto* clear = recent->findChild<QAction*>(QStringLiteral("clearRecentMenuItem"));
    QVERIFY(clear && clear->isEnabled());
    clear->trigger();
    QVERIFY(controller_->recentTracks().list().empty());
    QVERIFY(!preferences_->getRecentList(kRecentTracksKey));
  }

  void theStartPanelOpensAndListsRecentTracks() {
    const QString path = track("s.mp3", "Start");
    chooser_->tracks = {path};
    ui::StartPanel* panel = controller_->showStartPanel();
    auto* open = findByName<QPushButton>(panel, "startOpenButton");
    QVERIFY(open && !open->accessibleName().isEmpty());
    QVERIFY(findByName<QPushButton>(panel, "startOpenGroupButton"));
    open->click();
    QCOMPARE(controller_->windows().size(), size_t{1});
    auto* recent = findByName<QListView>(panel, "recentTracksList");
    QCOMPARE(recent->model()->rowCount(), 1);
    QCOMPARE(recent->model()->index(0, 0).data().toString(), path);
    delete panel;
  }

  void filesDroppedOnAWindowOpenThroughTheController() {
    QVERIFY(controller_->openFiles({track("first.mp3", "First")}));
    ui::DocumentWindow* window = controller_->frontWindow();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(track("dropped.mp3", "Dropped"))});
    data.setText(QStringLiteral("not a path"));
    QCOMPARE(ui::droppedPaths(&data).size(), 1);
    emit window->filesDropped(ui::droppedPaths(&data));
    QCOMPARE(controller_->windows().size(), size_t{2});
    QVERIFY(frontText().contains(QStringLiteral("Dropped")));
  }

  void loadAndSaveTagDataStartInTheDefaultPath() {
    preferences_->setStringPreferenceNamed("Default path", dir_->path());
    QVERIFY(controller_->openFiles({track("t.mp3", "Target")}));
    chooser_->tagSource = QString::fromStdString(dir_->write("in.tdf", sampleTagData("Loaded album")));
    controller_->action(MenuItem::LoadTagData)->trigger();
    QCOMPARE(chooser_->startFolder.toStdString(), dir_->path());
    QVERIFY(frontText().contains(QStringLiteral("Loaded album")));
    chooser_->tagDestination = QString::fromStdString(dir_->file("out.tdf"));
    controller_->action(MenuItem::SaveTagData)->trigger();
    QVERIFY(std::filesystem::exists(dir_->file("out.tdf")));
    QVERIFY(questions_->asked.empty());
  }

  void theOpenPanelComesOneSecondAfterStartOnlyWhenWanted() {
    controller_->startOpenPanelTimer(0);
    QTRY_COMPARE(chooser_->tracksAsked, 1);
    preferences_->setBoolPreferenceNamed("Show open file at start up", false);
    controller_->startOpenPanelTimer(0);
    QTest::qWait(50);
    QCOMPARE(chooser_->tracksAsked, 1);
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::DocumentControllerTest)
#include "document_controller_test.moc"
