#pragma once
// The files a command works on: its positional arguments after the command's
// name, where a folder stands for its tracks as the editor opens them (its
// ".mp3" and ".aif" entries, in the order the file system gives, no descent).

#include <QCommandLineParser>
#include <QStringList>

namespace melos::cli {

QStringList fileArguments(const QCommandLineParser& parser);
// A folder that cannot be read is kept as it is, so the command reports it.
QStringList expandFolders(const QStringList& paths);

}  // namespace melos::cli
