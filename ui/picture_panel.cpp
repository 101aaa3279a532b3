#include "ui/picture_panel.h"

#include <QBuffer>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "engine/text.h"
#include "operations/picture_list.h"
#include "operations/picture_well.h"
#include "operations/tag_copy.h"
#include "preferences/preferences_controller.h"
#include "ui/drag_image_view.h"
#include "ui/qt_text.h"

namespace melos::ui {
namespace {


QSize pixelSize(const Bytes& data) {
  QByteArray bytes =
      QByteArray::fromRawData(reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()));
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  return QImageReader(&buffer).size();
}

}  // namespace

PicturePanel::PicturePanel(const PreferencesController& preferences, Questions& questions, QWidget* parent)
    : QWidget(parent), preferences_(preferences) {
  setObjectName(QStringLiteral("picturePanel"));
  auto* column = new QVBoxLayout(this);
  well_ = new DragImageView(this);
  well_->setObjectName(QStringLiteral("pictureWell"));
  well_->setAccessibleName(tr("Picture"));
  well_->setAllowedImageTypes({QStringLiteral("jpeg"), QStringLiteral("png"), QStringLiteral("gif"),
                               QStringLiteral("tiff"), QStringLiteral("bmp")});
  well_->setAskUserForImageConversion(true);
  well_->setConversionQuestions(&questions);
  well_->setMinimumSize(160, 160);
  column->addWidget(well_, 1);

  facts_ = new QLabel(this);
  facts_->setObjectName(QStringLiteral("pictureFacts"));
  facts_->setAlignment(Qt::AlignCenter);
  column->addWidget(facts_);

  auto* paging = new QHBoxLayout;
  const auto button = [this](const QString& text, const char* name) {
    auto* b = new QPushButton(text, this);
    b->setObjectName(QString::fromLatin1(name));
    b->setAccessibleName(QString(text).remove(QLatin1Char('&')).remove(QStringLiteral("…")));
    return b;
  };
  previous_ = button(QStringLiteral("◀"), "previousPictureButton");
  previous_->setAccessibleName(tr("Previous picture"));
  position_ = new QLabel(this);
  position_->setObjectName(QStringLiteral("pictureIndex"));
  next_ = button(QStringLiteral("▶"), "nextPictureButton");
  next_->setAccessibleName(tr("Next picture"));
  paging->addWidget(previous_);
  paging->addWidget(position_, 1, Qt::AlignCenter);
  paging->addWidget(next_);
  column->addLayout(paging);

  auto* form = new QFormLayout;
  type_ = new QComboBox(this);
  type_->setObjectName(QStringLiteral("pictureType"));
  type_->setAccessibleName(tr("Picture type"));
  for (std::string_view name : pictureTypeNames()) type_->addItem(qtext(name));
  description_ = new QLineEdit(this);
  description_->setObjectName(QStringLiteral("pictureDescription"));
  description_->setAccessibleName(tr("Picture description"));
  form->addRow(tr("T&ype:"), type_);
  form->addRow(tr("Descri&ption:"), description_);
  column->addLayout(form);

  auto* actions = new QHBoxLayout;
  auto* add = button(tr("A&dd image…"), "addImageButton");
  remove_ = button(tr("&Remove"), "removeImageButton");
  actions->addWidget(add);
  actions->addWidget(remove_);
  column->addLayout(actions);

  chooseImage_ = choosePictureFile;
  connect(previous_, &QPushButton::clicked, this, [this] {
    if (index_ > 0) --index_;
    showCurrent();
  });
  connect(next_, &QPushButton::clicked, this, [this] {
    index_ = clampPictureIndex(index_ + 1, pictures_->size());
    showCurrent();
  });
  connect(add, &QPushButton::clicked, this, &PicturePanel::addImage);
  connect(remove_, &QPushButton::clicked, this, [this] {
    if (pictures_->empty()) return;
    auto after = std::make_shared<PicDataArray>(*pictures_);
    after->erase(after->begin() + static_cast<std::ptrdiff_t>(index_));
    emit picturesEdited(tr("Remove Picture"), std::move(after), false);
  });
  connect(well_, &DragImageView::dropped, this, [this] { addFromWell(tr("Drop Picture")); });
  connect(type_, &QComboBox::activated, this, [this](int type) {
    changeCurrent(tr("Picture Type"), [type](PicData& p) { p.pictureType = static_cast<uint8_t>(type); });
  });
  connect(description_, &QLineEdit::textEdited, this, [this](const QString& text) {
    changeCurrent(tr("Picture Description"),
                  [&text](PicData& p) { p.description = storedText(text.toStdU16String()); }, true);
  });
  showCurrent();
}

void PicturePanel::showPictures(std::shared_ptr<const PicDataArray> pictures) {
  pictures_ = std::move(pictures);
  index_ = clampPictureIndex(index_, pictures_->size());
  showCurrent();
}

void PicturePanel::showCurrent() {
  filling_ = true;
  const bool any = !pictures_->empty();
  if (any) {
    const PicData& shown = (*pictures_)[index_];
    if (well_->getImageData() != shown.data) well_->setImageWithData(shown.data);
    well_->setImageType(QString::fromStdString(shown.pictureSubtype));
    const QSize size = pixelSize(shown.data);
    facts_->setText(qtext(pictureFacts(shown, size.width(), size.height())));
    type_->setCurrentIndex(shown.pictureType < kPictureTypeCount ? shown.pictureType : 0);
    const QString description = QString::fromStdU16String(shown.description.toU16());
    if (description_->text() != description) description_->setText(description);
    position_->setText(tr("%1 of %2").arg(index_ + 1).arg(pictures_->size()));
  } else {
    well_->removeImage();
    facts_->setText(tr("No picture"));
    description_->clear();
    position_->clear();
  }
  previous_->setEnabled(index_ > 0);
  next_->setEnabled(index_ + 1 < pictures_->size());
  remove_->setEnabled(any);
  type_->setEnabled(any);
  description_->setEnabled(any);
  filling_ = false;
}

QString choosePictureFile(QWidget* owner) {
  return QFileDialog::getOpenFileName(owner, PicturePanel::tr("Add image"), QString(),
                                      PicturePanel::tr("Images (*.jpg *.jpeg *.png *.gif *.tif *.tiff *.bmp)"));
}

void PicturePanel::addImage() {
  const QString path = chooseImage_(this);
  if (path.isEmpty()) return;
  std::optional<Bytes> bytes = readPictureFile(localPath(path));
  // The well keeps what it showed when the file is refused.
  if (!bytes || !well_->setImageWithData(std::move(*bytes), true)) {
    showCurrent();
    return;
  }
  addFromWell(tr("Add Picture"));
}

void PicturePanel::addFromWell(const QString& name) {
  if (filling_) return;
  auto after = std::make_shared<PicDataArray>(*pictures_);
  PicData picture(well_->getImageData(), well_->getImageType().toStdString());
  index_ = addPicture(*after, std::move(picture), index_, preferences_.isAddPicToEndSet());
  emit picturesEdited(name, std::move(after), false);
}

void PicturePanel::changeCurrent(const QString& name, const std::function<void(PicData&)>& change, bool typing) {
  if (filling_ || pictures_->empty()) return;
  auto after = std::make_shared<PicDataArray>(*pictures_);
  change((*after)[index_]);
  emit picturesEdited(name, std::move(after), typing);
}

}  // namespace melos::ui
