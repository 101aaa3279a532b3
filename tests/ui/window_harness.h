#pragma once
// What every window test shares: questions answered from a script, widgets
// found by their object names; the sample tracks and temporary folders of
// tests/support.

#include <QTest>
#include <QWidget>
#include <map>
#include <string>
#include <vector>

#include "operations/questions.h"
#include "preferences/preferences_controller.h"
#include "tests/support/sample_tracks.h"
#include "tests/support/temp_dir.h"
#include "ui/document_controller.h"
#include "ui/file_chooser.h"
#include "ui/track_window.h"

namespace melos::test {

// Answers by title from a script; a question with the one button "OK" needs
// no script. Every question asked is kept, in order.
class ScriptedQuestions : public Questions {
 public:
  struct Asked {
    std::string title;
    std::string message;
    std::vector<std::string> buttons;
  };

  void answer(const std::string& title, std::string button) { script_[title] = std::move(button); }
  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override;

  std::vector<Asked> asked;
  // Set when a question came that the script has no answer for.
  bool unscripted = false;

 private:
  std::map<std::string, std::string> script_;
};

// Answers the open and save questions from what a test set; counts the Open
// panels asked for.
class ScriptedChooser : public ui::FileChooser {
 public:
  QStringList chooseTracks(QWidget*) override {
    ++tracksAsked;
    return tracks;
  }
  QString chooseFolder(QWidget*) override { return folder; }
  QString chooseTagSource(QWidget*, const QString& start) override {
    startFolder = start;
    return tagSource;
  }
  QString chooseTagDestination(QWidget*, const QString& start) override {
    startFolder = start;
    return tagDestination;
  }
  QString chooseExportDestination(QWidget*, bool) override { return exportDestination; }
  QStringList tracks;
  QString folder, tagSource, tagDestination, startFolder, exportDestination;
  int tracksAsked = 0;
};

// A document controller over a folder and preferences of its own, with its
// questions and file choices answered from a script; Ctrl is not held.
struct ControllerRig {
  ControllerRig();
  ~ControllerRig() { closeWindows(); }
  ControllerRig(const ControllerRig&) = delete;
  ControllerRig& operator=(const ControllerRig&) = delete;

  // An MP3 in the folder with this title; its path.
  QString track(const std::string& name, const std::string& title);
  // Closes every document window and start panel; false when a question came
  // that the script had no answer for.
  bool closeWindows();

  TempDir dir;
  PreferencesController preferences;
  ScriptedQuestions questions;
  ScriptedChooser chooser;
  ui::DocumentController controller;
};

// A single-track editor over tracks of a folder and preferences of its own:
// nothing goes to the trash and a window stays open after an update; its
// questions are answered from a script.
struct EditorRig {
  EditorRig();
  EditorRig(const EditorRig&) = delete;
  EditorRig& operator=(const EditorRig&) = delete;

  // The tracks in one window, the first shown; null when one cannot be read.
  ui::TrackWindow* open(const std::vector<std::string>& paths, TrackWriter* writer = nullptr);
  // The window's file work (a save, a move) has ended.
  bool waitIdle();
  // A question came that the script had no answer for.
  bool unscripted() const { return questions.unscripted; }

  TempDir dir;
  PreferencesController preferences;
  ScriptedQuestions questions;
  std::unique_ptr<ui::TrackWindow> window;
};

// The child with this object name, or null.
template <typename T>
T* findByName(QObject* parent, const char* name) {
  return parent->findChild<T*>(QString::fromLatin1(name));
}

// A picture that decodes: width by height of one colour, in a format Qt
// writes ("PNG", "JPEG", ...).
Bytes imageBytes(int width, int height, const char* format = "PNG");

// Set up once per test program: Qt's test paths, so no real settings are read.
void prepareWindowTests();

}  // namespace melos::test
