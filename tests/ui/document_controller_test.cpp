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
#include <QSignalSpy>
#include <QUrl>
#include <filesystem>
#include <memory>

#include "preferences/preference_keys.h"
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
  std::unique_ptr<ControllerRig> rig_;

  bool enabled(MenuItem item) { return rig_->controller.action(item)->isEnabled(); }
  QString frontText() {
    auto* track = qobject_cast<ui::TrackWindow*>(rig_->controller.frontWindow());
    if (track == nullptr) return {};
    const EditorValues& shown = track->values();
    return QString::fromStdU16String(shown[EditorField::Title] + u"\n" + shown[EditorField::Album]);
  }
  void bringToFront(ui::DocumentWindow* window) {
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QCOMPARE(rig_->controller.frontWindow(), window);
  }

 private slots:
  void initTestCase() { prepareWindowTests(); }

  void init() { rig_ = std::make_unique<ControllerRig>(); }

  void cleanup() {
    QVERIFY(rig_->closeWindows());
    rig_.reset();
  }

  void theMenusUseTheStandardKeysAndStartWithTheGeneralItems() {
    QCOMPARE(rig_->controller.action(MenuItem::Open)->shortcut(), QKeySequence(QKeySequence::Open));
    QCOMPARE(rig_->controller.action(MenuItem::Update)->shortcut(), QKeySequence(QKeySequence::Save));
    QCOMPARE(rig_->controller.action(MenuItem::Quit)->shortcut(), QKeySequence(QKeySequence::Quit));
    // Without a document only the general items are enabled.
    QVERIFY(enabled(MenuItem::Open) && enabled(MenuItem::OpenGroup) && enabled(MenuItem::ExportAsXML));
    QVERIFY(!enabled(MenuItem::Update) && !enabled(MenuItem::CopyTagData) && !enabled(MenuItem::PasteTagData));
  }

  void aTrackOpensInItsWindowAndTheMenusFollowIt() {
    // Ctrl held while opening makes a group instead.
    rig_->controller.setCtrlHeld([] { return true; });
    QVERIFY(rig_->controller.openFiles({rig_->track("g.mp3", "Grouped")}));
    QVERIFY(qobject_cast<ui::GroupWindow*>(rig_->controller.frontWindow()));
    rig_->controller.setCtrlHeld([] { return false; });
    QVERIFY(rig_->controller.openFiles({rig_->track("a.mp3", "Alpha")}));
    QCOMPARE(rig_->controller.windows().size(), size_t{2});
    QVERIFY(qobject_cast<ui::TrackWindow*>(rig_->controller.frontWindow()));
    QVERIFY(frontText().contains(QStringLiteral("Alpha")));
    QVERIFY(rig_->controller.frontWindow()->menuBar()->findChild<QMenu*>(QStringLiteral("fileMenu")));
    QVERIFY(enabled(MenuItem::CopyTagData) && enabled(MenuItem::CopyV1ToV2) && enabled(MenuItem::Revert));
    QVERIFY(!enabled(MenuItem::Update) && !enabled(MenuItem::PasteTagData));
  }

  void copyAllAndPasteIntoAnotherTrackThroughTheMenus() {
    QVERIFY(rig_->controller.openFiles({rig_->track("a.mp3", "Alpha"), rig_->track("b.mp3", "Beta")}));
    auto windows = rig_->controller.windows();
    QCOMPARE(windows.size(), size_t{2});
    bringToFront(windows[1]);
    rig_->controller.action(MenuItem::CopyAllTagData)->trigger();
    QVERIFY(enabled(MenuItem::PasteTagData));
    bringToFront(windows[0]);
    rig_->controller.action(MenuItem::PasteTagData)->trigger();
    QVERIFY(frontText().contains(QStringLiteral("Beta")));
    QVERIFY(enabled(MenuItem::Update));
    QVERIFY(windows[0]->isWindowModified());
  }

  void aFolderOpensAsAGroupWithTheGroupsMenus() {
    const std::string folder = rig_->dir.path() + "/album";
    std::filesystem::create_directory(folder);
    rig_->dir.write("album/1.mp3", sampleMp3("One"));
    rig_->dir.write("album/2.aif", sampleAiff("Two"));
    QVERIFY(rig_->controller.openFiles({QString::fromStdString(folder)}));
    auto* group = qobject_cast<ui::GroupWindow*>(rig_->controller.frontWindow());
    QVERIFY(group);
    QTRY_COMPARE(group->trackCount(), size_t{2});  // read in the background
    QTRY_VERIFY(!group->loading());
    QVERIFY(!enabled(MenuItem::Revert) && !enabled(MenuItem::ExportAsXML) && !enabled(MenuItem::Update));
    QVERIFY(enabled(MenuItem::CopyTagData));
    rig_->controller.action(MenuItem::ClearTagData)->trigger();
    QVERIFY(enabled(MenuItem::Update));
    QCOMPARE(rig_->controller.recentGroups().list(), std::vector<std::string>{folder});
  }

  void quittingDuringAGroupRunWaitsForTheCancelledRun() {
    const std::string folder = rig_->dir.path() + "/run";
    std::filesystem::create_directory(folder);
    for (const char* name : {"a.mp3", "b.mp3", "c.mp3"}) rig_->dir.write(std::string("run/") + name, sampleMp3(name));
    rig_->preferences.setBoolPreferenceNamed(prefs::kMoveToTrash.key, false);
    // Another window that the quit must close too, whichever closes first.
    QVERIFY(rig_->controller.openFiles({rig_->track("solo.mp3", "Solo")}));
    QVERIFY(rig_->controller.openFiles({QString::fromStdString(folder)}));
    QPointer<ui::GroupWindow> group = qobject_cast<ui::GroupWindow*>(rig_->controller.frontWindow());
    QTRY_VERIFY(group && !group->loading());
    GroupUpdateOptions slow;
    slow.pauseBetweenTracks = std::chrono::milliseconds(300);
    slow.afterSheet = std::chrono::milliseconds(0);
    group->setRunOptions(slow);
    group->clearTagData();
    QVERIFY(rig_->controller.undoAction()->isEnabled());
    rig_->controller.action(MenuItem::Update)->trigger();
    QVERIFY(group->running());
    QVERIFY(!rig_->controller.undoAction()->isEnabled());  // the worker reads what undo would change
    rig_->questions.answer("Do you want to cancel?", "Yes");
    QSignalSpy quits(rig_->controller.action(MenuItem::Quit), &QAction::triggered);
    rig_->controller.action(MenuItem::Quit)->trigger();
    QVERIFY(group);  // still writing its track
    QCOMPARE(rig_->questions.asked.back().title, std::string("Do you want to cancel?"));
    QTRY_VERIFY_WITH_TIMEOUT(group.isNull(), 10000);
    QTRY_COMPARE(quits.count(), 2);  // the quit taken up again
    QTRY_VERIFY(rig_->controller.windows().empty());
  }

  void failuresAreToldOnceAndNoWindowOpens() {
    QVERIFY(!rig_->controller.openFiles({QString::fromStdString(rig_->dir.path() + "/gone.mp3")}));
    QCOMPARE(rig_->questions.asked.size(), size_t{1});
    QCOMPARE(rig_->questions.asked[0].title, std::string("Could not open the file"));
    QVERIFY(rig_->controller.windows().empty());
    std::filesystem::create_directory(rig_->dir.path() + "/nothing");
    rig_->questions.asked.clear();
    QVERIFY(rig_->controller.openFiles({QString::fromStdString(rig_->dir.path() + "/nothing")}));
    QCOMPARE(rig_->questions.asked.size(), size_t{1});
    QCOMPARE(rig_->questions.asked[0].title, std::string("No tracks found"));
    QVERIFY(rig_->controller.windows().empty());
  }

  void openRecentListsOpenedTracksAndIsCleared() {
    const QString path = rig_->track("r.mp3", "Recent");
    QVERIFY(rig_->controller.openFiles({path}));
    QMenu* recent = rig_->controller.recentMenu();
    emit recent->aboutToShow();
    QCOMPARE(recent->actions().first()->text(), path);
    auto* clear = recent->findChild<QAction*>(QStringLiteral("clearRecentMenuItem"));
    QVERIFY(clear && clear->isEnabled());
    clear->trigger();
    QVERIFY(rig_->controller.recentTracks().list().empty());
    QVERIFY(!rig_->preferences.getRecentList(kRecentTracksKey));
  }

  void theStartPanelOpensAndListsRecentTracks() {
    const QString path = rig_->track("s.mp3", "Start");
    rig_->chooser.tracks = {path};
    ui::StartPanel* panel = rig_->controller.showStartPanel();
    auto* open = findByName<QPushButton>(panel, "startOpenButton");
    QVERIFY(open && !open->accessibleName().isEmpty());
    QVERIFY(findByName<QPushButton>(panel, "startOpenGroupButton"));
    open->click();
    QCOMPARE(rig_->controller.windows().size(), size_t{1});
    auto* recent = findByName<QListView>(panel, "recentTracksList");
    QCOMPARE(recent->model()->rowCount(), 1);
    QCOMPARE(recent->model()->index(0, 0).data().toString(), path);
    delete panel;
  }

  void filesDroppedOnAWindowOpenThroughTheController() {
    QVERIFY(rig_->controller.openFiles({rig_->track("first.mp3", "First")}));
    ui::DocumentWindow* window = rig_->controller.frontWindow();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(rig_->track("dropped.mp3", "Dropped"))});
    data.setText(QStringLiteral("not a path"));
    QCOMPARE(ui::droppedPaths(&data).size(), 1);
    emit window->filesDropped(ui::droppedPaths(&data));
    QCOMPARE(rig_->controller.windows().size(), size_t{2});
    QVERIFY(frontText().contains(QStringLiteral("Dropped")));
  }

  void loadAndSaveTagDataStartInTheDefaultPath() {
    rig_->preferences.setStringPreferenceNamed("Default path", rig_->dir.path());
    QVERIFY(rig_->controller.openFiles({rig_->track("t.mp3", "Target")}));
    rig_->chooser.tagSource = QString::fromStdString(rig_->dir.write("in.tdf", sampleTagData("Loaded album")));
    rig_->controller.action(MenuItem::LoadTagData)->trigger();
    QCOMPARE(rig_->chooser.startFolder.toStdString(), rig_->dir.path());
    QVERIFY(frontText().contains(QStringLiteral("Loaded album")));
    rig_->chooser.tagDestination = QString::fromStdString(rig_->dir.file("out.tdf"));
    rig_->controller.action(MenuItem::SaveTagData)->trigger();
    QVERIFY(std::filesystem::exists(rig_->dir.file("out.tdf")));
    QVERIFY(rig_->questions.asked.empty());
  }

  void theOpenPanelComesOneSecondAfterStartOnlyWhenWanted() {
    rig_->controller.startOpenPanelTimer(0);
    QTRY_COMPARE(rig_->chooser.tracksAsked, 1);
    rig_->preferences.setBoolPreferenceNamed("Show open file at start up", false);
    rig_->controller.startOpenPanelTimer(0);
    QTest::qWait(50);
    QCOMPARE(rig_->chooser.tracksAsked, 1);
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::DocumentControllerTest)
#include "document_controller_test.moc"
