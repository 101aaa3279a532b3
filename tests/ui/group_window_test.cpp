// The group window through its controls: filling, edits and undo, the track
// list, and the update run with its questions, cancel and failures.

#include <QAbstractItemModel>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <filesystem>
#include <set>
#include <memory>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "operations/track_writer.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/ui/window_harness.h"
#include "ui/dialog_questions.h"
#include "ui/group_window.h"

namespace melos::test {
namespace {

Bytes mp3(const std::string& title, const std::string& album, const Bytes& picture = {}) {
  Id3v2Builder tag(3);
  tag.text("TIT2", Enc::Latin1, title).text("TPE1", Enc::Latin1, "Tester").text("TALB", Enc::Latin1, album);
  if (!picture.empty()) tag.frame(pictureFrame(Enc::Latin1, "image/png", 3, "", picture));
  return mp3File({tag.padding(64).build(), cbrStream(MpegHeader{}, 40), {}, {}});
}

std::unique_ptr<ID3Tag> reread(const std::string& path) { return openTrackFile(path, kScanQuick).track; }
std::string albumOf(const std::string& path) { return reread(path)->tagData.album.toUtf8(); }

// The engine's writer, except that chosen V2 saves report a failed verification
// after writing.
class UnverifiedWriter : public TrackWriter {
 public:
  int saveV2(ID3Tag& track, bool moveToTrash, int version, bool keepDates, bool trim) override {
    const int result = TrackWriter::saveV2(track, moveToTrash, version, keepDates, trim);
    return unverified.count(track.path()) > 0 && result == 0 ? 7 : result;
  }
  bool rename(ID3Tag& track, const SaveSettings& settings) override {
    return !failRenames && TrackWriter::rename(track, settings);
  }
  std::set<std::string> unverified;
  bool failRenames = false;
};

// Records the tracks the window asks to open on their own.
class RecordingHost : public DocumentHost {
 public:
  std::optional<DocumentKind> frontKind() const override { return DocumentKind::Group; }
  bool frontIsSingleEditWindow() const override { return false; }
  bool addTrackToFrontGroup(const std::string&) override { return false; }
  bool openGroup(const std::vector<std::string>&) override { return false; }
  bool replaceFrontTrack(const std::string&, std::string&) override { return false; }
  bool openSingleTrack(const std::string& path, std::string&) override {
    opened.push_back(path);
    return true;
  }
  std::vector<std::string> opened;
};

}  // namespace

class GroupWindowTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<TempDir> dir_;
  std::unique_ptr<PreferencesController> preferences_;
  ScriptedQuestions questions_;
  RecordingHost host_;
  QPointer<ui::GroupWindow> window_;
  std::vector<std::string> paths_;

  template <typename T>
  T* child(const char* name) {
    T* found = findByName<T>(window_.data(), name);
    if (found == nullptr) qWarning("no control named %s", name);
    return found;
  }

  GroupUpdateOptions quickRun(int pauseMs = 0) {
    GroupUpdateOptions options;
    options.pauseBetweenTracks = std::chrono::milliseconds(pauseMs);
    options.sheetPoll = std::chrono::milliseconds(5);
    options.afterSheet = std::chrono::milliseconds(0);
    return options;
  }

  // A window over tracks titled as given, every one on the album "Album",
  // read to the end.
  bool openGroup(const std::vector<std::string>& titles, const Bytes& picture = {}) {
    for (size_t i = 0; i < titles.size(); ++i)
      paths_.push_back(dir_->write("t" + std::to_string(i) + ".mp3", mp3(titles[i], "Album", picture)));
    window_ = new ui::GroupWindow(questions_, *preferences_, &host_);
    window_->setRunOptions(quickRun());
    window_->show();
    if (!window_->addTracks(paths_)) return false;
    return QTest::qWaitFor([this] { return !window_->loading(); }, 10000);
  }

  void type(const char* field, const QString& text) {
    auto* line = child<QLineEdit>(field);
    QVERIFY(line);
    line->selectAll();
    QTest::keyClicks(line, text);
  }

  void runUpdate() {
    QVERIFY(child<QPushButton>("mUpdateButton")->isEnabled());
    QTest::mouseClick(child<QPushButton>("mUpdateButton"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!window_ || !window_->running(), 10000);
  }

  QString statusOf(int row) {
    auto* list = child<QTableView>("groupTracks");
    return list->model()->index(row, static_cast<int>(TrackColumn::Status)).data().toString();
  }

 private slots:
  void initTestCase() { prepareWindowTests(); }

  void init() {
    dir_ = std::make_unique<TempDir>();
    preferences_ = std::make_unique<PreferencesController>(std::make_unique<MemoryPreferenceStore>(), dir_->path());
    preferences_->setBoolPreferenceNamed(prefs::kCloseWindow.key, false);
    preferences_->setBoolPreferenceNamed(prefs::kMoveToTrash.key, false);
    questions_ = ScriptedQuestions();
    host_.opened.clear();
    paths_.clear();
  }

  void cleanup() {
    delete window_.data();
    QVERIFY2(!questions_.unscripted, "a question came that the test did not expect");
  }

  // With dialogs for questions, the run's questions are sheets over the window,
  // shown by the window's thread while the worker waits for the answer.
  void theRunsQuestionsAreSheetsOverTheWindow() {
    for (size_t i = 0; i < 2; ++i)
      paths_.push_back(dir_->write("s" + std::to_string(i) + ".mp3", mp3("S" + std::to_string(i), "Album")));
    ui::DialogQuestions dialogs;
    window_ = new ui::GroupWindow(dialogs, *preferences_, &host_);
    UnverifiedWriter writer;
    writer.unverified = {paths_[0]};
    window_->setRunOptions(quickRun(), &writer);
    window_->show();
    QVERIFY(window_->addTracks(paths_));
    QTRY_VERIFY(!window_->loading());
    std::vector<QString> seen;
    QTimer answerer;
    connect(&answerer, &QTimer::timeout, this, [&] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (box == nullptr || !box->isVisible()) return;
      seen.push_back(box->text());
      QCOMPARE(box->windowModality(), Qt::WindowModal);
      QCOMPARE(box->parentWidget(), window_.data());
      QCOMPARE(box->thread(), QApplication::instance()->thread());
      box->findChild<QPushButton*>(QStringLiteral("questionButton0"))->click();  // "Yes"
    });
    answerer.start(20);
    type("mT2AlbumField", QStringLiteral("Sheets"));
    runUpdate();
    QCOMPARE(seen, std::vector<QString>{QStringLiteral("Verification of the updated V2 tag failed")});
    QCOMPARE(albumOf(paths_[1]), std::string("Sheets"));  // "Yes" went on to the next track
  }

  void everyFieldHasItsChangeBoxAndTheHelpTexts() {
    QVERIFY(openGroup({"One"}));
    for (size_t field = 0; field < kGroupFieldCount; ++field) {
      const QString label = QString::fromUtf8(changeBoxLabel(static_cast<GroupField>(field)).data());
      const auto boxes = window_->findChildren<QCheckBox*>();
      const auto found = std::find_if(boxes.begin(), boxes.end(), [&](QCheckBox* b) { return b->text() == label; });
      QVERIFY2(found != boxes.end(), qPrintable(label));
      QVERIFY(!(*found)->objectName().isEmpty() && !(*found)->isChecked());
    }
    struct Help {
      const char* name;
      std::string_view text;
    };
    for (const Help& help : {Help{"mT2ReplacePicturesButton", kReplacePicturesHelp},
                             Help{"mCopyV2DetailsButton", kCopyV2DetailsHelp},
                             Help{"mT2ISRCIncrementButton", kIsrcIncrementHelp}})
      QCOMPARE(child<QCheckBox>(help.name)->toolTip().toStdString(), std::string(help.text));
    // Each value's label is its buddy, and names it for assistive tools.
    for (QLabel* label : window_->findChildren<QLabel*>())
      if (label->buddy() != nullptr) QVERIFY(!label->buddy()->accessibleName().isEmpty());
    QVERIFY(child<QCheckBox>("mEnableV2TagButton")->isChecked());
    QVERIFY(!child<QCheckBox>("mEnableV1TagButton")->isChecked());  // these tracks have no V1 tag
  }

  void sharedValuesShowAndDifferingOnesSaySo() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    QCOMPARE(child<QLineEdit>("mT2AlbumField")->text(), QStringLiteral("Album"));
    QCOMPARE(child<QLineEdit>("mT2ArtistField")->text(), QStringLiteral("Tester"));
    auto* title = child<QLineEdit>("mT2TitleField");
    QVERIFY(title->text().isEmpty());
    QCOMPARE(title->placeholderText(), QStringLiteral("(different across tracks)"));
    QVERIFY(child<QLineEdit>("mT2AlbumField")->placeholderText().isEmpty());
    QVERIFY(!window_->isWindowModified());
    QCOMPARE(child<QTableView>("groupTracks")->model()->rowCount(), 3);
    QVERIFY(child<QLabel>("groupTotals")->text().startsWith(QStringLiteral("3 tracks, ")));
  }

  void anEditTicksItsBoxAndUndoPutsItBack() {
    QVERIFY(openGroup({"One", "Two"}));
    type("mT2TitleField", QStringLiteral("Same"));
    QVERIFY(child<QCheckBox>("mT2TitleButton")->isChecked());
    QVERIFY(window_->isWindowModified() && window_->describe().dirty);
    QCOMPARE(window_->undoStack()->count(), 1);  // the typing is one command
    // Ctrl+Z in the field is the window's, not the field's own undo.
    QTest::keyClick(child<QLineEdit>("mT2TitleField"), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(child<QLineEdit>("mT2TitleField")->text(), QStringLiteral("Same"));
    QCOMPARE(window_->undoStack()->count(), 1);
    window_->undoStack()->undo();
    QVERIFY(child<QLineEdit>("mT2TitleField")->text().isEmpty());
    QCOMPARE(child<QLineEdit>("mT2TitleField")->placeholderText(), QStringLiteral("(different across tracks)"));
    QVERIFY(!child<QCheckBox>("mT2TitleButton")->isChecked());
    QVERIFY(!window_->isWindowModified() && !window_->describe().dirty);
    window_->undoStack()->redo();
    QCOMPARE(child<QLineEdit>("mT2TitleField")->text(), QStringLiteral("Same"));
    QVERIFY(child<QCheckBox>("mT2TitleButton")->isChecked());
  }

  void theRunWritesTheCheckedFieldsAndNothingElse_data() {
    QTest::addColumn<bool>("edit");
    QTest::newRow("an album typed") << true;
    QTest::newRow("nothing changed writes no file") << false;
  }

  void theRunWritesTheCheckedFieldsAndNothingElse() {
    QFETCH(bool, edit);
    QVERIFY(openGroup({"One", "Two", "Three"}));
    std::vector<Bytes> before;
    for (const std::string& path : paths_) before.push_back(readFile(path));
    if (edit) type("mT2AlbumField", QStringLiteral("New album"));
    runUpdate();
    for (size_t i = 0; i < paths_.size(); ++i) {
      if (!edit) {
        QVERIFY(readFile(paths_[i]) == before[i]);
        continue;
      }
      QCOMPARE(albumOf(paths_[i]), std::string("New album"));
      QVERIFY(reread(paths_[i])->tagData.title.toUtf8() != "");  // the titles stay each track's own
    }
    QCOMPARE(reread(paths_[1])->tagData.title.toUtf8(), std::string("Two"));
    QVERIFY(!window_->isWindowModified());
    QTRY_VERIFY(!window_->loading());  // rebuilt from the files, keeping what the run did
    QCOMPARE(statusOf(0), edit ? QStringLiteral("Written") : QStringLiteral("Passed over"));
    QCOMPARE(child<QLineEdit>("mT2AlbumField")->text(), edit ? QStringLiteral("New album") : QStringLiteral("Album"));
    QVERIFY(!child<QCheckBox>("mT2AlbumButton")->isChecked());
  }

  void theIsrcGoesUpByOneForEachTrack() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    QTest::mouseClick(child<QCheckBox>("mT2ISRCIncrementButton"), Qt::LeftButton);
    type("mT2ISRCField", QStringLiteral("CCXXX1500729"));
    runUpdate();
    const char* expected[] = {"CCXXX1500729", "CCXXX1500730", "CCXXX1500731"};
    for (size_t i = 0; i < 3; ++i) QCOMPARE(reread(paths_[i])->tagData.isrc, std::string(expected[i]));
  }

  void aFailedVerificationAsksToContinueOrOnTheLastTrackToIgnore() {
    QVERIFY(openGroup({"One", "Two"}));
    UnverifiedWriter writer;
    writer.unverified = {paths_[0], paths_[1]};
    window_->setRunOptions(quickRun(), &writer);
    questions_.answer("Verification of the updated V2 tag failed", "Yes");
    type("mT2AlbumField", QStringLiteral("Checked"));
    runUpdate();
    QCOMPARE(questions_.asked.size(), size_t{2});
    const auto endsWith = [this](size_t question, const char* end) {
      return QString::fromStdString(questions_.asked[question].message).endsWith(QLatin1String(end));
    };
    QVERIFY(endsWith(0, "Would you like to continue?"));
    QVERIFY(endsWith(1, "Would you like to ignore this?"));
    QCOMPARE(questions_.asked[1].buttons, (std::vector<std::string>{"Yes", "No"}));
  }

  void theOtherAnswersOfTheRun_data() {
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("secondWritten");
    QTest::addColumn<QString>("told");
    QTest::newRow("verification declined stops the run")
        << "Verification of the updated V2 tag failed" << "No" << false << "";
    QTest::newRow("a failed rename is told and the run goes on")
        << "" << "" << true << "Failed to change the file name";
  }

  void theOtherAnswersOfTheRun() {
    QFETCH(QString, question);
    QFETCH(QString, answer);
    QFETCH(bool, secondWritten);
    QFETCH(QString, told);
    QVERIFY(openGroup({"One", "Two"}));
    UnverifiedWriter writer;
    if (question.isEmpty()) {
      writer.failRenames = true;
      preferences_->setBoolPreferenceNamed(prefs::kRenameUpdate.key, true);
    } else {
      writer.unverified = {paths_[0]};
      questions_.answer(question.toStdString(), answer.toStdString());
    }
    window_->setRunOptions(quickRun(), &writer);
    type("mT2AlbumField", QStringLiteral("Answered"));
    runUpdate();
    QCOMPARE(albumOf(paths_[1]) == "Answered", secondWritten);
    QTRY_VERIFY(!window_->loading());
    QCOMPARE(statusOf(0), secondWritten ? QStringLiteral("Written") : QStringLiteral("Failed"));
    QCOMPARE(window_->isWindowModified(), !secondWritten);  // a failed run keeps the edits
    if (told.isEmpty()) return;
    const auto toldAlert = std::find_if(questions_.asked.begin(), questions_.asked.end(),
                                        [&](const auto& asked) { return asked.title == told.toStdString(); });
    QVERIFY(toldAlert != questions_.asked.end());
    QCOMPARE(toldAlert->buttons, std::vector<std::string>{"OK"});
  }

  void aWindowDeletedDuringARunWaitsForTheTrackBeingWritten() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    window_->setRunOptions(quickRun(200));
    const Bytes lastBefore = readFile(paths_[2]);
    type("mT2AlbumField", QStringLiteral("Interrupted"));
    QTest::mouseClick(child<QPushButton>("mUpdateButton"), Qt::LeftButton);
    QTRY_COMPARE(statusOf(0), QStringLiteral("Written"));
    delete window_.data();  // must neither hang nor crash
    QCOMPARE(albumOf(paths_[0]), std::string("Interrupted"));
    QVERIFY(readFile(paths_[2]) == lastBefore);
  }

  void answeringNoToCancelLetsTheRunFinish() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    window_->setRunOptions(quickRun(100));
    type("mT2AlbumField", QStringLiteral("All of them"));
    QTest::mouseClick(child<QPushButton>("mUpdateButton"), Qt::LeftButton);
    questions_.answer("Do you want to cancel?", "No");
    window_->close();
    QVERIFY(window_ && window_->running());
    QTRY_VERIFY_WITH_TIMEOUT(!window_->running(), 10000);
    for (const std::string& path : paths_) QCOMPARE(albumOf(path), std::string("All of them"));
    QVERIFY(window_->isVisible());
  }

  void cancellingMidRunLeavesTheRestUntouchedAndClosesAfterIt() {
    QVERIFY(openGroup({"One", "Two", "Three", "Four"}));
    window_->setRunOptions(quickRun(300));
    const Bytes lastBefore = readFile(paths_[3]);
    type("mT2AlbumField", QStringLiteral("Partly"));
    QTest::mouseClick(child<QPushButton>("mUpdateButton"), Qt::LeftButton);
    QVERIFY(window_->running());
    QVERIFY(!child<QWidget>("groupTabs")->isEnabled());
    QCOMPARE(child<QLabel>("mUpdatingTextField")->text(), QStringLiteral("Updating..."));
    QCOMPARE(child<QProgressBar>("mUpdateProgressIndicator")->maximum(), 4);
    QTRY_COMPARE(statusOf(0), QStringLiteral("Written"));
    questions_.answer("Do you want to cancel?", "Yes");
    QTest::mouseClick(child<QPushButton>("mCancelButton"), Qt::LeftButton);
    QCOMPARE(questions_.asked.back().title, std::string("Do you want to cancel?"));
    QCOMPARE(questions_.asked.back().buttons, (std::vector<std::string>{"No", "Yes"}));  // "No" the default
    QTRY_VERIFY_WITH_TIMEOUT(window_.isNull(), 10000);
    QCOMPARE(albumOf(paths_[0]), std::string("Partly"));
    QVERIFY(readFile(paths_[3]) == lastBefore);
  }

  void closingWithChangesAsksToSave() {
    QVERIFY(openGroup({"One"}));
    type("mT2AlbumField", QStringLiteral("Kept?"));
    questions_.answer("Do you want to save changes?", "Cancel");
    window_->close();
    QVERIFY(window_ && window_->isVisible());
    questions_.answer("Do you want to save changes?", "Save");
    window_->close();
    QTRY_VERIFY_WITH_TIMEOUT(window_.isNull(), 10000);
    QCOMPARE(albumOf(paths_[0]), std::string("Kept?"));
  }

  void removingThePictureAsksOnceAboutTheTracksPictures_data() {
    QTest::addColumn<QString>("answer");
    QTest::newRow("yes: every picture goes") << "Yes";
    QTest::newRow("no: the tracks keep theirs") << "No";
  }

  void removingThePictureAsksOnceAboutTheTracksPictures() {
    QFETCH(QString, answer);
    QVERIFY(openGroup({"One", "Two"}, pngBytes(40)));
    questions_.answer("Remove existing images", answer.toStdString());
    QTest::mouseClick(child<QPushButton>("mT2RemovePictureButton"), Qt::LeftButton);
    QVERIFY(child<QCheckBox>("mT2PictureButton")->isChecked());
    QCOMPARE(child<QCheckBox>("mT2ReplacePicturesButton")->isChecked(), answer == QLatin1String("Yes"));
    QTest::mouseClick(child<QPushButton>("mT2RemovePictureButton"), Qt::LeftButton);
    QCOMPARE(questions_.asked.size(), size_t{1});
    runUpdate();
    for (const std::string& path : paths_)
      QCOMPARE(reread(path)->tagData.picdata.size(), answer == QLatin1String("Yes") ? size_t{0} : size_t{1});
  }

  void anAddedPictureGoesOnEveryTrack() {
    QVERIFY(openGroup({"One", "Two"}));
    const Bytes cover = imageBytes(8, 6);
    const std::string picture = dir_->write("cover.png", cover);
    window_->setPictureChooser([&](QWidget*) { return QString::fromStdString(picture); });
    QTest::mouseClick(child<QPushButton>("mT2AddPictureButton"), Qt::LeftButton);
    QVERIFY(child<QCheckBox>("mT2PictureButton")->isChecked());
    QVERIFY(window_->isWindowModified());
    // Its type and description, as every track gets them.
    child<QComboBox>("mT2PictureType")->setCurrentIndex(4);
    emit child<QComboBox>("mT2PictureType")->activated(4);
    QTest::keyClicks(child<QLineEdit>("mT2PictureDescription"), QStringLiteral("sleeve"));
    const std::string notPicture = dir_->write("notes.png", Bytes{'n', 'o', 't', 'e', 's'});
    window_->setPictureChooser([&](QWidget*) { return QString::fromStdString(notPicture); });
    QTest::mouseClick(child<QPushButton>("mT2AddPictureButton"), Qt::LeftButton);
    QCOMPARE(questions_.asked.back().title, std::string("Add picture failed"));
    runUpdate();
    for (const std::string& path : paths_) {
      const auto track = reread(path);
      QCOMPARE(track->tagData.picdata.size(), size_t{1});
      QVERIFY(track->tagData.picdata[0].data == cover);
      QCOMPARE(track->tagData.picdata[0].pictureType, uint8_t{4});
      QCOMPARE(track->tagData.picdata[0].description.toU16(), u"sleeve");
    }
  }

  void dontSaveClosesWithoutWriting() {
    QVERIFY(openGroup({"One"}));
    const Bytes before = readFile(paths_[0]);
    type("mT2AlbumField", QStringLiteral("Dropped"));
    questions_.answer("Do you want to save changes?", "Don't save");
    window_->close();
    QTRY_VERIFY(window_.isNull());
    QVERIFY(readFile(paths_[0]) == before);
  }

  void deleteAfterSortingRemovesTheTrackShown() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    auto* list = child<QTableView>("groupTracks");
    list->sortByColumn(static_cast<int>(TrackColumn::Title), Qt::DescendingOrder);  // Two, Three, One
    const QModelIndex first = list->model()->index(0, static_cast<int>(TrackColumn::Title));
    QTRY_COMPARE(first.data().toString(), QStringLiteral("Two"));
    list->setFocus();
    list->selectRow(0);
    QTest::keyClick(list, Qt::Key_Delete);
    QCOMPARE(window_->trackCount(), size_t{2});
    for (const auto& track : window_->model().tracks()) QVERIFY(track->path() != paths_[1]);
  }

  void deleteRemovesRowsFromTheGroupNotTheDisk() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    auto* list = child<QTableView>("groupTracks");
    list->setFocus();
    list->selectRow(0);
    QTest::keyClick(list, Qt::Key_Delete);
    QCOMPARE(window_->trackCount(), size_t{2});
    QCOMPARE(list->model()->rowCount(), 2);
    QVERIFY(child<QLabel>("groupTotals")->text().startsWith(QStringLiteral("2 tracks, ")));
    QVERIFY(std::filesystem::exists(paths_[0]));
    type("mT2AlbumField", QStringLiteral("Two left"));
    runUpdate();
    QCOMPARE(albumOf(paths_[0]), std::string("Album"));
    QCOMPARE(albumOf(paths_[2]), std::string("Two left"));
  }

  void doubleClickOpensTheTrackOnItsOwn() {
    QVERIFY(openGroup({"One", "Two"}));
    auto* list = child<QTableView>("groupTracks");
    const QModelIndex second = list->model()->index(1, 0);
    const QPoint at = list->visualRect(second).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
    QCOMPARE(host_.opened, std::vector<std::string>{paths_[1]});
  }

  void aChangeOnDiskAfterLoadingSurvivesTheRun() {
    QVERIFY(openGroup({"One", "Two"}));
    // Another program retitles the second track after the group read it.
    dir_->write("t1.mp3", mp3("Retitled elsewhere", "Album"));
    type("mT2AlbumField", QStringLiteral("Ours"));
    runUpdate();
    QCOMPARE(reread(paths_[1])->tagData.title.toUtf8(), std::string("Retitled elsewhere"));
    QCOMPARE(albumOf(paths_[1]), std::string("Ours"));
  }

  void brokenTracksAreToldOnceAndTheRestLoad() {
    for (int i = 0; i < 1000; ++i) {
      const std::string name = "b" + std::to_string(i) + ".mp3";
      paths_.push_back(i % 2 == 0 ? dir_->write(name, Bytes{'b', 'a', 'd'}) : dir_->write(name, mp3("Good", "A")));
    }
    paths_.push_back(dir_->path() + "/vanished.mp3");
    window_ = new ui::GroupWindow(questions_, *preferences_, &host_);
    window_->show();
    QVERIFY(window_->addTracks(paths_));
    QTRY_VERIFY_WITH_TIMEOUT(!window_->loading(), 10000);
    QCOMPARE(window_->trackCount(), size_t{500});
    QCOMPARE(questions_.asked.size(), size_t{1});
    QCOMPARE(questions_.asked[0].title, std::string("Open failed"));
    QVERIFY(QString::fromStdString(questions_.asked[0].message).endsWith(QStringLiteral("(And others)")));
  }

  void aFolderThatDisappearsWhileLoadingLeavesWhatWasRead() {
    const std::string folder = dir_->path() + "/going";
    std::filesystem::create_directory(folder);
    for (int i = 0; i < 400; ++i) paths_.push_back(dir_->write("going/" + std::to_string(i) + ".mp3", mp3("G", "A")));
    window_ = new ui::GroupWindow(questions_, *preferences_, &host_);
    window_->setLoadJobs(1);
    window_->show();
    QVERIFY(window_->addTracks(paths_));
    std::filesystem::remove_all(folder);
    QTRY_VERIFY_WITH_TIMEOUT(!window_ || !window_->loading(), 10000);
    QVERIFY(questions_.asked.size() <= 1);  // the lost tracks told at most once
    if (window_ && window_->trackCount() < paths_.size()) {
      QCOMPARE(questions_.asked.size(), size_t{1});
      QCOMPARE(questions_.asked[0].title, std::string("Open failed"));
    }
  }

  void aTrackDeletedBeforeTheRunReachesItIsReported() {
    QVERIFY(openGroup({"One", "Two", "Three"}));
    std::filesystem::remove(paths_[1]);
    type("mT2AlbumField", QStringLiteral("After"));
    runUpdate();
    QCOMPARE(albumOf(paths_[0]), std::string("After"));
    QCOMPARE(statusOf(1), QStringLiteral("Failed"));
    QCOMPARE(albumOf(paths_[2]), std::string("Album"));  // the run stops at the failure
    QCOMPARE(questions_.asked.back().title, std::string("Failed to update the tags"));
    QVERIFY(window_->isWindowModified());  // the edits stay for another try
  }

  void pasteAndClearEditTheFieldsTheyChange() {
    QVERIFY(openGroup({"One", "Two"}));
    ID3Tag copied;
    copied.tagData.album = UnicodeText::latin1("Pasted");
    copied.tagData.artist = UnicodeText::latin1("Tester");
    window_->setTagData(copied, false);
    QCOMPARE(child<QLineEdit>("mT2AlbumField")->text(), QStringLiteral("Pasted"));
    QVERIFY(child<QCheckBox>("mT2AlbumButton")->isChecked());
    QVERIFY(!child<QCheckBox>("mT2ArtistButton")->isChecked());  // already that value
    QVERIFY(child<QCheckBox>("mT2TitleButton")->isChecked());    // differed: now one (empty) title
    QCOMPARE(window_->tagForCopy()->tagData.album.toUtf8(), std::string("Pasted"));
    window_->clearTagData();
    QVERIFY(child<QLineEdit>("mT2ArtistField")->text().isEmpty());
    QVERIFY(child<QCheckBox>("mT2ArtistButton")->isChecked());
    QCOMPARE(window_->undoStack()->count(), 2);
  }

  void theGenreListFollowsThePreferences() {
    QVERIFY(openGroup({"One"}));
    auto* genre = child<QComboBox>("mT2GenreField");
    const int before = genre->count();
    std::vector<std::string> user = preferences_->getUserGenreList();
    user.push_back("Zydeco revival");
    preferences_->setUserGenreList(user);
    window_->preferencesChanged();
    QCOMPARE(genre->count(), before + 1);
    QVERIFY(genre->findText(QStringLiteral("Zydeco revival")) >= 0);
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::GroupWindowTest)
#include "group_window_test.moc"
