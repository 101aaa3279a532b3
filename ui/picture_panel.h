#pragma once
// The pictures of the track in the single-track editor: the one shown in
// the picture well, its kind, size and bytes beneath, its type and
// description, and the way through the others. Every change is handed to the
// window as the whole new list, so that the window can undo it.

#include <QWidget>
#include <functional>
#include <memory>

#include "engine/tag_data.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace melos {
class PreferencesController;
class Questions;
}

namespace melos::ui {

class DragImageView;

// Asks for a picture file to add; empty when the user cancels.
QString choosePictureFile(QWidget* owner);

class PicturePanel : public QWidget {
  Q_OBJECT

 public:
  PicturePanel(const PreferencesController& preferences, Questions& questions, QWidget* parent = nullptr);

  // Shared with the window's values and its undo steps, never copied to show.
  void showPictures(std::shared_ptr<const PicDataArray> pictures);
  size_t index() const { return index_; }
  // Asks for an image file (a dialog unless replaced) and adds it.
  void addImage();
  void setImageChooser(std::function<QString(QWidget*)> choose) { chooseImage_ = std::move(choose); }

 signals:
  // The new list; `typing` when the description is being typed, which one
  // undo step takes back as a whole.
  void picturesEdited(const QString& name, std::shared_ptr<const PicDataArray> pictures, bool typing);

 private:
  void showCurrent();
  void addFromWell(const QString& name);
  void changeCurrent(const QString& name, const std::function<void(PicData&)>& change, bool typing = false);

  const PreferencesController& preferences_;
  std::shared_ptr<const PicDataArray> pictures_ = std::make_shared<PicDataArray>();
  size_t index_ = 0;
  DragImageView* well_ = nullptr;
  QLabel* facts_ = nullptr;
  QLabel* position_ = nullptr;
  QPushButton* previous_ = nullptr;
  QPushButton* next_ = nullptr;
  QPushButton* remove_ = nullptr;
  QComboBox* type_ = nullptr;
  QLineEdit* description_ = nullptr;
  std::function<QString(QWidget*)> chooseImage_;
  bool filling_ = false;
};

}  // namespace melos::ui
