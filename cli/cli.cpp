#include "cli/cli.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include "cli/export_command.h"
#include "cli/file_arguments.h"
#include "cli/from_filename_command.h"
#include "cli/rename_command.h"
#include "cli/set_command.h"
#include "cli/show_command.h"
#include "cli/tag_commands.h"
#include "cli/usage_error.h"
#include "melos_version.h"

namespace melos::cli {
namespace {

const QString kHelp = QStringLiteral("help");

ExitCode runShow(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption json(QStringLiteral("json"));
  const QCommandLineOption fullScan(QStringLiteral("full-scan"));
  const QCommandLineOption jobs = jobsCommandOption();
  if (const std::optional<ExitCode> done =
          parseCommand(parser, {json, fullScan, jobs}, arguments, showUsageText(), out, err))
    return *done;
  const QStringList files = fileArguments(parser);
  if (files.isEmpty()) return commandUsageError(err, QStringLiteral("show: no FILE given"), showUsageText());
  ShowOptions options;
  options.json = parser.isSet(json);
  if (parser.isSet(fullScan)) options.scanMode = kScanFull;
  const std::optional<int> jobCount = jobsOption(parser, jobs, defaultJobs());
  if (!jobCount) return commandUsageError(err, jobsUsageError("show"), showUsageText());
  options.jobs = *jobCount;
  return showCommand(files, options, out, err);
}

ExitCode runConvert(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption to(QStringLiteral("to"), QString(), QStringLiteral("VERSION"));
  const QCommandLineOption force(QStringLiteral("force"));
  if (const std::optional<ExitCode> done =
          parseCommand(parser, {to, force}, arguments, convertUsageText(), out, err))
    return *done;
  const QStringList files = fileArguments(parser);
  const QString version = parser.value(to);
  if (version != QStringLiteral("3") && version != QStringLiteral("4"))
    return commandUsageError(err, QStringLiteral("convert: --to must be 3 or 4"), convertUsageText());
  if (files.isEmpty()) return commandUsageError(err, QStringLiteral("convert: no FILE given"), convertUsageText());
  ConvertOptions options;
  options.version = version.toInt();
  options.force = parser.isSet(force);
  return convertCommand(files, options, saveFlagsFromPreferences(), out, err);
}

ExitCode runRemove(const QStringList& arguments, std::ostream& out, std::ostream& err) {
  QCommandLineParser parser;
  const QCommandLineOption v1(QStringLiteral("v1"));
  const QCommandLineOption v2(QStringLiteral("v2"));
  const QCommandLineOption ape(QStringLiteral("ape"));
  if (const std::optional<ExitCode> done =
          parseCommand(parser, {v1, v2, ape}, arguments, removeUsageText(), out, err))
    return *done;
  const QStringList files = fileArguments(parser);
  const int kinds = int{parser.isSet(v1)} + int{parser.isSet(v2)} + int{parser.isSet(ape)};
  if (kinds != 1)
    return commandUsageError(err, QStringLiteral("remove: give one of --v1, --v2 and --ape"), removeUsageText());
  if (files.isEmpty()) return commandUsageError(err, QStringLiteral("remove: no FILE given"), removeUsageText());
  const TagKind kind = parser.isSet(v1) ? TagKind::V1 : parser.isSet(v2) ? TagKind::V2 : TagKind::Ape;
  return removeCommand(files, kind, saveFlagsFromPreferences(), out, err);
}

}  // namespace

std::string convertUsageText() {
  return "Usage: melos convert --to 3|4 [--force] FILE...\n"
         "\n"
         "Rewrites the ID3v2 tag of each FILE at version 2.3 or 2.4. A field that\n"
         "ID3v2.3 cannot hold (Release time, Record time, Produced notice, Mood)\n"
         "leaves the file alone unless --force is given, which drops it.\n"
         "\n"
         "Options:\n"
         "  --to VERSION  3 or 4\n"
         "  --force       convert to 2.3 even when fields are lost\n"
         "\n"
         "Exit status: 0 when every file was converted or needed nothing, 1 when a\n"
         "file failed, 2 on a usage error.\n";
}

std::string removeUsageText() {
  return "Usage: melos remove --v1|--v2|--ape FILE...\n"
         "\n"
         "Removes the ID3v1 tag, the ID3v2 tag or the APE tag of each FILE. An\n"
         "ID3v1 tag behind a removed APE tag is kept.\n"
         "\n"
         "Exit status: 0 when every file was done or had no such tag, 1 when a\n"
         "file failed, 2 on a usage error.\n";
}

std::string usageText() {
  return "Usage: melos COMMAND [OPTIONS] FILE...\n"
         "\n"
         "Commands:\n"
         "  show      show the ID3 tags and audio facts of MP3, AIFF and .tdf files\n"
         "  export    export the tags as an XML document or as rows of a CSV table\n"
         "  rename    rename files from their tags, optionally into folders\n"
         "  from-filename  show the tag fields that the file names give\n"
         "  convert   rewrite ID3v2 tags at version 2.3 or 2.4\n"
         "  remove    remove the ID3v1, ID3v2 or APE tag\n"
         "  set       set fields in the tags of many files at once\n"
         "\n"
         "Options:\n"
         "  -h, --help  show this help (after a command: the command's help)\n"
         "  --version   show the version\n";
}

std::string showUsageText() {
  return "Usage: melos show [--json] [--full-scan] [-j N] FILE...\n"
         "\n"
         "Shows the V1 and V2 tags and the audio facts of each FILE.\n"
         "\n"
         "Options:\n"
         "  --json       print one JSON array with an object per file\n"
         "  --full-scan  walk every MPEG frame instead of estimating from the first ones\n"
         "  -j, --jobs N read N files at once (default: one per core); the output\n"
         "               keeps the order of the files given\n"
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
    if (!parser.unknownOptionNames().isEmpty()) return commandUsageError(err, parser.errorText(), usageText());
    return commandUsageError(err, QStringLiteral("no command given"), usageText());
  }
  if (command == kHelp) {
    out << usageText();
    return ExitCode::Ok;
  }
  if (command == QStringLiteral("show")) return runShow(arguments, out, err);
  if (command == QStringLiteral("export")) return runExport(arguments, out, err);
  if (command == QStringLiteral("rename")) return runRename(arguments, out, err);
  if (command == QStringLiteral("from-filename")) return runFromFileName(arguments, out, err);
  if (command == QStringLiteral("convert")) return runConvert(arguments, out, err);
  if (command == QStringLiteral("remove")) return runRemove(arguments, out, err);
  if (command == QStringLiteral("set")) return runSet(arguments, out, err);
  return commandUsageError(err, QStringLiteral("unknown command '%1'").arg(command), usageText());
}

}  // namespace melos::cli
