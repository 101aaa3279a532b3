// The default tag data page of the preferences window: the ten sets, each
// with its name, its fields and the picture the sets share.

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "engine/open_track.h"
#include "operations/picture_well.h"
#include "operations/track_file.h"
#include "operations/questions.h"
#include "preferences/preference_controls.h"
#include "preferences/preferences_controller.h"
#include "ui/drag_image_view.h"
#include "ui/preferences_window.h"
#include "ui/qt_text.h"

namespace melos::ui {

QWidget* PreferencesWindow::buildDefaultsPage() {
  choosePicture_ = [](QWidget* parent) {
    return QFileDialog::getOpenFileName(parent, tr("Choose a picture file"), QString(),
                                        tr("Pictures (*.jpg *.jpeg *.png *.gif *.tif *.tiff *.bmp)"));
  };
  chooseTrack_ = [](QWidget* parent) {
    return QFileDialog::getOpenFileName(parent, tr("Choose a tag source file"), QString(),
                                        tr("Tracks (*.mp3 *.aif *.aiff *.aifc *.tdf)"));
  };
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);

  auto* pick = new QGridLayout;
  defaultSet_ = new QComboBox;
  defaultSet_->setObjectName(QStringLiteral("mDefaultSetPopUp"));
  defaultSet_->setToolTip(tr("The set of default tag data the editors apply."));
  for (int index = 0; index < prefs::kDefaultSetCount; ++index) defaultSet_->addItem(QString());
  connect(defaultSet_, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (loading_ || index < 0) return;
    const bool saved = saveCurrentDefaultSet(preferences_, index);
    loading_ = true;
    loadDefaultSet();
    loading_ = false;
    stored(saved);
  });
  auto* setLabel = new QLabel(tr("&Current set:"));
  setLabel->setBuddy(defaultSet_);
  defaultSet_->setAccessibleName(tr("Current set"));
  defaultSetName_ = new QLineEdit;
  defaultSetName_->setObjectName(QStringLiteral("mDefaultSetNameField"));
  defaultSetName_->setToolTip(tr("The name the set is listed by; clear it to give the set its standard name back."));
  connect(defaultSetName_, &QLineEdit::textEdited, this, [this](const QString& name) {
    const int index = defaultSet_->currentIndex();
    const bool saved = saveDefaultSetName(preferences_, index, utf8(name));
    defaultSet_->setItemText(index, QString::fromStdString(defaultSetName(preferences_, index)));
    updateAlwaysApplied();
    stored(saved, true);
  });
  auto* nameLabel = new QLabel(tr("&Name:"));
  nameLabel->setBuddy(defaultSetName_);
  defaultSetName_->setAccessibleName(tr("Name"));
  pick->addWidget(setLabel, 0, 0);
  pick->addWidget(defaultSet_, 0, 1);
  pick->addWidget(nameLabel, 0, 2);
  pick->addWidget(defaultSetName_, 0, 3);
  auto* fromTrack = new QPushButton(tr("Fill from a trac&k…"));
  fromTrack->setObjectName(QStringLiteral("mFillDefaultsFromTrackButton"));
  fromTrack->setToolTip(tr("Takes the fields a track fills into this set and checks their boxes."));
  connect(fromTrack, &QPushButton::clicked, this, &PreferencesWindow::fillDefaultSetFromTrack);
  pick->addWidget(fromTrack, 0, 4);
  pick->setColumnStretch(3, 1);
  layout->addLayout(pick);
  alwaysApplied_ = new QLabel;
  alwaysApplied_->setObjectName(QStringLiteral("mAlwaysAppliedLabel"));
  alwaysApplied_->setWordWrap(true);
  layout->addWidget(alwaysApplied_);

  auto* body = new QHBoxLayout;
  auto* fields = new QGroupBox(tr("Fields the set supplies"));
  auto* grid = new QGridLayout(fields);
  int line = 0;
  for (const DefaultFieldControl& control : kDefaultFieldControls) {
    const DefaultFieldControl* row = &control;
    auto* use = new QCheckBox(qtext(control.label).remove(QLatin1Char(':')));
    use->setObjectName(qtext(control.objectName) + QStringLiteral("Use"));
    use->setToolTip(tr("Whether the set supplies this field; an empty value then empties it."));
    use->setAccessibleName(tr("Use %1").arg(use->text()));
    connect(use, &QCheckBox::toggled, this, [this, row](bool on) {
      if (!loading_) stored(saveDefaultUse(preferences_, *row, defaultSet_->currentIndex(), on));
    });
    defaultUse_.push_back(use);
    grid->addWidget(use, line, 0);
    if (control.booleanValue) {
      auto* value = new QCheckBox(tr("Part of a compilation"));
      value->setObjectName(qtext(control.objectName));
      value->setAccessibleName(value->text());
      value->setToolTip(tr("Whether the set marks the track as part of a compilation."));
      connect(value, &QCheckBox::toggled, this, [this, row](bool on) {
        if (!loading_) stored(saveDefaultOn(preferences_, *row, defaultSet_->currentIndex(), on));
      });
      defaultValue_.push_back(value);
      grid->addWidget(value, line, 1);
    } else {
      auto* value = new QLineEdit;
      value->setObjectName(qtext(control.objectName));
      value->setAccessibleName(use->text());
      value->setToolTip(tr("What the set puts in the field when its box is checked."));
      connect(value, &QLineEdit::textEdited, this, [this, row](const QString& text) {
        stored(saveDefaultText(preferences_, *row, defaultSet_->currentIndex(), utf8(text)), true);
      });
      defaultValue_.push_back(value);
      grid->addWidget(value, line, 1);
    }
    ++line;
  }
  grid->setColumnStretch(1, 1);
  body->addWidget(fields, 1);

  auto* picture = new QGroupBox(tr("Picture"));
  auto* pictureLayout = new QVBoxLayout(picture);
  useDefaultPicture_ = new QCheckBox(tr("Use the &picture"));
  useDefaultPicture_->setObjectName(QStringLiteral("mUseDefaultPictureCheckBox"));
  useDefaultPicture_->setToolTip(tr("The set adds this picture; every set shares the one picture."));
  connect(useDefaultPicture_, &QCheckBox::toggled, this, [this](bool on) {
    if (!loading_) stored(saveUseDefaultPicture(preferences_, defaultSet_->currentIndex(), on));
  });
  defaultPicture_ = new DragImageView;
  defaultPicture_->setObjectName(QStringLiteral("mDefaultPictureWell"));
  defaultPicture_->setAccessibleName(tr("Default picture"));
  defaultPicture_->setMinimumSize(128, 128);
  defaultPicture_->setFocusPolicy(Qt::StrongFocus);
  defaultPicture_->setConversionQuestions(&questions_);
  defaultPicture_->setAskUserForImageConversion(true);
  connect(defaultPicture_, &DragImageView::didChange, this, &PreferencesWindow::defaultPictureChanged);
  auto* choose = new QPushButton(tr("C&hoose…"));
  choose->setObjectName(QStringLiteral("mChooseDefaultPictureButton"));
  choose->setToolTip(tr("Choose a picture file"));
  connect(choose, &QPushButton::clicked, this, &PreferencesWindow::chooseDefaultPicture);
  auto* remove = new QPushButton(tr("Remo&ve"));
  remove->setObjectName(QStringLiteral("mRemoveDefaultPictureButton"));
  remove->setToolTip(tr("Removes the picture the sets share."));
  connect(remove, &QPushButton::clicked, this, [this] {
    defaultPicture_->removeImage();
    defaultPictureChanged();
  });
  pictureLayout->addWidget(useDefaultPicture_);
  pictureLayout->addWidget(defaultPicture_, 1);
  auto* pictureButtons = new QHBoxLayout;
  pictureButtons->addWidget(choose);
  pictureButtons->addWidget(remove);
  pictureLayout->addLayout(pictureButtons);
  body->addWidget(picture);
  layout->addLayout(body, 1);

  auto* switches = new QGroupBox(tr("Applying the set"));
  auto* switchLayout = new QVBoxLayout(switches);
  addCheckBoxes(switchLayout, static_cast<int>(PreferencePage::Defaults));
  layout->addWidget(switches);
  return page;
}

void PreferencesWindow::loadDefaultSet() {
  const int index = currentDefaultSet(preferences_);
  for (int set = 0; set < prefs::kDefaultSetCount; ++set)
    defaultSet_->setItemText(set, QString::fromStdString(defaultSetName(preferences_, set)));
  defaultSet_->setCurrentIndex(index);
  defaultSetName_->setText(defaultSet_->itemText(index));
  for (size_t i = 0; i < kDefaultFieldControls.size(); ++i) {
    const DefaultFieldState state = loadDefaultField(preferences_, kDefaultFieldControls[i], index);
    defaultUse_[i]->setChecked(state.use);
    if (auto* box = qobject_cast<QCheckBox*>(defaultValue_[i])) box->setChecked(state.on);
    else static_cast<QLineEdit*>(defaultValue_[i])->setText(QString::fromStdString(state.text));
  }
  useDefaultPicture_->setChecked(loadUseDefaultPicture(preferences_, index));
  // The picture file is read as it is, whether or not this set uses it.
  defaultPicture_->removeImage();
  if (std::optional<Bytes> bytes = readPictureFile(preferences_.defaultPicturePath(index)))
    defaultPicture_->setImageWithData(std::move(*bytes));
  updateAlwaysApplied();
}

void PreferencesWindow::updateAlwaysApplied() {
  const QString name = QString::fromStdString(defaultSetName(preferences_, currentDefaultSet(preferences_)));
  alwaysApplied_->setText(preferences_.isAlwaysApplyDefTagDataSet()
                              ? tr("“%1” is always applied when a track is updated.").arg(name)
                              : tr("No set is applied automatically; “%1” is applied by the defaults button and "
                                   "menu item.")
                                    .arg(name));
}

void PreferencesWindow::defaultPictureChanged() {
  if (loading_) return;
  if (std::optional<std::string> failure = preferences_.setDefaultPicture(defaultPicture_->getImageData()))
    tell(questions_, std::string(kDefaultImageAlert), *failure);
  stored(true);
}

void PreferencesWindow::fillDefaultSetFromTrack() {
  const QString path = chooseTrack_(this);
  if (path.isEmpty()) return;
  const TrackFile opened = openTrackFile(localPath(path), kScanQuick);
  if (!opened.opened()) {
    tell(questions_, "Load failed", "Could not read the tag data from the file '" + localPath(path) + "'.");
    return;
  }
  storeDefaultSetFromTrack(preferences_, defaultSet_->currentIndex(), *opened.track);
  loading_ = true;
  loadDefaultSet();
  loading_ = false;
  stored(preferences_.synchronize());
}

void PreferencesWindow::chooseDefaultPicture() {
  const QString path = choosePicture_(this);
  if (path.isEmpty()) return;
  std::optional<Bytes> bytes = readPictureFile(localPath(path));
  if (!bytes || !defaultPicture_->setImageWithData(std::move(*bytes), true)) {
    tell(questions_, std::string(kDefaultImageAlert),
         "The file '" + localPath(path) + "' is not a picture that can be used.");
    return;
  }
  // setImageWithData told the page through didChange.
}

}  // namespace melos::ui
