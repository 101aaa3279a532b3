#pragma once
// Taking tags out of a track file: the ID3v2 tag by a rewrite without it, an
// APE tag at the end of an MP3 file by truncation.

#include <string>

#include "engine/file_io.h"
#include "engine/id3_tag.h"

namespace melos {

// 0 on success, 1 no path, 2 cannot open, 3 no temporary file, 4 audio not
// copied, 5 other failure, 8 the original could not be replaced.
int removeV2FromTrack(ID3Tag& tag, bool moveToTrash, bool keepDates) noexcept;

inline constexpr int64_t kNoApeTag = -1;
inline constexpr int64_t kApeUnreadable = -2;  // logged

// Where the APE tag at the end of an MP3 file begins (its header), which is
// where a cut would start; kNoApeTag or kApeUnreadable otherwise.
int64_t findAPETag(const ID3Tag& tag, const std::string& path, const File& file) noexcept;

// 1 when an APE tag (and any ID3v1 tag behind it) was cut off, else 0.
int stripAPETag(const ID3Tag& tag, const std::string& path) noexcept;
// The same on a file already open for update and locked, with -1 when the
// file could not be read or cut (logged): a caller that was asked to remove the
// APE tag then stops rather than go on as if there were none.
int stripAPETagFrom(const ID3Tag& tag, const std::string& path, const File& file) noexcept;

}  // namespace melos
