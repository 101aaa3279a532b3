#include "cli/track_report.h"

#include <QFile>

#include "cli/error_log.h"
#include "operations/track_file.h"

namespace melos::cli {

TrackReport loadTrack(const QString& path, int scanMode, ErrorLog& log) {
  TrackReport report;
  report.path = path;
  log.clear();
  TrackFile opened = openTrackFile(QFile::encodeName(path).toStdString(), scanMode);
  if (!opened.opened()) {
    // The log's own line names the system's error, which says more.
    report.error = log.lastError().empty() ? opened.cause : log.lastError();
    return report;
  }
  report.track = std::move(opened.track);
  return report;
}

}  // namespace melos::cli
