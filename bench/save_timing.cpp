// Times a save of a changed ID3v2 tag into a file next to `cp` of the same
// file, in the same run, on the same disk: the save's goal is to cost about
// what a copy costs. The save flushes its file before it replaces the
// original and `cp` does not, so `cp` followed by a flush of its copy is
// timed as well, as the copy of equal durability.
//
// Usage: save_timing FILE [RUNS]   (FILE is copied; the original is not touched)

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/log.h"
#include "engine/open_track.h"
#include "engine/v2_update.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

bool runCp(const std::string& from, const std::string& to) {
  pid_t child = ::fork();
  if (child == 0) {
    ::execlp("cp", "cp", from.c_str(), to.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool flushFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY);
  if (fd < 0) return false;
  const bool flushed = ::fsync(fd) == 0;
  ::close(fd);
  return flushed;
}

// Each timed step starts on a quiet disk: no writeback or journal commit left
// over from the step before it is charged to the next.
void settle(const std::string& folder) {
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd < 0) return;
  ::syncfs(fd);
  ::close(fd);
}

// The seconds of the save alone, or a negative number when it failed.
double timedSave(const std::string& track, bool moveToTrash, int run) {
  melos::ID3Tag tag;
  if (melos::OpenTrack(tag, track, melos::kScanQuick, nullptr, true) == 0) {
    std::fprintf(stderr, "cannot open %s\n", track.c_str());
    return -1;
  }
  tag.tagData.title = melos::UnicodeText::latin1("Saved " + std::to_string(run));
  settle(fs::path(track).parent_path());
  const auto start = Clock::now();
  const int result = melos::updateV2ToTrack(tag, moveToTrash, 3, false, false, 1);
  const double seconds = secondsSince(start);
  if (result == 0) return seconds;
  std::fprintf(stderr, "save failed with %d\n", result);
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: save_timing FILE [RUNS]\n");
    return 2;
  }
  const std::string source = argv[1];
  const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 21;
  const fs::path folder = fs::absolute(fs::path(source).parent_path() / "save-timing");
  fs::remove_all(folder);
  fs::create_directories(folder / "data");
  // The trash of the default preference, on the same disk as the track.
  ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
  const std::string track = (folder / fs::path(source).filename()).string();
  const std::string copy = (folder / "copy.mp3").string();
  fs::copy_file(source, track, fs::copy_options::overwrite_existing);
  melos::SetLogLevel(melos::LogError);

  // Interleaved, so that a slow moment of the disk falls on all of them alike.
  std::vector<double> trashed, untrashed, copies, flushedCopies;
  for (int run = 0; run < runs; ++run) {
    for (const bool moveToTrash : {true, false}) {
      const double seconds = timedSave(track, moveToTrash, run);
      if (seconds < 0) return 1;
      (moveToTrash ? trashed : untrashed).push_back(seconds);
    }
    fs::remove(copy);
    settle(folder);
    auto start = Clock::now();
    if (!runCp(track, copy)) return 1;
    copies.push_back(secondsSince(start));
    fs::remove(copy);
    settle(folder);
    start = Clock::now();
    if (!runCp(track, copy) || !flushFile(copy)) return 1;
    flushedCopies.push_back(secondsSince(start));
    fs::remove_all(folder / "data" / "Trash");
  }
  const double cp = median(copies);
  const auto row = [cp](const char* label, double seconds) {
    std::printf("%-40s %7.2f ms  %5.2f x cp\n", label, seconds * 1e3, seconds / cp);
  };
  std::printf("file: %.1f MB, %d runs of each (medians)\n",
              static_cast<double>(fs::file_size(track)) / 1e6, runs);
  row("save of a changed tag (trash on)", median(trashed));
  row("save of a changed tag (trash off)", median(untrashed));
  row("cp of the same file", cp);
  row("cp, then fsync of the copy", median(flushedCopies));
  fs::remove_all(folder);
  return 0;
}
