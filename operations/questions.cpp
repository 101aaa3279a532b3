#include "operations/questions.h"

namespace melos {

bool askYesNo(Questions& questions, const std::string& title, const std::string& message) {
  return questions.ask(title, message, {std::string(kYesButton), std::string(kNoButton)}) == kYesButton;
}

void tell(Questions& questions, const std::string& title, const std::string& message) {
  questions.ask(title, message, {std::string(kOkButton)});
}

}  // namespace melos
