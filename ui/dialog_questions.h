#pragma once
// Questions shown as message boxes: an application-modal alert, or a
// window-modal sheet over the window given. The first button is the default
// unless the question names another.

#include <QPointer>
#include <QWidget>
#include <functional>

#include "operations/questions.h"

namespace melos::ui {

// Questions may come from a worker thread (a group update asks while it
// runs): they are handed to the main thread, and the worker waits for the
// answer there.
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

// Any questions made safe to ask from a worker thread: each is asked on the
// main thread while the asking thread waits.
class MainThreadQuestions : public Questions {
 public:
  explicit MainThreadQuestions(Questions& inner) : inner_(inner) {}
  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override;
  std::string askWithDefault(const std::string& title, const std::string& message,
                             const std::vector<std::string>& buttons, size_t defaultButton) override;

 private:
  Questions& inner_;
};

// Runs the task on the main thread and returns once it has run.
void runOnMainThreadAndWait(const std::function<void()>& task);

}  // namespace melos::ui
