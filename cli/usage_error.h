#pragma once
// The shared shape of a command's parsing and usage error, of its -j option
// and of its file report lines.

#include <QCommandLineParser>
#include <QString>
#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "cli/exit_code.h"

namespace melos::cli {

inline ExitCode commandUsageError(std::ostream& err, const QString& message, const std::string& usage) {
  err << "melos: " << message.toStdString() << "\n\n" << usage;
  return ExitCode::Usage;
}

// Parses a command's arguments with its options and -h/--help: the exit code
// when the command ends here (a usage error, or the help written), else none.
inline std::optional<ExitCode> parseCommand(QCommandLineParser& parser, const QList<QCommandLineOption>& options,
                                            const QStringList& arguments, const std::string& usage,
                                            std::ostream& out, std::ostream& err) {
  const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
  parser.addOption(help);
  parser.addOptions(options);
  if (!parser.parse(arguments)) return commandUsageError(err, parser.errorText(), usage);
  if (!parser.isSet(help)) return std::nullopt;
  out << usage;
  return ExitCode::Ok;
}

inline constexpr int kMaxJobs = 256;

inline QCommandLineOption jobsCommandOption() {
  return QCommandLineOption(QStringList{QStringLiteral("j"), QStringLiteral("jobs")}, QString(), QStringLiteral("N"));
}

// The number of files worked on at once when none is given: one per core.
inline int defaultJobs() noexcept {
  return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

// The value of -j: a count of files from 1 to kMaxJobs, or `fallback` when
// the option is not given; nothing when it is no such count.
inline std::optional<int> jobsOption(const QCommandLineParser& parser, const QCommandLineOption& option,
                                     int fallback) {
  if (!parser.isSet(option)) return fallback;
  bool number = false;
  const int jobs = parser.value(option).toInt(&number);
  if (!number || jobs < 1 || jobs > kMaxJobs) return std::nullopt;
  return jobs;
}

inline QString jobsUsageError(const char* command) {
  return QStringLiteral("%1: -j needs a number of files from 1 to %2").arg(QLatin1String(command)).arg(kMaxJobs);
}

// A per-file failure on standard error; the run goes on with the next file.
inline void reportFileFailure(std::ostream& out, std::ostream& err, const std::string& path,
                              const std::string& cause) {
  out.flush();  // keeps the order of the two streams on a terminal
  err << "melos: " << path << ": " << cause << "\n";
}
inline void reportFileFailure(std::ostream& out, std::ostream& err, const QString& path,
                              const std::string& cause) {
  reportFileFailure(out, err, path.toStdString(), cause);
}

// Field names in a report line: "Record time, Mood".
inline std::string joinedNames(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace melos::cli
