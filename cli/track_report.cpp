#include "cli/track_report.h"

#include <QFile>

#include "cli/error_log.h"
#include "engine/open_track.h"

namespace melos::cli {
namespace {

// The engine reports its first stage only once the container check has passed,
// and a tag-data file has no audio whose analysis could say it opened: the
// stages are the one sign that such a file was read at all.
struct StageWatch {
  bool started = false;
  static void report(const char*, int, void* context) {
    static_cast<StageWatch*>(context)->started = true;
  }
};

std::string fallbackCause(const ID3Tag& track, bool started) {
  if (!started) return "the file could not be read as a track";
  if (track.isMp3File) return "no MPEG audio frames found";
  if (track.isAiffFile) return "the AIFF file has no COMM chunk with a sample rate";
  return "the file could not be read as a track";
}

}  // namespace

TrackReport loadTrack(const QString& path, int scanMode, ErrorLog& log) {
  TrackReport report;
  report.path = path;
  const std::string localPath = QFile::encodeName(path).toStdString();
  if (GetFileKind(localPath, nullptr) == 0) {
    report.error = "not a track: the name must end in .mp3, .aif or .tdf";
    return report;
  }

  auto track = std::make_unique<ID3Tag>();
  StageWatch watch;
  ProgressCallback progress{&StageWatch::report, &watch};
  log.clear();
  const unsigned result = OpenTrack(*track, localPath, scanMode, &progress, true);
  const bool failed = !watch.started || (result == 0 && !track->isTagDataFile);
  if (failed) {
    report.error = log.lastError().empty() ? fallbackCause(*track, watch.started) : log.lastError();
    return report;
  }
  report.track = std::move(track);
  return report;
}

}  // namespace melos::cli
