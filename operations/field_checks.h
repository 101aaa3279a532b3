#pragma once
// The checks the editors run on every change of a field's text. A field is
// never blocked: when the text would not be stored as typed, a warning with a
// tooltip tells what will be stored instead. Texts are UTF-16, as the fields
// hold them; lengths count UTF-16 units.

#include <optional>
#include <string>
#include <string_view>

namespace melos {

inline constexpr std::u16string_view kEmptyFieldTooltip = u"This field should not be empty";
inline constexpr std::u16string_view kIncorrectFieldTooltip = u"This field is incorrect";
inline constexpr std::u16string_view kEntryResultTooltip = u"This entry will result in: ";

inline constexpr std::u16string_view kReleaseTimeTooltip =
    u"Timestamp describing when the audio was first released (this must be in the format: YYYY, "
    u"YYYY-MM, YYYY-MM-DD, YYYY-MM-DD HH, YYYY-MM-DD HH:MM or YYYY-MM-DD HH:MM:SS)";
inline constexpr std::u16string_view kRecordTimeTooltip =
    u"Timestamp describing when the audio was first recorded (this must be in the format: YYYY, "
    u"YYYY-MM, YYYY-MM-DD, YYYY-MM-DD HH, YYYY-MM-DD HH:MM or YYYY-MM-DD HH:MM:SS)";
inline constexpr std::u16string_view kIsrcTooltip =
    u"International Standard Recording Code [ISRC] (12 characters)";
inline constexpr std::u16string_view kInitialKeyTooltip =
    u"Musical key in which the sound starts (3 characters) e.g. 'Dbm' where the ground keys are "
    u"represented with 'A','B','C','D','E','F' and 'G' and halfkeys represented with 'b' and '#', "
    u"minor is represented as 'm' (off key is represented with an 'o')";

inline constexpr size_t kV1TextLimit = 30;
inline constexpr size_t kV1CommentLimit = 29;
inline constexpr size_t kIsrcLimit = 12;
inline constexpr size_t kInitialKeyLimit = 3;

enum class CheckedField {
  V1Title,
  V1Artist,
  V1Album,
  V1Comment,
  V1Track,
  Isrc,
  ReleaseTime,
  RecordTime,
  InitialKey,
  PodcastId,
};

// The warning decision: the tooltip to show, or none to hide the warning. A
// valid string of none means no stored form is known; an empty one means the
// text cannot be stored.
std::optional<std::u16string> warningTooltip(std::u16string_view text,
                                             const std::optional<std::u16string>& validString);

// What the field's text becomes when stored; none for the podcast identifier,
// which has no stored form to compare with.
std::optional<std::u16string> validString(CheckedField field, std::u16string_view text);

// The whole check of one field. The podcast identifier warns only while the
// podcast box is on (and then only when empty).
std::optional<std::u16string> fieldWarning(CheckedField field, std::u16string_view text,
                                           bool podcastOn = false);

// 255 and 256 cannot be stored (empty); other numbers wrap modulo 256.
std::u16string v1TrackValidString(std::u16string_view text);
// The time as the V2 writer keeps it, with a blank between date and time.
std::u16string normalisedTimeText(std::u16string_view text);
// A genre typed as one letter becomes its capital.
std::u16string genreEntry(std::u16string_view text);

}  // namespace melos
