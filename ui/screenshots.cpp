#include "ui/screenshots.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPixmap>
#include <QTabWidget>

#include "ui/document_controller.h"
#include "ui/document_window.h"
#include "ui/group_window.h"
#include "ui/start_panel.h"

namespace melos::ui {
namespace {

constexpr qint64 kGroupLoadWaitMs = 10000;

QString save(QWidget* window, const QString& folder, const QString& name) {
  window->show();
  QApplication::processEvents();
  const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
  return window->grab().save(path) ? path : QString();
}

}  // namespace

QStringList renderScreenshots(DocumentController& controller, const QString& folder, const QStringList& tracks) {
  QDir().mkpath(folder);
  QStringList written;
  const auto keep = [&written](const QString& path) {
    if (!path.isEmpty()) written.append(path);
  };
  keep(save(controller.showStartPanel(), folder, QStringLiteral("start-panel")));
  for (const QString& track : tracks) {
    if (!controller.openFiles({track})) continue;
    if (DocumentWindow* front = controller.frontWindow())
      keep(save(front, folder, QStringLiteral("track-") + QFileInfo(track).completeBaseName()));
  }
  if (!tracks.isEmpty() && controller.openFiles({QFileInfo(tracks.first()).absolutePath()}))
    if (DocumentWindow* front = controller.frontWindow()) {
      // The group reads its tracks in the background; shown once all are in.
      if (auto* group = qobject_cast<GroupWindow*>(front)) {
        QElapsedTimer waited;
        waited.start();
        while (group->loading() && waited.elapsed() < kGroupLoadWaitMs)
          QApplication::processEvents(QEventLoop::AllEvents, 50);
        // The V2 fields, where most of a group's editing happens.
        if (auto* tabs = group->findChild<QTabWidget*>(QStringLiteral("groupTabs"))) tabs->setCurrentIndex(1);
      }
      keep(save(front, folder, QStringLiteral("group")));
    }
  return written;
}

}  // namespace melos::ui
