#pragma once
// What the reset pop-up and the clear button of the preferences window ask
// and do.

#include <string_view>

#include "operations/questions.h"

namespace melos {

class PreferencesController;

// The items of the reset pop-up, told apart by their tags.
enum class ResetItem { Preferences = 0, DoNotShowAgain = 1 };

inline constexpr std::string_view kResetPreferencesItem = "Reset preferences to defaults";
inline constexpr std::string_view kResetDoNotShowItem = "Reset windows disabled by 'Do not show again'";
inline constexpr std::string_view kResetTitle = "Reset the preferences";
inline constexpr std::string_view kResetMessage = "Do you want to set all the preferences to their default values?";
inline constexpr std::string_view kClearListsTitle = "Clear previous entry lists";
inline constexpr std::string_view kClearListsMessage =
    "Do you want to remove the previous entries of every field? The artist URL and podcast lists are kept.";
inline constexpr std::string_view kClearedListsTitle = "Cleared previous entry lists";
inline constexpr std::string_view kClearedListsMessage = "All the previous entry lists have been removed.";

// The preferences item asks first ("No" is the default) and resets on any
// other answer; the other item asks nothing and shows the start panel again
// at the next launch. True when the stored preferences changed.
bool resetItemSelected(ResetItem item, PreferencesController& preferences, Questions& questions);

// Asks ("No" is the default); on "Yes" clears the first 25 quick lists and
// says so. True when they were cleared.
bool clearQuickListsSelected(PreferencesController& preferences, Questions& questions);

}  // namespace melos
