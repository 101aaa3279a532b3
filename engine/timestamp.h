#pragma once

#include <string>
#include <string_view>

namespace melos {

// The longest valid prefix of a "YYYY-MM-DD HH:MM:SS" time, zero-padded; empty
// when the year is 1099 or less. The date and time are joined by "T" when
// timeSeparator, else by a blank; zoneSuffix adds "Z" behind a time of day.
// Ranges are checked from above only (a day of 31 passes in any month).
std::string normaliseTimestamp(std::string_view text, bool timeSeparator, bool zoneSuffix) noexcept;

}  // namespace melos
