#include "ui/track_window.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QPlainTextEdit>

#include "operations/track_text.h"
#include "ui/shown_path.h"

namespace melos::ui {

TrackWindow::TrackWindow(std::unique_ptr<ID3Tag> track, const PreferencesController& preferences,
                         QWidget* parent)
    : DocumentWindow(parent), track_(std::move(track)), preferences_(preferences) {
  setObjectName(QStringLiteral("trackWindow"));
  facts_ = new QPlainTextEdit(this);
  facts_->setObjectName(QStringLiteral("trackFacts"));
  facts_->setAccessibleName(tr("Track facts"));
  facts_->setReadOnly(true);
  facts_->setAcceptDrops(false);
  facts_->setLineWrapMode(QPlainTextEdit::NoWrap);
  facts_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setCentralWidget(facts_);
  resize(640, 480);
  fill();
}

TrackWindow::~TrackWindow() = default;

void TrackWindow::replaceTrack(std::unique_ptr<ID3Tag> track) {
  track_ = std::move(track);
  dirty_ = false;
  fill();
  emit stateChanged();
}

FrontDocument TrackWindow::describe() const {
  return {DocumentKind::SingleTrack, dirty_, track_->isMp3File, track_->v1.enabled, track_->tagData.enabled};
}

std::unique_ptr<ID3Tag> TrackWindow::tagForCopy() const { return copyOfTrack(*track_); }

void TrackWindow::setTagData(const ID3Tag& tag, bool all) {
  pasteTagDataInto(*track_, tag, all, preferences_);
  changed();
}

void TrackWindow::clearTagData() {
  track_->tagData.clear();
  track_->v1.clear();
  changed();
}

bool TrackWindow::loadTagDataFromFile(const std::string& path) {
  if (!loadTagDataInto(*track_, path)) return false;
  changed();
  return true;
}

bool TrackWindow::saveTagDataToFile(const std::string& path) { return saveTagDataFile(*track_, path); }

void TrackWindow::changed() {
  dirty_ = true;
  setWindowModified(true);
  fill();
  emit stateChanged();
}

void TrackWindow::fill() {
  const QString path = QString::fromStdString(track_->path());
  setWindowTitle(QFileInfo(path).fileName() + QStringLiteral("[*]"));
  setWindowFilePath(path);
  facts_->setPlainText(QString::fromStdString(trackText(shownPath(path).toStdString(), *track_)));
}

}  // namespace melos::ui
