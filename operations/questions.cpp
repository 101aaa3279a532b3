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

bool askYesNo(Questions& questions, const std::string& title, const std::string& message) {
  return questions.ask(title, message, {std::string(kYesButton), std::string(kNoButton)}) == kYesButton;
}

void tell(Questions& questions, const std::string& title, const std::string& message) {
  questions.ask(title, message, {std::string(kOkButton)});
}

}  // namespace melos
