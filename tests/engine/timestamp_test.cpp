#include "engine/timestamp.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

TEST(Timestamp, Normalise) {
  const struct { const char* text; bool separator, zone; const char* result; } cases[] = {
      {"2007-5-3 9:7", false, false, "2007-05-03 09:07"}, {"2007-5-3 9:7", true, false, "2007-05-03T09:07"},
      {"2007-5-3 9:7", true, true, "2007-05-03T09:07Z"},  {"2007-05-03T09:07:05", false, false, "2007-05-03 09:07:05"},
      {"2007-05-03x09", true, false, "2007-05-03T09"},    {"2007-05-03x09", true, true, "2007-05-03T09Z"},
      {"2007-05-03", true, true, "2007-05-03"} /* no time of day, no zone */, {"1099", false, false, ""},
      {"1100", false, false, "1100"}, {"2007-13", false, false, "2007"},
      {"2007-02-30", false, false, "2007-02-30"} /* days are checked against 31 only */,
      {"2007-02-32", false, false, "2007-02"}, {"2007-02-03 24:00", false, false, "2007-02-03"},
      {"2007-02-03 23:60", false, false, "2007-02-03 23"}, {"2007-02-03 23:59:60", false, false, "2007-02-03 23:59"},
      {"", false, false, ""}, {"soon", false, false, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(normaliseTimestamp(c.text, c.separator, c.zone), c.result) << c.text;
}

}  // namespace
}  // namespace melos
