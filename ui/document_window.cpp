#include "ui/document_window.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

namespace melos::ui {

QStringList droppedPaths(const QMimeData* data) {
  QStringList paths;
  if (data == nullptr || !data->hasUrls()) return paths;
  for (const QUrl& url : data->urls())
    if (url.isLocalFile()) paths.append(url.toLocalFile());
  return paths;
}

DocumentWindow::DocumentWindow(QWidget* parent) : QMainWindow(parent) {
  setAttribute(Qt::WA_DeleteOnClose);
  setAcceptDrops(true);
  connect(&undoStack_, &QUndoStack::cleanChanged, this, [this](bool clean) {
    setWindowModified(!clean);
    emit stateChanged();
  });
}

DocumentWindow::~DocumentWindow() { emit closing(this); }

void DocumentWindow::changeEvent(QEvent* event) {
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) emit activated(this);
  QMainWindow::changeEvent(event);
}

void DocumentWindow::showEvent(QShowEvent* event) {
  // The offscreen and some X window managers never activate a new window;
  // the window shown last is the front one until another is activated.
  emit activated(this);
  QMainWindow::showEvent(event);
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
  emit closing(this);
  QMainWindow::closeEvent(event);
}

void DocumentWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!droppedPaths(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void DocumentWindow::dropEvent(QDropEvent* event) {
  const QStringList paths = droppedPaths(event->mimeData());
  if (paths.isEmpty()) return;
  event->acceptProposedAction();
  emit filesDropped(paths);
}

}  // namespace melos::ui
