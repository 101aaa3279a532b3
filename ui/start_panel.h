#pragma once
// The window shown when the program starts without files: the recent tracks
// and groups to reopen, Open and Open group, and where to read more.

#include <QStringListModel>
#include <QWidget>

class QCheckBox;
class QListView;
class QPushButton;

namespace melos {
class PreferencesController;
}

namespace melos::ui {

class DocumentController;

class StartPanel : public QWidget {
  Q_OBJECT

 public:
  StartPanel(DocumentController& controller, PreferencesController& preferences, QWidget* parent = nullptr);

 public slots:
  void refresh();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  // Each list shows the paths as their owner reads them and opens them by
  // their full path.
  QListView* makeList(const char* name, const QString& label, QStringListModel& model, const QStringList& paths);

  DocumentController& controller_;
  PreferencesController& preferences_;
  QStringListModel recentTracks_;
  QStringListModel recentGroups_;
  QStringList trackPaths_;
  QStringList groupPaths_;
  QCheckBox* showAtStart_ = nullptr;
};

}  // namespace melos::ui
