#include "ui/preferences_window.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QShowEvent>
#include <QSpinBox>
#include <QTabWidget>
#include <QUrl>
#include <QVBoxLayout>
#include <ctime>

#include "engine/log.h"
#include "operations/name_preview.h"
#include "operations/preferences_actions.h"
#include "operations/questions.h"
#include "preferences/control_mappings.h"
#include "preferences/handler_guard.h"
#include "preferences/preference_controls.h"
#include "preferences/preferences_controller.h"
#include "preferences/settings_file_store.h"
#include "ui/drag_image_view.h"
#include "ui/qt_text.h"
#include "ui/widget_parts.h"

namespace melos::ui {

namespace {

constexpr std::string_view kStoreProblemTitle = "Preferences";
constexpr int kNotifyAfterMs = 250;
constexpr std::string_view kNotSavedMessage =
    "The preferences could not be saved, so changes last only until the program ends (see melos.log for more "
    "details).";

QLabel* buddyLabel(const QString& text, QWidget* buddy) {
  auto* label = new QLabel(text);
  label->setBuddy(buddy);
  buddy->setAccessibleName(QString(text).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
  return label;
}


}  // namespace

PreferencesWindow::PreferencesWindow(PreferencesController& preferences, Questions& questions, QWidget* parent)
    : QWidget(parent, Qt::Window),
      preferences_(preferences),
      questions_(questions),
      previewTrack_([] { return std::unique_ptr<ID3Tag>(); }),
      openFolder_([](const QString& folder) { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); }) {
  setObjectName(QStringLiteral("preferencesWindow"));
  setWindowTitle(tr("Preferences"));

  tabs_ = new QTabWidget;
  tabs_->setObjectName(QStringLiteral("mPreferencesTabs"));
  tabs_->addTab(scrollingPage(buildSavingPage()), tr("&Saving"));
  tabs_->addTab(scrollingPage(buildNamingPage()), tr("&Renaming"));
  tabs_->addTab(scrollingPage(buildEditingPage()), tr("&Editing"));
  tabs_->addTab(buildGenresPage(), tr("&Quick lists and genres"));
  tabs_->addTab(scrollingPage(buildDefaultsPage()), tr("&Default tag data"));
  tabs_->addTab(scrollingPage(buildLogPage()), tr("&Log"));

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(tabs_);
  auto* buttons = new QHBoxLayout;
  buildResetButton(buttons);
  buttons->addStretch();
  auto* close = new QPushButton(tr("Close"));
  close->setObjectName(QStringLiteral("mCloseButton"));
  connect(close, &QPushButton::clicked, this, &QWidget::close);
  buttons->addWidget(close);
  layout->addLayout(buttons);

  // Sized by the text it shows, so it opens alike at any scale.
  resize(fontMetrics().averageCharWidth() * 100, fontMetrics().lineSpacing() * 36);
  notifySoon_.setSingleShot(true);
  notifySoon_.setInterval(kNotifyAfterMs);
  connect(&notifySoon_, &QTimer::timeout, this, &PreferencesWindow::notifyChanged);
  preferences_.setLoadPreferencesHandler([this] { loadPreferences(); });
  loadPreferences();
}

PreferencesWindow::~PreferencesWindow() { preferences_.setLoadPreferencesHandler(nullptr); }

void PreferencesWindow::setPreviewTrack(std::function<std::unique_ptr<ID3Tag>()> track) {
  previewTrack_ = std::move(track);
  refreshPreviews();
}

void PreferencesWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!event->spontaneous()) loadPreferences();
  tellUnreadable();
}

void PreferencesWindow::hideEvent(QHideEvent* event) {
  if (notifySoon_.isActive()) notifyChanged();
  QWidget::hideEvent(event);
}

void PreferencesWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  // The front track may have changed while another window was active.
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) refreshPreviews();
}

void PreferencesWindow::tellUnreadable() {
  const QString kept = SettingsFileStore::takeKeptBrokenFile();
  if (kept.isEmpty() || toldStoreProblem_) return;
  toldStoreProblem_ = true;
  tell(questions_, std::string(kStoreProblemTitle),
       "The preferences could not be read, so the defaults are shown. The unreadable file was kept as '" +
           utf8(QDir::toNativeSeparators(kept)) + "'.");
}

void PreferencesWindow::stored(bool saved, bool typing) {
  if (loading_) return;
  if (!saved && !toldStoreProblem_) {
    toldStoreProblem_ = true;
    tell(questions_, std::string(kStoreProblemTitle), std::string(kNotSavedMessage));
  }
  showPreviews();
  if (typing) notifySoon_.start();
  else notifyChanged();
}

void PreferencesWindow::notifyChanged() {
  notifySoon_.stop();
  if (changedHandler_) changedHandler_();
}

void PreferencesWindow::addCheckBoxes(QLayout* layout, int page) {
  for (const CheckBoxControl& control : kCheckBoxControls) {
    if (static_cast<int>(control.page) != page) continue;
    auto* box = new QCheckBox(qtext(control.label));
    box->setObjectName(qtext(control.objectName));
    box->setToolTip(qtext(control.toolTip));
    box->setAccessibleName(qtext(control.label));
    const CheckBoxControl* row = &control;
    connect(box, &QCheckBox::toggled, this, [this, row](bool on) {
      if (loading_) return;
      stored(saveCheckBox(preferences_, *row, on));
      if (row->key == prefs::kAlwaysApplyDefTagData.key) updateAlwaysApplied();
    });
    checkBoxes_.emplace_back(row, box);
    layout->addWidget(box);
  }
}

QWidget* PreferencesWindow::buildSavingPage() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  tag2Version_ = new QComboBox;
  tag2Version_->setObjectName(QStringLiteral("mTag2VersionPopUp"));
  tag2Version_->setToolTip(tr("The ID3v2 version tags are saved in; automatic keeps the version a track has."));
  for (std::string_view item : kTag2VersionItems) tag2Version_->addItem(qtext(item));
  connect(tag2Version_, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (loading_ || index < 0) return;
    preferences_.setIntPreferenceNamed(prefs::kTag2Version.key, tag2VersionToStore(index));
    stored(preferences_.synchronize());
  });
  auto* form = new QFormLayout;
  form->addRow(buddyLabel(tr("ID3v2 &version to save:"), tag2Version_), tag2Version_);
  layout->addLayout(form);
  addCheckBoxes(layout, static_cast<int>(PreferencePage::Saving));
  layout->addStretch();
  return page;
}

QWidget* PreferencesWindow::buildFormatGroup(bool toFileName) {
  auto* group = new QGroupBox(toFileName ? tr("Tags to file name") : tr("File name to tags"));
  auto* layout = new QVBoxLayout(group);
  QRadioButton** radios = toFileName ? toRadios_ : fromRadios_;
  radios[0] = new QRadioButton(toFileName ? tr("Standard name (01-Track)") : tr("Standard split of the name"));
  radios[1] = new QRadioButton(tr("Custom format"));
  radios[0]->setObjectName(toFileName ? QStringLiteral("mToStandardRadio") : QStringLiteral("mFromStandardRadio"));
  radios[1]->setObjectName(toFileName ? QStringLiteral("mToCustomRadio") : QStringLiteral("mFromCustomRadio"));
  radios[0]->setToolTip(qtext(toFileName ? kToStandardToolTip : kFromStandardToolTip));
  radios[1]->setToolTip(qtext(toFileName ? kToCustomToolTip : kFromCustomToolTip));
  // Radio buttons of a group box are exclusive among themselves; a stored
  // type that is neither 0 nor 1 must be able to show neither.
  auto* exclusive = new QButtonGroup(group);
  exclusive->setExclusive(false);
  for (int i = 0; i < 2; ++i) {
    exclusive->addButton(radios[i]);
    radios[i]->setAccessibleName(radios[i]->text());
    layout->addWidget(radios[i]);
    connect(radios[i], &QRadioButton::clicked, this, [this, toFileName, i] { formatTypeChosen(toFileName, i == 1); });
  }
  const TextControl* control = &kTextControls[toFileName ? 0 : 1];
  auto* field = new QLineEdit;
  field->setObjectName(qtext(control->objectName));
  field->setToolTip(qtext(control->toolTip));
  field->setPlaceholderText(tr("e.g. %A - %N %T"));
  connect(field, &QLineEdit::textEdited, this,
          [this, control](const QString& text) { stored(saveText(preferences_, *control, utf8(text)), true); });
  textFields_.push_back(field);
  auto* form = new QFormLayout;
  form->addRow(buddyLabel(toFileName ? tr("&Format:") : tr("F&ormat:"), field), field);
  QLabel*& preview = toFileName ? toPreview_ : fromPreview_;
  preview = new QLabel;
  preview->setObjectName(toFileName ? QStringLiteral("mToFileNamePreview") : QStringLiteral("mFromFileNamePreview"));
  preview->setTextInteractionFlags(Qt::TextSelectableByMouse);
  preview->setWordWrap(true);
  preview->setAccessibleName(tr("Preview"));
  form->addRow(tr("Preview:"), preview);
  layout->addLayout(form);
  return group;
}

void PreferencesWindow::formatTypeChosen(bool toFileName, bool custom) {
  QRadioButton** radios = toFileName ? toRadios_ : fromRadios_;
  radios[0]->setChecked(!custom);
  radios[1]->setChecked(custom);
  textFields_[toFileName ? 0 : 1]->setEnabled(custom);
  const IntPreference& type = toFileName ? prefs::kToFileNameFormatType : prefs::kFromFileNameFormatType;
  preferences_.setIntPreferenceNamed(type.key, formatTypeToStore(custom));
  stored(preferences_.synchronize());
}

QWidget* PreferencesWindow::buildNamingPage() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  addCheckBoxes(layout, static_cast<int>(PreferencePage::Naming));
  layout->addWidget(buildFormatGroup(true));
  layout->addWidget(buildFormatGroup(false));
  const TextControl* control = &kTextControls[2];
  auto* path = new QLineEdit;
  path->setObjectName(qtext(control->objectName));
  path->setToolTip(qtext(control->toolTip));
  connect(path, &QLineEdit::textEdited, this,
          [this, control](const QString& text) { stored(saveText(preferences_, *control, utf8(text)), true); });
  textFields_.push_back(path);
  auto* form = new QFormLayout;
  form->addRow(buddyLabel(tr("Defa&ult folder:"), path), path);
  layout->addLayout(form);
  layout->addStretch();
  return page;
}

QWidget* PreferencesWindow::buildEditingPage() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  addCheckBoxes(layout, static_cast<int>(PreferencePage::Editing));
  auto* style = new QGroupBox(tr("Editor style"));
  auto* styleLayout = new QVBoxLayout(style);
  const char* names[] = {"mDrawerStyleRadio", "mLargeStyleRadio", "mSmallStyleRadio"};
  for (int i = 0; i < 3; ++i) {
    auto* radio = new QRadioButton(qtext(editorStyleLabel(static_cast<EditorStyle>(i))));
    radio->setObjectName(QString::fromLatin1(names[i]));
    radio->setAccessibleName(radio->text());
    radio->setToolTip(
        tr("How the track editor lays out its picture and lyrics; windows opened from now on follow it."));
    styleRadios_[i] = radio;
    styleLayout->addWidget(radio);
    connect(radio, &QRadioButton::toggled, this, [this](bool on) {
      if (loading_ || !on) return;
      preferences_.setIntPreferenceNamed(
          prefs::kEditorStyle.key, editorStyleToStore(styleRadios_[1]->isChecked(), styleRadios_[2]->isChecked()));
      stored(preferences_.synchronize());
    });
  }
  layout->addWidget(style);
  layout->addStretch();
  return page;
}

QWidget* PreferencesWindow::buildLogPage() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  auto* form = new QFormLayout;
  logLevel_ = new QComboBox;
  logLevel_->setObjectName(QStringLiteral("mLogLevelPopUp"));
  logLevel_->setToolTip(tr("How much the log records, from failures only to every step."));
  for (std::string_view item : kLogLevelItems) logLevel_->addItem(qtext(item));
  connect(logLevel_, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (loading_ || index < 0) return;
    preferences_.setIntPreferenceNamed(prefs::kLogLevel.key, index);
    SetLogLevel(static_cast<unsigned>(index));
    stored(preferences_.synchronize());
  });
  form->addRow(buddyLabel(tr("Log le&vel:"), logLevel_), logLevel_);
  maxLogSize_ = new QSpinBox;
  maxLogSize_->setObjectName(QStringLiteral("mMaxLogSizeField"));
  maxLogSize_->setRange(kMinLogSizeKiB, kMaxLogSizeKiB);
  maxLogSize_->setSuffix(tr(" KiB"));
  maxLogSize_->setToolTip(
      tr("When the log grows past this size it is put aside under a dated name and a new one begins."));
  connect(maxLogSize_, &QSpinBox::valueChanged, this, [this](int kib) {
    if (loading_) return;
    preferences_.setIntPreferenceNamed(prefs::kMaxLogSize.key, logSizeToStore(kib));
    stored(preferences_.synchronize());
  });
  form->addRow(buddyLabel(tr("&Max log size:"), maxLogSize_), maxLogSize_);
  layout->addLayout(form);
  auto* open = new QPushButton(tr("&Open the log folder"));
  open->setObjectName(QStringLiteral("mOpenLogFolderButton"));
  open->setToolTip(tr("Shows the folder of melos.log in the file manager."));
  connect(open, &QPushButton::clicked, this, [this] {
    const QString folder = QFileInfo(QString::fromStdString(DefaultLogPath())).absolutePath();
    QDir().mkpath(folder);
    openFolder_(folder);
  });
  layout->addWidget(open, 0, Qt::AlignLeft);
  layout->addStretch();
  return page;
}

void PreferencesWindow::buildResetButton(QLayout* layout) {
  auto* reset = new QPushButton(tr("Rese&t"));
  reset->setObjectName(QStringLiteral("mResetPopUp"));
  reset->setToolTip(
      tr("Sets the preferences back to their defaults, or shows the windows hidden by 'Do not show again'."));
  auto* menu = new QMenu(reset);
  menu->setObjectName(QStringLiteral("mResetMenu"));
  QAction* all = menu->addAction(qtext(kResetPreferencesItem));
  all->setObjectName(QStringLiteral("mResetPreferencesItem"));
  all->setData(static_cast<int>(ResetItem::Preferences));
  QAction* windows = menu->addAction(qtext(kResetDoNotShowItem));
  windows->setObjectName(QStringLiteral("mResetDoNotShowItem"));
  windows->setData(static_cast<int>(ResetItem::DoNotShowAgain));
  connect(menu, &QMenu::triggered, this, [this](QAction* item) {
    const auto chosen = static_cast<ResetItem>(item->data().toInt());
    if (!resetItemSelected(chosen, preferences_, questions_)) return;
    // A reset shows the defaults itself, through the load handler.
    if (chosen != ResetItem::Preferences) loadPreferences();
    stored(true);
  });
  reset->setMenu(menu);
  layout->addWidget(reset);
}

void PreferencesWindow::loadPreferences() {
  guarded("PreferencesController", "lp", [this] { fillControls(); });
  loading_ = false;
  refreshPreviews();
}

void PreferencesWindow::fillControls() {
  loading_ = true;
  // Takes in what another process wrote since.
  const bool readable = preferences_.synchronize();
  for (const auto& [control, box] : checkBoxes_) box->setChecked(loadCheckBox(preferences_, *control));
  for (size_t i = 0; i < textFields_.size(); ++i)
    textFields_[i]->setText(QString::fromStdString(loadText(preferences_, kTextControls[i])));
  tag2Version_->setCurrentIndex(tag2VersionItemIndex(preferences_.getTag2SaveVersion()));
  const std::optional<EditorStyle> style = editorStyleFromStored(preferences_.getWindowStyle());
  for (int i = 0; i < 3; ++i) styleRadios_[i]->setChecked(style && static_cast<int>(*style) == i);
  const int toType = preferences_.getToFileNameFormatType(), fromType = preferences_.getFromFileNameFormatType();
  for (int i = 0; i < 2; ++i) {
    toRadios_[i]->setChecked(formatTypeRadio(toType) == i);
    fromRadios_[i]->setChecked(formatTypeRadio(fromType) == i);
  }
  textFields_[0]->setEnabled(formatFieldEnabled(toType));
  textFields_[1]->setEnabled(formatFieldEnabled(fromType));
  const int level = preferences_.getIntPreferenceNamed(prefs::kLogLevel.key, prefs::kLogLevel.defaultValue);
  logLevel_->setCurrentIndex(logLevelItem(level).value_or(-1));
  maxLogSize_->setValue(
      logSizeKiB(preferences_.getIntPreferenceNamed(prefs::kMaxLogSize.key, prefs::kMaxLogSize.defaultValue)));
  loadGenreLists();
  loadDefaultSet();
  loading_ = false;
  if (!readable && !toldStoreProblem_) {
    toldStoreProblem_ = true;
    tell(questions_, std::string(kStoreProblemTitle), std::string(kNotSavedMessage));
  }
}

void PreferencesWindow::refreshPreviews() {
  previewSource_ = previewTrack_ ? previewTrack_() : nullptr;
  if (!previewSource_) previewSource_ = samplePreviewTrack();
  showPreviews();
}

void PreferencesWindow::showPreviews() {
  if (!previewSource_) previewSource_ = samplePreviewTrack();
  const ID3Tag& track = *previewSource_;
  const QString name = QString::fromStdString(track.path()).section(QLatin1Char('/'), -1);
  toPreview_->setText(QString::fromStdString(toFileNamePreview(track, preferences_, std::time(nullptr))));
  fromPreview_->setText(name + QStringLiteral(" → ") +
                        QString::fromStdString(fromFileNamePreview(track, preferences_)));
}

}  // namespace melos::ui
