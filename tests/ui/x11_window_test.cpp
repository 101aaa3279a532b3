// Under a real X server, with the pointer and the keyboard driven through the
// server's XTEST extension rather than events made up inside Qt: files dragged
// onto a window open, the start panel's focus and Tab order, the File menu, and
// the user genres reordered by dragging and by Alt+Up.
// Run by xvfb-run (see CMakeLists.txt).

#include <QApplication>
#include <QDir>
#include <QDrag>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QTabWidget>
#include <QUrl>
#include <dlfcn.h>
#include <iterator>
#include <memory>

#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/ui/window_harness.h"
#include "ui/document_controller.h"
#include "ui/drag_image_view.h"
#include "ui/group_window.h"
#include "ui/preferences_window.h"
#include "ui/start_panel.h"
#include "ui/track_window.h"

namespace melos::test {
namespace {

// The few calls of libX11 and libXtst the tests need, loaded at run time so
// the build needs no X development files.
class FakeInput {
 public:
  static constexpr unsigned long kTab = 0xFF09, kShift = 0xFFE1, kAlt = 0xFFE9, kControl = 0xFFE3,
                                 kReturn = 0xFF0D, kF = 0x0066, kO = 0x006F;

  FakeInput() : x11_(dlopen("libX11.so.6", RTLD_NOW)), xtst_(dlopen("libXtst.so.6", RTLD_NOW)) {
    if (x11_ == nullptr || xtst_ == nullptr) return;
    load(x11_, "XCloseDisplay", closeDisplay_), load(x11_, "XFlush", flush_);
    load(x11_, "XKeysymToKeycode", keycode_), load(xtst_, "XTestFakeMotionEvent", motion_);
    load(xtst_, "XTestFakeButtonEvent", button_), load(xtst_, "XTestFakeKeyEvent", key_);
    void* (*openDisplay)(const char*) = nullptr;
    load(x11_, "XOpenDisplay", openDisplay);
    if (openDisplay && closeDisplay_ && flush_ && keycode_ && motion_ && button_ && key_)
      display_ = openDisplay(nullptr);
  }
  ~FakeInput() {
    if (display_ != nullptr) closeDisplay_(display_);
    for (void* library : {xtst_, x11_})
      if (library != nullptr) dlclose(library);
  }
  FakeInput(const FakeInput&) = delete;
  FakeInput& operator=(const FakeInput&) = delete;

  bool ready() const { return display_ != nullptr; }

  // Each delay is the server's wait before the event, after the one before.
  void moveTo(QPoint global, unsigned long delayMs = 0) { motion_(display_, -1, global.x(), global.y(), delayMs); }
  void button(bool press, unsigned long delayMs = 0) { button_(display_, 1, press ? 1 : 0, delayMs); }
  void key(unsigned long keysym, bool press) { key_(display_, keycode_(display_, keysym), press ? 1 : 0, 0); }
  void tap(std::initializer_list<unsigned long> chord) {
    for (unsigned long keysym : chord) key(keysym, true);
    for (auto it = std::rbegin(chord); it != std::rend(chord); ++it) key(*it, false);
  }
  void click(QPoint global) {
    moveTo(global);
    button(true, 30);
    button(false, 30);
  }
  void send() { flush_(display_); }

 private:
  template <typename F>
  static void load(void* library, const char* name, F& function) {
    function = reinterpret_cast<F>(dlsym(library, name));
  }

  void* x11_;
  void* xtst_;
  void* display_ = nullptr;
  int (*closeDisplay_)(void*) = nullptr;
  int (*flush_)(void*) = nullptr;
  unsigned char (*keycode_)(void*, unsigned long) = nullptr;
  int (*motion_)(void*, int, int, int, unsigned long) = nullptr;
  int (*button_)(void*, unsigned, int, unsigned long) = nullptr;
  int (*key_)(void*, unsigned, int, unsigned long) = nullptr;
};

// Starts a drag of its files as soon as the button goes down on it, as a file
// manager's view does once the pointer has moved a little.
class DragSource : public QWidget {
 public:
  explicit DragSource(QList<QUrl> urls) : QWidget(nullptr, Qt::Window), urls_(std::move(urls)) {
    setObjectName(QStringLiteral("dragSource"));
    setAccessibleName(QStringLiteral("Files to drag"));
    setWindowTitle(QStringLiteral("Files"));
    resize(120, 120);
  }
  Qt::DropAction result = Qt::IgnoreAction;

 protected:
  void mousePressEvent(QMouseEvent*) override {
    auto* drag = new QDrag(this);
    auto* files = new QMimeData;
    files->setUrls(urls_);
    drag->setMimeData(files);
    result = drag->exec(Qt::CopyAction);
  }

 private:
  QList<QUrl> urls_;
};

QPoint centreOf(const QWidget* widget) { return widget->mapToGlobal(widget->rect().center()); }

// Takes the files of a drop, as a file manager's folder view does.
class DropTarget : public QWidget {
 public:
  DropTarget() : QWidget(nullptr, Qt::Window) {
    setObjectName(QStringLiteral("dropTarget"));
    setAccessibleName(QStringLiteral("Folder"));
    setAcceptDrops(true);
    resize(120, 120);
  }
  QList<QUrl> urls;

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
  }
  void dropEvent(QDropEvent* event) override {
    urls = event->mimeData()->urls();
    event->acceptProposedAction();
  }
};

}  // namespace

enum class Target { StartPanel, TrackWindow };
enum class Way { Mouse, Keyboard, Shortcut };

}  // namespace melos::test

Q_DECLARE_METATYPE(melos::test::Target)
Q_DECLARE_METATYPE(melos::test::Way)

namespace melos::test {

class X11WindowTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<ControllerRig> rig_;
  std::unique_ptr<FakeInput> input_;

  // Shown where nothing else is, at the front with the keyboard focus.
  static bool showAt(QWidget* window, QPoint topLeft) {
    window->move(topLeft);
    window->show();
    window->raise();
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
  }
  bool opened(const QString& path) const {
    for (ui::DocumentWindow* window : rig_->controller.windows())
      if (window->windowFilePath() == path) return true;
    return false;
  }
  // Presses at `from` and moves in small steps, as a hand moves, so the drag
  // leaves its source and is seen entering the target before the button
  // comes up at `to`.
  void drag(QPoint from, QPoint to) {
    input_->moveTo(from);
    input_->button(true, 50);
    constexpr int kSteps = 12;
    for (int step = 1; step <= kSteps; ++step) input_->moveTo(from + (to - from) * step / kSteps, 25);
    input_->moveTo(to + QPoint(2, 2), 100);
    input_->button(false, 150);
    input_->send();
  }
  bool groupOpened() const {
    for (ui::DocumentWindow* window : rig_->controller.windows())
      if (qobject_cast<ui::GroupWindow*>(window)) return true;
    return false;
  }

 private slots:
  void initTestCase() {
    prepareWindowTests();
    if (QGuiApplication::platformName() != QStringLiteral("xcb")) QSKIP("needs an X server (run under xvfb-run)");
    input_ = std::make_unique<FakeInput>();
    if (!input_->ready()) QSKIP("no XTEST: libX11 or libXtst missing, or no display");
  }

  void init() { rig_ = std::make_unique<ControllerRig>(); }

  void cleanup() {
    QVERIFY(rig_->closeWindows());
    rig_.reset();
  }

  void draggedFilesOpen_data() {
    QTest::addColumn<Target>("target");
    QTest::addColumn<bool>("folder");
    QTest::newRow("a track onto a track window") << Target::TrackWindow << false;
    QTest::newRow("a folder onto a track window") << Target::TrackWindow << true;
    QTest::newRow("a track onto the start panel") << Target::StartPanel << false;
    QTest::newRow("a folder onto the start panel") << Target::StartPanel << true;
  }

  void draggedFilesOpen() {
    QFETCH(Target, target);
    QFETCH(bool, folder);
    QWidget* onto = nullptr;
    if (target == Target::TrackWindow) {
      QVERIFY(rig_->controller.openFiles({rig_->track("first.mp3", "First")}));
      onto = rig_->controller.frontWindow();
    } else {
      onto = rig_->controller.showStartPanel();
    }
    QVERIFY(showAt(onto, {400, 100}));
    QDir().mkpath(QString::fromStdString(rig_->dir.file("folder")));
    const QString dragged = folder ? QString::fromStdString(rig_->dir.file("folder"))
                                   : QString::fromStdString(rig_->dir.write("dragged.mp3", sampleMp3("Dragged")));
    if (folder) rig_->dir.write("folder/inside.mp3", sampleMp3("Inside"));

    DragSource source({QUrl::fromLocalFile(dragged)});
    QVERIFY(showAt(&source, {40, 100}));
    drag(centreOf(&source), centreOf(onto));
    QTRY_VERIFY_WITH_TIMEOUT(folder ? groupOpened() : opened(dragged), 5000);
    QCOMPARE(source.result, Qt::CopyAction);
  }

  void aPictureComesInAndGoesOutOfTheWellAsAFile() {
    ui::DragImageView well;
    well.setWindowFlag(Qt::Window);
    well.resize(160, 160);
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::green);
    const QString jpeg = QString::fromStdString(rig_->dir.file("cover.jpg"));
    QVERIFY(image.save(jpeg, "JPEG"));
    DragSource source({QUrl::fromLocalFile(jpeg)});
    QVERIFY(showAt(&source, {40, 100}));
    QVERIFY(showAt(&well, {400, 100}));
    drag(centreOf(&source), centreOf(&well));
    QTRY_COMPARE_WITH_TIMEOUT(well.getImageType(), QStringLiteral("jpeg"), 5000);

    DropTarget folder;
    QVERIFY(showAt(&folder, {700, 100}));
    drag(centreOf(&well), centreOf(&folder));
    QTRY_COMPARE_WITH_TIMEOUT(folder.urls.size(), 1, 5000);
    QFile written(folder.urls.first().toLocalFile());
    QVERIFY(written.open(QIODevice::ReadOnly));
    QCOMPARE(written.fileName().section(QLatin1Char('/'), -1), QStringLiteral("Picture.jpeg"));
    const QByteArray bytes = written.readAll();
    QCOMPARE(Bytes(bytes.begin(), bytes.end()), well.getImageData());
  }

  void theStartPanelFocusesItsFirstControlAndTabsInVisualOrder() {
    ui::StartPanel* panel = rig_->controller.showStartPanel();
    QVERIFY(showAt(panel, {100, 100}));
    const QStringList order = {QStringLiteral("recentTracksList"), QStringLiteral("recentGroupsList"),
                               QStringLiteral("startOpenButton"),  QStringLiteral("startOpenGroupButton"),
                               QStringLiteral("startReadmeLink"),  QStringLiteral("startShowAtStart")};
    const auto focused = [] { return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString(); };
    QTRY_COMPARE(focused(), order.first());

    // Top to bottom, and left to right within a row.
    for (qsizetype i = 1; i < order.size(); ++i) {
      const QPoint before = findByName<QWidget>(panel, qPrintable(order[i - 1]))->mapToGlobal(QPoint());
      const QPoint after = findByName<QWidget>(panel, qPrintable(order[i]))->mapToGlobal(QPoint());
      QVERIFY2(after.y() > before.y() || (after.y() == before.y() && after.x() > before.x()), qPrintable(order[i]));
    }
    // One press, one step, round the window and back.
    for (qsizetype i = 1; i <= order.size(); ++i) {
      input_->tap({FakeInput::kTab});
      input_->send();
      QTRY_COMPARE(focused(), order[i % order.size()]);
    }
    for (qsizetype i = order.size() - 1; i >= 0; --i) {
      input_->tap({FakeInput::kShift, FakeInput::kTab});
      input_->send();
      QTRY_COMPARE(focused(), order[i]);
    }
  }

  // The editor's fields, from the keyboard alone: Tab goes down the page as it
  // reads, and a label's mnemonic reaches its field.
  void theEditorTabsThroughItsFieldsInVisualOrder() {
    QVERIFY(rig_->controller.openFiles({rig_->track("keys.mp3", "Keys")}));
    ui::DocumentWindow* window = rig_->controller.frontWindow();
    QVERIFY(showAt(window, {60, 40}));
    const QStringList order = {QStringLiteral("mT2Track"), QStringLiteral("mT2Tracks"), QStringLiteral("mT2Title"),
                               QStringLiteral("mT2Artist"), QStringLiteral("mT2Album"), QStringLiteral("mT2Year"),
                               QStringLiteral("mT2Genre"), QStringLiteral("mT2Comment"), QStringLiteral("mT2Composer")};
    const auto focused = [window] {
      for (QWidget* w = QApplication::focusWidget(); w != nullptr && w != window; w = w->parentWidget())
        if (w->objectName().startsWith(QStringLiteral("mT"))) return w->objectName();
      return QString();
    };
    findByName<QWidget>(window, "mT2Track")->setFocus();
    QTRY_COMPARE(focused(), order.first());
    QPoint before = findByName<QWidget>(window, "mT2Track")->mapToGlobal(QPoint());
    for (qsizetype i = 1; i < order.size(); ++i) {
      input_->tap({FakeInput::kTab});
      input_->send();
      QTRY_COMPARE(focused(), order[i]);
      const QPoint at = findByName<QWidget>(window, qPrintable(order[i]))->mapToGlobal(QPoint());
      QVERIFY2(at.y() > before.y() || (at.y() == before.y() && at.x() > before.x()), qPrintable(order[i]));
      before = at;
    }
    // Alt+I: "T&itle:" takes the keyboard to the title.
    input_->tap({FakeInput::kAlt, 0x0069});
    input_->send();
    QTRY_COMPARE(focused(), QStringLiteral("mT2Title"));
  }

  void userGenresReorderByDraggingAndByAltUp() {
    constexpr unsigned long kUp = 0xFF52;
    rig_->preferences.setUserGenreList({"Ambient", "Dub", "Folk"});
    ui::PreferencesWindow* window = rig_->controller.showPreferences();
    findByName<QTabWidget>(window, "mPreferencesTabs")->setCurrentIndex(3);
    QVERIFY(showAt(window, {100, 100}));
    auto* list = findByName<ui::GenreListView>(window, "mUserGenreList");
    QVERIFY(list);
    const auto names = [this] { return rig_->preferences.getUserGenreList(); };
    const QRect first = list->visualItemRect(list->item(0));
    const QRect last = list->visualItemRect(list->item(2));
    // Below the middle of the last row: after it.
    drag(list->viewport()->mapToGlobal(first.center()),
         list->viewport()->mapToGlobal(QPoint(last.center().x(), last.bottom() - 3)));
    QTRY_COMPARE_WITH_TIMEOUT(names(), (std::vector<std::string>{"Dub", "Folk", "Ambient"}), 5000);
    QTRY_COMPARE(list->selectedRows(), std::vector<int>{2});

    list->setFocus();
    QTRY_VERIFY(list->hasFocus());
    input_->tap({FakeInput::kAlt, kUp});
    input_->send();
    QTRY_COMPARE(names(), (std::vector<std::string>{"Dub", "Ambient", "Folk"}));
  }

  void theFileMenuOpensAndItsOpenAsksForTracks_data() {
    QTest::addColumn<Way>("way");
    QTest::newRow("by mouse") << Way::Mouse;
    QTest::newRow("by its mnemonic and Return") << Way::Keyboard;
    QTest::newRow("by Ctrl+O, the menu closed") << Way::Shortcut;
  }

  void theFileMenuOpensAndItsOpenAsksForTracks() {
    QFETCH(Way, way);
    QVERIFY(rig_->controller.openFiles({rig_->track("menu.mp3", "Menu")}));
    ui::DocumentWindow* window = rig_->controller.frontWindow();
    QVERIFY(showAt(window, {100, 100}));
    auto* file = window->menuBar()->findChild<QMenu*>(QStringLiteral("fileMenu"));
    QVERIFY(file);
    QAction* open = rig_->controller.action(MenuItem::Open);

    switch (way) {
      case Way::Mouse: {
        const QRect title = window->menuBar()->actionGeometry(file->menuAction());
        input_->click(window->menuBar()->mapToGlobal(title.center()));
        input_->send();
        QTRY_VERIFY(file->isVisible());
        input_->click(file->mapToGlobal(file->actionGeometry(open).center()));
        break;
      }
      case Way::Keyboard:
        input_->tap({FakeInput::kAlt, FakeInput::kF});
        input_->send();
        QTRY_VERIFY(file->isVisible());
        QTRY_COMPARE(file->activeAction(), open);
        input_->tap({FakeInput::kReturn});
        break;
      case Way::Shortcut:
        input_->tap({FakeInput::kControl, FakeInput::kO});
        break;
    }
    input_->send();
    QTRY_COMPARE(rig_->chooser.tracksAsked, 1);
    QTRY_VERIFY(!file->isVisible());
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::X11WindowTest)
#include "x11_window_test.moc"
