#include "cli/rename_command.h"

#include <QCommandLineParser>
#include <QFile>

#include "cli/error_log.h"
#include "cli/file_arguments.h"
#include "cli/track_report.h"
#include "cli/usage_error.h"
#include "engine/open_track.h"
#include "operations/rename_track.h"

namespace melos::cli {

ExitCode renameCommand(const QStringList& files, const RenameOptions& options, std::ostream& out,
                       std::ostream& err) {
  ErrorLog log;
  ExitCode code = ExitCode::Ok;
  const std::string format = options.format.toStdString();
  for (const QString& path : files) {
    // The audio facts are wanted too: a format may name the bit rate or duration.
    const TrackReport report = loadTrack(path, kScanQuick, log);
    if (!report.opened()) {
      reportFileFailure(out, err, path, report.error);
      code = ExitCode::Failure;
      continue;
    }
    ID3Tag& track = *report.track;
    const std::string before = track.path();
    log.clear();
    // File names on Linux are UTF-8.
    if (!renameByTags(track, options.trackNumber, options.date, options.folders, true, format)) {
      reportFileFailure(out, err, path, log.lastError().empty() ? "the file could not be renamed" : log.lastError());
      code = ExitCode::Failure;
    } else if (track.path() == before) {
      out << before << ": name unchanged\n";
    } else {
      out << before << " -> " << track.path() << "\n";
    }
  }
  out.flush();
  return code;
}

ExitCode runRename(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption format(QStringLiteral("format"), QString(), QStringLiteral("FMT"));
  const QCommandLineOption folders(QStringLiteral("folders"));
  const QCommandLineOption date(QStringLiteral("date"));
  const QCommandLineOption noNumber(QStringLiteral("no-number"));
  if (const std::optional<ExitCode> done =
          parseCommand(parser, {format, folders, date, noNumber}, arguments, renameUsageText(), out, err))
    return *done;
  const QStringList files = fileArguments(parser);
  if (files.isEmpty())
    return commandUsageError(err, QStringLiteral("rename: no FILE given"), renameUsageText());
  RenameOptions options;
  options.format = parser.value(format);
  options.folders = parser.isSet(folders);
  options.date = parser.isSet(date);
  options.trackNumber = !parser.isSet(noNumber);
  return renameCommand(files, options, out, err);
}

std::string renameUsageText() {
  return "Usage: melos rename [--format FMT] [--folders] [--date] [--no-number] FILE...\n"
         "\n"
         "Renames each FILE from its tags (the V1 tag when it has no V2 tag), keeping\n"
         "its extension. An existing file is never replaced: \"-1\" to \"-99\" is put\n"
         "before the extension instead.\n"
         "\n"
         "Options:\n"
         "  --format FMT  name by FMT instead of \"NN-Title\": %A artist, %L album,\n"
         "                %T title, %N track number, %n track number with leading\n"
         "                zeros, %M number of tracks, %Y year, %B bit rate, %S and\n"
         "                %s duration, %% a \"%\"; a \"/\" makes folders, e.g.\n"
         "                \"%A/%L/%n %T\"\n"
         "  --folders     without --format: move into the folders Artist/Album\n"
         "  --date        put today's date (YYYYMMDD-) in front\n"
         "  --no-number   without --format: leave out the track number\n"
         "\n"
         "Exit status: 0 when every file was renamed or already had its name, 1 when\n"
         "a file could not be opened or renamed, 2 on a usage error.\n";
}

}  // namespace melos::cli
