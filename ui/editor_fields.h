#pragma once
// The controls of the single-track editor, made from the editor's field
// table: a page per tab with each field, its label as buddy, its warning at
// the field's right end and its quick-list button. Filling a control never
// counts as the user's edit; only typing and choosing do.

#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QObject>
#include <QPlainTextEdit>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "operations/editor_values.h"

class QAction;
class QCheckBox;
class QComboBox;
class QToolButton;

namespace melos::ui {

class StarRating;

// What the editor's text controls share: their undo is the window's (the
// window's Undo and Redo reach the window's stack, not the control's own),
// and files dropped on them open as tracks, as anywhere on the window.
template <typename Base>
class FieldControl : public Base {
 public:
  using Base::Base;

 protected:
  static bool isUndoKey(QKeyEvent* key) {
    return key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo);
  }
  bool event(QEvent* event) override {
    if (event->type() == QEvent::ShortcutOverride && isUndoKey(static_cast<QKeyEvent*>(event))) return false;
    return Base::event(event);
  }
  void keyPressEvent(QKeyEvent* event) override {
    if (isUndoKey(event)) return event->ignore();
    Base::keyPressEvent(event);
  }
  void dragEnterEvent(QDragEnterEvent* event) override {
    if (event->mimeData()->hasUrls()) return event->ignore();
    Base::dragEnterEvent(event);
  }
  void dragMoveEvent(QDragMoveEvent* event) override {
    if (event->mimeData()->hasUrls()) return event->ignore();
    Base::dragMoveEvent(event);
  }
};

// A text field that also completes typed text from a list.
class UndoLineEdit : public FieldControl<QLineEdit> {
  Q_OBJECT
 public:
  explicit UndoLineEdit(QWidget* parent = nullptr);
  void setCompletionList(std::vector<std::u16string> list) { completion_ = std::move(list); }

 signals:
  // The user changed the text (after completion).
  void userEdited(const QString& text);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void complete(const QString& text);
  std::vector<std::u16string> completion_;
  size_t previousLength_ = 0;
  bool deleting_ = false;
};

class UndoTextView : public FieldControl<QPlainTextEdit> {
 public:
  explicit UndoTextView(QWidget* parent = nullptr);
};

class EditorFields : public QObject {
  Q_OBJECT

 public:
  explicit EditorFields(QWidget* owner);

  QWidget* page(EditorTab tab) const { return pages_[static_cast<size_t>(tab)]; }
  QWidget* control(EditorField field) const { return controls_[static_cast<size_t>(field)]; }
  QAction* warning(EditorField field) const { return warnings_[static_cast<size_t>(field)]; }
  QToolButton* quickListButton(EditorField field) const { return quickButtons_[static_cast<size_t>(field)]; }

  // The page's controls as the eye reads them: row by row, left to right.
  QList<QWidget*> focusOrder(EditorTab tab) const;
  // The controls from the values, and the warnings as the texts stand; with
  // the values they show now, only the controls whose values differ.
  void show(const EditorValues& values, const EditorValues* shown = nullptr);
  void setGenreLists(const std::vector<std::string>& v1, const std::vector<std::string>& v2);
  // The lists under their keys; a field without a list has no button. With
  // `shown` off every button is hidden.
  void setQuickLists(bool shown, const std::function<const std::vector<std::string>*(std::string_view)>& list);

 signals:
  void edited(EditorField field, const QString& text);
  void quickListChosen(EditorField field, const QString& text);
  void podcastToggled(bool on);
  void compilationToggled(bool on);
  void advisoryChosen(int advisory);
  void ratingEdited(int before, int after);

 private:
  void makeField(const EditorFieldInfo& info);
  void showWarning(EditorField field, const std::optional<std::u16string>& tooltip);

  std::array<QWidget*, 6> pages_{};
  std::array<QWidget*, kEditorFieldCount> controls_{};
  std::array<QAction*, kEditorFieldCount> warnings_{};
  std::array<QToolButton*, kEditorFieldCount> quickButtons_{};
  std::array<std::vector<std::string>, kEditorFieldCount> quickEntries_{};
  QCheckBox* podcast_ = nullptr;
  QCheckBox* userPodcast_ = nullptr;
  QCheckBox* compilation_ = nullptr;
  QComboBox* advisory_ = nullptr;
  StarRating* rating_ = nullptr;
  bool filling_ = false;
};

}  // namespace melos::ui
