#include "tests/ui/window_harness.h"

#include <QStandardPaths>

namespace melos::test {

std::string ScriptedQuestions::ask(const std::string& title, const std::string& message,
                                   const std::vector<std::string>& buttons) {
  asked.push_back({title, message, buttons});
  const auto found = script_.find(title);
  if (found != script_.end()) return found->second;
  if (buttons == std::vector<std::string>{"OK"}) return "OK";
  unscripted = true;
  return buttons.empty() ? std::string() : buttons.back();
}

void prepareWindowTests() { QStandardPaths::setTestModeEnabled(true); }

}  // namespace melos::test
