#include "ui/dialog_questions.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

namespace melos::ui {

std::string DialogQuestions::ask(const std::string& title, const std::string& message,
                                 const std::vector<std::string>& buttons) {
  return askWithDefault(title, message, buttons, 0);
}

std::string DialogQuestions::askWithDefault(const std::string& title, const std::string& message,
                                            const std::vector<std::string>& buttons, size_t defaultButton) {
  QMessageBox box(window_);
  box.setObjectName(QStringLiteral("questionBox"));
  box.setWindowTitle(QString::fromStdString(title));
  box.setText(QString::fromStdString(title));
  box.setInformativeText(QString::fromStdString(message));
  box.setIcon(QMessageBox::Warning);
  box.setWindowModality(window_ ? Qt::WindowModal : Qt::ApplicationModal);
  std::vector<QAbstractButton*> made;
  for (size_t i = 0; i < buttons.size(); ++i) {
    // Button roles only decide their places; the order given is kept by
    // giving every button the same role.
    QPushButton* button = box.addButton(QString::fromStdString(buttons[i]), QMessageBox::ActionRole);
    button->setObjectName(QStringLiteral("questionButton%1").arg(i));
    button->setAccessibleName(QString::fromStdString(buttons[i]));
    made.push_back(button);
    if (i == defaultButton) box.setDefaultButton(button);
  }
  if (!made.empty()) box.setEscapeButton(made[wayOutButton(buttons)]);
  box.exec();
  for (size_t i = 0; i < made.size(); ++i)
    if (box.clickedButton() == made[i]) return buttons[i];
  return buttons.empty() ? std::string() : buttons[wayOutButton(buttons)];
}

}  // namespace melos::ui
