// Through the editor window: the stars write the rate bytes of the popularity
// frame and undo takes them back, and a save with "Set file icon" on leaves
// the cover where file managers look for it, under the name the file ends
// with, while a thumbnail that cannot be written costs the save nothing.

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardPaths>
#include <QUndoStack>
#include <QUrl>
#include <memory>
#include <sys/stat.h>

#include "engine/log.h"
#include "engine/open_track.h"
#include "operations/rating.h"
#include "operations/track_file.h"
#include "preferences/preference_keys.h"
#include "tests/support/id3v2_builder.h"
#include "tests/support/log_capture.h"
#include "tests/support/mp3_file_builder.h"
#include "tests/support/mpeg_builder.h"
#include "tests/ui/window_harness.h"
#include "ui/star_rating.h"
#include "ui/track_window.h"

namespace melos::test {
namespace {


// The URI as a file manager spells it for the lookup: file:// and the
// absolute path with every byte but the unreserved ones and '/' escaped.
QByteArray managerUri(const QString& path) {
  return "file://" + QFileInfo(path).absoluteFilePath().toUtf8().toPercentEncoding("/");
}

int64_t fileMTime(const QString& path) {
  struct stat st {};
  return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? static_cast<int64_t>(st.st_mtime) : -1;
}

}  // namespace

class RatingAndIconTest : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<EditorRig> rig_;
  QString cache_;

  std::string track(const std::string& name, std::vector<Id3Frame> frames) {
    Id3v2Builder tag(3);
    tag.text("TIT2", Enc::Latin1, "Cover Song").text("TPE1", Enc::Latin1, "Tester");
    for (Id3Frame& frame : frames) tag.frame(std::move(frame));
    return rig_->dir.write(name, mp3File({tag.padding(64).build(), cbrStream(MpegHeader{}, 40), {}, {}}));
  }
  bool open(const std::string& path) { return rig_->open({path}) != nullptr; }
  bool save() {
    findByName<QPushButton>(rig_->window.get(), "updateButton")->click();
    return rig_->waitIdle();
  }
  ui::StarRating* stars() { return findByName<ui::StarRating>(rig_->window.get(), "mT2Rating"); }
  void clickStar(int star) {
    const int width = stars()->sizeHint().width() / kMaxStars;
    QTest::mouseClick(stars(), Qt::LeftButton, {}, QPoint(width * star - width / 2, stars()->height() / 2));
  }
  static TrackFile reread(const std::string& path) { return openTrackFile(path, kScanQuick); }
  QString thumbnail(const char* size, const QString& file) const {
    const QByteArray md5 = QCryptographicHash::hash(managerUri(file), QCryptographicHash::Md5).toHex();
    return cache_ + QStringLiteral("/thumbnails/") + QLatin1String(size) + QLatin1Char('/') + QLatin1String(md5) +
           QStringLiteral(".png");
  }
  QStringList thumbnailsWritten() const {
    QStringList found;
    for (const char* size : {"normal", "large"}) {
      const QDir folder(cache_ + QStringLiteral("/thumbnails/") + QLatin1String(size));
      for (const QString& name : folder.entryList(QDir::Files)) found << QLatin1String(size) + QLatin1Char('/') + name;
    }
    return found;
  }

 private slots:
  void initTestCase() {
    prepareWindowTests();
    // The cache is found as the desktop finds it, through XDG_CACHE_HOME,
    // which Qt's test mode would put aside.
    QStandardPaths::setTestModeEnabled(false);
  }
  void init() {
    rig_ = std::make_unique<EditorRig>();
    cache_ = QString::fromStdString(rig_->dir.file("cache"));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(cache_));
  }
  void cleanup() {
    rig_->window.reset();
    qunsetenv("XDG_CACHE_HOME");
    QVERIFY2(!rig_->unscripted(), rig_->questions.asked.empty() ? "" : rig_->questions.asked.back().title.c_str());
  }

  void starsSetTheRateBytesAndUndoTakesThemBack() {
    const std::string path = track("rated.mp3", {popularityFrame("someone@example.org", 196, 7)});
    QVERIFY(open(path));
    QCOMPARE(stars()->stars(), 4);
    QCOMPARE(rig_->window->values().rating, 196);
    // star: a click on that star; key: a key instead; undo: the last step undone.
    // changed: the window differs from the file (an undo can come back to it).
    const struct { int star; int key; bool undo; int stars; int rate; bool changed; } steps[] = {
        {2, 0, false, 2, 64, true},   {0, 0, true, 4, 196, false},           {5, 0, false, 5, 255, true},
        {5, 0, false, 0, 0, true},    {0, 0, true, 5, 255, true},            {1, 0, false, 1, 1, true},
        {0, Qt::Key_3, false, 3, 128, true}, {0, Qt::Key_Right, false, 4, 196, true}, {0, 0, true, 3, 128, true},
    };
    for (const auto& step : steps) {
      const QString what = QStringLiteral("star %1, key %2, undo %3").arg(step.star).arg(step.key).arg(step.undo);
      if (step.undo) rig_->window->undoStack()->undo();
      else if (step.key != 0) QTest::keyClick(stars(), static_cast<Qt::Key>(step.key));
      else clickStar(step.star);
      QVERIFY2(stars()->stars() == step.stars, qPrintable(what));
      QVERIFY2(rig_->window->values().rating == step.rate, qPrintable(what));
      // An edit marks the V2 tag changed, and the window with it.
      QVERIFY2(rig_->window->isWindowModified() == step.changed && rig_->window->track().v2Changed == step.changed,
               qPrintable(what));
    }
    QVERIFY(save());
    TrackFile saved = reread(path);
    QVERIFY(saved.opened());
    QCOMPARE(saved.track->tagData.popularity.rate, 128);
    QCOMPARE(saved.track->tagData.popularity.email, std::string("someone@example.org"));
    QCOMPARE(stars()->stars(), 3);
    QVERIFY(!rig_->window->isWindowModified());
  }

  void noStarsWriteNoPopularityFrame() {
    const std::string path = track("unrated.mp3", {popularityFrame("someone@example.org", 64)});
    QVERIFY(open(path));
    clickStar(2);  // the lit star: all go out
    QCOMPARE(rig_->window->values().rating, 0);
    QVERIFY(save());
    const Bytes bytes = readFile(path);
    const std::string text(bytes.begin(), bytes.end());
    QVERIFY2(text.find("POPM") == std::string::npos, "a popularity frame was written for no stars");
    QCOMPARE(reread(path).track->tagData.popularity.rate, 0);
  }

  void aSaveLeavesTheCoverForFileManagers_data() {
    QTest::addColumn<int>("setIcon");       // the preference
    QTest::addColumn<QString>("picture");   // "cover", "broken" or "none"
    QTest::addColumn<bool>("cacheBlocked");  // the cache folder's place is a file
    QTest::addColumn<bool>("rename");
    QTest::addColumn<bool>("written");
    QTest::addColumn<QString>("logged");
    QTest::newRow("on") << 1 << "cover" << false << false << true << "";
    QTest::newRow("off") << 0 << "cover" << false << false << false << "";
    QTest::newRow("on, no picture") << 1 << "none" << false << false << false << "";
    QTest::newRow("renamed by the save") << 1 << "cover" << false << true << true << "";
    QTest::newRow("picture not an image") << 1 << "broken" << false << false << false
                                          << "Failed to create the image for the icon for track";
    QTest::newRow("cache not writable") << 1 << "cover" << true << false << false
                                        << "Failed to set the icon for track";
  }

  void aSaveLeavesTheCoverForFileManagers() {
    QFETCH(int, setIcon);
    QFETCH(QString, picture);
    QFETCH(bool, cacheBlocked);
    QFETCH(bool, rename);
    QFETCH(bool, written);
    QFETCH(QString, logged);
    rig_->preferences.setIntPreferenceNamed(prefs::kSetFileIcon.key, setIcon);
    rig_->preferences.setBoolPreferenceNamed(prefs::kRenameUpdate.key, rename);
    std::vector<Id3Frame> frames;
    const Bytes cover = imageBytes(300, 150);
    if (picture == QStringLiteral("cover")) frames.push_back(pictureFrame(Enc::Latin1, "image/png", 3, "", cover));
    // A PNG's start without the rest of it.
    if (picture == QStringLiteral("broken"))
      frames.push_back(pictureFrame(Enc::Latin1, "image/png", 3, "", Bytes(cover.begin(), cover.begin() + 40)));
    const std::string path = track("01 old name.mp3", std::move(frames));
    if (cacheBlocked) rig_->dir.write("cache", Bytes{'f', 'i', 'l', 'e'});
    QVERIFY(open(path));
    QCOMPARE(rig_->window->values().pictures->size(), picture == QStringLiteral("none") ? 0u : 1u);
    QTest::keyClicks(findByName<QLineEdit>(rig_->window.get(), "mT2Album"), QStringLiteral("Saved"));
    LogCapture log;
    QVERIFY(save());
    // The save itself went through, whatever became of the thumbnails.
    const QString saved = QFile::decodeName(QByteArray::fromStdString(rig_->window->track().path()));
    QVERIFY(QFileInfo::exists(saved));
    QCOMPARE(reread(saved.toStdString()).track->tagData.album.toU16(), u"Saved");
    QVERIFY(rig_->questions.asked.empty());
    QVERIFY(!rig_->window->isWindowModified());
    QCOMPARE(saved != QString::fromStdString(path), rename);
    QVERIFY2(logged.isEmpty() || log.has(LogError, logged.toStdString()), log.dump().c_str());
    if (!written) {
      QCOMPARE(thumbnailsWritten(), QStringList());
      return;
    }
    QCOMPARE(thumbnailsWritten().size(), 2);
    for (const auto& [size, pixels] : {std::pair{"normal", QSize(128, 64)}, {"large", QSize(256, 128)}}) {
      const QString file = thumbnail(size, saved);
      QVERIFY2(QFileInfo::exists(file), qPrintable(file));
      QImageReader reader(file);
      const QImage image = reader.read();
      QCOMPARE(image.size(), pixels);
      // What a file manager compares before it takes a thumbnail as current.
      QCOMPARE(image.text(QStringLiteral("Thumb::URI")).toLatin1(), managerUri(saved));
      QCOMPARE(image.text(QStringLiteral("Thumb::MTime")).toLongLong(), fileMTime(saved));
      QCOMPARE(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    }
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::RatingAndIconTest)
#include "rating_and_icon_test.moc"
