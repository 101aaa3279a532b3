#pragma once
// The window of a group of tracks: the tracks by name, and the values that a
// paste gives them all. The group editor takes its place.

#include <QStringListModel>
#include <memory>
#include <string>
#include <vector>

#include "engine/id3_tag.h"
#include "ui/document_window.h"

class QListView;

namespace melos {
class Questions;
}

namespace melos::ui {

class GroupWindow : public DocumentWindow {
  Q_OBJECT

 public:
  explicit GroupWindow(Questions& questions, QWidget* parent = nullptr);
  ~GroupWindow() override;

  // addTrack: and addTracks:. A track that cannot be read is told and left
  // out; false when none could be added.
  bool addTracks(const std::vector<std::string>& paths);
  size_t trackCount() const { return tracks_.size(); }
  const ID3Tag& values() const { return values_; }

  FrontDocument describe() const override;
  DocumentKind kind() const override { return DocumentKind::Group; }
  std::unique_ptr<ID3Tag> tagForCopy() const override;
  void setTagData(const ID3Tag& tag, bool all) override;
  void clearTagData() override;

 private:
  void changed();

  Questions& questions_;
  std::vector<std::unique_ptr<ID3Tag>> tracks_;
  ID3Tag values_;
  QStringListModel names_;
  QListView* list_ = nullptr;
  bool dirty_ = false;
};

}  // namespace melos::ui
