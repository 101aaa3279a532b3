#include "ui/main_thread_calls.h"

#include <QMetaObject>
#include <QThread>

#include "ui/dialog_questions.h"

namespace melos::ui {

void callOnThreadOf(QObject* context, const std::function<void()>& call) {
  if (QThread::currentThread() == context->thread()) call();
  else QMetaObject::invokeMethod(context, call, Qt::BlockingQueuedConnection);
}

WindowQuestions::WindowQuestions(QWidget* window, Questions& questions)
    : window_(window),
      sheets_(dynamic_cast<DialogQuestions*>(&questions) != nullptr ? std::make_unique<DialogQuestions>(window)
                                                                     : nullptr),
      questions_(sheets_ ? *sheets_ : questions) {}

WindowQuestions::~WindowQuestions() = default;

std::string WindowQuestions::ask(const std::string& title, const std::string& message,
                                 const std::vector<std::string>& buttons) {
  std::string answer;
  callOnThreadOf(window_, [&] { answer = questions_.ask(title, message, buttons); });
  return answer;
}

std::string WindowQuestions::askWithDefault(const std::string& title, const std::string& message,
                                            const std::vector<std::string>& buttons, size_t defaultButton) {
  std::string answer;
  callOnThreadOf(window_, [&] { answer = questions_.askWithDefault(title, message, buttons, defaultButton); });
  return answer;
}

void MainThreadView::updateV1TagData(ID3Tag& track) {
  call([&] { view_.updateV1TagData(track); });
}
void MainThreadView::updateV2TagData(ID3Tag& track, bool allowUnicode) {
  call([&] { view_.updateV2TagData(track, allowUnicode); });
}
void MainThreadView::initTagWindow(const ID3Tag& track) {
  call([&] { view_.initTagWindow(track); });
}
void MainThreadView::stopPlayback() {
  call([&] { view_.stopPlayback(); });
}
void MainThreadView::showProgress(bool shown) {
  call([&] { view_.showProgress(shown); });
}
void MainThreadView::showFileName(const std::string& path) {
  call([&] { view_.showFileName(path); });
}
IconResult MainThreadView::setFileIcon(const ID3Tag& track) {
  // Scaling the picture is work for the worker; only the result matters here.
  return view_.setFileIcon(track);
}
void MainThreadView::closeWindow() {
  call([&] { view_.closeWindow(); });
}
void MainThreadView::setTrackOfTracks(size_t position, size_t count) {
  call([&] { view_.setTrackOfTracks(position, count); });
}
void MainThreadView::clearTrackOfTracks() {
  call([&] { view_.clearTrackOfTracks(); });
}
void MainThreadView::enableNavigation(bool previous, bool next, bool close) {
  call([&] { view_.enableNavigation(previous, next, close); });
}

}  // namespace melos::ui
