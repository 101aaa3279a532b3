#pragma once
// Stars over the rate byte of the popularity frame (0 to 255). Other players
// read and write the same byte, so the mapping is the one most of them share:
// a set star count writes 1, 64, 128, 196 or 255, and any byte reads back as
// the star count whose band holds it. No stars is the rate 0, which the tag
// writer leaves out (no frame at all).

#include <cstdint>

namespace melos {

inline constexpr int kMaxStars = 5;

// 0 to 5 stars; a count outside is clamped.
uint8_t rateOfStars(int stars) noexcept;
// 0 for 0; 1 for 1-31, 2 for 32-95, 3 for 96-159, 4 for 160-223, 5 for 224-255.
int starsOfRate(uint8_t rate) noexcept;

}  // namespace melos
