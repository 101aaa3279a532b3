// Saved tracks' covers as freedesktop.org thumbnails that file managers take
// as current: named by the MD5 of the file's URI, carrying its URI and
// modification time, at most 128 and 256 pixels, private to the user.

#include <QCryptographicHash>
#include <QFileInfo>
#include <QImageReader>

#include "tests/ui/window_harness.h"
#include "ui/file_thumbnail.h"

namespace melos::test {

class FileThumbnailTest : public QObject {
  Q_OBJECT

  TempDir dir_;


 private slots:
  void initTestCase() { prepareWindowTests(); }

  void aCoverBecomesBothThumbnails_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("uriEnd");
    QTest::addColumn<int>("width");
    QTest::addColumn<QSize>("normal");
    QTest::addColumn<QSize>("large");
    QTest::newRow("a large cover") << "a.mp3" << "/a.mp3" << 600 << QSize(128, 64) << QSize(256, 128);
    QTest::newRow("a small one, not enlarged") << "b.mp3" << "/b.mp3" << 100 << QSize(100, 50) << QSize(100, 50);
    QTest::newRow("a name to encode") << "Été 1.mp3" << "/%C3%89t%C3%A9%201.mp3" << 300 << QSize(128, 64)
                                      << QSize(256, 128);
  }

  void aCoverBecomesBothThumbnails() {
    QFETCH(QString, name);
    QFETCH(QString, uriEnd);
    QFETCH(int, width);
    QFETCH(QSize, normal);
    QFETCH(QSize, large);
    const QString track = QString::fromStdString(dir_.write(name.toStdString(), Bytes{1, 2, 3}));
    const QString cache = QString::fromStdString(dir_.file("cache"));
    QCOMPARE(ui::writeFileThumbnails(track, imageBytes(width, width / 2), cache), IconResult::Set);
    const QByteArray uri = "file://" + QFileInfo(QString::fromStdString(dir_.path())).absoluteFilePath().toUtf8() +
                           uriEnd.toLatin1();
    const QString md5 = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex());
    for (const auto& [folder, size] : {std::pair{QStringLiteral("normal"), normal}, {QStringLiteral("large"), large}}) {
      const QString path = cache + QLatin1Char('/') + folder + QLatin1Char('/') + md5 + QStringLiteral(".png");
      QImageReader reader(path);
      const QImage thumbnail = reader.read();
      QVERIFY2(!thumbnail.isNull(), qPrintable(path));
      QCOMPARE(thumbnail.size(), size);
      QCOMPARE(thumbnail.text(QStringLiteral("Thumb::URI")).toLatin1(), uri);
      QCOMPARE(thumbnail.text(QStringLiteral("Thumb::MTime")).toLongLong(),
               QFileInfo(track).lastModified().toSecsSinceEpoch());
      // Nothing for the group or others.
      QCOMPARE(QFileInfo(path).permissions() & 0x0FFF, QFileDevice::ReadUser | QFileDevice::WriteUser);
    }
  }

  void failuresAreTold() {
    const QString track = QString::fromStdString(dir_.write("c.mp3", Bytes{1, 2, 3}));
    QCOMPARE(ui::writeFileThumbnails(track, Bytes{'n', 'o', 't'}, QString::fromStdString(dir_.file("cache"))),
             IconResult::ImageFailed);
    // A cache folder that cannot be made: its parent is a file.
    QCOMPARE(ui::writeFileThumbnails(track, imageBytes(8, 8), track + QStringLiteral("/cache")), IconResult::SetFailed);
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::FileThumbnailTest)
#include "file_thumbnail_test.moc"
