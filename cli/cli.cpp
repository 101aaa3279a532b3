#include "cli/cli.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include "cli/show_command.h"
#include "melos_version.h"

namespace melos::cli {
namespace {

const QString kHelp = QStringLiteral("help");

ExitCode usageError(std::ostream& err, const QString& message, const std::string& usage) {
  err << "melos: " << message.toStdString() << "\n\n" << usage;
  return ExitCode::Usage;
}

ExitCode runShow(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption help(QStringList{QStringLiteral("h"), kHelp});
  const QCommandLineOption json(QStringLiteral("json"));
  const QCommandLineOption fullScan(QStringLiteral("full-scan"));
  parser.addOptions({help, json, fullScan});
  if (!parser.parse(arguments)) return usageError(err, parser.errorText(), showUsageText());
  if (parser.isSet(help)) {
    out << showUsageText();
    return ExitCode::Ok;
  }
  // The first positional argument is the command itself.
  const QStringList files = parser.positionalArguments().mid(1);
  if (files.isEmpty()) return usageError(err, QStringLiteral("show: no FILE given"), showUsageText());
  ShowOptions options;
  options.json = parser.isSet(json);
  if (parser.isSet(fullScan)) options.scanMode = kScanFull;
  return showCommand(files, options, out, err);
}

}  // namespace

std::string usageText() {
  return "Usage: melos COMMAND [OPTIONS] FILE...\n"
         "\n"
         "Commands:\n"
         "  show      show the ID3 tags and audio facts of MP3, AIFF and .tdf files\n"
         "\n"
         "Options:\n"
         "  -h, --help  show this help (after a command: the command's help)\n"
         "  --version   show the version\n";
}

std::string showUsageText() {
  return "Usage: melos show [--json] [--full-scan] FILE...\n"
         "\n"
         "Shows the V1 and V2 tags and the audio facts of each FILE.\n"
         "\n"
         "Options:\n"
         "  --json       print one JSON array with an object per file\n"
         "  --full-scan  walk every MPEG frame instead of estimating from the first ones\n"
         "\n"
         "Exit status: 0 when every file was shown, 1 when a file could not be\n"
         "opened, 2 on a usage error.\n";
}

ExitCode runCli(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  // First pass: only the command is wanted, so the options of the commands are
  // not known yet and their errors are left to the command's own parser.
  QCommandLineParser parser;
  const QCommandLineOption help(QStringList{QStringLiteral("h"), kHelp});
  const QCommandLineOption version(QStringLiteral("version"));
  parser.addOptions({help, version});
  parser.parse(arguments);
  const QStringList positional = parser.positionalArguments();
  const QString command = positional.value(0);

  if (command.isEmpty()) {
    if (parser.isSet(version) && parser.unknownOptionNames().isEmpty()) {
      out << "melos " << kVersionText << "\n";
      return ExitCode::Ok;
    }
    if (parser.isSet(help) && parser.unknownOptionNames().isEmpty()) {
      out << usageText();
      return ExitCode::Ok;
    }
    if (!parser.unknownOptionNames().isEmpty()) return usageError(err, parser.errorText(), usageText());
    return usageError(err, QStringLiteral("no command given"), usageText());
  }
  if (command == kHelp) {
    out << usageText();
    return ExitCode::Ok;
  }
  if (command == QStringLiteral("show")) return runShow(arguments, out, err);
  return usageError(err, QStringLiteral("unknown command '%1'").arg(command), usageText());
}

}  // namespace melos::cli
