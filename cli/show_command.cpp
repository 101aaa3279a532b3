#include "cli/show_command.h"

#include <QJsonArray>

#include "cli/error_log.h"
#include "cli/json_formatter.h"
#include "cli/text_formatter.h"
#include "cli/track_report.h"

namespace melos::cli {

ExitCode showCommand(const QStringList& files, const ShowOptions& options, std::ostream& out,
                     std::ostream& err) {
  ErrorLog log;
  ExitCode code = ExitCode::Ok;
  QJsonArray reports;
  bool first = true;
  for (const QString& path : files) {
    // One track at a time: pictures can be large, and nothing is kept past its
    // own report.
    const TrackReport report = loadTrack(path, options.scanMode, log);
    if (!report.opened()) code = ExitCode::Failure;
    if (options.json) {
      reports.append(reportJson(report));
    } else if (!report.opened()) {
      out.flush();  // keeps the order of the two streams on a terminal
      err << "melos: " << path.toStdString() << ": " << report.error << "\n";
    } else {
      if (!first) out << "\n";
      out << trackText(path.toStdString(), *report.track);
      first = false;
    }
  }
  if (options.json) out << jsonText(reports).toStdString();
  out.flush();
  return code;
}

}  // namespace melos::cli
