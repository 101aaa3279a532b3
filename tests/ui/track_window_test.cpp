// The track window shows what `melos show` prints, and follows a replaced track.

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QPlainTextEdit>
#include <memory>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/ui/window_harness.h"
#include "ui/dialog_questions.h"
#include "ui/shown_path.h"
#include "ui/track_window.h"

namespace melos::test {

class TrackWindowTest : public QObject {
  Q_OBJECT

 private:
  TempDir dir_;
  PreferencesController preferences_{std::make_unique<MemoryPreferenceStore>(), dir_.path()};
  std::unique_ptr<ui::TrackWindow> window_;

  std::unique_ptr<ui::TrackWindow> openWindow(const std::string& path) {
    TrackFile opened = openTrackFile(path, kScanQuick);
    if (!opened.opened()) return nullptr;
    return std::make_unique<ui::TrackWindow>(std::move(opened.track), preferences_);
  }

 private slots:
  void initTestCase() { prepareWindowTests(); }
  void cleanup() { window_.reset(); }

  void showsTheFactsOfTheTrack_data() {
    QTest::addColumn<bool>("aiff");
    QTest::addColumn<QString>("fact");
    QTest::newRow("an MP3 with its bitrate") << false << "kbps";
    QTest::newRow("an AIFF") << true << "Aiff title";
  }

  void showsTheFactsOfTheTrack() {
    QFETCH(bool, aiff);
    QFETCH(QString, fact);
    const std::string path =
        aiff ? dir_.write("tone.aif", sampleAiff("Aiff title")) : dir_.write("first.mp3", sampleMp3("First light"));
    // The facts name the track as its owner reads the path; the window still
    // knows the whole path.
    const QByteArray realHome = qgetenv("HOME");
    qputenv("HOME", QByteArray::fromStdString(dir_.path()));
    window_ = openWindow(path);
    qputenv("HOME", realHome);
    QVERIFY(window_);
    auto* facts = findByName<QPlainTextEdit>(window_.get(), "trackFacts");
    QVERIFY(facts && facts->isReadOnly() && !facts->accessibleName().isEmpty());
    const QString name = QString::fromStdString(path).section(QLatin1Char('/'), -1);
    const QString text = facts->toPlainText();
    QVERIFY2(text.startsWith(QStringLiteral("~/") + name) && text.contains(fact), qPrintable(text));
    QVERIFY(window_->windowTitle().startsWith(name));
    QCOMPARE(window_->windowFilePath(), QString::fromStdString(path));
  }

  // The message box marks the default the question names, and answers with
  // the button that was pressed.
  void aQuestionMarksTheDefaultItNames() {
    QString marked;
    QTimer::singleShot(0, [&marked] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (box == nullptr || box->defaultButton() == nullptr) return;
      marked = box->defaultButton()->text();
      box->defaultButton()->click();
    });
    ui::DialogQuestions questions;
    const std::string chosen =
        questions.askWithDefault("The file has changed on disk", "", {"Reload", "Overwrite", "Cancel"}, 2);
    QCOMPARE(marked, QStringLiteral("Cancel"));
    QCOMPARE(QString::fromStdString(chosen), QStringLiteral("Cancel"));
  }

  void pathsUnderHomeAreShownFromTilde_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("home");
    QTest::addColumn<QString>("shown");
    QTest::newRow("under home") << "/home/ann/Music/a.mp3" << "/home/ann" << "~/Music/a.mp3";
    QTest::newRow("home itself") << "/home/ann" << "/home/ann" << "~";
    QTest::newRow("home with a slash") << "/home/ann/a.mp3" << "/home/ann/" << "~/a.mp3";
    QTest::newRow("a sibling sharing the prefix") << "/home/anna/a.mp3" << "/home/ann" << "/home/anna/a.mp3";
    QTest::newRow("elsewhere") << "/srv/music/a.mp3" << "/home/ann" << "/srv/music/a.mp3";
    QTest::newRow("home is the root") << "/a.mp3" << "/" << "/a.mp3";
    QTest::newRow("no home") << "/a.mp3" << "" << "/a.mp3";
  }

  void pathsUnderHomeAreShownFromTilde() {
    QFETCH(QString, path);
    QFETCH(QString, home);
    QFETCH(QString, shown);
    QCOMPARE(ui::shownPath(path, home), shown);
  }

  void replacingTheTrackShowsTheNewOne() {
    window_ = openWindow(dir_.write("a.mp3", sampleMp3("Alpha")));
    QVERIFY(window_);
    const std::string second = dir_.write("b.mp3", sampleMp3("Beta"));
    TrackFile opened = openTrackFile(second, kScanQuick);
    QVERIFY(opened.opened());
    window_->replaceTrack(std::move(opened.track));
    const QString text = findByName<QPlainTextEdit>(window_.get(), "trackFacts")->toPlainText();
    QVERIFY(text.contains(QStringLiteral("Beta")));
    QVERIFY(!text.contains(QStringLiteral("Alpha")));
    QVERIFY(window_->windowTitle().startsWith(QStringLiteral("b.mp3")));
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::TrackWindowTest)
#include "track_window_test.moc"
