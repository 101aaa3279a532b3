// The picture well with Qt's decoders and libpng: conversion to interlaced PNG,
// files and data dropped or pasted, pictures given out as files, and input
// that must not make it read or decode without bound.

#include <QBuffer>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QFile>
#include <QGuiApplication>
#include <QImageWriter>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QUrl>
#include <fstream>

#include "tests/ui/window_harness.h"
#include "ui/drag_image_view.h"

namespace melos::test {
namespace {

Bytes fromHex(const char* hex) {
  const QByteArray bytes = QByteArray::fromHex(hex);
  return Bytes(bytes.begin(), bytes.end());
}

// 4 x 2 pixels, a palette of red, green, blue and white; LZW with a clear code
// every two pixels, so the codes stay 3 bits wide.
const Bytes kGif = fromHex(
    "474946383961" "04000200" "f10000"         // GIF89a, 4 x 2, global palette of 4
    "ff0000" "00ff00" "0000ff" "ffffff"        // the palette
    "2c" "00000000" "04000200" "00"            // image at 0,0, 4 x 2, no local palette
    "02" "05" "44a8716250" "00" "3b");         // code size 2, one block of 5 bytes, trailer
// 2 x 2 RGB pixels, big-endian ("MM"), uncompressed, one strip.
const Bytes kTiff = fromHex(
    "4d4d002a" "00000008" "0009"                                   // header, IFD at 8, 9 entries
    "010000030000000100020000" "010100030000000100020000"          // width 2, height 2
    "01020003000000030000007a" "010300030000000100010000"          // bits per sample at 122, no compression
    "010600030000000100020000" "011100040000000100000080"          // RGB, strip at 128
    "011500030000000100030000" "011600030000000100020000"          // 3 samples, 2 rows per strip
    "01170004000000010000000c" "00000000"                          // 12 strip bytes, no next IFD
    "000800080008" "ff000000ff000000ffffffff");                    // 8,8,8; the pixels

Bytes encoded(const QImage& image, const char* format, int quality = -1) {
  QByteArray out;
  QBuffer buffer(&out);
  buffer.open(QIODevice::WriteOnly);
  QImageWriter writer(&buffer, format);
  writer.setQuality(quality);
  writer.write(image);
  return Bytes(out.begin(), out.end());
}

QImage filled(int width, QColor colour) {
  QImage image(width, width, QImage::Format_RGB32);
  image.fill(colour);
  return image;
}

// Resident memory in KiB; Linux lets the peak be reset, so one step's own
// peak is seen.
long statusKilobytes(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind(field, 0) == 0) return std::stol(line.substr(std::string(field).size()));
  return -1;
}

}  // namespace

class PictureWellViewTest : public QObject {
  Q_OBJECT

  TempDir dir_;

  QUrl file(const char* name, const Bytes& bytes) { return QUrl::fromLocalFile(QString::fromStdString(dir_.write(name, bytes))); }

 private slots:
  void initTestCase() { prepareWindowTests(); }

  void tiffAndGifBecomeInterlacedPngOfTheSamePixels() {
    for (const Bytes& original : {kGif, kTiff}) {
      ScriptedQuestions questions;
      questions.answer("Would you like to convert the image to PNG?", "Yes");
      ui::DragImageView well;
      well.setAskUserForImageConversion(true);
      well.setConversionQuestions(&questions);
      QSignalSpy changed(&well, &ui::DragImageView::didChange);
      QVERIFY(well.setImageWithData(original, true));
      QVERIFY(questions.asked.size() == 1 && changed.count() == 1 && well.getImageType() == QStringLiteral("png"));
      // IHDR follows the 8-byte signature; its interlace method is its last byte.
      const Bytes& png = well.getImageData();
      QVERIFY(png.size() > 28 && png[12] == 'I' && png[15] == 'R' && png[28] == 1);
      const QImage before = ui::QtImageCodec::decode(original).convertToFormat(QImage::Format_RGB32);
      QVERIFY(!before.isNull() && before.pixel(0, 0) == qRgb(255, 0, 0));
      QCOMPARE(ui::QtImageCodec::decode(png).convertToFormat(QImage::Format_RGB32), before);
    }
  }

  void badInputIsRefusedWithinBounds() {
    // Cut in the middle of its scan: shown as far as it goes.
    QImage photo(256, 256, QImage::Format_RGB32);
    for (int y = 0; y < 256; ++y)
      for (int x = 0; x < 256; ++x) photo.setPixel(x, y, qRgb(x, y, x ^ y));
    const Bytes jpeg = encoded(photo, "jpeg");
    // 4096 x 4096 pixels of noise, stored without compression: 48 MiB.
    QImage noise(4096, 4096, QImage::Format_RGB888);
    for (int y = 0; y < noise.height(); ++y)
      QRandomGenerator(static_cast<quint32>(y)).fillRange(reinterpret_cast<quint32*>(noise.scanLine(y)),
                                                          noise.bytesPerLine() / 4);
    Bytes hugeGif = kGif;  // the screen and the image claim 65,535 x 65,535, the most a GIF can
    for (size_t at : {6, 7, 8, 9, 30, 31, 32, 33}) hugeGif[at] = 0xFF;
    const struct {
      const char* name;
      Bytes bytes;
      bool taken;
    } rows[] = {{"empty.jpg", {}, false},
                {"truncated.jpg", Bytes(jpeg.begin(), jpeg.begin() + static_cast<long>(jpeg.size() / 2)), true},
                {"not.png", fromHex("89504e470d0a1a0a00000000deadbeef"), false},
                {"huge.gif", hugeGif, false},
                {"large.png", encoded(noise, "png", 100), true}};
    noise = QImage();
    for (const auto& row : rows) {
      ui::DragImageView well;
      QMimeData dropped;
      dropped.setUrls({file(row.name, row.bytes)});
      std::ofstream("/proc/self/clear_refs") << "5";
      const long before = statusKilobytes("VmRSS:");
      QCOMPARE(well.takePicture(&dropped), row.taken);
      const long grown = statusKilobytes("VmHWM:") - before;
      qInfo("%s: %zu bytes, peak memory %ld KiB above the start", row.name, row.bytes.size(), grown);
      // The file's bytes and one decoded image of bounded size, no more.
      QVERIFY(grown * 1024 <= static_cast<long>(row.bytes.size() + 4 * kMaxPicturePixels));
      QCOMPARE(well.getImageData(), row.taken ? row.bytes : Bytes{});
    }
  }

  // Files dropped (with the highlight while over the well), data pasted with
  // Ctrl+V under an image type or as a bare image, and a picture given out
  // as a file beside those already in the folder.
  void picturesComeInAndGoOut() {
    ui::DragImageView well;
    well.setAllowedImageTypes({QStringLiteral("PNG"), QStringLiteral("jpeg")});
    QSignalSpy dropped(&well, &ui::DragImageView::dropped);
    const Bytes png = encoded(filled(3, Qt::blue), "png");
    QMimeData files;
    files.setUrls({file("cover.png", png)});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&well, &enter);
    QVERIFY(enter.isAccepted() && well.highlighted());
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&well, &drop);
    QVERIFY(!well.highlighted() && well.getImageData() == png);
    for (bool bare : {false, true}) {
      auto* pasted = new QMimeData;
      if (bare) pasted->setImageData(filled(3, Qt::blue));
      else pasted->setData(QStringLiteral("image/jpeg"), QByteArray::fromHex("474946383961"));
      QGuiApplication::clipboard()->setMimeData(pasted);
      QTest::keyClick(&well, Qt::Key_V, Qt::ControlModifier);
      // GIF bytes under a JPEG label are refused, as GIF is not allowed.
      QVERIFY(well.getImageType() == QStringLiteral("png") && (well.getImageData() == png) != bare);
    }
    QCOMPARE(dropped.count(), 2);

    const QString folder = QString::fromStdString(dir_.path());
    file("Picture.png", {1});
    std::unique_ptr<QMimeData> out(well.pictureMimeData(folder));
    QVERIFY(out && out->urls() == QList<QUrl>{QUrl::fromLocalFile(folder + QStringLiteral("/Picture-1.png"))});
    QFile written(folder + QStringLiteral("/Picture-1.png"));
    QVERIFY(written.open(QIODevice::ReadOnly));
    const QByteArray bytes = written.readAll();
    QVERIFY(Bytes(bytes.begin(), bytes.end()) == well.getImageData() && out->data(QStringLiteral("image/png")) == bytes);
    well.removeImage();
    QVERIFY(!well.pictureMimeData(folder) && well.getImageType().isEmpty());
  }
};

}  // namespace melos::test

QTEST_MAIN(melos::test::PictureWellViewTest)
#include "picture_well_view_test.moc"
