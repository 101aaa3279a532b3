#pragma once
// The tags of one track as a row of a CSV table. Rows are appended, so that
// exporting track after track into one file builds a table; a new file gets
// the UTF-8 byte order mark and the header first.

#include <string>
#include <string_view>

#include "engine/id3_tag.h"

namespace melos {

inline constexpr int kCsvOpenFailed = 11;

// The header line without its line end; the version adds the 2.4 columns.
std::string csvHeader(int version);
// The field as it stands in the table (quotes doubled, enclosed when needed).
std::string csvField(std::string_view text);
// One data row: every field followed by a comma, then CR LF.
std::string csvRow(const ID3Tag& track, int version);

// Returns 0 (also when the track has no V2 tag and only a header was
// written), kExportNoTrack, kCsvOpenFailed, or the error number of a failed write.
int exportTagAsCsv(const std::string& path, const ID3Tag* track, int version) noexcept;

}  // namespace melos
