#include "operations/field_checks.h"

#include "engine/text.h"
#include "engine/timestamp.h"
#include "preferences/value_conversion.h"

namespace melos {
namespace {

std::u16string ascii(const std::string& text) { return std::u16string(text.begin(), text.end()); }

std::u16string firstUnits(std::u16string_view text, size_t limit) {
  return std::u16string(text.substr(0, limit));
}

char16_t capital(char16_t c) {
  if ((c >= u'a' && c <= u'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return static_cast<char16_t>(c - 0x20);
  if (c == 0xFF) return 0x178;
  return c;
}

}  // namespace

std::optional<std::u16string> warningTooltip(std::u16string_view text,
                                             const std::optional<std::u16string>& validString) {
  if (text.empty() && !validString) return std::u16string(kEmptyFieldTooltip);
  if (!text.empty() && validString && (validString->empty() || *validString != text)) {
    if (validString->empty()) return std::u16string(kIncorrectFieldTooltip);
    return std::u16string(kEntryResultTooltip) + *validString;
  }
  return std::nullopt;
}

std::optional<std::u16string> validString(CheckedField field, std::u16string_view text) {
  switch (field) {
    case CheckedField::V1Title:
    case CheckedField::V1Artist:
    case CheckedField::V1Album: return firstUnits(text, kV1TextLimit);
    case CheckedField::V1Comment: return firstUnits(text, kV1CommentLimit);
    case CheckedField::V1Track: return v1TrackValidString(text);
    case CheckedField::Isrc: return firstUnits(text, kIsrcLimit);
    case CheckedField::ReleaseTime:
    case CheckedField::RecordTime: return normalisedTimeText(text);
    case CheckedField::InitialKey: return firstUnits(text, kInitialKeyLimit);
    case CheckedField::PodcastId: return std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::u16string> fieldWarning(CheckedField field, std::u16string_view text, bool podcastOn) {
  if (field == CheckedField::PodcastId && !podcastOn) return std::nullopt;
  return warningTooltip(text, validString(field, text));
}

std::u16string v1TrackValidString(std::u16string_view text) {
  // What the field check shows, not the byte stored: "0" and "-1" are shown
  // as they wrap, while the byte rule (v1TrackFor) stores them as none.
  const int value = intValueOfText(u16ToUtf8(text));
  if (value == 255 || value == 256) return {};
  return ascii(std::to_string(value % 256));
}

std::u16string normalisedTimeText(std::u16string_view text) {
  return utf8ToU16(normaliseTimestamp(u16ToUtf8(text), false, false));
}

std::u16string genreEntry(std::u16string_view text) {
  std::u16string out(text);
  if (out.size() == 1) out[0] = capital(out[0]);
  return out;
}

}  // namespace melos
