#pragma once
// The program's one controller: it turns paths from the menus, drops, the
// command line, a second launch and the start panel into documents, keeps the
// tag clipboard and Open Recent, and enables the menus for the front window.
// Every rule it follows lives in operations/; this class only forwards.

#include <QObject>
#include <QPointer>
#include <QUndoGroup>
#include <array>
#include <functional>
#include <vector>

#include "operations/menu_rules.h"
#include "operations/open_documents.h"
#include "operations/recent_documents.h"
#include "operations/tag_clipboard.h"

class QAction;
class QMenu;
class QMenuBar;

namespace melos {
class PreferencesController;
}

namespace melos::ui {

class DocumentWindow;
class FileChooser;
class PreferencesWindow;
class StartPanel;

class DocumentController : public QObject, public DocumentHost {
  Q_OBJECT

 public:
  DocumentController(PreferencesController& preferences, Questions& questions, FileChooser& chooser,
                     QObject* parent = nullptr);
  ~DocumentController() override;

  bool openFiles(const QStringList& paths);
  // The modifier state while a file opens; the keyboard's unless replaced.
  void setCtrlHeld(std::function<bool()> ctrlHeld) { ctrlHeld_ = std::move(ctrlHeld); }

  QAction* action(MenuItem item) const { return actions_.at(static_cast<size_t>(item)); }
  QAction* undoAction() const { return undo_; }
  QAction* redoAction() const { return redo_; }
  QMenu* recentMenu() const { return recentMenu_; }
  // Fills a window's menu bar with the program's menus.
  void buildMenuBar(QMenuBar* bar);

  DocumentWindow* frontWindow() const;
  std::vector<DocumentWindow*> windows() const;
  const TagClipboard& clipboard() const { return clipboard_; }
  PreferencesController& preferences() { return preferences_; }
  RecentDocuments& recentTracks() { return recentTracks_; }
  RecentDocuments& recentGroups() { return recentGroups_; }

  StartPanel* showStartPanel();
  // One second after start: the Open panel when no document is open and the
  // preferences ask for it.
  void startOpenPanelTimer(int milliseconds = 1000);

  // DocumentHost
  std::optional<DocumentKind> frontKind() const override;
  bool frontIsSingleEditWindow() const override;
  bool addTrackToFrontGroup(const std::string& path) override;
  bool openGroup(const std::vector<std::string>& paths) override;
  bool replaceFrontTrack(const std::string& path, std::string& cause) override;
  bool openSingleTrack(const std::string& path, std::string& cause) override;
  void noteRecentGroup(const std::string& folder) override;

  // Tells every open window that the preferences changed.
  void notifyPreferencesChanged();
  // The one preferences window, made on first use and raised when open.
  PreferencesWindow* showPreferences();

 public slots:
  void openMenuItemSelected();
  void openGroupMenuItemSelected();
  void updateMenus();

 signals:
  void recentChanged();

 private:
  void makeActions();
  void attach(DocumentWindow* window);
  void fillRecentMenu();
  void copyTagData(bool all);
  void loadTagData();
  void saveTagData();
  QWidget* dialogParent() const;

  PreferencesController& preferences_;
  Questions& questions_;
  FileChooser& chooser_;
  std::function<bool()> ctrlHeld_;
  DocumentOpener opener_;
  TagClipboard clipboard_;
  RecentDocuments recentTracks_;
  RecentDocuments recentGroups_;
  QUndoGroup undoGroup_;
  std::array<QAction*, kMenuItemCount> actions_{};
  QAction* undo_ = nullptr;
  QAction* redo_ = nullptr;
  QAction* preferencesAction_ = nullptr;
  QMenu* recentMenu_ = nullptr;
  std::vector<QPointer<DocumentWindow>> windows_;  // the front one last
  QPointer<StartPanel> startPanel_;
  QPointer<PreferencesWindow> preferencesWindow_;
};

}  // namespace melos::ui
