#include "cli/show_command.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

#include "cli/error_log.h"
#include "cli/json_formatter.h"
#include "cli/text_formatter.h"
#include "cli/track_report.h"
#include "cli/usage_error.h"
#include "operations/threads.h"

namespace melos::cli {
namespace {

// What one file contributes to the output, made on a worker thread.
struct Shown {
  bool opened = false;
  std::string text;  // the JSON object, the text block, or the cause of a failure
};

Shown show(const QString& path, const ShowOptions& options, ErrorLog& log) {
  // Nothing of a track is kept past its own output: pictures can be large.
  const TrackReport report = loadTrack(path, options.scanMode, log);
  Shown shown;
  shown.opened = report.opened();
  if (options.json) shown.text = reportJson(report).arrayElementText();
  else shown.text = report.opened() ? trackText(path.toStdString(), *report.track) : report.error;
  return shown;
}

// Files are shown by several threads at once, the calling one included, and
// written in the order given as soon as each one's turn has come: by the
// thread that completes the run of finished files, so that no thread ever
// waits to be woken for the next one.
class OrderedRun {
 public:
  OrderedRun(const QStringList& files, const ShowOptions& options, ErrorLog& log)
      : files_(files), options_(options), log_(log), results_(static_cast<size_t>(files.size())) {}

  template <typename Write>
  void run(int jobs, Write write) {
    const int count = std::clamp(jobs, 1, std::max(1, static_cast<int>(files_.size())));
    if (count == 1) {
      for (size_t i = 0; i < results_.size(); ++i) write(i, show(files_[static_cast<qsizetype>(i)], options_, log_));
      return;
    }
    runOnThreads(count, [this, &write] { work(write); });
  }

 private:
  template <typename Write>
  void work(Write& write) {
    for (size_t i = next_++; i < results_.size(); i = next_++) {
      Shown shown = show(files_[static_cast<qsizetype>(i)], options_, log_);
      std::lock_guard lock(mutex_);
      results_[i] = std::move(shown);
      for (; written_ < results_.size() && results_[written_]; ++written_) {
        write(written_, *results_[written_]);
        results_[written_].reset();
      }
    }
  }

  const QStringList& files_;
  const ShowOptions& options_;
  ErrorLog& log_;
  std::vector<std::optional<Shown>> results_;
  std::atomic<size_t> next_{0};
  std::mutex mutex_;
  size_t written_ = 0;  // the first file not yet written out
};

}  // namespace

ExitCode showCommand(const QStringList& files, const ShowOptions& options, std::ostream& out,
                     std::ostream& err) {
  ErrorLog log;
  ExitCode code = ExitCode::Ok;
  bool first = true;
  if (options.json) out << "[\n";
  OrderedRun(files, options, log).run(options.jobs, [&](size_t i, const Shown& shown) {
    if (!shown.opened) code = ExitCode::Failure;
    if (options.json) {
      out << (first ? "" : ",\n") << shown.text;
    } else if (!shown.opened) {
      reportFileFailure(out, err, files[static_cast<qsizetype>(i)], shown.text);
    } else {
      if (!first) out << "\n";
      out << shown.text;
    }
    if (options.json || shown.opened) first = false;
  });
  if (options.json) out << (files.isEmpty() ? "]\n" : "\n]\n");
  out.flush();
  return code;
}

}  // namespace melos::cli
