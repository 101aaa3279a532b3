#include "ui/drag_image_view.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDateTime>
#include <QDir>
#include <QDrag>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QStandardPaths>
#include <QUrl>
#include <QUuid>
#include <vector>

#include "ui/document_window.h"

namespace melos::ui {

namespace {

Bytes toBytes(const QByteArray& data) { return Bytes(data.begin(), data.end()); }
QByteArray toByteArray(const Bytes& bytes) {
  return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
}

std::vector<std::string> formatsOf(const QMimeData* data) {
  std::vector<std::string> formats;
  for (const QString& format : data->formats()) formats.push_back(format.toStdString());
  return formats;
}

// Each drag writes into a folder of its own, so a drop that copies the file
// later never finds it replaced by a newer drag's; the day-old ones go.
QString newDragFolder() {
  QDir drags(QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/drags"));
  const QDateTime dayAgo = QDateTime::currentDateTime().addDays(-1);
  for (const QFileInfo& old : drags.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot))
    if (old.lastModified() < dayAgo) QDir(old.filePath()).removeRecursively();
  const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces);
  return drags.mkpath(name) ? drags.filePath(name) : QString();
}

}  // namespace

bool offersPicture(const QMimeData* data) {
  if (data == nullptr) return false;
  return !droppedPaths(data).isEmpty() || !pictureMimeType(formatsOf(data)).empty() || data->hasImage();
}

DragImageView::DragImageView(QWidget* parent) : QFrame(parent) {
  setObjectName(QStringLiteral("pictureWell"));
  setAccessibleName(tr("Picture"));
  setAccessibleDescription(tr("Drop or paste a picture here; drag it out to save it as a file."));
  setAcceptDrops(true);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(96, 96);
  setFrameShape(QFrame::StyledPanel);
  chooseFolder_ = [](QWidget* over) { return QFileDialog::getExistingDirectory(over, tr("Save Picture In")); };
}

void DragImageView::setAllowedImageTypes(const QStringList& types) {
  std::vector<std::string> list;
  for (const QString& type : types) list.push_back(type.toStdString());
  well_.setAllowedImageTypes(list);
}

void DragImageView::setConversionQuestions(Questions* questions) {
  if (questions == nullptr) {
    well_.setConversionQuestion(nullptr);
    return;
  }
  well_.setConversionQuestion([questions] { return askToConvertImage(*questions); });
}

void DragImageView::setDrawBorder(bool draw) {
  drawBorder_ = draw;
  setFrameShape(draw ? QFrame::StyledPanel : QFrame::NoFrame);
  update();
}

bool DragImageView::setImageWithData(Bytes bytes, bool checkType) {
  if (!well_.setImageWithData(std::move(bytes), checkType)) {
    codec_.takeDecoded();  // a refused picture's image is not kept
    return false;
  }
  // The stored bytes show the image the well decoded to check them: a
  // converted picture is the same pixels as PNG.
  showPicture(codec_.takeDecoded());
  emit didChange();
  return true;
}

void DragImageView::removeImage() {
  well_.removeImage();
  showPicture({});
}

void DragImageView::showPicture(QImage image) {
  shown_ = std::move(image);
  setToolTip(shown_.isNull() ? QString()
                             : tr("%1 picture, %2 × %3 pixels, %4 bytes")
                                   .arg(getImageType().toUpper())
                                   .arg(shown_.width())
                                   .arg(shown_.height())
                                   .arg(getImageDataSize()));
  update();
}

bool DragImageView::takePicture(const QMimeData* offered) {
  if (offered == nullptr) return false;
  Bytes bytes;
  const QStringList paths = droppedPaths(offered);
  const std::string type = pictureMimeType(formatsOf(offered));
  if (!paths.isEmpty()) {
    std::optional<Bytes> read = readPictureFile(paths.first().toStdString());
    if (!read) return false;
    bytes = std::move(*read);
  } else if (!type.empty()) {
    bytes = toBytes(offered->data(QString::fromStdString(type)));
  } else if (offered->hasImage()) {
    // A bare image, as some programs copy one: PNG keeps its every pixel.
    const std::optional<Bytes> png = writeInterlacedPng(qvariant_cast<QImage>(offered->imageData()));
    if (!png) return false;
    bytes = std::move(*png);
  } else {
    return false;
  }
  if (!setImageWithData(std::move(bytes), true)) return false;
  emit dropped();
  return true;
}

QString DragImageView::savePictureInto(const QString& folder) const {
  if (!well_.hasImage() || folder.isEmpty()) return {};
  const QString path = QString::fromStdString(pictureFileName(
      folder.toStdString(), well_.getImageType(), [](const std::string& name) { return QFileInfo::exists(QString::fromStdString(name)); }));
  QFile file(path);
  const Bytes& bytes = well_.getImageData();
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
      file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size())) !=
          static_cast<qint64>(bytes.size()) ||
      !file.flush()) {
    file.remove();
    return {};
  }
  return path;
}

QMimeData* DragImageView::pictureMimeData(const QString& folder) const {
  const QString path = savePictureInto(folder);
  if (path.isEmpty()) return nullptr;
  auto* mime = new QMimeData;
  mime->setUrls({QUrl::fromLocalFile(path)});
  mime->setData(QStringLiteral("image/") + getImageType(), toByteArray(well_.getImageData()));
  return mime;
}

void DragImageView::setHighlight(bool on) {
  if (highlight_ == on) return;
  highlight_ = on;
  update();
}

void DragImageView::paintEvent(QPaintEvent* event) {
  QFrame::paintEvent(event);
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const QRect area = contentsRect().adjusted(4, 4, -4, -4);
  if (shown_.isNull()) {
    // The empty well says what it is for.
    QPen pen(palette().color(QPalette::Mid), 1, Qt::DashLine);
    painter.setPen(pen);
    painter.drawRoundedRect(area, 6, 6);
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, tr("Drop a picture here"));
  } else {
    const QSize size = shown_.size().scaled(area.size(), Qt::KeepAspectRatio).boundedTo(shown_.size());
    const QRect target(area.center() - QPoint(size.width() / 2, size.height() / 2), size);
    painter.drawImage(target, shown_);
  }
  if (highlight_) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 3));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(1, 1, -2, -2));
  }
}

void DragImageView::dragEnterEvent(QDragEnterEvent* event) {
  // Its own drag is not taken back: dropping the picture on itself changes nothing.
  if (event->source() == this || !offersPicture(event->mimeData()) ||
      !(event->possibleActions() & Qt::CopyAction)) {
    event->ignore();
    return;
  }
  event->setDropAction(Qt::CopyAction);
  event->accept();
  setHighlight(true);
}

void DragImageView::dragLeaveEvent(QDragLeaveEvent* event) {
  setHighlight(false);
  QFrame::dragLeaveEvent(event);
}

void DragImageView::dropEvent(QDropEvent* event) {
  setHighlight(false);
  event->setDropAction(Qt::CopyAction);
  if (takePicture(event->mimeData())) event->accept();
  else event->ignore();
}

void DragImageView::mousePressEvent(QMouseEvent* event) {
  pressed_ = event->button() == Qt::LeftButton;
  pressedAt_ = event->position().toPoint();
  QFrame::mousePressEvent(event);
}

void DragImageView::mouseMoveEvent(QMouseEvent* event) {
  if (pressed_ && (event->buttons() & Qt::LeftButton) &&
      (event->position().toPoint() - pressedAt_).manhattanLength() >= QApplication::startDragDistance()) {
    pressed_ = false;
    startDrag();
  }
  QFrame::mouseMoveEvent(event);
}

void DragImageView::startDrag() {
  QMimeData* mime = pictureMimeData(newDragFolder());
  if (mime == nullptr) return;
  auto* drag = new QDrag(this);
  drag->setMimeData(mime);
  if (!shown_.isNull())
    drag->setPixmap(QPixmap::fromImage(shown_.scaled(96, 96, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
  drag->exec(Qt::CopyAction);
}

void DragImageView::paste() { takePicture(QApplication::clipboard()->mimeData()); }

void DragImageView::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Paste)) {
    paste();
  } else if (event->matches(QKeySequence::Delete) && well_.hasImage()) {
    removeImage();
    emit didChange();
  } else {
    QFrame::keyPressEvent(event);
  }
}

void DragImageView::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  menu.setObjectName(QStringLiteral("pictureWellMenu"));
  QAction* copy = menu.addAction(tr("&Copy Picture"), this, [this] {
    auto* mime = new QMimeData;
    mime->setData(QStringLiteral("image/") + getImageType(), toByteArray(well_.getImageData()));
    mime->setImageData(shown_);
    QApplication::clipboard()->setMimeData(mime);
  });
  QAction* paste = menu.addAction(tr("&Paste Picture"), this, &DragImageView::paste);
  QAction* save = menu.addAction(tr("&Save Picture As…"), this, [this] { savePictureInto(chooseFolder_(this)); });
  menu.addSeparator();
  QAction* remove = menu.addAction(tr("&Remove Picture"), this, [this] {
    removeImage();
    emit didChange();
  });
  copy->setEnabled(well_.hasImage());
  save->setEnabled(well_.hasImage());
  remove->setEnabled(well_.hasImage());
  paste->setEnabled(offersPicture(QApplication::clipboard()->mimeData()));
  menu.exec(event->globalPos());
}

}  // namespace melos::ui
