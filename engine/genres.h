#pragma once

#include <array>
#include <string_view>

namespace melos {

inline constexpr int kGenreCount = 80;
inline constexpr int kGenreOther = 12;

// The standard ID3v1 genre list by number, and the same names alphabetically.
extern const std::array<std::string_view, kGenreCount> kGenres;
extern const std::array<std::string_view, kGenreCount> kGenresSorted;

// Entry 12 ("Other") for any number of 80 or more.
std::string_view genreName(unsigned number) noexcept;
// Case-insensitive; no name or no match gives 12 when orOther, else -1.
int genreIndex(std::string_view name, bool orOther) noexcept;

}  // namespace melos
