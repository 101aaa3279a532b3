// How the group window copes with a big folder, on the offscreen platform:
// the time until the window is shown, until the first row and until every row
// is listed; the longest stall of the event loop while the tracks are read and
// while an update of the album writes every one of them (a 10 ms timer on the
// main thread measures the gaps); and the peak resident memory.
//
// Usage: group_window_bench --folder DIR [--count N] [--cover BYTES] [--jobs N]
//                            [--melos PATH] [--no-run]
// The folder is filled with N generated tracks (each with a cover of the size
// given) unless it already holds them; with --melos, `melos show --json -j N`
// is timed over the same files for comparison.

#include <sys/resource.h>
#include <time.h>

#include <QApplication>
#include <QEvent>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLineEdit>
#include <QProcess>
#include <QTableView>
#include <QTimer>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "engine/bytes.h"
#include "operations/app_log.h"
#include "operations/open_documents.h"
#include "operations/threads.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "ui/dialog_questions.h"
#include "ui/group_track_table.h"
#include "ui/group_window.h"

namespace {

using melos::Bytes;
namespace fs = std::filesystem;

constexpr int kTickMs = 10;
constexpr int kAudioFrames = 40;
constexpr size_t kFrameBytes = 417;  // MPEG-1 layer III, 128 kbit/s, 44.1 kHz

void putU32(Bytes& out, uint32_t value, bool syncsafe) {
  uint8_t bytes[4];
  if (syncsafe) melos::syncsafeEncode(bytes, value);
  else melos::writeU32BE(bytes, value);
  out.insert(out.end(), bytes, bytes + 4);
}

void frame(Bytes& tag, const char* id, const Bytes& body) {
  tag.insert(tag.end(), id, id + 4);
  putU32(tag, static_cast<uint32_t>(body.size()), false);
  tag.push_back(0);
  tag.push_back(0);
  tag.insert(tag.end(), body.begin(), body.end());
}

// Encoding 0 (Latin-1), then the text.
Bytes text(const std::string& value) {
  Bytes body(value.size() + 1, 0);
  std::copy(value.begin(), value.end(), body.begin() + 1);
  return body;
}

// An ID3v2.3 tag with title, artist, album, track and a JPEG-like cover, in
// front of a short constant-bitrate stream.
Bytes track(int index, int count, size_t coverBytes) {
  Bytes frames;
  frame(frames, "TIT2", text("Track " + std::to_string(index + 1)));
  frame(frames, "TPE1", text("Artist " + std::to_string(index % 50)));
  frame(frames, "TALB", text("Album " + std::to_string(index / 12)));
  frame(frames, "TRCK", text(std::to_string(index % 12 + 1) + "/" + std::to_string(count)));
  if (coverBytes > 0) {
    Bytes cover = text("image/jpeg");
    cover.push_back(0);
    cover.push_back(3);  // front cover
    cover.push_back(0);  // no description
    const Bytes jpeg = {0xFF, 0xD8, 0xFF, 0xE0};
    cover.insert(cover.end(), jpeg.begin(), jpeg.end());
    for (size_t i = jpeg.size(); i < coverBytes; ++i) cover.push_back(static_cast<uint8_t>((i * 31 + index) & 0xFF));
    frame(frames, "APIC", cover);
  }
  Bytes file = {'I', 'D', '3', 3, 0, 0};
  putU32(file, static_cast<uint32_t>(frames.size()), true);
  file.insert(file.end(), frames.begin(), frames.end());
  for (int i = 0; i < kAudioFrames; ++i) {
    const Bytes header = {0xFF, 0xFB, 0x90, 0x00};
    file.insert(file.end(), header.begin(), header.end());
    file.insert(file.end(), kFrameBytes - header.size(), 0);
  }
  return file;
}

void makeFolder(const std::string& folder, int count, size_t coverBytes) {
  const std::string stamp = folder + "/.complete-" + std::to_string(count) + "-" + std::to_string(coverBytes);
  if (fs::exists(stamp)) return;
  fs::create_directories(folder);
  for (int i = 0; i < count; ++i) {
    const Bytes bytes = track(i, count, coverBytes);
    char name[32];
    std::snprintf(name, sizeof name, "/%05d.mp3", i);
    std::ofstream(folder + name, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                         static_cast<std::streamsize>(bytes.size()));
  }
  std::ofstream(stamp).put('\n');
}

long peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

qint64 threadCpuNs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<qint64>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// The longest gap between two ticks of a timer on the main thread, and how
// much of it the main thread spent working: the rest it waited for a core
// (other processes, the workers) or for the system.
class StallWatch {
 public:
  StallWatch() {
    timer_.setInterval(kTickMs);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const qint64 now = clock_.nsecsElapsed();
      const qint64 cpu = threadCpuNs();
      if (now - last_ > longest_) {
        longest_ = now - last_;
        longestCpu_ = cpu - lastCpu_;
        longestEnd_ = now;
      }
      last_ = now;
      lastCpu_ = cpu;
    });
  }
  void start() {
    longest_ = longestCpu_ = longestEnd_ = 0;
    clock_.start();
    last_ = 0;
    lastCpu_ = threadCpuNs();
    timer_.start();
  }
  void stop() { timer_.stop(); }
  double longestMs() const { return static_cast<double>(longest_) / 1e6; }
  double longestCpuMs() const { return static_cast<double>(longestCpu_) / 1e6; }
  std::string text() const {
    char line[128];
    std::snprintf(line, sizeof line, "%.1f ms (main thread busy %.1f ms of it), ending %.0f ms in", longestMs(),
                  longestCpuMs(), static_cast<double>(longestEnd_) / 1e6);
    return line;
  }

 private:
  QTimer timer_;
  QElapsedTimer clock_;
  qint64 last_ = 0;
  qint64 lastCpu_ = 0;
  qint64 longest_ = 0;
  qint64 longestCpu_ = 0;
  qint64 longestEnd_ = 0;
};

// Calls `painted` whenever the widget has painted itself.
class PaintWatch : public QObject {
 public:
  PaintWatch(QWidget* widget, std::function<void()> painted) : painted_(std::move(painted)) {
    widget->installEventFilter(this);
  }
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) painted_();
    return false;
  }

 private:
  std::function<void()> painted_;
};

// Runs the event loop, idle between events as the program's own loop is,
// until `done` holds; `changed` is a signal after which it may hold.
template <typename Signal>
void waitUntil(const melos::ui::GroupWindow* sender, Signal changed, const std::function<bool()>& done) {
  QEventLoop loop;
  QObject::connect(sender, changed, &loop, [&] {
    if (done()) loop.quit();
  });
  if (!done()) loop.exec();
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  melos::keepFreedMemoryForReuse();  // as the editor starts
  QApplication app(argc, argv);
  std::string folder;
  std::string melos;
  int count = 2000;
  size_t cover = 64 * 1024;
  int jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  bool run = true;
  const QStringList args = app.arguments();
  for (int i = 1; i < args.size(); ++i) {
    const QString arg = args[i];
    const auto next = [&] { return i + 1 < args.size() ? args[++i] : QString(); };
    if (arg == QLatin1String("--folder")) folder = next().toStdString();
    else if (arg == QLatin1String("--count")) count = next().toInt();
    else if (arg == QLatin1String("--cover")) cover = next().toULongLong();
    else if (arg == QLatin1String("--jobs")) jobs = next().toInt();
    else if (arg == QLatin1String("--melos")) melos = next().toStdString();
    else if (arg == QLatin1String("--no-run")) run = false;
  }
  if (folder.empty()) {
    std::fprintf(stderr, "usage: group_window_bench --folder DIR [--count N] [--cover BYTES] [--jobs N]\n");
    return 2;
  }
  makeFolder(folder, count, cover);
  const std::vector<std::string> paths = melos::folderTracks(folder);

  double showMs = 0;
  if (!melos.empty()) {
    QProcess show;
    QStringList showArgs = {QStringLiteral("show"), QStringLiteral("--json"), QStringLiteral("-j"),
                            QString::number(jobs)};
    for (const std::string& path : paths) showArgs.append(QString::fromStdString(path));
    show.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timed;
    timed.start();
    show.start(QString::fromStdString(melos), showArgs);
    show.waitForFinished(-1);
    showMs = static_cast<double>(timed.nsecsElapsed()) / 1e6;
  }

  const fs::path scratch = fs::temp_directory_path() / "melos-group-bench";
  fs::create_directories(scratch);
  melos::PreferencesController preferences(std::make_unique<melos::MemoryPreferenceStore>(), scratch.string());
  preferences.setBoolPreferenceNamed(melos::prefs::kMoveToTrash.key, false);
  preferences.setBoolPreferenceNamed(melos::prefs::kCloseWindow.key, false);
  // The log as the program opens it, at the level of its preferences: the
  // engine's status lines would otherwise go to standard error, one per track.
  melos::openApplicationLog(preferences, (scratch / "melos.log").string());
  melos::ui::DialogQuestions questions;

  StallWatch stalls;
  QElapsedTimer clock;
  clock.start();
  auto* window = new melos::ui::GroupWindow(questions, preferences);
  window->setLoadJobs(jobs);
  // Shown when it first paints; opened as the program opens a group: shown,
  // then given its tracks, with no turn of the event loop between.
  double shownMs = -1;
  PaintWatch painted(window, [&] {
    if (shownMs < 0) shownMs = static_cast<double>(clock.nsecsElapsed()) / 1e6;
  });
  window->show();

  double firstRowMs = -1;
  auto* list = window->findChild<QTableView*>(QStringLiteral("groupTracks"));
  QObject::connect(list->model(), &QAbstractItemModel::rowsInserted, [&] {
    if (firstRowMs < 0) firstRowMs = static_cast<double>(clock.nsecsElapsed()) / 1e6;
  });
  stalls.start();
  const qint64 loadCpuStart = threadCpuNs();
  window->addTracks(paths);
  waitUntil(window, &melos::ui::GroupWindow::loadingFinished, [&] { return !window->loading(); });
  const double allRowsMs = static_cast<double>(clock.nsecsElapsed()) / 1e6;
  stalls.stop();
  const std::string loadStall = stalls.text();
  const double loadCpuMs = static_cast<double>(threadCpuNs() - loadCpuStart) / 1e6;
  const long loadPeak = peakMegabytes();

  std::printf("tracks: %zu (covers %zu bytes), jobs %d\n", window->trackCount(), cover, jobs);
  std::printf("window shown:        %8.1f ms\n", shownMs);
  std::printf("first row:           %8.1f ms\n", firstRowMs);
  std::printf("all rows:            %8.1f ms (main thread busy %.1f ms in all)\n", allRowsMs, loadCpuMs);
  if (!melos.empty())
    std::printf("melos show --json:   %8.1f ms (all rows / show = %.2f)\n", showMs, allRowsMs / showMs);
  std::printf("longest gap loading: %s, ticks every %d ms\n", loadStall.c_str(), kTickMs);
  std::printf("peak RSS loaded:     %8ld MB\n", loadPeak);
  // A click on a column's header: how long it holds the window's thread, and
  // how long until the rows show in the new order, sorted on a worker.
  auto* table = qobject_cast<melos::ui::TrackTableModel*>(list->model());
  for (int column : {1, 2, 7}) {
    QEventLoop sorted;
    const auto connection = QObject::connect(table, &melos::ui::TrackTableModel::sortShown, &sorted, &QEventLoop::quit);
    QElapsedTimer sorting;
    sorting.start();
    list->sortByColumn(column, Qt::AscendingOrder);
    const double clickMs = static_cast<double>(sorting.nsecsElapsed()) / 1e6;
    sorted.exec();
    QObject::disconnect(connection);
    std::printf("sort by column %d:    %8.1f ms on the window's thread, in order after %.1f ms\n", column, clickMs,
                static_cast<double>(sorting.nsecsElapsed()) / 1e6);
  }

  if (run) {
    melos::GroupUpdateOptions options;
    options.pauseBetweenTracks = std::chrono::milliseconds(0);
    options.afterSheet = std::chrono::milliseconds(0);
    window->setRunOptions(options);
    auto* album = window->findChild<QLineEdit*>(QStringLiteral("mT2AlbumField"));
    album->setText(QStringLiteral("Benchmark album"));
    emit album->textEdited(album->text());
    bool ended = false;
    QEventLoop runLoop;
    stalls.start();
    clock.restart();
    window->updateTracks([&](bool) {
      ended = true;
      runLoop.quit();
    });
    if (!ended) runLoop.exec();
    const double runMs = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    stalls.stop();
    const std::string runStall = stalls.text();
    stalls.start();
    waitUntil(window, &melos::ui::GroupWindow::loadingFinished, [&] { return !window->loading(); });
    const double reloadMs = static_cast<double>(clock.nsecsElapsed()) / 1e6 - runMs;
    stalls.stop();
    std::printf("update of the album: %8.1f ms, longest gap %s\n", runMs, runStall.c_str());
    std::printf("read again after it: %8.1f ms, longest gap %s\n", reloadMs, stalls.text().c_str());
    std::printf("peak RSS overall:    %8ld MB\n", peakMegabytes());
  }
  delete window;
  std::error_code ignored;
  fs::remove_all(scratch, ignored);
  return 0;
}
