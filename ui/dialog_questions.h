#pragma once
// Questions shown as message boxes: an application-modal alert, or a
// window-modal sheet over the window given. The first button is the default
// unless the question names another.

#include <QPointer>
#include <QWidget>

#include "operations/questions.h"

namespace melos::ui {

class DialogQuestions : public Questions {
 public:
  // Without a window, questions are alerts.
  explicit DialogQuestions(QWidget* window = nullptr) : window_(window) {}

  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override;
  std::string askWithDefault(const std::string& title, const std::string& message,
                             const std::vector<std::string>& buttons, size_t defaultButton) override;

 private:
  QPointer<QWidget> window_;
};

}  // namespace melos::ui
