#pragma once
// Between the texts and paths of the layers below (UTF-8, UTF-16 and the
// file system's own bytes) and Qt's strings.

#include <QFile>
#include <QString>
#include <string>
#include <string_view>

namespace melos::ui {

inline QString qtext(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}
inline QString qtext(std::u16string_view text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}
// A text of the layers below from one typed into a control.
inline std::string utf8(const QString& text) { return text.toUtf8().toStdString(); }

// A path as the file system holds it, and as Qt shows it.
inline std::string localPath(const QString& path) { return QFile::encodeName(path).toStdString(); }
inline QString displayPath(const std::string& path) { return QFile::decodeName(QByteArray::fromStdString(path)); }

}  // namespace melos::ui
