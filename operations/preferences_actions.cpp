#include "operations/preferences_actions.h"

#include <string>

#include "preferences/preferences_controller.h"

namespace melos {

namespace {
std::string text(std::string_view view) { return std::string(view); }
}  // namespace

bool resetItemSelected(ResetItem item, PreferencesController& preferences, Questions& questions) {
  if (item == ResetItem::DoNotShowAgain) {
    preferences.setShowSplash(1);
    return true;
  }
  const std::string answer = questions.askWithDefault(text(kResetTitle), text(kResetMessage),
                                                      {text(kNoButton), text(kYesButton)}, 0);
  // Every answer but the default one resets.
  if (answer == kNoButton) return false;
  preferences.resetPreferences();
  return true;
}

bool clearQuickListsSelected(PreferencesController& preferences, Questions& questions) {
  const std::string answer = questions.askWithDefault(text(kClearListsTitle), text(kClearListsMessage),
                                                      {text(kNoButton), text(kYesButton)}, 0);
  if (answer != kYesButton) return false;
  preferences.clearQuickLists();
  tell(questions, text(kClearedListsTitle), text(kClearedListsMessage));
  return true;
}

}  // namespace melos
