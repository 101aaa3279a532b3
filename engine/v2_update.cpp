#include "engine/v2_update.h"

#include <strings.h>
#include <unistd.h>

#include <cerrno>

#include "engine/aiff_copy.h"
#include "engine/compare.h"
#include "engine/file_state.h"
#include "engine/id3v2_reader.h"
#include "engine/log.h"
#include "engine/open_track.h"
#include "engine/tag_writer.h"
#include "engine/trash.h"

namespace melos {

namespace {

constexpr useconds_t kRetryPause = 500;  // microseconds

int resolveVersion(const ID3Tag& tag, int version) {
  if (version <= 2) return chooseSaveVersion(tag);
  return version > 4 ? 4 : version;
}

int writeMp3(ID3Tag& tag, const File& source, OutputFile& output, int version, bool trim, bool keepExtra) {
  Bytes built;
  if (buildV2Tag(tag, built, version, trim, keepExtra) == 0) return kSaveFailed;
  if (!output.write(built)) {
    LogMessage(LogError, "Failed to save the version 2 tag data");
    return kSaveFailed;
  }
  return copyMpegAudio(source, output);
}

int writeAiff(ID3Tag& tag, const File& source, OutputFile& output, int version, bool trim, bool keepExtra) {
  const bool afterSound = tag.id3ChunkAfterSound;
  if (int copied = CopyAiffChunks(tag, source, output, afterSound ? "SSND" : nullptr, nullptr); copied != 0)
    return copied;
  Bytes chunk = {'I', 'D', '3', ' ', 0, 0, 0, 0};
  const uint32_t size = buildV2Tag(tag, chunk, version, trim, keepExtra);
  if (size == 0) return kSaveAiffChunkFailed;
  if (size & 1) chunk.push_back(0);
  writeU32BE(chunk.data() + 4, size);
  if (!output.write(chunk)) {
    LogMessage(LogError, "Failed to save the version 2 tag data");
    return kSaveAiffChunkFailed;
  }
  if (afterSound) return CopyAiffChunks(tag, source, output, nullptr, "SSND");
  uint8_t formSize[4];
  writeU32BE(formSize, static_cast<uint32_t>(output.size() - 8));
  return output.writeAt(4, formSize) ? kSaveOk : kSaveFailed;
}

// A tag data file holds the tag and nothing else.
int writeTagOnly(ID3Tag& tag, OutputFile& output, int version, bool trim, bool keepExtra) {
  Bytes built;
  if (buildV2Tag(tag, built, version, trim, keepExtra) == 0) return kSaveFailed;
  if (output.write(built)) return kSaveOk;
  LogMessage(LogError, "Failed to save the version 2 tag data");
  return kSaveFailed;
}

int saveV2(ID3Tag& tag, bool moveToTrash, int version, bool keepDates, bool trim, int keepExtraFrames,
           const std::string* outputPath) {
  version = resolveVersion(tag, version);
  const bool keepExtra = keepExtraFrames > 0 && keepExtraFrames < 3;
  if (outputPath != nullptr && ::strcasecmp(outputPath->c_str(), tag.path().c_str()) == 0) outputPath = nullptr;
  if (tag.path().empty()) return kSaveNoPath;

  if (!readWhole(tag)) return kSaveCannotOpenSource;
  const std::string target = outputPath != nullptr ? *outputPath : resolveTrackPath(tag.path());
  LogMessage(LogStatus, "Updating V2 to track: %s", outputPath != nullptr ? outputPath->c_str() : tag.path().c_str());
  const std::string source = resolveTrackPath(tag.path());
  const FileState state = recordFileState(source);

  File input = openLocked(source, O_RDONLY);
  if (!input.isOpen()) {
    if (errno == EWOULDBLOCK) logLockHeld(source);
    else LogMessage(LogError, "Failed to open the source for read only (error: %s)", errorText(errno).c_str());
    return kSaveCannotOpenSource;
  }
  OutputFile output = OutputFile::createBeside(target);
  if (!output.isOpen()) {
    LogMessage(LogError, "Failed to open the output file '%s' (error: %s)", output.path().c_str(),
               errorText(errno).c_str());
    return kSaveCannotOpenOutput;
  }

  int result = kSaveFailed;
  if (tag.isMp3File) result = writeMp3(tag, input, output, version, trim, keepExtra);
  else if (tag.isAiffFile) result = writeAiff(tag, input, output, version, trim, keepExtra);
  else if (tag.isTagDataFile) result = writeTagOnly(tag, output, version, trim, keepExtra);
  if (result == kSaveOk && !finishOutput(output, state)) result = kSaveFailed;
  if (result != kSaveOk) {
    output.discard();
    LogMessage(LogError, "An error occurred saving the version 2 tag data.");
    LogMessage(LogError, "NOTE: the original file has not been altered.");
    return result;
  }

  // Another name is a new file: nothing of the original goes to the trash.
  if (!replaceWithTemporary(output.path(), target, moveToTrash && outputPath == nullptr)) {
    output.discard();
    return kSaveCannotReplace;
  }
  output.release();
  input.close();
  if (outputPath != nullptr) tag.setPath(*outputPath);
  tag.v2Changed = false;

  const unsigned code = verifySavedV2(tag, target, version);
  // After the verification, whose reading would give the file a new access date.
  if (keepDates) restoreFileDates(target, state);
  if (code != 0) {
    LogMessage(LogError, "Failed to verify the saved V2 tag data in '%s' (%d:%s)", target.c_str(),
               static_cast<int>(code), compareFieldName(code));
    return kSaveNotVerified;
  }
  return kSaveOk;
}

}  // namespace

int copyMpegAudio(const File& source, OutputFile& output) noexcept {
  const int64_t tagEnd = measureLeadingTag(source);
  const int64_t sourceSize = source.size();
  // A tag that claims to end past the file would leave no audio to copy; the
  // file is broken and is not rewritten into one without its audio.
  bool copied = tagEnd >= 0 && sourceSize >= 0 && tagEnd <= sourceSize;
  if (copied) {
    const auto audio = static_cast<uint64_t>(sourceSize - tagEnd);
    copied = output.copyFrom(source, static_cast<uint64_t>(tagEnd), audio) == audio;
  }
  if (copied) return kSaveOk;
  LogMessage(LogError, "Failed to copy the MPEG data to the output file '%s'", output.path().c_str());
  return kSaveCannotCopyAudio;
}

bool finishOutput(OutputFile& output, const FileState& state) noexcept {
  if (!applyFileMode(output.fd(), state)) {
    LogMessage(LogError, "Failed to give the output file '%s' the original's permissions (error: %s)",
               output.path().c_str(), errorText(errno).c_str());
    return false;
  }
  if (output.finish()) return true;
  LogMessage(LogError, "Failed to flush the output file '%s' (error: %s)", output.path().c_str(),
             errorText(errno).c_str());
  return false;
}

int64_t measureLeadingTag(const File& file) noexcept {
  uint8_t header[10];
  int64_t got = file.readAt(0, header);
  if (got < 0) return -1;
  if (got < static_cast<int64_t>(sizeof header)) return 0;
  int64_t end = ParseV2Header(header, sizeof header);
  if (end == 0) return 0;
  // A 2.4 footer repeats the header behind the frames; it goes with the tag.
  if (header[3] == 4 && (header[5] & 0x10) != 0) {
    uint8_t footer[3];
    got = file.readAt(static_cast<uint64_t>(end), footer);
    if (got < 0) return -1;
    if (got == 3 && footer[0] == '3' && footer[1] == 'D' && footer[2] == 'I') end += 10;
  }
  return end;
}

bool replaceWithTemporary(const std::string& temporary, const std::string& trackPath, bool moveToTrash) noexcept {
  if (moveToTrash) copyToTrash(trackPath);
  if (sys::rename(temporary.c_str(), trackPath.c_str()) == 0) return true;
  ::usleep(kRetryPause);
  if (sys::rename(temporary.c_str(), trackPath.c_str()) == 0) return true;
  LogMessage(LogError, "Failed to replace the temporary file from '%s' to '%s' (%d)", temporary.c_str(),
             trackPath.c_str(), errno);
  return false;
}

unsigned verifySavedV2(const ID3Tag& tag, const std::string& path, int version) noexcept {
  try {
    if (!File::openRead(path).isOpen()) {
      LogMessage(LogWarning, "The saved file '%s' could not be reopened to verify it (error: %s)", path.c_str(),
                 errorText(errno).c_str());
      return 0;
    }
    ID3Tag saved;
    saved.aiffSizeTolerance = tag.aiffSizeTolerance;
    saved.keepMode = tag.keepMode;
    OpenTrack(saved, path, kScanQuick, nullptr, false);
    // A reread that could not read the file has nothing to compare: it cannot
    // say that the tag is there.
    if (saved.readError != 0) return kCompareNoV2Tag;
    return CompareV2Tags(tag, saved, version);
  } catch (...) {
    return kCompareNoV2Tag;
  }
}

int updateV2ToTrack(ID3Tag& tag, bool moveToTrash, int version, bool keepDates, bool trim, int keepExtraFrames,
                    const std::string* outputPath) noexcept {
  try {
    return saveV2(tag, moveToTrash, version, keepDates, trim, keepExtraFrames, outputPath);
  } catch (...) {
    LogMessage(LogError, "Failed to save the version 2 tag to file '%s'", tag.path().c_str());
    return kSaveFailed;
  }
}

}  // namespace melos
