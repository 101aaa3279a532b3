#pragma once
// One step of a window's undo, kept as the whole state before and after the
// edit: undoing shows the one, redoing the other. Edits with the same merge
// key, one after another, make one step (typing into one field); a key of -1
// never merges.

#include <QUndoCommand>
#include <functional>
#include <utility>

namespace melos::ui {

template <typename State>
class SnapshotCommand : public QUndoCommand {
 public:
  using Show = std::function<void(const State&)>;

  SnapshotCommand(const QString& text, State before, State after, int mergeKey, Show show)
      : QUndoCommand(text),
        before_(std::move(before)),
        after_(std::move(after)),
        mergeKey_(mergeKey),
        show_(std::move(show)) {}

  int id() const override { return mergeKey_; }
  // The stack asks only when both keys are the same and not -1.
  bool mergeWith(const QUndoCommand* other) override {
    after_ = static_cast<const SnapshotCommand*>(other)->after_;
    return true;
  }
  void undo() override { show_(before_); }
  void redo() override {
    // When pushed, the window already shows the edit.
    if (std::exchange(pushed_, false)) return;
    show_(after_);
  }

 private:
  State before_;
  State after_;
  int mergeKey_;
  Show show_;
  bool pushed_ = true;
};

}  // namespace melos::ui
