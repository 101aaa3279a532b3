#include "cli/export_command.h"

#include <sys/stat.h>

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>

#include "cli/error_log.h"
#include "cli/file_arguments.h"
#include "cli/track_report.h"
#include "cli/usage_error.h"
#include "engine/open_track.h"
#include "operations/csv_export.h"
#include "operations/xml_export.h"

namespace melos::cli {
namespace {

// The version of the tag layout the exports describe, as the editor passes it.
constexpr int kExportVersion = 2;

std::string localPath(const QString& path) { return QFile::encodeName(path).toStdString(); }

bool sameFile(const QString& a, const QString& b) {
  struct stat first {}, second {};
  return ::stat(localPath(a).c_str(), &first) == 0 && ::stat(localPath(b).c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}  // namespace

ExitCode exportCommand(const QStringList& files, const ExportOptions& options, std::ostream& out,
                       std::ostream& err) {
  ErrorLog log;
  ExitCode code = ExitCode::Ok;
  const bool asXml = !options.xmlPath.isEmpty();
  const QString& target = asXml ? options.xmlPath : options.csvPath;
  const std::string targetPath = localPath(target);
  for (const QString& path : files) {
    const TrackReport report = loadTrack(path, kScanQuick, log);
    if (!report.opened()) {
      reportFileFailure(out, err, path, report.error);
      code = ExitCode::Failure;
      continue;
    }
    // The export names the file's folder: give it the whole path, not the one typed.
    report.track->setPath(localPath(QFileInfo(path).absoluteFilePath()));
    const ID3Tag& track = *report.track;
    log.clear();
    // The editor exports the V1 fields it shows; here, those of a V1 tag read from the file.
    std::optional<std::string> v1Block;
    if (track.v1.enabled) v1Block = v1XmlBlock(track.v1);
    const int result = asXml ? exportTagAsXml(&track, targetPath, kExportVersion, options.pictures,
                                              v1Block ? std::optional<std::string_view>(*v1Block)
                                                      : std::nullopt)
                             : exportTagAsCsv(targetPath, &track, kExportVersion);
    if (result != 0) {
      reportFileFailure(out, err, path, log.lastError().empty() ? "the export failed" : log.lastError());
      code = ExitCode::Failure;
    } else if (!track.hasV2Tag) {
      out << path.toStdString() << ": no ID3v2 tag, nothing exported to " << target.toStdString() << "\n";
    } else {
      out << path.toStdString() << ": exported to " << target.toStdString() << "\n";
    }
  }
  out.flush();
  return code;
}

ExitCode runExport(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption xml(QStringLiteral("xml"), QString(), QStringLiteral("OUT"));
  const QCommandLineOption csv(QStringLiteral("csv"), QString(), QStringLiteral("OUT"));
  const QCommandLineOption pictures(QStringLiteral("pictures"));
  if (const std::optional<ExitCode> done =
          parseCommand(parser, {xml, csv, pictures}, arguments, exportUsageText(), out, err))
    return *done;
  const QStringList files = fileArguments(parser);
  ExportOptions options;
  options.xmlPath = parser.value(xml);
  options.csvPath = parser.value(csv);
  options.pictures = parser.isSet(pictures);
  if (parser.isSet(xml) == parser.isSet(csv))
    return commandUsageError(err, QStringLiteral("export: give either --xml OUT or --csv OUT"),
                             exportUsageText());
  if (options.xmlPath.isEmpty() && options.csvPath.isEmpty())
    return commandUsageError(err, QStringLiteral("export: OUT is empty"), exportUsageText());
  if (files.isEmpty())
    return commandUsageError(err, QStringLiteral("export: no FILE given"), exportUsageText());
  if (parser.isSet(xml) && files.size() > 1)
    return commandUsageError(err, QStringLiteral("export: --xml takes one FILE"), exportUsageText());
  if (parser.isSet(pictures) && !parser.isSet(xml))
    return commandUsageError(err, QStringLiteral("export: --pictures goes with --xml"), exportUsageText());
  // The XML export empties its file first: never let it be one of the tracks.
  const QString& target = parser.isSet(xml) ? options.xmlPath : options.csvPath;
  for (const QString& file : files)
    if (sameFile(file, target))
      return commandUsageError(err, QStringLiteral("export: OUT '%1' is one of the FILEs").arg(target),
                               exportUsageText());
  return exportCommand(files, options, out, err);
}

std::string exportUsageText() {
  return "Usage: melos export --xml OUT [--pictures] FILE\n"
         "       melos export --csv OUT FILE...\n"
         "\n"
         "Exports the tags of MP3, AIFF and .tdf files.\n"
         "\n"
         "Options:\n"
         "  --xml OUT   write the tags of FILE as an XML document to OUT (replaced)\n"
         "  --pictures  with --xml: add the pictures in base64\n"
         "  --csv OUT   add one row per FILE to the CSV table OUT; a new table\n"
         "              starts with a header line\n"
         "\n"
         "A file without an ID3v2 tag adds nothing. Exit status: 0 when every file\n"
         "was exported, 1 when a file could not be opened or exported, 2 on a\n"
         "usage error.\n";
}

}  // namespace melos::cli
