#include "ui/screenshots.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QMediaPlayer>
#include <QTabWidget>
#include <functional>
#include <iterator>

#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "ui/document_controller.h"
#include "ui/document_window.h"
#include "ui/group_window.h"
#include "ui/preferences_window.h"
#include "ui/play_controls.h"
#include "ui/start_panel.h"
#include "ui/track_window.h"

namespace melos::ui {
namespace {

constexpr qint64 kGroupLoadWaitMs = 10000;

QString save(QWidget* window, const QString& folder, const QString& name) {
  window->show();
  QApplication::processEvents();
  const QString path = QDir(folder).filePath(name + QStringLiteral(".png"));
  return window->grab().save(path) ? path : QString();
}

// The editor of a fully tagged track: each tab, the checks at work, and the
// three layouts of the picture and the lyrics.
void renderEditor(DocumentController& controller, const QString& folder, const QString& track,
                  const std::function<void(const QString&)>& keep) {
  PreferencesController& preferences = controller.preferences();
  const int style = preferences.getWindowStyle();
  const bool userTab = preferences.showUserTab();
  preferences.setBoolPreferenceNamed(prefs::kShowUserTab.key, true);
  for (int layout : {0, 1, 2}) {
    preferences.setIntPreferenceNamed(prefs::kEditorStyle.key, layout);
    std::string cause;
    if (!controller.openSingleTrack(QFile::encodeName(track).toStdString(), cause)) continue;
    auto* window = qobject_cast<TrackWindow*>(controller.frontWindow());
    if (window == nullptr) continue;
    const QString name = QStringLiteral("editor-style-%1").arg(layout);
    // Tall enough to show both tags without scrolling.
    window->resize(window->width(), 1080);
    if (layout != 0) {
      keep(save(window, folder, name));
      window->close();
      continue;
    }
    auto* tabs = window->findChild<QTabWidget*>(QStringLiteral("v2Tabs"));
    const char* pages[] = {"standard", "extended", "podcast", "user"};
    for (int page = 0; page < tabs->count() && page < 4; ++page) {
      tabs->setCurrentIndex(page);
      keep(save(window, folder, QStringLiteral("editor-") + QLatin1String(pages[page])));
    }
    // What the checks show while the user types.
    const auto typeInto = [window](const char* field, const QString& text) {
      if (auto* edit = window->findChild<QLineEdit*>(QLatin1String(field))) {
        edit->setText(text);
        emit edit->textEdited(text);
      }
    };
    typeInto("mT1Title", QStringLiteral("Harbour Lights (Extended Club Mix)"));
    typeInto("mT1Track", QStringLiteral("300"));
    typeInto("mT2ReleaseTime", QStringLiteral("2024-5-3 9:7"));
    typeInto("mT2InitialKey", QStringLiteral("Dbmx"));
    tabs->setCurrentIndex(1);
    keep(save(window, folder, QStringLiteral("editor-warnings")));
    window->undoStack()->setClean();
    window->close();
  }
  preferences.setIntPreferenceNamed(prefs::kEditorStyle.key, style);
  preferences.setBoolPreferenceNamed(prefs::kShowUserTab.key, userTab);
}

// The editor playing the track, and a tag written in several scripts.
void renderPlayAndScripts(DocumentController& controller, const QString& folder, const QString& track,
                          const std::function<void(const QString&)>& keep) {
  PreferencesController& preferences = controller.preferences();
  const int style = preferences.getWindowStyle();
  const bool shown = preferences.isShowPlayControlsSet();
  preferences.setIntPreferenceNamed(prefs::kEditorStyle.key, 0);
  preferences.setBoolPreferenceNamed(prefs::kShowPlayControls.key, true);
  std::string cause;
  if (controller.openSingleTrack(QFile::encodeName(track).toStdString(), cause)) {
    if (auto* window = qobject_cast<TrackWindow*>(controller.frontWindow())) {
      window->resize(900, 1080);
      window->show();
      // A moment into the track where a player is at hand; stopped where not.
      if (auto* controls = window->findChild<PlayControls*>(QStringLiteral("playControls"))) {
        controls->togglePlay();
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 4000 && (controls->phase() != PlayPhase::Playing ||
                                           controls->player()->position() < 1500))
          QApplication::processEvents(QEventLoop::AllEvents, 50);
        if (controls->phase() == PlayPhase::Playing) controls->player()->pause();
        QApplication::processEvents();
      }
      keep(save(window, folder, QStringLiteral("editor-playing")));
      const struct { const char* field; const char* text; } scripts[] = {
          {"mT2Title", "Καλημέρα κόσμε · Привет, мир · 你好世界"},
          {"mT2Artist", "فرقة الموسيقى · להקת המוזיקה"},
          {"mT2Album", "नमस्ते दुनिया · สวัสดีชาวโลก · こんにちは"},
          {"mT2Composer", "안녕하세요 · Łódź · Øresund 🎵"},
      };
      for (const auto& entry : scripts) {
        QLineEdit* edit = window->findChild<QLineEdit*>(QLatin1String(entry.field));
        if (auto* combo = window->findChild<QComboBox*>(QLatin1String(entry.field))) edit = combo->lineEdit();
        if (edit != nullptr) {
          const QString text = QString::fromUtf8(entry.text);
          edit->setText(text);
          emit edit->textEdited(text);
        }
      }
      keep(save(window, folder, QStringLiteral("editor-scripts")));
      window->undoStack()->setClean();
      window->close();
    }
  }
  preferences.setIntPreferenceNamed(prefs::kEditorStyle.key, style);
  preferences.setBoolPreferenceNamed(prefs::kShowPlayControls.key, shown);
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
    if (QFileInfo(track).fileName() == QStringLiteral("full-album-track.mp3")) {
      renderEditor(controller, folder, track, keep);
      renderPlayAndScripts(controller, folder, track, keep);
      continue;
    }
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

  // One picture per page of the preferences window.
  PreferencesWindow* settings = controller.showPreferences();
  if (auto* pages = settings->findChild<QTabWidget*>(QStringLiteral("mPreferencesTabs"))) {
    const char* names[] = {"saving", "renaming", "editing", "genres", "defaults", "log"};
    for (int page = 0; page < pages->count() && page < static_cast<int>(std::size(names)); ++page) {
      pages->setCurrentIndex(page);
      keep(save(settings, folder, QStringLiteral("preferences-") + QLatin1String(names[page])));
    }
  }
  return written;
}

}  // namespace melos::ui
