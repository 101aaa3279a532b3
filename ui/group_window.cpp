#include "ui/group_window.h"

#include <QFile>
#include <QListView>

#include "engine/open_track.h"
#include "operations/questions.h"
#include "operations/track_file.h"
#include "ui/shown_path.h"

namespace melos::ui {

GroupWindow::GroupWindow(Questions& questions, QWidget* parent)
    : DocumentWindow(parent), questions_(questions) {
  setObjectName(QStringLiteral("groupWindow"));
  setSingleEditWindow(false);
  list_ = new QListView(this);
  list_->setObjectName(QStringLiteral("groupTracks"));
  list_->setAccessibleName(tr("Tracks of the group"));
  list_->setModel(&names_);
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setAcceptDrops(false);
  setCentralWidget(list_);
  setWindowTitle(tr("Group") + QStringLiteral("[*]"));
  resize(480, 400);
}

GroupWindow::~GroupWindow() = default;

bool GroupWindow::addTracks(const std::vector<std::string>& paths) {
  bool added = false;
  QStringList names = names_.stringList();
  for (const std::string& path : paths) {
    TrackFile file = openTrackFile(path, kScanQuick);
    if (!file.opened()) {
      tell(questions_, "Open failed", "Could not read the tag information from the file '" + path + "'.");
      continue;
    }
    if (tracks_.empty()) {
      // The group shows what its first track holds until the user changes it.
      std::unique_ptr<ID3Tag> first = copyOfTrack(*file.track);
      CopyTagData(values_, *first, true, true, true, true, true);
    }
    tracks_.push_back(std::move(file.track));
    names.append(shownPath(QFile::decodeName(QByteArray::fromStdString(path))));
    added = true;
  }
  names_.setStringList(names);
  setWindowTitle(tr("Group of %n track(s)", nullptr, static_cast<int>(tracks_.size())) + QStringLiteral("[*]"));
  emit stateChanged();
  return added;
}

FrontDocument GroupWindow::describe() const { return {DocumentKind::Group, dirty_, false, false, false}; }

std::unique_ptr<ID3Tag> GroupWindow::tagForCopy() const { return copyOfTrack(values_); }

void GroupWindow::setTagData(const ID3Tag& tag, bool) {
  CopyTagData(values_, tag, false, false, false, false, false);
  changed();
}

void GroupWindow::clearTagData() {
  values_.tagData.clear();
  changed();
}

void GroupWindow::changed() {
  dirty_ = true;
  setWindowModified(true);
  emit stateChanged();
}

}  // namespace melos::ui
