// The single-track editor, driven as a user drives it: typing into its fields
// by name, reading the warnings back, undoing, updating a real file and
// reading it back with the engine, moving through a set of tracks, and a save
// that runs while the window stays responsive.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <future>
#include <memory>
#include <sys/stat.h>

#include "engine/open_track.h"
#include "engine/text.h"
#include "operations/track_file.h"
#include "operations/track_writer.h"
#include "preferences/preference_keys.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/ui/window_harness.h"
#include "ui/dialog_questions.h"
#include "ui/editor_fields.h"
#include "ui/picture_panel.h"
#include "ui/shown_path.h"
#include "ui/track_window.h"

namespace melos::test {
namespace {

std::u16string storedTitle(const std::string& path) {
  TrackFile file = openTrackFile(path, kScanQuick);
  return file.opened() ? file.track->tagData.title.toU16() : u"(unreadable)";
}


// A V1 save that does not verify, or a file that cannot be made writable.
class FailingWriter : public TrackWriter {
 public:
  int saveV1(ID3Tag& track, bool removeApe, bool keepDates, bool trim) override {
    const int result = TrackWriter::saveV1(track, removeApe, keepDates, trim);
    return unverifiedV1 ? 7 : result;
  }
  bool makeWritable(const std::string&) override { return false; }
  bool unverifiedV1 = false;
};

// Holds the V2 save until the test lets it go, and notes where it ran.
class HeldWriter : public TrackWriter {
 public:
  int saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim) override {
    thread = QThread::currentThread();
    held.set_value();
    release.get_future().wait();
    return TrackWriter::saveV2(track, moveToTrash, version, keepDates, trim);
  }
  QThread* thread = nullptr;
  std::promise<void> held;
  std::promise<void> release;
};

}  // namespace

class TrackWindowTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<EditorRig> rig_;

  ui::TrackWindow* open(const std::vector<std::string>& paths, TrackWriter* writer = nullptr) {
    return rig_->open(paths, writer);
  }
  std::string mp3(const std::string& name, const std::string& title) { return rig_->dir.write(name, sampleMp3(title)); }
  template <typename T = QWidget>
  T* find(const char* name) { return findByName<T>(rig_->window.get(), name); }
  QLineEdit* line(const char* name) {
    if (auto* combo = find<QComboBox>(name)) return combo->lineEdit();
    return find<QLineEdit>(name);
  }
  void type(const char* name, const QString& text) {
    QLineEdit* edit = line(name);
    QVERIFY2(edit, name);
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    // Keys can be typed only for ASCII; other text comes in as a paste does.
    bool ascii = true;
    for (QChar c : text) ascii = ascii && c.unicode() < 0x80;
    if (ascii) return QTest::keyClicks(edit, text);
    QApplication::clipboard()->setText(text);
    QTest::keySequence(edit, QKeySequence::Paste);
  }
  bool waitIdle() { return rig_->waitIdle(); }

 private slots:
  void initTestCase() { prepareWindowTests(); }
  void init() {
    rig_ = std::make_unique<EditorRig>();
    rig_->preferences.setBoolPreferenceNamed(prefs::kShowUserTab.key, true);
  }
  void cleanup() {
    rig_->window.reset();
    QVERIFY2(!rig_->unscripted(), rig_->questions.asked.empty() ? "" : rig_->questions.asked.back().title.c_str());
  }

  void warnsAsTheUserTypes_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("warning");  // the warning's object name
    QTest::addColumn<QString>("tooltip");  // empty: no warning
    QTest::addColumn<QString>("twin");     // the field kept in step, or empty
    const QString thirty(30, QLatin1Char('t'));
    const QString comment(29, QLatin1Char('c'));
    QTest::newRow("V1 title of 30") << "mT1Title" << thirty << "mT1TitleWarningIcon" << "" << "";
    QTest::newRow("V1 title of 31") << "mT1Title" << thirty + "u" << "mT1TitleWarningIcon"
                                    << "This entry will result in: " + thirty << "";
    QTest::newRow("V1 comment of 29") << "mT1Comment" << comment << "mT1CommentWarningIcon" << "" << "";
    QTest::newRow("V1 comment of 30") << "mT1Comment" << comment + "d" << "mT1CommentWarningIcon"
                                      << "This entry will result in: " + comment << "";
    QTest::newRow("V1 track 255") << "mT1Track" << "255" << "mT1TrackWarningIcon" << "This field is incorrect" << "";
    QTest::newRow("V1 track 256") << "mT1Track" << "256" << "mT1TrackWarningIcon" << "This field is incorrect" << "";
    const QString wrapped = QStringLiteral("This entry will result in: ");
    QTest::newRow("V1 track 257") << "mT1Track" << "257" << "mT1TrackWarningIcon" << wrapped + "1" << "";
    QTest::newRow("V1 track 300") << "mT1Track" << "300" << "mT1TrackWarningIcon" << wrapped + "44" << "";
    QTest::newRow("V1 track 12") << "mT1Track" << "12" << "mT1TrackWarningIcon" << "" << "";
    QTest::newRow("V1 track in words") << "mT1Track" << "ten" << "mT1TrackWarningIcon"
                                       << "This entry will result in: 0" << "";
    QTest::newRow("release 1099") << "mT2ReleaseTime" << "1099" << "mReleaseTimeWarningIcon"
                                  << "This field is incorrect" << "mUserReleaseTime";
    QTest::newRow("release 1100") << "mT2ReleaseTime" << "1100" << "mUserReleaseTimeWarningIcon" << "" << "";
    QTest::newRow("release 2007-13") << "mT2ReleaseTime" << "2007-13" << "mReleaseTimeWarningIcon"
                                     << "This entry will result in: 2007" << "";
    QTest::newRow("release 2007-02-30") << "mT2ReleaseTime" << "2007-02-30" << "mReleaseTimeWarningIcon" << "" << "";
    QTest::newRow("record time normalised") << "mUserRecordTime" << "2007-5-3 9:7" << "mRecordTimeWarningIcon"
                                            << "This entry will result in: 2007-05-03 09:07" << "mT2RecordTime";
    QTest::newRow("user ISRC into the standard one") << "mUserISRC" << "CCXXX1500729X" << "mISRCTimeWarningIcon"
                                                     << "This entry will result in: CCXXX1500729" << "mT2ISRC";
    QTest::newRow("initial key of 4") << "mT2InitialKey" << "Dbmx" << "mInitialKeyWarningIcon"
                                      << "This entry will result in: Dbm" << "";
    QTest::newRow("one-letter genre") << "mT2Genre" << "r" << "" << "" << "mT2Genre";
  }

  void warnsAsTheUserTypes() {
    QFETCH(QString, field);
    QFETCH(QString, typed);
    QFETCH(QString, warning);
    QFETCH(QString, tooltip);
    QFETCH(QString, twin);
    QVERIFY(open({mp3("a.mp3", "Alpha")}));
    type(qPrintable(field), typed);
    if (!warning.isEmpty()) {
      auto* icon = find<QAction>(qPrintable(warning));
      QVERIFY(icon);
      QCOMPARE(icon->isVisible(), !tooltip.isEmpty());
      if (!tooltip.isEmpty()) QCOMPARE(icon->toolTip(), tooltip);
    }
    if (field == QStringLiteral("mT2Genre")) QCOMPARE(line("mT2Genre")->text(), QStringLiteral("R"));
    else if (!twin.isEmpty()) QCOMPARE(line(qPrintable(twin))->text(), typed);
    QVERIFY(rig_->window->isWindowModified());
    // Nothing is corrected in the field itself.
    if (field != QStringLiteral("mT2Genre")) QCOMPARE(line(qPrintable(field))->text(), typed);
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

  void thePodcastBoxesAreOneAndWarnOfAnEmptyIdentifier() {
    QVERIFY(open({mp3("a.mp3", "Alpha")}));
    find<QCheckBox>("mUserPodcastButton")->click();
    QVERIFY(find<QCheckBox>("mT2PodcastButton")->isChecked());
    for (const char* name : {"mPodcastIDWarningIcon", "mUserPodcastIDWarningIcon"}) {
      QVERIFY(find<QAction>(name)->isVisible());
      QCOMPARE(find<QAction>(name)->toolTip(), QStringLiteral("This field should not be empty"));
    }
    type("mT2PodcastID", QStringLiteral("feed-1"));
    QCOMPARE(line("mUserPodcastID")->text(), QStringLiteral("feed-1"));
    QVERIFY(!find<QAction>("mUserPodcastIDWarningIcon")->isVisible());
  }

  // Typing, a copy and a quick-list choice each come back with one undo, and
  // the modified mark follows.
  void everyEditIsUndoneInOneStep() {
    rig_->preferences.setRecentList("V2 artist", {"Band A", "Band B"});
    QVERIFY(open({mp3("a.mp3", "Alpha")}));
    QUndoStack* stack = rig_->window->undoStack();
    type("mT2Title", QStringLiteral("New title"));
    QCOMPARE(stack->undoText(), QStringLiteral("Typing in Title"));
    QVERIFY(rig_->window->isWindowModified() && rig_->window->describe().dirty);
    stack->undo();
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("Alpha"));
    QVERIFY(!rig_->window->isWindowModified() && !rig_->window->describe().dirty);
    stack->redo();
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("New title"));

    type("mT1Title", QStringLiteral("From V1"));
    find<QPushButton>("copyV1ToV2Button")->click();
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("From V1"));
    stack->undo();
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("New title"));
    QCOMPARE(line("mT1Title")->text(), QStringLiteral("From V1"));

    // A Space the stars leave alone does not reach the box around them.
    QTest::keyClick(find<QWidget>("mT2Rating"), Qt::Key_Space);
    QVERIFY(find<QGroupBox>("v2TagBox")->isChecked());
    // A tag switched off greys its fields and the copy from it.
    find<QGroupBox>("v1TagBox")->setChecked(false);
    emit find<QGroupBox>("v1TagBox")->clicked(false);
    QVERIFY(!line("mT1Title")->isEnabled() && !find<QPushButton>("copyV1ToV2Button")->isEnabled());
    QCOMPARE(stack->undoText(), QStringLiteral("Disable V1 Tag"));
    stack->undo();
    QVERIFY(line("mT1Title")->isEnabled() && find<QPushButton>("copyV1ToV2Button")->isEnabled());

    auto* quick = find<QToolButton>("mT2ArtistQuickList");
    QVERIFY(quick && !quick->isHidden());
    quick->menu()->actions().at(1)->trigger();
    QCOMPARE(line("mT2Artist")->text(), QStringLiteral("Band B"));
    stack->undo();
    QVERIFY(line("mT2Artist")->text() != QStringLiteral("Band B"));
  }

  // The file name "07 Artist-My_Song.mp3": the title alone, with Shift the
  // track too, with Ctrl the artist too; into the version of the button.
  void theFileNameFillsTheFieldsTheModifiersSay() {
    QVERIFY(open({mp3("07 Artist-My_Song.mp3", "Alpha")}));
    rig_->window->useFileNameForTitle(false, Qt::NoModifier);
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("My Song"));
    QVERIFY(line("mT2Track")->text().isEmpty() && line("mT2Artist")->text() == QStringLiteral("Tester"));
    rig_->window->useFileNameForTitle(true, Qt::ShiftModifier | Qt::ControlModifier);
    QCOMPARE(line("mT1Title")->text() + line("mT1Track")->text() + line("mT1Artist")->text(),
             QStringLiteral("My Song7Artist"));
    QCOMPARE(rig_->window->undoStack()->undoText(), QStringLiteral("Use File Name for V1 Title"));
  }

  void completesFromTheQuickListButNotWhileDeleting() {
    rig_->preferences.setRecentList("V2 album", {"Blue Train", "Blue Note"});
    QVERIFY(open({mp3("a.mp3", "Alpha")}));
    QLineEdit* album = line("mT2Album");
    type("mT2Album", QStringLiteral("Blue N"));
    QCOMPARE(album->text(), QStringLiteral("Blue Note"));
    QCOMPARE(album->selectedText(), QStringLiteral("ote"));
    QTest::keyClick(album, Qt::Key_Backspace);
    QCOMPARE(album->text(), QStringLiteral("Blue N"));
    type("mT2Album", QStringLiteral("blue"));  // case-sensitive
    QCOMPARE(album->text(), QStringLiteral("blue"));
  }

  void updatesTheFileAndAsksItsQuestions_data() {
    QTest::addColumn<bool>("aiff");
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("written");
    QTest::newRow("MP3, no question") << false << "" << "" << true;
    QTest::newRow("AIFF, no question") << true << "" << "" << true;
    QTest::newRow("read only, yes") << false << "Updating a read only or locked file" << "Yes" << true;
    QTest::newRow("read only, no") << false << "Updating a read only or locked file" << "No" << false;
    QTest::newRow("V1 not verified, go on") << false << "Verification of the updated V1 tag failed" << "Yes" << true;
    QTest::newRow("V1 not verified, stop") << false << "Verification of the updated V1 tag failed" << "No" << false;
    QTest::newRow("loss, yes") << false << "Updating this track will result in the loss of the tag field 'Release time'"
                               << "Yes" << true;
    QTest::newRow("loss, no") << false << "Updating this track will result in the loss of the tag field 'Release time'"
                              << "No" << false;
  }

  void updatesTheFileAndAsksItsQuestions() {
    QFETCH(bool, aiff);
    QFETCH(QString, question);
    QFETCH(QString, answer);
    QFETCH(bool, written);
    const std::string path = aiff ? rig_->dir.write("a.aif", sampleAiff("Alpha")) : mp3("a.mp3", "Alpha");
    if (question.contains(QStringLiteral("loss"))) rig_->preferences.setIntPreferenceNamed(prefs::kTag2Version.key, 3);
    if (!question.isEmpty()) rig_->questions.answer(question.toStdString(), answer.toStdString());
    FailingWriter writer;
    writer.unverifiedV1 = question.startsWith(QStringLiteral("Verification"));
    QVERIFY(open({path}, writer.unverifiedV1 ? &writer : nullptr));
    // As a file opened without the right to write it (root may write anything).
    if (question.startsWith(QStringLiteral("Updating a read only"))) rig_->window->tracks().current().readOnly = true;
    type("mT2Title", QStringLiteral("Omega"));
    if (question.contains(QStringLiteral("loss"))) type("mT2ReleaseTime", QStringLiteral("2007-05-03"));
    find<QPushButton>("updateButton")->click();
    QVERIFY(waitIdle());
    // A V1 tag that did not verify is on the file; the V2 tag is written
    // only when the user goes on.
    QCOMPARE(storedTitle(path), written ? u"Omega" : u"Alpha");
    QCOMPARE(rig_->questions.asked.size(), question.isEmpty() ? 0u : 1u);
    // The window shows the file as it now is, with nothing left to save; a
    // declined update keeps the edits.
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("Omega"));
    QCOMPARE(rig_->window->isWindowModified(), !written);
    if (written && !aiff) QCOMPARE(*rig_->preferences.getRecentList("V2 artist"),
                                   std::vector<std::string>{"Tester"});
  }

  void aFileThatStaysReadOnlyIsToldAndKept() {
    FailingWriter writer;
    const std::string path = mp3("a.mp3", "Alpha");
    QVERIFY(open({path}, &writer));
    rig_->window->tracks().current().readOnly = true;
    rig_->window->showTrackAt(0);
    QVERIFY(rig_->window->windowTitle().startsWith(QStringLiteral("a.mp3 [read only]")));
    type("mT2Title", QStringLiteral("Omega"));
    rig_->questions.answer("Updating a read only or locked file", "Yes");
    find<QPushButton>("updateButton")->click();
    QVERIFY(waitIdle());
    QCOMPARE(rig_->questions.asked.back().title, std::string("Failed to make the file writable"));
    QCOMPARE(rig_->questions.asked.back().message,
             "Could not remove the read only or locked state of the file '" + path + "'.");
    QCOMPARE(storedTitle(path), u"Alpha");
  }

  void theWindowFrameIsKeptAndExportsWrite() {
    const std::string path = mp3("a.mp3", "Alpha");
    QVERIFY(open({path}));
    rig_->window->resize(640, 610);
    rig_->window->close();
    rig_->window.release();  // closed windows delete themselves
    QVERIFY(!rig_->preferences.getWindowPosition().empty());
    QVERIFY(open({path}));
    QCOMPARE(rig_->window->size(), QSize(640, 610));
    for (bool xml : {true, false}) {
      const std::string target = rig_->dir.path() + (xml ? "/a.xml" : "/a.csv");
      QVERIFY(rig_->window->exportAs(xml, QString::fromStdString(target)));
      QFile file(QString::fromStdString(target));
      QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll().contains("Alpha"));
    }
  }

  // Two pictures paged through, one retyped and described, one added from a
  // file, one removed; the save keeps what the panel shows.
  void picturesArePagedEditedAndSaved() {
    const std::string path = rig_->dir.write(
        "p.mp3", mp3File({Id3v2Builder(3)
                              .text("TIT2", Enc::Latin1, "Pictures")
                              .frame(pictureFrame(Enc::Latin1, "image/jpeg", 3, "front", imageBytes(8, 8, "JPEG")))
                              .frame(pictureFrame(Enc::Latin1, "image/png", 4, "back", imageBytes(8, 8)))
                              .build(),
                          cbrStream(MpegHeader{}, 20), {}, {}}));
    QVERIFY(open({path}));
    QCOMPARE(find<QLabel>("pictureIndex")->text(), QStringLiteral("1 of 2"));
    find<QPushButton>("nextPictureButton")->click();
    QCOMPARE(find<QLabel>("pictureIndex")->text(), QStringLiteral("2 of 2"));
    QCOMPARE(find<QComboBox>("pictureType")->currentText(), QStringLiteral("Back cover"));
    auto* description = find<QLineEdit>("pictureDescription");
    description->selectAll();
    const int steps = rig_->window->undoStack()->count();
    QTest::keyClicks(description, QStringLiteral("sleeve"));
    QCOMPARE(rig_->window->undoStack()->undoText(), QStringLiteral("Picture Description"));
    // One step for the word: each would otherwise keep a copy of every picture.
    QCOMPARE(rig_->window->undoStack()->count(), steps + 1);

    const QString added = QString::fromStdString(rig_->dir.path() + "/added.png");
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(added, "PNG"));
    auto* panel = findByName<ui::PicturePanel>(rig_->window.get(), "picturePanel");
    panel->setImageChooser([added](QWidget*) { return added; });
    find<QPushButton>("addImageButton")->click();
    QCOMPARE(find<QLabel>("pictureIndex")->text(), QStringLiteral("3 of 3"));  // added at the end
    find<QPushButton>("previousPictureButton")->click();
    find<QPushButton>("previousPictureButton")->click();
    find<QPushButton>("removeImageButton")->click();
    QCOMPARE(find<QLabel>("pictureIndex")->text(), QStringLiteral("1 of 2"));

    find<QPushButton>("updateButton")->click();
    QVERIFY(waitIdle());
    TrackFile file = openTrackFile(path, kScanQuick);
    QVERIFY(file.opened());
    const PicDataArray& saved = file.track->tagData.picdata;
    QCOMPARE(saved.size(), 2u);
    QCOMPARE(saved[0].description.toU16(), u"sleeve");
    QCOMPARE(saved[0].pictureType, uint8_t{4});
    QCOMPARE(saved[1].pictureSubtype, std::string("png"));
    rig_->window->undoStack()->undo();  // nothing to undo after a save reloads
    QCOMPARE(find<QLabel>("pictureIndex")->text(), QStringLiteral("1 of 2"));
  }

  void movesThroughASetOfTracks_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("stored");  // the first track's title afterwards
    QTest::newRow("save") << "Save" << 1 << "Edited";
    QTest::newRow("don't save") << "Don't save" << 1 << "One";
    QTest::newRow("cancel") << "Cancel" << 0 << "One";
  }

  void movesThroughASetOfTracks() {
    QFETCH(QString, answer);
    QFETCH(int, position);
    QFETCH(QString, stored);
    const std::vector<std::string> paths = {mp3("1.mp3", "One"), mp3("2.mp3", "Two"), mp3("3.mp3", "Three")};
    QVERIFY(open(paths));
    QCOMPARE(find<QLabel>("trackOfTracks")->text(), QStringLiteral("1 of 3"));
    QVERIFY(!find<QPushButton>("previousTrackButton")->isEnabled());
    type("mT2Title", QStringLiteral("Edited"));
    rig_->questions.answer("Do you want to save changes?", answer.toStdString());
    find<QPushButton>("nextTrackButton")->click();
    QVERIFY(waitIdle());
    QCOMPARE(rig_->window->tracks().position(), static_cast<size_t>(position));
    QCOMPARE(storedTitle(paths[0]), stored.toStdU16String());
    QCOMPARE(line("mT2Title")->text(), answer == QStringLiteral("Cancel") ? QStringLiteral("Edited")
                                                                          : QStringLiteral("Two"));
    if (answer == QStringLiteral("Cancel")) return;
    find<QPushButton>("nextTrackButton")->click();
    QVERIFY(waitIdle());
    QVERIFY(!find<QPushButton>("nextTrackButton")->isEnabled());
    find<QPushButton>("closeTrackButton")->click();
    QVERIFY(waitIdle());
    QCOMPARE(find<QLabel>("trackOfTracks")->text(), QStringLiteral("2 of 2"));
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("Two"));
  }

  // The single edit window takes the next opened file only once the edits
  // are saved or given up.
  void anotherTrackReplacesTheEditsOnlyAsTheUserSays_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("stored");
    QTest::newRow("save") << "Save" << "Two" << "Edited";
    QTest::newRow("don't save") << "Don't save" << "Two" << "One";
    QTest::newRow("cancel") << "Cancel" << "Edited" << "One";
  }

  void anotherTrackReplacesTheEditsOnlyAsTheUserSays() {
    QFETCH(QString, answer);
    QFETCH(QString, shown);
    QFETCH(QString, stored);
    const std::string first = mp3("1.mp3", "One");
    QVERIFY(open({first}));
    type("mT2Title", QStringLiteral("Edited"));
    rig_->questions.answer("Do you want to save changes?", answer.toStdString());
    rig_->window->replaceTrack(openTrackFile(mp3("2.mp3", "Two"), kScanQuick).track);
    QTRY_COMPARE(line("mT2Title")->text(), shown);
    QVERIFY(waitIdle());
    QCOMPARE(storedTitle(first), stored.toStdU16String());
  }

  void aDefaultSetIsAppliedAndUndone() {
    rig_->preferences.setBoolPreferenceNamed(prefs::kShowDefaultsButton.key, true);
    const auto setName = [](const char* base) { return PreferencesController::getPreferenceName(base, 2); };
    rig_->preferences.setBoolPreferenceNamed(setName("Use default album"), true);
    rig_->preferences.setStringPreferenceNamed(setName("Default album"), "Set album");
    QVERIFY(open({mp3("a.mp3", "Alpha")}));
    auto* defaults = find<QToolButton>("defaultsButton");
    QVERIFY(defaults && !defaults->isHidden());
    defaults->menu()->actions().at(2)->trigger();
    QCOMPARE(line("mT2Album")->text(), QStringLiteral("Set album"));
    QCOMPARE(line("mT2Title")->text(), QStringLiteral("Alpha"));
    rig_->window->undoStack()->undo();
    QCOMPARE(line("mT2Album")->text(), QString());
  }

  // Another program wrote the file after the window read it.
  void aChangeOnDiskIsNeverWrittenOverUnasked_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("stored");
    QTest::newRow("reload") << "Reload" << "Other program";
    QTest::newRow("overwrite") << "Overwrite" << "Mine";
    QTest::newRow("cancel") << "Cancel" << "Other program";
  }

  void aChangeOnDiskIsNeverWrittenOverUnasked() {
    QFETCH(QString, answer);
    QFETCH(QString, stored);
    const std::string path = mp3("a.mp3", "Alpha");
    QVERIFY(open({path}));
    type("mT2Title", QStringLiteral("Mine"));
    QTest::qWait(20);  // a later modification time
    rig_->dir.write("a.mp3", sampleMp3("Other program"));
    rig_->questions.answer("The file has changed on disk", answer.toStdString());
    find<QPushButton>("updateButton")->click();
    QVERIFY(waitIdle());
    QCOMPARE(storedTitle(path), stored.toStdU16String());
    QCOMPARE(line("mT2Title")->text(), answer == QStringLiteral("Cancel") ? QStringLiteral("Mine") : stored);
  }

  void aWindowWithoutEditsOffersToReloadAChangedFile() {
    const std::string path = mp3("a.mp3", "Alpha");
    QVERIFY(open({path}));
    rig_->questions.answer("The file has changed on disk", "Reload");
    QTest::qWait(20);
    rig_->dir.write("a.mp3", sampleMp3("Other program"));
    QTRY_COMPARE(line("mT2Title")->text(), QStringLiteral("Other program"));
    QVERIFY(!rig_->window->isWindowModified());
  }

  void theSaveRunsOffTheMainThread() {
    HeldWriter writer;
    const std::string path = mp3("a.mp3", "Alpha");
    QVERIFY(open({path}, &writer));
    type("mT2Title", QStringLiteral("Omega"));
    find<QPushButton>("updateButton")->click();
    // The worker asks this thread for the window's values first.
    std::future<void> held = writer.held.get_future();
    QVERIFY(QTest::qWaitFor([&held] { return held.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(5);
    QTest::qWait(100);
    QVERIFY2(ticks >= 5, qPrintable(QString::number(ticks)));
    QVERIFY(rig_->window->isBusy() && !rig_->window->centralWidget()->isEnabled() && rig_->window->describe().busy);
    rig_->window->repaint();  // paints while the save is held
    writer.release.set_value();
    QVERIFY(waitIdle());
    QVERIFY(rig_->window->centralWidget()->isEnabled());
    QVERIFY(writer.thread != nullptr && writer.thread != QThread::currentThread());
    QCOMPARE(storedTitle(path), u"Omega");
  }

  // A huge text, control characters, right-to-left text and emoji are shown,
  // warned about where a V1 field cannot hold them, and stored as typed.
  void badInputIsShownAndStored() {
    const std::string path = mp3("a.mp3", "Alpha");
    QVERIFY(open({path}));
    const QString huge(100000, QLatin1Char('x'));
    QApplication::clipboard()->setText(huge);
    QLineEdit* title = line("mT2Title");
    title->selectAll();
    QTest::keySequence(title, QKeySequence::Paste);
    QCOMPARE(title->text().size(), 100000);
    const QString mixed = QStringLiteral("a\tb\u0001 \u05e9\u05dc\u05d5\u05dd \U0001F600");
    type("mT2Artist", mixed);
    type("mT1Title", huge.left(40));
    QVERIFY(find<QAction>("mT1TitleWarningIcon")->isVisible());
    find<QPushButton>("updateButton")->click();
    QVERIFY(waitIdle());
    TrackFile file = openTrackFile(path, kScanQuick);
    QVERIFY(file.opened());
    QCOMPARE(file.track->tagData.title.toU16().size(), 100000u);
    QCOMPARE(file.track->tagData.artist.toU16(), mixed.toStdU16String());
    QCOMPARE(file.track->v1.title, std::string(30, 'x'));
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::TrackWindowTest)
#include "track_window_test.moc"
