// Saves and removes tags in arbitrary bytes opened as an MP3 and as an AIFF
// file: the writer walks the same hostile containers as the reader, and what it
// leaves behind must open again.

#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "engine/id3_tag.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "engine/tag_removal.h"
#include "engine/v1_update.h"
#include "engine/v2_update.h"

namespace {

std::string& folder() {
  static std::string dir = [] {
    std::string pattern = (std::filesystem::temp_directory_path() / "melos-fuzz-rw-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    // The trash copies of the saves stay inside the folder.
    setenv("XDG_DATA_HOME", pattern.c_str(), 1);
    return pattern;
  }();
  return dir;
}

bool writeInput(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

void reopen(const std::string& path) {
  melos::ID3Tag again;
  melos::OpenTrack(again, path, melos::kScanQuick, nullptr, false);
}

void exercise(const std::string& path, const uint8_t* data, size_t size) {
  if (!writeInput(path, data, size)) std::abort();
  melos::ID3Tag track;
  melos::OpenTrack(track, path, melos::kScanQuick, nullptr, false);
  track.setPath(path);
  track.tagData.title = melos::UnicodeText::utf16(u"Fuzz \u00e9");
  track.tagData.picdata.push_back({melos::Bytes(3, 0xAA), "jpeg"});
  track.id3ChunkAfterSound = size % 2 == 0;
  melos::updateV2ToTrack(track, size % 3 == 0, 4, true, true, 1);
  reopen(path);
  track.v1.enabled = true;
  track.v1.title = "Fuzz";
  melos::updateV1ToTrack(track, true, false, true);
  melos::removeV2FromTrack(track, false, false);
  reopen(path);
  melos::stripAPETag(track, path);
  melos::removeV1FromTrack(track, true, false);
  reopen(path);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static FILE* sink = std::fopen("/dev/null", "a");
  melos::AttachLogStream(melos::LogDebug, sink, "fuzz", true, 3, 1);
  folder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  exercise(folder() + "/input.mp3", data, size);
  exercise(folder() + "/input.aif", data, size);
  // The trash keeps one copy per save; it must not fill the disk.
  std::error_code ignored;
  std::filesystem::remove_all(folder() + "/Trash", ignored);
  return 0;
}
