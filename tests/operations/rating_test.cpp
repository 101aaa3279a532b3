// Stars and the popularity frame's rate byte, both ways, at every band edge.

#include "operations/rating.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

TEST(Rating, StarsWriteTheSharedRatesAndEveryRateReadsAsItsBand) {
  const int written[][2] = {{0, 0}, {1, 1}, {2, 64}, {3, 128}, {4, 196}, {5, 255}, {-1, 0}, {6, 255}};
  for (const auto& [stars, rate] : written) EXPECT_EQ(rateOfStars(stars), rate) << stars;
  const int read[][2] = {{0, 0}, {1, 1}, {31, 1}, {32, 2}, {95, 2}, {96, 3}, {159, 3},
                         {160, 4}, {223, 4}, {224, 5}, {255, 5}};
  for (const auto& [rate, stars] : read) EXPECT_EQ(starsOfRate(static_cast<uint8_t>(rate)), stars) << rate;
}

}  // namespace
}  // namespace melos
