#include "engine/tag_removal.h"

#include <cerrno>
#include <cstring>

#include "engine/aiff_copy.h"
#include "engine/file_state.h"
#include "engine/id3v1.h"
#include "engine/log.h"
#include "engine/output_file.h"
#include "engine/v2_update.h"

namespace melos {

namespace {

constexpr size_t kApeFooterSize = 32;

bool isApeId(const uint8_t* bytes) {
  return equalsNoCase(std::string_view(reinterpret_cast<const char*>(bytes), 8), "APETAGEX");
}

uint32_t readU32LE(const uint8_t* p) {
  return uint32_t{p[0]} | (uint32_t{p[1]} << 8) | (uint32_t{p[2]} << 16) | (uint32_t{p[3]} << 24);
}

int64_t unreadable(const std::string& path) {
  LogMessage(LogError, "Failed to remove the APE tag from '%s'", path.c_str());
  LogMessage(LogError, "The end of the file could not be read (error: %s)", errorText(errno).c_str());
  return kApeUnreadable;
}

int copyWithoutV2(ID3Tag& tag, const File& input, OutputFile& output) {
  if (tag.isAiffFile) return CopyAiffChunks(tag, input, output, nullptr, nullptr);
  if (!tag.isMp3File) {
    LogMessage(LogError, "A tag data file holds nothing but its tag; it was left as it is");
    return 5;
  }
  return copyMpegAudio(input, output);
}

int removeV2(ID3Tag& tag, bool moveToTrash, bool keepDates) {
  if (tag.path().empty()) return 1;
  if (!readWhole(tag)) return 2;
  const std::string path = resolveTrackPath(tag.path());
  LogMessage(LogStatus, "Removing V2 from track: %s", tag.path().c_str());
  const FileState state = recordFileState(path);

  File input = openLocked(path, O_RDONLY);
  if (!input.isOpen()) {
    if (errno == EWOULDBLOCK) logLockHeld(path);
    else LogMessage(LogError, "Failed to open the file '%s' for reading to remove the version 2 tag (error: %s)",
                    path.c_str(), errorText(errno).c_str());
    return 2;
  }
  OutputFile output = OutputFile::createBeside(path);
  if (!output.isOpen()) {
    LogMessage(LogError, "Failed to open the temporary file to remove the version 2 tag (error: %s)",
               errorText(errno).c_str());
    return 3;
  }
  int result = copyWithoutV2(tag, input, output);
  if (result == 0 && !finishOutput(output, state)) result = 5;
  if (result != 0) {
    output.discard();
    LogMessage(LogError, "An error occurred saving the file without the version 2 tag data.");
    LogMessage(LogError, "NOTE: the original file has not been altered.");
    return result;
  }
  // A failed replacement is reported like the writer's, not hidden behind 0.
  if (!replaceWithTemporary(output.path(), path, moveToTrash)) {
    output.discard();
    return 8;
  }
  output.release();
  input.close();
  if (keepDates) restoreFileDates(path, state);
  return 0;
}

}  // namespace

int removeV2FromTrack(ID3Tag& tag, bool moveToTrash, bool keepDates) noexcept {
  try {
    return removeV2(tag, moveToTrash, keepDates);
  } catch (...) {
    LogMessage(LogError, "Failed to remove the version 2 tag");
    return 5;
  }
}

int64_t findAPETag(const ID3Tag& tag, const std::string& path, const File& file) noexcept {
  if (!tag.isMp3File) return kNoApeTag;
  try {
    const int64_t size = file.size();
    const int v1 = hasV1Tag(file);
    if (size < 0 || v1 < 0) return unreadable(path);
    const bool v1Behind = v1 == 1;
    const int64_t footer =
        size - static_cast<int64_t>(kApeFooterSize) - (v1Behind ? static_cast<int64_t>(kV1TagSize) : 0);
    if (footer < 0) return kNoApeTag;
    uint8_t bytes[16];
    if (file.readAt(static_cast<uint64_t>(footer), bytes) < 0) return unreadable(path);
    if (!isApeId(bytes)) return kNoApeTag;
    // Behind the identifier: a four-byte version, then the size of the items
    // and the footer, little-endian.
    const int64_t header = footer - readU32LE(bytes + 12);
    if (header < 0) return kNoApeTag;
    uint8_t headerId[8];
    if (file.readAt(static_cast<uint64_t>(header), headerId) < 0) return unreadable(path);
    // A tag without a header is left alone: without it the start is a guess.
    return isApeId(headerId) ? header : kNoApeTag;
  } catch (...) {
    LogMessage(LogError, "Failed to remove the APE tag from '%s'", path.c_str());
    return kApeUnreadable;
  }
}

int stripAPETagFrom(const ID3Tag& tag, const std::string& path, const File& file) noexcept {
  const int64_t header = findAPETag(tag, path, file);
  if (header == kApeUnreadable) return -1;
  if (header < 0) return 0;
  // The cut begins at the header and takes the V1 tag behind the APE tag too.
  if (sys::ftruncate(file.fd(), header) != 0) {
    LogMessage(LogError, "Failed to truncate the file '%s' after removing the APE tag (error: %s)", path.c_str(),
               errorText(errno).c_str());
    return -1;
  }
  return 1;
}

int stripAPETag(const ID3Tag& tag, const std::string& path) noexcept {
  if (!tag.isMp3File || !readWhole(tag)) return 0;
  try {
    const std::string target = resolveTrackPath(path);
    File file = openLocked(target, O_RDWR);
    if (!file.isOpen()) {
      if (errno == EWOULDBLOCK) logLockHeld(target);
      else LogMessage(LogError, "Failed to open the file '%s' to remove the APE tag (error: %s)", target.c_str(),
                      errorText(errno).c_str());
      return 0;
    }
    return stripAPETagFrom(tag, target, file) == 1 ? 1 : 0;
  } catch (...) {
    LogMessage(LogError, "Failed to remove the APE tag from '%s'", path.c_str());
    return 0;
  }
}

}  // namespace melos
