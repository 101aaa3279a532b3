#pragma once
// The editors run their saves on a worker thread; what a save asks of the
// window or of the user is handed to the main thread, which owns every
// widget, and the worker waits for the answer.

#include <QObject>
#include <QWidget>
#include <functional>
#include <memory>

#include "operations/questions.h"
#include "operations/single_track_update.h"

namespace melos::ui {

// Runs `call` on the thread of `context` and waits for it; directly when
// already there.
void callOnThreadOf(QObject* context, const std::function<void()>& call);

// The questions of one document window, from whichever thread asks them:
// each is asked on the window's thread, and questions the program shows as
// dialogs become sheets of the window.
class WindowQuestions : public Questions {
 public:
  WindowQuestions(QWidget* window, Questions& questions);
  ~WindowQuestions() override;
  std::string ask(const std::string& title, const std::string& message,
                  const std::vector<std::string>& buttons) override;
  std::string askWithDefault(const std::string& title, const std::string& message,
                             const std::vector<std::string>& buttons, size_t defaultButton) override;

 private:
  QWidget* window_;
  std::unique_ptr<Questions> sheets_;
  Questions& questions_;
};

class MainThreadView : public EditorView {
 public:
  MainThreadView(QObject* context, EditorView& view) : context_(context), view_(view) {}
  void updateV1TagData(ID3Tag& track) override;
  void updateV2TagData(ID3Tag& track, bool allowUnicode) override;
  void initTagWindow(const ID3Tag& track) override;
  void stopPlayback() override;
  void showProgress(bool shown) override;
  void showFileName(const std::string& path) override;
  IconResult setFileIcon(const ID3Tag& track) override;
  void closeWindow() override;
  void setTrackOfTracks(size_t position, size_t count) override;
  void clearTrackOfTracks() override;
  void enableNavigation(bool previous, bool next, bool close) override;

 private:
  void call(const std::function<void()>& call) { callOnThreadOf(context_, call); }
  QObject* context_;
  EditorView& view_;
};

}  // namespace melos::ui
