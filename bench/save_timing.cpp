// Times a save of a changed ID3v2 tag into a file next to `cp` of the same
// file, in the same run, on the same disk: the save's goal is to cost about
// what a copy costs.
//
// Usage: save_timing FILE [RUNS]   (FILE is copied; the original is not touched)

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

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: save_timing FILE [RUNS]\n");
    return 2;
  }
  const std::string source = argv[1];
  const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 9;
  const fs::path folder = fs::path(source).parent_path() / "save-timing";
  fs::create_directories(folder);
  const std::string track = (folder / fs::path(source).filename()).string();
  const std::string copy = (folder / "copy.mp3").string();
  fs::copy_file(source, track, fs::copy_options::overwrite_existing);
  melos::SetLogLevel(melos::LogError);

  std::vector<double> saves, copies;
  for (int run = 0; run < runs; ++run) {
    melos::ID3Tag tag;
    if (melos::OpenTrack(tag, track, melos::kScanQuick, nullptr, true) == 0) {
      std::fprintf(stderr, "cannot open %s\n", track.c_str());
      return 1;
    }
    tag.tagData.title = melos::UnicodeText::latin1("Saved " + std::to_string(run));
    auto start = Clock::now();
    const int result = melos::updateV2ToTrack(tag, false, 3, false, false, 1);
    saves.push_back(secondsSince(start));
    if (result != 0) {
      std::fprintf(stderr, "save failed with %d\n", result);
      return 1;
    }
    fs::remove(copy);
    start = Clock::now();
    if (!runCp(track, copy)) return 1;
    copies.push_back(secondsSince(start));
  }
  const double save = median(saves), cp = median(copies);
  std::printf("file: %.1f MB, %d runs (medians)\n", static_cast<double>(fs::file_size(track)) / 1e6, runs);
  std::printf("save of a changed tag: %.2f ms\n", save * 1e3);
  std::printf("cp of the same file:   %.2f ms\n", cp * 1e3);
  std::printf("save / cp:             %.2f\n", save / cp);
  fs::remove_all(folder);
  return 0;
}
