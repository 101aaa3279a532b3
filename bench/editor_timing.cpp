// The single-track editor's two waits that a user feels: from opening a
// track to its window on screen, and how long the window stops answering
// while a large file is saved. A 10 ms timer on the main thread measures the
// longest gap between its ticks during the save; one frame is 16 ms.
//
// Usage: QT_QPA_PLATFORM=offscreen editor_timing [MEGABYTES] [RUNS]
// (default 500 MB, 5 runs of the opening). The file is made in a scratch
// folder and removed at the end.

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "engine/open_track.h"
#include "operations/questions.h"
#include "operations/track_file.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "preferences/store.h"
#include "ui/track_window.h"

namespace fs = std::filesystem;

namespace {

class NoQuestions : public melos::Questions {
 public:
  std::string ask(const std::string&, const std::string&, const std::vector<std::string>& buttons) override {
    return buttons.empty() ? std::string() : buttons.front();
  }
};

// An ID3v2.3 tag with a title and a little padding, then MPEG-1 Layer III
// frames of 128 kbit/s at 44.1 kHz up to the size asked for.
void writeTrack(const std::string& path, uint64_t megabytes) {
  std::ofstream out(path, std::ios::binary);
  const std::string title = "Large track";
  std::string frame = "TIT2";
  const uint32_t body = static_cast<uint32_t>(title.size() + 1);
  frame += {char(body >> 24), char(body >> 16), char(body >> 8), char(body), 0, 0, 0};
  frame += title;
  const uint32_t tagSize = static_cast<uint32_t>(frame.size() + 64);
  std::string tag = {'I', 'D', '3', 3, 0, 0, char((tagSize >> 21) & 0x7F), char((tagSize >> 14) & 0x7F),
                     char((tagSize >> 7) & 0x7F), char(tagSize & 0x7F)};
  tag += frame + std::string(64, '\0');
  out.write(tag.data(), static_cast<std::streamsize>(tag.size()));
  std::string mpeg(417, '\0');
  mpeg[0] = char(0xFF), mpeg[1] = char(0xFB), mpeg[2] = char(0x90), mpeg[3] = char(0x64);
  std::string block;
  for (int i = 0; i < 2500; ++i) block += mpeg;
  for (uint64_t written = 0; written < megabytes << 20; written += block.size())
    out.write(block.data(), static_cast<std::streamsize>(block.size()));
}

double threadCpuMs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

template <typename Done>
void waitFor(Done done) {
  while (!done()) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

}  // namespace

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  const uint64_t megabytes = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 500;
  const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
  const fs::path folder = fs::temp_directory_path() / "melos-editor-timing";
  fs::create_directories(folder);
  const std::string path = (folder / "large.mp3").string();
  writeTrack(path, megabytes);

  melos::PreferencesController preferences(std::make_unique<melos::MemoryPreferenceStore>(), folder.string());
  preferences.setBoolPreferenceNamed(melos::prefs::kMoveToTrash.key, false);
  preferences.setBoolPreferenceNamed(melos::prefs::kCloseWindow.key, false);
  NoQuestions questions;

  std::vector<double> opening;
  for (int run = 0; run < runs; ++run) {
    QElapsedTimer clock;
    clock.start();
    melos::TrackFile file = melos::openTrackFile(path, melos::kScanQuick);
    if (!file.opened()) return std::fprintf(stderr, "cannot open %s\n", path.c_str()), 1;
    auto* window = new melos::ui::TrackWindow(std::move(file.track), preferences, questions);
    window->show();
    waitFor([window] { return window->windowHandle() != nullptr && window->windowHandle()->isExposed(); });
    QCoreApplication::processEvents();
    opening.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    delete window;
  }
  std::sort(opening.begin(), opening.end());

  melos::TrackFile file = melos::openTrackFile(path, melos::kScanQuick);
  melos::ui::TrackWindow window(std::move(file.track), preferences, questions);
  window.show();
  waitFor([&window] { return window.windowHandle()->isExposed(); });
  // A title longer than the padding: the whole file is written anew.
  auto* title = window.findChild<QLineEdit*>(QStringLiteral("mT2Title"));
  const QString longTitle(2000, QLatin1Char('t'));
  title->setText(longTitle);
  emit title->textEdited(longTitle);

  // Beside each gap, the processor time this thread spent in it: a gap the
  // thread spent working is the window's own stall, the rest is waiting for
  // a core on a busy machine.
  qint64 longestGap = 0;
  double longestGapBusy = 0;
  int ticks = 0;
  QElapsedTimer sinceTick;
  double cpuAtTick = threadCpuMs();
  QTimer timer;
  timer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer, &QTimer::timeout, [&] {
    const double cpu = threadCpuMs();
    if (sinceTick.nsecsElapsed() > longestGap) {
      longestGap = sinceTick.nsecsElapsed();
      longestGapBusy = cpu - cpuAtTick;
    }
    cpuAtTick = cpu;
    sinceTick.restart();
    ++ticks;
  });
  QElapsedTimer saving;
  saving.start();
  sinceTick.start();
  timer.start(10);
  window.updateTag();
  waitFor([&window] { return !window.isBusy(); });
  timer.stop();
  const double saveSeconds = static_cast<double>(saving.nsecsElapsed()) / 1e9;
  const bool saved = melos::openTrackFile(path, melos::kScanQuick).track->tagData.title.length() == 2000;

  std::printf("file: %llu MB\n", static_cast<unsigned long long>(megabytes));
  std::printf("open to shown: median %.1f ms, best %.1f ms, worst %.1f ms (%d runs)\n", opening[opening.size() / 2],
              opening.front(), opening.back(), runs);
  std::printf("save: %.2f s, %s; timer ticks %d; longest gap between 10 ms ticks %.1f ms, %.1f ms of it working\n",
              saveSeconds, saved ? "written" : "NOT WRITTEN", ticks, static_cast<double>(longestGap) / 1e6,
              longestGapBusy);
  fs::remove_all(folder);
  return saved ? 0 : 1;
}
