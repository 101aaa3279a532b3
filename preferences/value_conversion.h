#pragma once
// How a stored value of any type reads as an integer or a text. These follow
// what a property-list number or string answers when asked for its integer
// value or its text, so a value of the wrong type is never an error.

#include <QVariant>
#include <optional>
#include <string>
#include <string_view>

namespace melos {

// The leading decimal integer of a text, as a scan for "%d" reads it: blanks
// skipped, an optional sign, digits up to the first other character; none
// when there are no digits, and the int limits when the number does not fit.
// The one integer reading of a text, for the preferences and the editors.
std::optional<int> leadingInteger(std::string_view text) noexcept;
// The same with 0 when there are no digits.
int intValueOfText(std::string_view text) noexcept;

// Booleans read as 0 and 1, reals are cut toward zero (and held to the int
// range), texts by intValueOfText. Empty for arrays, dictionaries and null.
std::optional<int> intValueOf(const QVariant& value);

// UTF-8 text of a string, or of a number ("1" and "0" for booleans). Empty for
// arrays, dictionaries and null.
std::optional<std::string> textOf(const QVariant& value);

bool isArray(const QVariant& value);
std::string toUtf8(const QString& text);
QString fromUtf8(std::string_view text);

}  // namespace melos
