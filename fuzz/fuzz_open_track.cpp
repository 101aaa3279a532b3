// Opens arbitrary bytes as each kind of track, in each scan mode, and compares
// the result with itself and with a copy: every reader of a file's bytes runs.

#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "engine/compare.h"
#include "engine/id3_tag.h"
#include "engine/log.h"
#include "engine/open_track.h"

namespace {

// One folder per process: the inputs are written to files because the engine
// reads tracks from paths, and making a folder per input would cost more than
// the opening itself.
class Workspace {
 public:
  Workspace() {
    std::string pattern = (std::filesystem::temp_directory_path() / "melos-fuzz-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("mkdtemp");
      std::abort();
    }
    dir_ = pattern;
    paths_[0] = dir_ + "/input.mp3";
    paths_[1] = dir_ + "/input.aif";
    paths_[2] = dir_ + "/input.tdf";
  }
  ~Workspace() {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  const std::string (&paths() const)[3] { return paths_; }

 private:
  std::string dir_;
  std::string paths_[3];
};

Workspace& workspace() {
  static Workspace instance;
  return instance;
}

bool writeInput(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

void ignoreProgress(const char*, int, void*) {}

void exercise(const std::string& path, int scanMode, bool withProgress) {
  melos::ID3Tag track;
  const melos::ProgressCallback progress{&ignoreProgress, nullptr};
  melos::OpenTrack(track, path, scanMode, withProgress ? &progress : nullptr, false);
  melos::CompareV2Tags(track, track, track.v2Version);
  melos::CompareV1Tags(track, track);
  const melos::ID3Tag copy(track);
  melos::CompareV2Tags(track, copy, 4);
  melos::CompareV1Tags(track, copy);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Every level is formatted, so the log's own code runs on the engine's
  // messages about hostile files, but nothing reaches the terminal.
  static FILE* sink = std::fopen("/dev/null", "a");
  melos::AttachLogStream(melos::LogDebug, sink, "fuzz", true, 3, 1);
  workspace();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const std::string& path : workspace().paths()) {
    if (!writeInput(path, data, size)) std::abort();
    exercise(path, melos::kScanFull, false);
    exercise(path, melos::kScanQuick, true);
  }
  return 0;
}
