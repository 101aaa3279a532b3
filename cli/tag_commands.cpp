#include "cli/tag_commands.h"

#include <QFile>
#include <cerrno>
#include <string>
#include <vector>

#include "cli/error_log.h"
#include "cli/track_report.h"
#include "cli/usage_error.h"
#include "engine/file_state.h"
#include "engine/open_track.h"
#include "engine/tag_removal.h"
#include "engine/v1_update.h"
#include "engine/v2_update.h"
#include "operations/version_loss.h"
#include "preferences/preferences_controller.h"

namespace melos::cli {
namespace {

std::string failureText(const ErrorLog& log, int code) {
  std::string cause = log.firstError().empty() ? "unknown failure" : log.firstError();
  return cause + " (code " + std::to_string(code) + ")";
}

// Per-file lines: what was done on standard output, failures on standard error.
class Reporter {
 public:
  Reporter(std::ostream& out, std::ostream& err) : out_(out), err_(err) {}
  void done(const QString& path, const std::string& what) { out_ << path.toStdString() << ": " << what << "\n"; }
  void failed(const QString& path, const std::string& why) {
    reportFileFailure(out_, err_, path, why);
    code_ = ExitCode::Failure;
  }
  ExitCode code() const { return code_; }

 private:
  std::ostream& out_;
  std::ostream& err_;
  ExitCode code_ = ExitCode::Ok;
};

// Locks the file for the whole rewrite, before it is read, so that another
// save of it meanwhile cannot be lost; a failure is reported and gives no lock.
TrackLock lockForWriting(const QString& path, Reporter& report) {
  const std::string local = resolveTrackPath(QFile::encodeName(path).toStdString());
  TrackLock lock = TrackLock::acquire(local);
  if (lock.isHeld()) return lock;
  if (errno == EWOULDBLOCK) {
    report.failed(path, "left alone: the file is being saved by another task");
  } else {
    report.failed(path, "the file could not be opened: " + errorText(errno));
  }
  return lock;
}

// Opens a file for a rewrite; a failure is reported and gives null.
std::unique_ptr<ID3Tag> openForWriting(const QString& path, ErrorLog& log, Reporter& report) {
  TrackReport opened = loadTrack(path, kScanQuick, log);
  if (!opened.opened()) {
    report.failed(path, opened.error);
    return nullptr;
  }
  if (opened.track->readOnly) {
    report.failed(path, "left alone: the file may not be written");
    return nullptr;
  }
  return std::move(opened.track);
}

}  // namespace

SaveFlags saveFlagsFromPreferences() {
  const PreferencesController& prefs = PreferencesController::sharedInstance();
  return {prefs.isMoveToTrashSet(), prefs.isKeepFileDatesSet(), prefs.isTrimWhitespaceSet(), prefs.removeAPETag()};
}

ExitCode convertCommand(const QStringList& files, const ConvertOptions& options, const SaveFlags& flags,
                        std::ostream& out, std::ostream& err) {
  ErrorLog log;
  Reporter report(out, err);
  const std::string target = "ID3v2." + std::to_string(options.version);
  for (const QString& path : files) {
    const TrackLock lock = lockForWriting(path, report);
    if (!lock.isHeld()) continue;
    std::unique_ptr<ID3Tag> track = openForWriting(path, log, report);
    if (!track) continue;
    if (!track->hasV2Tag) {
      report.done(path, "no ID3v2 tag, nothing to convert");
      continue;
    }
    if (track->v2Version == options.version) {
      report.done(path, "already " + target);
      continue;
    }
    std::string dropped;
    if (options.version < 4) {
      const std::vector<std::string> lost = fieldsLostAtVersion(*track, options.version);
      if (!lost.empty() && !options.force) {
        report.failed(path, "left alone: ID3v2.3 cannot hold " + joinedNames(lost) + " (--force drops them)");
        continue;
      }
      if (!lost.empty()) dropped = ", dropped " + joinedNames(lost);
      // What the user agreed to lose is taken out first, so that the saved tag
      // verifies against what was meant to be saved.
      dropVersion24Fields(track->tagData);
    }
    log.clear();
    const int from = track->v2Version;
    const int result = updateV2ToTrack(*track, flags.moveToTrash, options.version, flags.keepDates, flags.trim, 1);
    if (result == kSaveOk)
      report.done(path, "converted from ID3v2." + std::to_string(from) + " to " + target + dropped);
    else
      report.failed(path, "not converted: " + failureText(log, result));
  }
  out.flush();
  return report.code();
}

ExitCode removeCommand(const QStringList& files, TagKind kind, const SaveFlags& flags, std::ostream& out,
                       std::ostream& err) {
  ErrorLog log;
  Reporter report(out, err);
  for (const QString& path : files) {
    const TrackLock lock = lockForWriting(path, report);
    if (!lock.isHeld()) continue;
    std::unique_ptr<ID3Tag> track = openForWriting(path, log, report);
    if (!track) continue;
    log.clear();
    switch (kind) {
      case TagKind::V1: {
        if (!track->isMp3File) {
          report.done(path, "not an MP3 file, no ID3v1 tag");
        } else if (!track->v1Loaded) {
          report.done(path, "no ID3v1 tag");
        } else if (int result = removeV1FromTrack(*track, flags.removeApe, flags.keepDates); result == 0) {
          report.done(path, "ID3v1 tag removed");
        } else {
          report.failed(path, "ID3v1 tag not removed: " + failureText(log, result));
        }
        break;
      }
      case TagKind::V2: {
        if (!track->hasV2Tag) {
          report.done(path, "no ID3v2 tag");
        } else if (int result = removeV2FromTrack(*track, flags.moveToTrash, flags.keepDates); result == 0) {
          report.done(path, "ID3v2 tag removed");
        } else {
          report.failed(path, "ID3v2 tag not removed: " + failureText(log, result));
        }
        break;
      }
      case TagKind::Ape: {
        if (!track->isMp3File) {
          report.done(path, "not an MP3 file, no APE tag");
          break;
        }
        int64_t ape = kApeUnreadable;
        if (File file = File::openRead(track->path()); file.isOpen()) ape = findAPETag(*track, track->path(), file);
        if (ape == kNoApeTag) {
          report.done(path, "no APE tag");
        } else if (ape == kApeUnreadable) {
          report.failed(path, "APE tag not removed: " + failureText(log, 2));
        } else if (track->v1Loaded) {
          // Cutting the APE tag takes the V1 tag behind it; it is written
          // again in the same step.
          if (int result = updateV1ToTrack(*track, true, flags.keepDates, false); result == 0)
            report.done(path, "APE tag removed, ID3v1 tag kept");
          else
            report.failed(path, "APE tag not removed: " + failureText(log, result));
        } else if (stripAPETag(*track, track->path()) == 1) {
          report.done(path, "APE tag removed");
        } else {
          report.failed(path, "APE tag not removed: " + failureText(log, 5));
        }
        break;
      }
    }
  }
  out.flush();
  return report.code();
}

}  // namespace melos::cli
