#pragma once
// Saving a track's ID3v2 tag: a new copy of the file with the new tag, put in
// the original's place by one atomic rename, then reopened and compared.

#include <string>

#include "engine/file_state.h"
#include "engine/id3_tag.h"
#include "engine/output_file.h"

namespace melos {

enum V2SaveResult : int {
  kSaveOk = 0,
  kSaveNoPath = 1,
  kSaveCannotOpenSource = 2,
  kSaveCannotOpenOutput = 3,
  kSaveCannotCopyAudio = 4,
  kSaveFailed = 5,
  kSaveAiffChunkFailed = 6,
  kSaveNotVerified = 7,
  kSaveCannotReplace = 8,
};

// Returns a V2SaveResult. A version of 0 (or up to 2) leaves the choice to
// chooseSaveVersion. With an output path (one that differs from the track's
// path, ignoring case) the original stays as it was and the track takes the
// new path. The track's file is locked against other saves meanwhile.
int updateV2ToTrack(ID3Tag& tag, bool moveToTrash, int version, bool keepDates, bool trim,
                    int keepExtraFrames, const std::string* outputPath = nullptr) noexcept;

// Puts the finished temporary file in the place of the track file: a copy of
// the original goes to the trash first when asked, then one rename replaces it,
// so that the track path always names a whole file. False when the rename
// failed (logged); the temporary file is then still there.
bool replaceWithTemporary(const std::string& temporary, const std::string& trackPath, bool moveToTrash) noexcept;

// The end of the ID3v2 tag at the start of an MP3 file (a 2.4 footer
// included), 0 when there is none, -1 when the file cannot be read: a tag
// taken for audio would stay behind the new one.
int64_t measureLeadingTag(const File& file) noexcept;

// Copies everything behind the ID3v2 tag at the start of an MP3 file to the
// output: kSaveOk, else kSaveCannotCopyAudio (logged).
int copyMpegAudio(const File& source, OutputFile& output) noexcept;

// Gives the new copy the original's mode and flushes it to the disk, so that
// what takes the original's place is whole and as accessible as before; a
// failure is logged.
bool finishOutput(OutputFile& output, const FileState& state) noexcept;

// Reopens the saved file as a fresh track and compares its V2 data with what
// was meant to be saved.
// 0 when it verifies (or cannot be reopened), else the comparison code.
unsigned verifySavedV2(const ID3Tag& tag, const std::string& path, int version) noexcept;

}  // namespace melos
