#include "cli/file_arguments.h"

#include <QFile>
#include <QFileInfo>
#include <filesystem>

#include "operations/open_documents.h"

namespace melos::cli {

QStringList fileArguments(const QCommandLineParser& parser) {
  // The first positional argument is the command itself.
  return expandFolders(parser.positionalArguments().mid(1));
}

QStringList expandFolders(const QStringList& paths) {
  QStringList files;
  for (const QString& path : paths) {
    if (!QFileInfo(path).isDir()) {
      files.append(path);
      continue;
    }
    try {
      for (const std::string& track : folderTracks(QFile::encodeName(path).toStdString()))
        files.append(QFile::decodeName(QByteArray::fromStdString(track)));
    } catch (const std::filesystem::filesystem_error&) {
      files.append(path);
    }
  }
  return files;
}

}  // namespace melos::cli
