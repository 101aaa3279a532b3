#include "engine/timestamp.h"

#include <cstdio>

namespace melos {

std::string normaliseTimestamp(std::string_view text, bool timeSeparator, bool zoneSuffix) noexcept {
  try {
    const std::string input(text);
    int year = -1, month = -1, day = -1, hour = -1, minute = -1, second = -1;
    char separator = 0;
    // Any one character may stand between the date and the time.
    std::sscanf(input.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d", &year, &month, &day, &separator, &hour,
                &minute, &second);
    if (year <= 1099) return {};

    int parts = 1;
    if (month != -1 && month <= 12) {
      parts = 2;
      if (day != -1 && day <= 31) {
        parts = 3;
        if (hour != -1 && hour <= 23) {
          parts = 4;
          if (minute != -1 && minute <= 59) {
            parts = 5;
            if (second != -1 && second <= 59) parts = 6;
          }
        }
      }
    }

    const char join = timeSeparator ? 'T' : ' ';
    char buffer[64];
    switch (parts) {
      case 1: std::snprintf(buffer, sizeof buffer, "%4d", year); break;
      case 2: std::snprintf(buffer, sizeof buffer, "%4d-%02d", year, month); break;
      case 3: std::snprintf(buffer, sizeof buffer, "%4d-%02d-%02d", year, month, day); break;
      case 4: std::snprintf(buffer, sizeof buffer, "%4d-%02d-%02d%c%02d", year, month, day, join, hour); break;
      case 5:
        std::snprintf(buffer, sizeof buffer, "%4d-%02d-%02d%c%02d:%02d", year, month, day, join, hour, minute);
        break;
      default:
        std::snprintf(buffer, sizeof buffer, "%4d-%02d-%02d%c%02d:%02d:%02d", year, month, day, join, hour,
                      minute, second);
        break;
    }
    std::string out(buffer);
    if (zoneSuffix && parts >= 4) out += 'Z';
    return out;
  } catch (...) {
    return {};
  }
}

}  // namespace melos
