#pragma once
// The window of one track: its tags and audio facts, as `melos show` prints
// them. The single-track editor takes its place.

#include <memory>

#include "engine/id3_tag.h"
#include "ui/document_window.h"

class QPlainTextEdit;

namespace melos {
class PreferencesController;
}

namespace melos::ui {

class TrackWindow : public DocumentWindow {
  Q_OBJECT

 public:
  TrackWindow(std::unique_ptr<ID3Tag> track, const PreferencesController& preferences,
              QWidget* parent = nullptr);
  ~TrackWindow() override;

  const ID3Tag& track() const { return *track_; }
  // Shows another track in this window.
  void replaceTrack(std::unique_ptr<ID3Tag> track);

  FrontDocument describe() const override;
  DocumentKind kind() const override { return DocumentKind::SingleTrack; }
  std::unique_ptr<ID3Tag> tagForCopy() const override;
  void setTagData(const ID3Tag& tag, bool all) override;
  void clearTagData() override;
  bool loadTagDataFromFile(const std::string& path) override;
  bool saveTagDataToFile(const std::string& path) override;

 private:
  void fill();
  void changed();

  std::unique_ptr<ID3Tag> track_;
  const PreferencesController& preferences_;
  QPlainTextEdit* facts_ = nullptr;
  bool dirty_ = false;
};

}  // namespace melos::ui
