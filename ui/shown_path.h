#pragma once
// Paths as a desktop shows them to their owner: a file under the home folder
// as "~/Music/a.mp3". Only for showing; files are always opened by their full
// path.

#include <QDir>
#include <QString>

namespace melos::ui {

QString shownPath(const QString& path, const QString& home = QDir::homePath());

}  // namespace melos::ui
