#include "operations/questions.h"

#include <algorithm>

namespace melos {

size_t wayOutButton(const std::vector<std::string>& buttons) {
  for (std::string_view way : {kCancelButton, kNoButton}) {
    const auto found = std::find(buttons.begin(), buttons.end(), way);
    if (found != buttons.end()) return static_cast<size_t>(found - buttons.begin());
  }
  return buttons.empty() ? 0 : buttons.size() - 1;
}

SaveAnswer askToSaveChanges(Questions& questions) {
  const std::string chosen =
      questions.ask("Do you want to save changes?", "If you do not save, your changes will be lost.",
                    {std::string(kSaveButton), std::string(kDontSaveButton), std::string(kCancelButton)});
  if (chosen == kSaveButton) return SaveAnswer::Save;
  return chosen == kDontSaveButton ? SaveAnswer::DontSave : SaveAnswer::Cancel;
}

bool askYesNo(Questions& questions, const std::string& title, const std::string& message) {
  return questions.ask(title, message, {std::string(kYesButton), std::string(kNoButton)}) == kYesButton;
}

void tell(Questions& questions, const std::string& title, const std::string& message) {
  questions.ask(title, message, {std::string(kOkButton)});
}

}  // namespace melos
