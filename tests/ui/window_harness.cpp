#include "tests/ui/window_harness.h"

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QStandardPaths>

#include "engine/open_track.h"
#include "operations/track_file.h"
#include "preferences/preference_keys.h"
#include "preferences/store.h"
#include "ui/document_window.h"
#include "ui/start_panel.h"

namespace melos::test {

std::string ScriptedQuestions::ask(const std::string& title, const std::string& message,
                                   const std::vector<std::string>& buttons) {
  asked.push_back({title, message, buttons});
  const auto found = script_.find(title);
  if (found != script_.end()) return found->second;
  if (buttons == std::vector<std::string>{"OK"}) return "OK";
  unscripted = true;
  return buttons.empty() ? std::string() : buttons.back();
}

ControllerRig::ControllerRig()
    : preferences(std::make_unique<MemoryPreferenceStore>(), dir.path()), controller(preferences, questions, chooser) {
  controller.setCtrlHeld([] { return false; });
}

QString ControllerRig::track(const std::string& name, const std::string& title) {
  return QString::fromStdString(dir.write(name, sampleMp3(title)));
}

EditorRig::EditorRig() : preferences(std::make_unique<MemoryPreferenceStore>(), dir.path()) {
  preferences.setBoolPreferenceNamed(prefs::kMoveToTrash.key, false);
  preferences.setBoolPreferenceNamed(prefs::kCloseWindow.key, false);
}

ui::TrackWindow* EditorRig::open(const std::vector<std::string>& paths, TrackWriter* writer) {
  for (const std::string& path : paths) {
    TrackFile file = openTrackFile(path, kScanQuick);
    if (!file.opened()) return nullptr;
    if (window) window->addTrack(std::move(file.track));
    else window = std::make_unique<ui::TrackWindow>(std::move(file.track), preferences, questions, nullptr, writer);
  }
  if (!window) return nullptr;
  window->showTrackAt(0);
  window->show();
  return window.get();
}

bool EditorRig::waitIdle() {
  return QTest::qWaitFor([this] { return !window->isBusy(); }, 10000);
}

bool ControllerRig::closeWindows() {
  for (ui::DocumentWindow* window : controller.windows()) delete window;
  for (QWidget* window : QApplication::topLevelWidgets())
    if (qobject_cast<ui::StartPanel*>(window)) delete window;
  return !questions.unscripted;
}

Bytes imageBytes(int width, int height, const char* format) {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(Qt::darkCyan);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, format);
  return Bytes(bytes.begin(), bytes.end());
}

void prepareWindowTests() { QStandardPaths::setTestModeEnabled(true); }

}  // namespace melos::test
