#pragma once
// What every document window shares: the program's menu bar, files dropped on
// it, and telling the controller when it comes to the front, changes its
// unsaved state or closes.

#include <QMainWindow>
#include <QUndoStack>

class QMimeData;

#include "operations/menu_rules.h"
#include "operations/tag_clipboard.h"

namespace melos::ui {

class DocumentWindow : public QMainWindow, public TagEditor {
  Q_OBJECT

 public:
  explicit DocumentWindow(QWidget* parent = nullptr);
  // Leaves the controller before the window is half gone: closing a window
  // moves the focus, and the menus are then enabled for the next one.
  ~DocumentWindow() override;

  virtual FrontDocument describe() const = 0;
  QUndoStack* undoStack() { return &undoStack_; }
  const QUndoStack* undoStack() const { return &undoStack_; }
  // A menu command for this document; false when the window has none.
  virtual bool perform(MenuItem /*item*/) { return false; }
  bool isSingleEditWindow() const { return singleEditWindow_; }
  void setSingleEditWindow(bool single) { singleEditWindow_ = single; }
  // A preference changed in the preferences window: the window shows it at
  // once (genre lists, quick lists, play controls...) without a restart.
  virtual void preferencesChanged() {}

 signals:
  void activated(DocumentWindow* window);
  void stateChanged();
  void closing(DocumentWindow* window);
  void filesDropped(const QStringList& paths);

 protected:
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  QUndoStack undoStack_;
  bool singleEditWindow_ = true;
};

// The local paths of a drop, or none when it holds no files.
QStringList droppedPaths(const QMimeData* data);

}  // namespace melos::ui
