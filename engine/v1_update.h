#pragma once
// Saving, verifying and removing the 128-byte ID3v1 tag at the end of an MP3
// file. Only the last 128 bytes change, unless an APE tag in front of them is
// cut too: the file is then rewritten through a temporary copy.

#include "engine/file_io.h"
#include "engine/id3_tag.h"

namespace melos {

// 0 on success, 5 on failure. Writes over an old tag or appends a new one.
// The track's V1 fields are set to what the file will read back as (cut to
// their widths, trimmed with the flag, an unset track or genre as it reads),
// so that the verification compares like with like.
int saveV1(ID3Tag& tag, const File& file, bool trim) noexcept;

// 0, 1 (not an MP3 or no path), 2 (cannot open), 5 (failure), 7 (not verified).
// With removeApe an APE tag is cut first, and the new V1 tag is still written.
int updateV1ToTrack(ID3Tag& tag, bool removeApe, bool keepDates, bool trim) noexcept;

// 0, 1, 2, 5, or 9 when the truncation failed.
int removeV1FromTrack(ID3Tag& tag, bool removeApe, bool keepDates) noexcept;

// The 128 bytes of a V1 tag as saved.
void buildV1Block(const V1Tag& tag, bool trim, uint8_t* block) noexcept;

}  // namespace melos
