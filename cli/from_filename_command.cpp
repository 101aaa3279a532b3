#include "cli/from_filename_command.h"

#include <QCommandLineParser>
#include <QFile>

#include "cli/error_log.h"
#include "cli/file_arguments.h"
#include "cli/track_report.h"
#include "cli/usage_error.h"
#include "engine/open_track.h"
#include "engine/text.h"
#include "operations/file_name_fields.h"

namespace melos::cli {
namespace {

// A file name may hold control characters; they must not reach the terminal.
std::string printable(const std::u16string& text) {
  std::string out = u16ToUtf8(text);
  for (char& c : out)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  return out;
}

void printField(std::ostream& out, const char* label, const std::optional<std::u16string>& value) {
  if (value) out << "  " << label << printable(*value) << "\n";
}

}  // namespace

ExitCode fromFileNameCommand(const QStringList& files, const FromFileNameOptions& options,
                             std::ostream& out, std::ostream& err) {
  ErrorLog log;
  ExitCode code = ExitCode::Ok;
  const std::string format = options.format.toStdString();
  // Everything the split finds, as the editor sets it with Shift and Ctrl held.
  const FileNameUse use{true, true, !format.empty()};
  bool first = true;
  for (const QString& path : files) {
    const TrackReport report = loadTrack(path, kScanQuick, log);
    if (!report.opened()) {
      reportFileFailure(out, err, path, report.error);
      code = ExitCode::Failure;
      continue;
    }
    const FileNameFields fields = parseFileName(QFile::encodeName(path).toStdString(), format);
    if (fields.count() == 0) {
      reportFileFailure(out, err, path, "the file name gives no tag fields");
      code = ExitCode::Failure;
      continue;
    }
    const FileNameUpdate update = fileNameUpdate(fields, use, true);
    if (!first) out << "\n";
    first = false;
    out << path.toStdString() << "\n";
    printField(out, "Track:  ", update.track);
    printField(out, "Title:  ", update.title);
    printField(out, "Artist: ", update.artist);
    printField(out, "Album:  ", update.album);
    printField(out, "Year:   ", update.year);
  }
  out.flush();
  return code;
}

ExitCode runFromFileName(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption format(QStringLiteral("format"), QString(), QStringLiteral("FMT"));
  const QCommandLineOption print(QStringLiteral("print"));
  if (const std::optional<ExitCode> done =
          parseCommand(parser, {format, print}, arguments, fromFileNameUsageText(), out, err))
    return *done;
  const QStringList files = fileArguments(parser);
  // Writing the fields into the tags is not there yet; asking for --print
  // keeps today's scripts from writing once it is.
  if (!parser.isSet(print))
    return commandUsageError(err, QStringLiteral("from-filename: only --print is available so far"),
                             fromFileNameUsageText());
  if (files.isEmpty())
    return commandUsageError(err, QStringLiteral("from-filename: no FILE given"), fromFileNameUsageText());
  FromFileNameOptions options;
  options.format = parser.value(format);
  return fromFileNameCommand(files, options, out, err);
}

std::string fromFileNameUsageText() {
  return "Usage: melos from-filename [--format FMT] --print FILE...\n"
         "\n"
         "Shows the tag fields that the name of each FILE gives. Without a format\n"
         "the name is read as \"NN Artist-Album-Title\", each part optional.\n"
         "\n"
         "Options:\n"
         "  --format FMT  read the name by FMT: %A artist, %L album, %T title,\n"
         "                %N track number, %Y year, with the text between them as\n"
         "                it stands in the name, e.g. \"%A - %N %T\"\n"
         "  --print       print the fields (required: writing them is not available yet)\n"
         "\n"
         "Exit status: 0 when every name gave fields, 1 when a file could not be\n"
         "opened or its name gave none, 2 on a usage error.\n";
}

}  // namespace melos::cli
