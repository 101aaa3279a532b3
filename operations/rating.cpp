#include "operations/rating.h"

#include <algorithm>
#include <array>

namespace melos {

namespace {
constexpr std::array<uint8_t, kMaxStars + 1> kRateOfStars{0, 1, 64, 128, 196, 255};
// The lowest rate of each star count from 1 on.
constexpr std::array<uint8_t, kMaxStars> kBandStart{1, 32, 96, 160, 224};
}  // namespace

uint8_t rateOfStars(int stars) noexcept { return kRateOfStars[static_cast<size_t>(std::clamp(stars, 0, kMaxStars))]; }

int starsOfRate(uint8_t rate) noexcept {
  return static_cast<int>(std::upper_bound(kBandStart.begin(), kBandStart.end(), rate) - kBandStart.begin());
}

}  // namespace melos
