#include "ui/file_thumbnail.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QImageWriter>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include "ui/image_codec.h"

namespace melos::ui {

QString thumbnailCacheFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/thumbnails");
}

QByteArray thumbnailUri(const QString& filePath) {
  return QUrl::fromLocalFile(QFileInfo(filePath).absoluteFilePath()).toEncoded();
}

QString thumbnailPath(const QString& cacheFolder, const QString& sizeFolder, const QString& filePath) {
  const QByteArray md5 = QCryptographicHash::hash(thumbnailUri(filePath), QCryptographicHash::Md5).toHex();
  return cacheFolder + QLatin1Char('/') + sizeFolder + QLatin1Char('/') + QString::fromLatin1(md5) +
         QStringLiteral(".png");
}

IconResult writeFileThumbnails(const QString& filePath, ByteSpan picture, const QString& cacheFolder) {
  const QImage image = QtImageCodec::decode(picture);
  if (image.isNull()) return IconResult::ImageFailed;
  const QFileInfo file(filePath);
  // A reader takes a thumbnail as current only while these match the file.
  const QString uri = QString::fromLatin1(thumbnailUri(filePath));
  const QString mtime = QString::number(file.lastModified().toSecsSinceEpoch());
  const QString size = QString::number(file.size());
  // The cache is private to the user: its folders 0700, its files 0600.
  constexpr QFileDevice::Permissions kPrivateFolder =
      QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
  for (const auto& [folder, pixels] : {std::pair{QStringLiteral("normal"), 128}, {QStringLiteral("large"), 256}}) {
    const QString sizeFolder = cacheFolder + QLatin1Char('/') + folder;
    if (!QDir().mkpath(sizeFolder)) return IconResult::SetFailed;
    QFile::setPermissions(cacheFolder, kPrivateFolder);
    QFile::setPermissions(sizeFolder, kPrivateFolder);
    QImage thumbnail = image.width() > pixels || image.height() > pixels
                           ? image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                           : image;
    thumbnail.setText(QStringLiteral("Thumb::URI"), uri);
    thumbnail.setText(QStringLiteral("Thumb::MTime"), mtime);
    thumbnail.setText(QStringLiteral("Thumb::Size"), size);
    thumbnail.setText(QStringLiteral("Software"), QStringLiteral("Meloscribe"));
    // Written beside and renamed over the old one, so no reader sees half a file.
    QSaveFile out(thumbnailPath(cacheFolder, folder, filePath));
    if (!out.open(QIODevice::WriteOnly) || !QImageWriter(&out, "png").write(thumbnail) ||
        !out.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) || !out.commit())
      return IconResult::SetFailed;
  }
  return IconResult::Set;
}

}  // namespace melos::ui
