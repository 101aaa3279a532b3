#include "engine/v1_update.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "engine/compare.h"
#include "engine/file_state.h"
#include "engine/genres.h"
#include "engine/id3v1.h"
#include "engine/log.h"
#include "engine/output_file.h"
#include "engine/tag_removal.h"
#include "engine/text.h"
#include "engine/v2_update.h"

namespace melos {

namespace {

std::string fieldAsSaved(const std::string& text, size_t width, bool trim) {
  std::string field = text.substr(0, width);
  // A zero byte ends the field on reading, so nothing behind it is saved.
  if (size_t zero = field.find('\0'); zero != std::string::npos) field.resize(zero);
  return trim ? std::string(trimLatin1(field)) : field;
}

void put(uint8_t* block, size_t offset, const std::string& text) {
  std::memcpy(block + offset, text.data(), text.size());
}

// The V1 tag as the file will read it back.
V1Tag asSaved(const V1Tag& tag, bool trim) {
  V1Tag saved = tag;
  saved.title = fieldAsSaved(tag.title, kV1TextField, trim);
  saved.artist = fieldAsSaved(tag.artist, kV1TextField, trim);
  saved.album = fieldAsSaved(tag.album, kV1TextField, trim);
  saved.year = fieldAsSaved(tag.year, kV1YearField, trim);
  saved.comment = fieldAsSaved(tag.comment, kV1CommentField, trim);
  if (saved.track == 0) saved.track = kUnsetV1;
  if (saved.genre >= kGenreCount) saved.genre = static_cast<uint8_t>(kGenreOther);
  return saved;
}

// Puts bytes back where a failed save changed them.
void restore(const File& file, uint64_t offset, const Bytes& old, int64_t oldSize) {
  (void)file.writeAt(offset, old);
  (void)sys::ftruncate(file.fd(), oldSize);
}

// Writes the tag over an old one or at the end. A failure puts the old bytes
// back, so the file is either as it was or fully saved.
int writeV1(ID3Tag& tag, const File& file, bool trim) noexcept {
  uint64_t reached = 0;
  try {
    const int64_t size = file.size();
    const int present = hasV1Tag(file);
    if (size < 0 || present < 0) {
      LogMessage(LogError, "Failed to save the version 1 tag data (pos %lu)", 0ul);
      LogMessage(LogError, "The end of the file could not be read (error: %s)", errorText(errno).c_str());
      return 5;
    }
    const uint64_t offset = present == 1 ? static_cast<uint64_t>(size) - kV1TagSize : static_cast<uint64_t>(size);
    Bytes old(static_cast<size_t>(std::min<uint64_t>(kV1TagSize, static_cast<uint64_t>(size) - offset)));
    if (file.readAt(offset, old) != static_cast<int64_t>(old.size())) {
      LogMessage(LogError, "Failed to save the version 1 tag data (pos %lu)", 0ul);
      LogMessage(LogError, "The end of the file could not be read (error: %s)", errorText(errno).c_str());
      return 5;
    }
    uint8_t block[kV1TagSize];
    buildV1Block(tag.v1, trim, block);
    reached = static_cast<uint64_t>(file.writeAt(offset, block));
    const int error = reached < kV1TagSize ? errno : 0;
    if (reached < kV1TagSize) {
      restore(file, offset, old, size);
      LogMessage(LogError, "Failed to save the version 1 tag data (pos %lu)", static_cast<unsigned long>(reached));
      LogMessage(LogError, "The version 1 tag could not be written (error: %s)", errorText(error).c_str());
      return 5;
    }
    tag.v1 = asSaved(tag.v1, trim);
    return 0;
  } catch (...) {
    LogMessage(LogError, "Failed to save the version 1 tag data (pos %lu)", static_cast<unsigned long>(reached));
    return 5;
  }
}

// The file up to the APE tag, then the new V1 tag, through a temporary copy
// that takes the original's place in one rename: cutting in place and then
// writing would leave, after a crash between the two, a file with neither the
// old tags nor the new one.
int replaceApeWithV1(ID3Tag& tag, const File& file, const std::string& path, const FileState& state, bool trim,
                     int64_t apeStart) {
  OutputFile output = OutputFile::createBeside(path);
  if (!output.isOpen()) {
    LogMessage(LogError, "Failed to open the output file '%s' (error: %s)", output.path().c_str(),
               errorText(errno).c_str());
    LogMessage(LogError, "NOTE: the original file has not been altered.");
    return 5;
  }
  uint8_t block[kV1TagSize];
  buildV1Block(tag.v1, trim, block);
  const auto kept = static_cast<uint64_t>(apeStart);
  if (output.copyFrom(file, 0, kept) != kept || !output.write(ByteSpan(block, sizeof block)) ||
      !finishOutput(output, state)) {
    const int error = errno;
    output.discard();
    LogMessage(LogError, "Failed to save the version 1 tag data (pos %lu)", 0ul);
    LogMessage(LogError, "The file could not be copied without its APE tag (error: %s)", errorText(error).c_str());
    LogMessage(LogError, "NOTE: the original file has not been altered.");
    return 5;
  }
  if (!replaceWithTemporary(output.path(), path, false)) {
    output.discard();
    return 5;
  }
  output.release();
  tag.v1 = asSaved(tag.v1, trim);
  return 0;
}

int updateV1(ID3Tag& tag, bool removeApe, bool keepDates, bool trim) {
  if (!tag.isMp3File || tag.path().empty()) return 1;
  if (!readWhole(tag)) return 2;
  const std::string path = resolveTrackPath(tag.path());
  LogMessage(LogStatus, "Updating ID3 V1 to track: %s", tag.path().c_str());
  const FileState state = recordFileState(path);

  File file = openLocked(path, O_RDWR);
  if (!file.isOpen()) {
    if (errno == EWOULDBLOCK) logLockHeld(path);
    else LogMessage(LogError, "Failed to open the file '%s' for writing (error: %s)", path.c_str(),
                    errorText(errno).c_str());
    return 2;
  }
  // Cutting an APE tag takes the old V1 tag with it; the new one is written
  // all the same, so that the save leaves the tag the user asked for.
  const int64_t apeStart = removeApe ? findAPETag(tag, path, file) : kNoApeTag;
  if (apeStart == kApeUnreadable) return 5;
  const int saved = apeStart >= 0 ? replaceApeWithV1(tag, file, path, state, trim, apeStart) : writeV1(tag, file, trim);
  if (saved != 0) return saved;
  file.close();
  tag.v1Changed = false;

  if (keepDates) restoreFileDates(path, state);

  ID3Tag reread;
  reread.isMp3File = true;
  reread.v1.track = kUnsetV1;
  reread.v1.genre = kUnsetV1;
  if (File check = File::openRead(path); check.isOpen()) loadV1(reread, check);
  if (reread.readError != 0) {
    LogMessage(LogError, "Failed to verify the saved V1 tag data in '%s' (error: %s)", path.c_str(),
               errorText(reread.readError).c_str());
    return 7;
  }
  if (unsigned code = CompareV1Tags(tag, reread); code != 0) {
    LogMessage(LogError, "Failed to verify the saved V1 tag data in '%s' (%d:%s)", path.c_str(),
               static_cast<int>(code), compareFieldName(code + 100));
    return 7;
  }
  return 0;
}

int removeV1(ID3Tag& tag, bool removeApe, bool keepDates) {
  if (!tag.isMp3File || tag.path().empty()) return 1;
  if (!readWhole(tag)) return 2;
  const std::string path = resolveTrackPath(tag.path());
  LogMessage(LogStatus, "Removing V1 from track: %s", tag.path().c_str());
  const FileState state = recordFileState(path);

  File file = openLocked(path, O_RDWR);
  if (!file.isOpen()) {
    if (errno == EWOULDBLOCK) logLockHeld(path);
    else LogMessage(LogError, "Failed to open the file '%s' to remove the version 1 tag (error: %s)", path.c_str(),
                    errorText(errno).c_str());
    return 2;
  }
  const int apeCut = removeApe ? stripAPETagFrom(tag, path, file) : 0;
  if (apeCut < 0) return 5;
  if (apeCut == 0) {
    const int present = hasV1Tag(file);
    if (present < 0) {
      LogMessage(LogError, "Failed to remove the version 1 tag from '%s' (error: %s)", path.c_str(),
                 errorText(errno).c_str());
      return 5;
    }
    if (present == 1 && sys::ftruncate(file.fd(), file.size() - static_cast<int64_t>(kV1TagSize)) != 0) {
      LogMessage(LogError, "Failed to remove the version 1 tag from '%s' (error: %s)", path.c_str(),
                 errorText(errno).c_str());
      return 9;
    }
  }
  file.close();
  tag.v1Changed = false;
  if (keepDates) restoreFileDates(path, state);
  return 0;
}

}  // namespace

void buildV1Block(const V1Tag& tag, bool trim, uint8_t* block) noexcept {
  std::memset(block, 0, kV1TagSize);
  std::memcpy(block, "TAG", 3);
  try {
    const V1Tag saved = asSaved(tag, trim);
    put(block, 3, saved.title);
    put(block, 33, saved.artist);
    put(block, 63, saved.album);
    put(block, 93, saved.year);
    put(block, 97, saved.comment);
  } catch (...) {
  }
  block[126] = tag.track >= 1 && tag.track <= 254 ? tag.track : 0;
  block[127] = tag.genre;
}

int saveV1(ID3Tag& tag, const File& file, bool trim) noexcept { return writeV1(tag, file, trim); }

int updateV1ToTrack(ID3Tag& tag, bool removeApe, bool keepDates, bool trim) noexcept {
  try {
    return updateV1(tag, removeApe, keepDates, trim);
  } catch (...) {
    LogMessage(LogError, "Failed to save the version 1 tag to file '%s'", tag.path().c_str());
    return 5;
  }
}

int removeV1FromTrack(ID3Tag& tag, bool removeApe, bool keepDates) noexcept {
  try {
    return removeV1(tag, removeApe, keepDates);
  } catch (...) {
    LogMessage(LogError, "Failed to remove the version 1 tag from '%s'", tag.path().c_str());
    return 5;
  }
}

}  // namespace melos
