#pragma once
// The picture well: shows a track's picture, takes a new one dropped from a
// file manager or a browser or pasted, and gives it out again by dragging it
// to a folder or an image program. What it takes and converts is decided by
// PictureWell; this widget only draws, reads drops and starts drags.

#include <QFrame>
#include <QImage>
#include <QPoint>
#include <QString>
#include <QStringList>
#include <functional>

#include "operations/picture_well.h"
#include "ui/image_codec.h"

class QMimeData;

namespace melos::ui {

class DragImageView : public QFrame {
  Q_OBJECT

 public:
  explicit DragImageView(QWidget* parent = nullptr);

  void setAllowedImageTypes(const QStringList& types);
  void setAskUserForImageConversion(bool ask) { well_.setAskUserForImageConversion(ask); }
  // The conversion question is asked through `questions`; none when null.
  void setConversionQuestions(Questions* questions);
  void setDrawBorder(bool draw);

  bool setImageWithData(Bytes bytes, bool checkType);
  bool setImageWithData(Bytes bytes) { return setImageWithData(std::move(bytes), false); }
  void setImageType(const QString& type) { well_.setImageType(type.toStdString()); }
  QString getImageType() const { return QString::fromStdString(well_.getImageType()); }
  const Bytes& getImageData() const { return well_.getImageData(); }
  size_t getImageDataSize() const { return well_.getImageDataSize(); }
  void removeImage();

  // Takes the picture a drop or the clipboard offers: the first file, else
  // image bytes of a known kind, else a bare image (as PNG). Checked as a
  // drop is.
  bool takePicture(const QMimeData* offered);
  // The data a drag out offers: the picture written as a file in `folder`
  // (named as pictureFileName says) and its bytes. Null when empty or when
  // the file cannot be written.
  QMimeData* pictureMimeData(const QString& folder) const;
  // Writes the picture into `folder` as a drag out does; the path, or empty.
  QString savePictureInto(const QString& folder) const;

  // Where "Save Picture As..." asks for a folder; a dialog by default.
  void setFolderChooser(std::function<QString(QWidget*)> choose) { chooseFolder_ = std::move(choose); }
  bool highlighted() const { return highlight_; }

 signals:
  // "DragImageViewDidChange": after every successful setting of a picture.
  void didChange();
  // "DragImageViewDrop": after a successful drop or paste.
  void dropped();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void setHighlight(bool on);
  void paste();
  void startDrag();
  void showPicture(QImage image);

  QtImageCodec codec_;
  PictureWell well_{codec_};
  QImage shown_;
  bool drawBorder_ = true;
  bool highlight_ = false;
  QPoint pressedAt_;
  bool pressed_ = false;
  std::function<QString(QWidget*)> chooseFolder_;
};

// Whether a drag or a clipboard offers something the well can take.
bool offersPicture(const QMimeData* data);

}  // namespace melos::ui
