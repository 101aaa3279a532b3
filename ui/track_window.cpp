#include "ui/track_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "engine/open_track.h"
#include "operations/csv_export.h"
#include "operations/file_name_fields.h"
#include "operations/naming_preferences.h"
#include "operations/questions.h"
#include "operations/save_settings.h"
#include "operations/tag_clipboard.h"
#include "operations/track_text.h"
#include "operations/track_writer.h"
#include "operations/xml_export.h"
#include "preferences/preference_controls.h"
#include "preferences/preference_keys.h"
#include "preferences/preferences_controller.h"
#include "ui/editor_fields.h"
#include "ui/file_thumbnail.h"
#include "ui/picture_panel.h"
#include "ui/snapshot_command.h"
#include "ui/play_controls.h"
#include "ui/shown_path.h"
#include "ui/qt_text.h"

namespace melos::ui {
namespace {

// The merge id of typing a picture's description: past every field's.
constexpr int kPictureTypingStep = kEditorFieldCount;

}  // namespace

TrackWindow::TrackWindow(std::unique_ptr<ID3Tag> track, PreferencesController& preferences, Questions& questions,
                         QWidget* parent, TrackWriter* writer)
    : DocumentWindow(parent),
      preferences_(preferences),
      questions_(this, questions),
      writer_(writer != nullptr ? *writer : engineTrackWriter()),
      tracks_(std::move(track)),
      view_(this, *this),
      editor_(tracks_, questions_, view_, [this] { return settingsForRun_; }, writer_,
              preferences.isMultipleWindowsSet()),
      quickLists_(preferences) {
  setObjectName(QStringLiteral("trackWindow"));
  layoutStyle_ = preferences_.getWindowStyle();
  buildWindow();
  connectFields();
  fields_->setGenreLists(preferences_.v1GenreList(), preferences_.v2GenreList());
  connect(undoStack(), &QUndoStack::indexChanged, this, [this] {
    if (busy_) return;
    const bool changed = !undoStack()->isClean();
    tracks_.current().v1Changed = changed;
    tracks_.current().v2Changed = changed;
  });
  connect(&watcher_, &QFileSystemWatcher::fileChanged, this, &TrackWindow::fileChangedOnDisk);
  if (preferences_.isSaveWindowPositionSet()) {
    const QByteArray frame = QByteArray::fromBase64(QByteArray::fromStdString(preferences_.getWindowPosition()));
    if (!frame.isEmpty()) restoreGeometry(frame);
  }
  editor_.setTagFromPosition(0);
}

TrackWindow::~TrackWindow() {
  // A worker waits on this thread for its questions; let it finish first.
  while (busy_) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  if (worker_.joinable()) worker_.join();
  // The stack outlives this part of the window and tells of its clearing.
  disconnect(undoStack(), nullptr, this, nullptr);
}

void TrackWindow::buildWindow() {
  auto* central = new QWidget(this);
  central->setObjectName(QStringLiteral("editorArea"));
  auto* column = new QVBoxLayout(central);

  auto* file = new QGridLayout;
  const auto fact = [this, file](const QString& label, const char* name) {
    auto* caption = new QLabel(label, this);
    auto* value = new QLabel(this);
    value->setObjectName(QString::fromLatin1(name));
    value->setAccessibleName(QString(label).remove(QLatin1Char(':')));
    value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    value->setTextFormat(Qt::PlainText);
    const int row = file->rowCount();
    file->addWidget(caption, row, 0, Qt::AlignTop);
    file->addWidget(value, row, 1);
    return value;
  };
  fileName_ = fact(tr("File:"), "fileName");
  folder_ = fact(tr("Folder:"), "fileFolder");
  facts_ = fact(tr("Audio:"), "audioFacts");
  facts_->setWordWrap(true);
  file->setColumnStretch(1, 1);
  column->addLayout(file);

  fields_ = new EditorFields(this);
  const auto button = [this](const QString& text, const char* name) {
    auto* b = new QPushButton(text, this);
    b->setObjectName(QString::fromLatin1(name));
    b->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    return b;
  };

  v2Box_ = new QGroupBox(tr("ID3 v&2"), this);
  v2Box_->setObjectName(QStringLiteral("v2TagBox"));
  v2Box_->setAccessibleName(tr("ID3 v2 tag"));
  v2Box_->setCheckable(true);
  auto* v2Column = new QVBoxLayout(v2Box_);
  v2Tabs_ = new QTabWidget(v2Box_);
  v2Tabs_->setObjectName(QStringLiteral("v2Tabs"));
  v2Tabs_->addTab(fields_->page(EditorTab::Standard), tr("ID3 v2 Standard"));
  v2Tabs_->addTab(fields_->page(EditorTab::Extended), tr("Extended"));
  v2Tabs_->addTab(fields_->page(EditorTab::Podcast), tr("Podcast"));
  if (preferences_.showUserTab()) v2Tabs_->addTab(fields_->page(EditorTab::User), tr("User"));
  else fields_->page(EditorTab::User)->hide();
  v2Column->addWidget(v2Tabs_);
  auto* v2Buttons = new QHBoxLayout;
  copyV2ToV1_ = button(tr("Copy V2 to V1"), "copyV2ToV1Button");
  fileNameV2_ = button(tr("Use file name for V2 title"), "fileNameV2Button");
  fileNameV2_->setToolTip(tr("Shift: also the track number. Ctrl: also the artist and album."));
  v2Buttons->addWidget(copyV2ToV1_);
  v2Buttons->addStretch(1);
  v2Buttons->addWidget(fileNameV2_);
  v2Column->addLayout(v2Buttons);

  v1Box_ = new QGroupBox(tr("ID3 v&1"), this);
  v1Box_->setObjectName(QStringLiteral("v1TagBox"));
  v1Box_->setAccessibleName(tr("ID3 v1 tag"));
  v1Box_->setCheckable(true);
  auto* v1Column = new QVBoxLayout(v1Box_);
  v1Column->addWidget(fields_->page(EditorTab::V1));
  auto* v1Buttons = new QHBoxLayout;
  copyV1ToV2_ = button(tr("Copy V1 to V2"), "copyV1ToV2Button");
  fileNameV1_ = button(tr("Use file name for V1 title"), "fileNameV1Button");
  fileNameV1_->setToolTip(fileNameV2_->toolTip());
  v1Buttons->addWidget(copyV1ToV2_);
  v1Buttons->addStretch(1);
  v1Buttons->addWidget(fileNameV1_);
  v1Column->addLayout(v1Buttons);

  picture_ = new PicturePanel(preferences_, questions_, this);
  lyricsPage_ = fields_->page(EditorTab::Lyrics);

  // Scrolled rather than cut on a small or scaled screen.
  auto* tags = new QScrollArea(this);
  tags->setObjectName(QStringLiteral("tagSections"));
  tags->setWidgetResizable(true);
  tags->setFrameShape(QFrame::NoFrame);
  auto* sections = new QWidget(tags);
  auto* tagsColumn = new QVBoxLayout(sections);
  tagsColumn->setContentsMargins(0, 0, 0, 0);
  tagsColumn->addWidget(v2Box_, 3);
  tagsColumn->addWidget(v1Box_, 1);
  tags->setWidget(sections);
  layOut();
  if (layoutStyle_ == 1) {
    auto* split = new QSplitter(Qt::Horizontal, central);
    split->setObjectName(QStringLiteral("editorSplit"));
    split->addWidget(tags);
    split->addWidget(sideTabs_);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 2);
    column->addWidget(split, 1);
  } else {
    column->addWidget(tags, 1);
  }
  play_ = new PlayControls(central);
  play_->setVisible(preferences_.isShowPlayControlsSet());
  column->addWidget(play_);

  auto* bottom = new QHBoxLayout;
  previous_ = button(tr("Pre&vious"), "previousTrackButton");
  trackOfTracks_ = new QLabel(this);
  trackOfTracks_->setObjectName(QStringLiteral("trackOfTracks"));
  next_ = button(tr("Ne&xt"), "nextTrackButton");
  closeTrack_ = button(tr("Close track"), "closeTrackButton");
  update_ = button(tr("Update"), "updateButton");
  update_->setDefault(true);
  bottom->addWidget(previous_);
  bottom->addWidget(trackOfTracks_);
  bottom->addWidget(next_);
  bottom->addWidget(closeTrack_);
  bottom->addStretch(1);
  defaults_ = new QToolButton(this);
  defaults_->setObjectName(QStringLiteral("defaultsButton"));
  defaults_->setText(tr("Defaults"));
  defaults_->setAccessibleName(tr("Default tag data"));
  defaults_->setPopupMode(QToolButton::InstantPopup);
  auto* sets = new QMenu(defaults_);
  sets->setObjectName(QStringLiteral("defaultSetsMenu"));
  for (int index = 0; index < prefs::kDefaultSetCount; ++index)
    sets->addAction(QString(), this, [this, index] { applyDefaultTagData(index); });
  sets->addSeparator();
  QAction* always = sets->addAction(tr("Always apply default tag data"));
  always->setObjectName(QStringLiteral("alwaysApplyDefaults"));
  always->setCheckable(true);
  // The sets go by the names the preferences give them; the one that is
  // always applied is marked.
  const auto name = [this, sets, always] {
    const QList<QAction*> items = sets->actions();
    for (int index = 0; index < prefs::kDefaultSetCount; ++index) {
      const QString title = QString::fromStdString(defaultSetName(preferences_, index));
      items[index]->setText(QString(title).replace(QLatin1Char('&'), QStringLiteral("&&")));
      items[index]->setCheckable(true);
      items[index]->setChecked(index == currentDefaultSet(preferences_));
    }
    always->setChecked(preferences_.isAlwaysApplyDefTagDataSet());
  };
  name();
  connect(sets, &QMenu::aboutToShow, this, name);
  connect(always, &QAction::toggled, this, [this](bool on) {
    preferences_.setBoolPreferenceNamed(prefs::kAlwaysApplyDefTagData.key, on);
    preferences_.synchronize();
  });
  defaults_->setMenu(sets);
  defaults_->setVisible(preferences_.showDefaultsButton());
  bottom->addWidget(defaults_);
  bottom->addWidget(update_);
  column->addLayout(bottom);
  setCentralWidget(central);

  progress_ = new QProgressBar(this);
  progress_->setObjectName(QStringLiteral("saveProgress"));
  progress_->setAccessibleName(tr("Saving"));
  progress_->setRange(0, 0);
  progress_->setMaximumWidth(160);
  progress_->hide();
  statusBar()->addPermanentWidget(progress_);

  connect(previous_, &QPushButton::clicked, this, &TrackWindow::previousTrack);
  connect(next_, &QPushButton::clicked, this, &TrackWindow::nextTrack);
  connect(closeTrack_, &QPushButton::clicked, this, &TrackWindow::closeTrack);
  connect(update_, &QPushButton::clicked, this, &TrackWindow::updateTag);
  connect(copyV1ToV2_, &QPushButton::clicked, this, &TrackWindow::copyV1ToV2);
  connect(copyV2ToV1_, &QPushButton::clicked, this, &TrackWindow::copyV2ToV1);
  connect(fileNameV1_, &QPushButton::clicked, this,
          [this] { useFileNameForTitle(true, QApplication::keyboardModifiers()); });
  connect(fileNameV2_, &QPushButton::clicked, this,
          [this] { useFileNameForTitle(false, QApplication::keyboardModifiers()); });
  v1Box_->installEventFilter(this);
  v2Box_->installEventFilter(this);
  connect(v1Box_, &QGroupBox::clicked, this, [this](bool on) {
    edit(on ? tr("Enable V1 Tag") : tr("Disable V1 Tag"), [on](EditorValues& v) { v.v1Enabled = on; });
  });
  connect(v2Box_, &QGroupBox::clicked, this, [this](bool on) {
    edit(on ? tr("Enable V2 Tag") : tr("Disable V2 Tag"), [on](EditorValues& v) { v.v2Enabled = on; });
  });
  // Tab goes as the eye reads: the V2 section above the V1 section, each
  // page row by row, then the buttons of the window.
  QList<QWidget*> order = {v2Box_, v2Tabs_};
  for (int tab = 0; tab < v2Tabs_->count(); ++tab) {
    QWidget* page = v2Tabs_->widget(tab);
    for (EditorTab kind : {EditorTab::Standard, EditorTab::Extended, EditorTab::Podcast, EditorTab::User})
      if (page == fields_->page(kind)) order << fields_->focusOrder(kind);
  }
  order << copyV2ToV1_ << fileNameV2_ << v1Box_ << fields_->focusOrder(EditorTab::V1) << copyV1ToV2_ << fileNameV1_
        << play_->focusOrder() << previous_ << next_ << closeTrack_ << defaults_ << update_;
  for (qsizetype i = 1; i < order.size(); ++i) setTabOrder(order[i - 1], order[i]);
  resize(layoutStyle_ == 1 ? QSize(1100, 760) : layoutStyle_ == 2 ? QSize(620, 700) : QSize(560, 760));
  fields_->control(EditorField::Title)->setFocus();
}

void TrackWindow::layOut() {
  // The picture and the lyrics: panels beside the window, a tabbed section
  // of a large window, or tabs of a small one.
  if (layoutStyle_ == 1) {
    sideTabs_ = new QTabWidget(this);
    sideTabs_->setObjectName(QStringLiteral("sideTabs"));
    sideTabs_->addTab(picture_, tr("Picture"));
    sideTabs_->addTab(lyricsPage_, tr("Lyrics"));
  } else if (layoutStyle_ == 2) {
    v2Tabs_->addTab(picture_, tr("Picture"));
    v2Tabs_->addTab(lyricsPage_, tr("Lyrics"));
  } else {
    const auto dock = [this](QWidget* content, const QString& title, const char* name) {
      auto* panel = new QDockWidget(title, this);
      panel->setObjectName(QString::fromLatin1(name));
      panel->setAccessibleName(title);
      panel->setWidget(content);
      panel->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
      addDockWidget(Qt::RightDockWidgetArea, panel);
      panel->hide();
      return panel;
    };
    pictureDock_ = dock(picture_, tr("Picture"), "pictureDrawer");
    lyricsDock_ = dock(lyricsPage_, tr("Lyrics"), "lyricsDrawer");
  }
}

void TrackWindow::connectFields() {
  connect(fields_, &EditorFields::edited, this, [this](EditorField field, const QString& text) {
    edit(tr("Typing in %1").arg(qtext(editorFieldInfo(field).name)),
         [&](EditorValues& v) { setFieldText(v, field, text.toStdU16String()); }, static_cast<int>(field));
  });
  connect(fields_, &EditorFields::quickListChosen, this, [this](EditorField field, const QString& text) {
    edit(tr("Choose %1").arg(qtext(editorFieldInfo(field).name)),
         [&](EditorValues& v) { setFieldText(v, field, text.toStdU16String()); });
  });
  connect(fields_, &EditorFields::podcastToggled, this, [this](bool on) {
    edit(tr("Podcast"), [on](EditorValues& v) { v.podcast = on; });
  });
  connect(fields_, &EditorFields::compilationToggled, this, [this](bool on) {
    edit(tr("Compilation"), [on](EditorValues& v) { v.compilation = on; });
  });
  connect(fields_, &EditorFields::advisoryChosen, this, [this](int advisory) {
    edit(tr("Advisory"), [advisory](EditorValues& v) { v.advisory = advisory; });
  });
  connect(fields_, &EditorFields::ratingEdited, this, [this](int, int after) {
    edit(tr("Rating"), [after](EditorValues& v) { v.rating = static_cast<uint8_t>(after); });
  });
  connect(picture_, &PicturePanel::picturesEdited, this,
          [this](const QString& name, std::shared_ptr<const PicDataArray> pictures, bool typing) {
    edit(name, [&](EditorValues& v) { v.pictures = std::move(pictures); }, typing ? kPictureTypingStep : -1);
  });
}

void TrackWindow::edit(const QString& name, const std::function<void(EditorValues&)>& change,
                       int mergeId) {
  if (busy_) return;
  EditorValues after = values_;
  change(after);
  if (after == values_) {
    // A field whose text its rule changed back (a genre letter) shows the value.
    fields_->show(values_);
    return;
  }
  EditorValues before = values_;
  showValues(after);
  // Typing into one field merges into one step, so an undo takes back a
  // word, not a letter.
  undoStack()->push(new SnapshotCommand<EditorValues>(name, std::move(before), std::move(after),
                                                      mergeId,
                                                      [this](const EditorValues& values) { showValues(values); }));
}

void TrackWindow::showValues(const EditorValues& values, bool whole) {
  fields_->show(values, whole ? nullptr : &values_);
  values_ = values;
  // The pictures are shared between undo steps: only a new list is shown anew.
  if (std::exchange(shownPictures_, values_.pictures) != values_.pictures) picture_->showPictures(values_.pictures);
  showEnables();
}

void TrackWindow::showEnables() {
  const bool mp3 = track().isMp3File;
  v1Box_->setChecked(values_.v1Enabled);
  v2Box_->setChecked(values_.v2Enabled);
  v1Box_->setEnabled(mp3);
  // The buttons of the box stay usable whatever the box says: they are how
  // a tag that is off gets its fields.
  fields_->page(EditorTab::V1)->setEnabled(values_.v1Enabled);
  v2Tabs_->setEnabled(values_.v2Enabled);
  copyV1ToV2_->setEnabled(mp3 && values_.v1Enabled);
  copyV2ToV1_->setEnabled(mp3 && values_.v2Enabled);
  fileNameV1_->setEnabled(mp3);
}

void TrackWindow::showTitle() {
  const QString path = displayPath(track().path());
  QString title = QFileInfo(path).fileName();
  if (track().readOnly) title += tr(" [read only]");
  setWindowTitle(title + QStringLiteral("[*]"));
  setWindowFilePath(path);
}

void TrackWindow::showFacts() {
  const ID3Tag& t = track();
  QStringList facts;
  const std::string audio = audioLine(t);
  if (!audio.empty()) facts << qtext(audio);
  if (const std::string encoder = encoderName(t.audio.lame); !encoder.empty())
    facts << tr("encoder %1").arg(qtext(encoder));
  facts << QLocale().formattedDataSize(static_cast<qint64>(t.fileSize));
  if (!t.versionText.empty()) facts << qtext(t.versionText);
  facts_->setText(facts.join(QStringLiteral(" · ")));
}

// EditorView

void TrackWindow::updateV1TagData(ID3Tag& track) {
  melos::updateV1TagData(values_, track);
  quickLists_.updateV1QuickList(values_.v1Enabled, [this](std::string_view key) {
    for (const EditorFieldInfo& info : editorFields())
      if (isV1(info.field) && info.quickListKey == key) return u16ToUtf8(values_[info.field]);
    return std::string();
  });
}

void TrackWindow::updateV2TagData(ID3Tag& track, bool allowUnicode) {
  melos::updateV2TagData(values_, track, allowUnicode);
  quickLists_.updateV2QuickList(values_.v2Enabled, [this](std::string_view key) {
    for (const EditorFieldInfo& info : editorFields())
      if (!isV1(info.field) && info.tab != EditorTab::User && info.quickListKey == key)
        return u16ToUtf8(values_[info.field]);
    return std::string();
  });
}

void TrackWindow::initTagWindow(const ID3Tag& track) {
  // A save may have added entries to the quick lists; the genre lists change
  // only with the preferences.
  fields_->setQuickLists(preferences_.showQuickLists(), [this](std::string_view key) { return quickLists_.list(key); });
  // The values of a track read afresh are where undo starts.
  const bool wasBusy = std::exchange(busy_, true);
  undoStack()->clear();
  busy_ = wasBusy;
  showValues(valuesFromTrack(track), true);
  showTitle();
  showFileName(track.path());
  showFacts();
  play_->setTrack(displayPath(track.path()), static_cast<int64_t>(track.duration) * 1000);
  watchFile();
  if (!values_.pictures->empty() && preferences_.isShowPictureSet() && pictureDock_ != nullptr) pictureDock_->show();
}

void TrackWindow::stopPlayback() { play_->stop(); }

void TrackWindow::showProgress(bool shown) { progress_->setVisible(shown); }

void TrackWindow::showFileName(const std::string& path) {
  const QFileInfo info(displayPath(path));
  fileName_->setText(info.fileName());
  folder_->setText(shownPath(info.absolutePath()));
  showTitle();
}

IconResult TrackWindow::setFileIcon(const ID3Tag& track) {
  return writeFileThumbnails(displayPath(track.path()), track.tagData.picdata.front().data);
}

void TrackWindow::closeWindow() { closeWhenIdle_ = true; }

void TrackWindow::setTrackOfTracks(size_t position, size_t count) {
  trackOfTracks_->setText(tr("%1 of %2").arg(position + 1).arg(count));
}

void TrackWindow::clearTrackOfTracks() { trackOfTracks_->clear(); }

void TrackWindow::enableNavigation(bool previous, bool next, bool close) {
  previous_->setEnabled(previous);
  next_->setEnabled(next);
  closeTrack_->setEnabled(close);
  for (QPushButton* b : {previous_, next_, closeTrack_}) b->setVisible(tracks_.count() > 1);
}

// Commands

bool TrackWindow::perform(MenuItem item) {
  switch (item) {
    case MenuItem::Update: updateTag(); return true;
    case MenuItem::Revert: revert(); return true;
    case MenuItem::CopyV1ToV2: copyV1ToV2(); return true;
    case MenuItem::CopyV2ToV1: copyV2ToV1(); return true;
    case MenuItem::ApplyDefaultTagData: applyDefaultTagData(currentDefaultSet(preferences_)); return true;
    case MenuItem::ShowPicture:
    case MenuItem::AddImage: showPanel(picture_, item == MenuItem::AddImage); return true;
    case MenuItem::ShowLyrics:
    case MenuItem::AddLyrics: showPanel(lyricsPage_, item == MenuItem::AddLyrics); return true;
    default: return false;
  }
}

void TrackWindow::showPanel(QWidget* panel, bool add) {
  if (QDockWidget* dock = panel == picture_ ? pictureDock_ : lyricsDock_) dock->setVisible(add || !dock->isVisible());
  else if (sideTabs_ != nullptr) sideTabs_->setCurrentWidget(panel);
  else v2Tabs_->setCurrentWidget(panel);
  if (panel == picture_ && add) picture_->addImage();
  else if (add) fields_->control(EditorField::Lyrics)->setFocus();
}

void TrackWindow::runInBackground(std::function<void()> work) {
  if (busy_) return;
  // Read on this thread: the preferences are not shared with the worker.
  settingsForRun_ = readSaveSettings(preferences_);
  if (settingsForRun_.applyDefaults) {
    settingsForRun_.applyDefaults = [this, apply = settingsForRun_.applyDefaults](ID3Tag& track) {
      callOnThreadOf(this, [&] { apply(track); });
    };
  }
  busy_ = true;
  enableControls(false);
  emit stateChanged();
  if (worker_.joinable()) worker_.join();
  worker_ = std::thread([this, work = std::move(work)] {
    work();
    QMetaObject::invokeMethod(this, [this] {
      worker_.join();
      busy_ = false;
      enableControls(true);
      emit stateChanged();
      emit idle();
      if (std::exchange(closeWhenIdle_, false)) close();
    }, Qt::QueuedConnection);
  });
}

void TrackWindow::enableControls(bool enabled) {
  centralWidget()->setEnabled(enabled);
  for (QDockWidget* panel : {pictureDock_, lyricsDock_})
    if (panel != nullptr) panel->setEnabled(enabled);
}

void TrackWindow::updateTag() {
  runInBackground([this] { editor_.updateTag(); });
}

void TrackWindow::previousTrack() {
  if (!busy_) play_->stop();
  runInBackground([this] { editor_.previousTrack(); });
}

void TrackWindow::nextTrack() {
  if (!busy_) play_->stop();
  runInBackground([this] { editor_.nextTrack(); });
}

void TrackWindow::closeTrack() {
  if (!busy_) play_->stop();
  runInBackground([this] { editor_.closeTrack(); });
}

void TrackWindow::revert() {
  runInBackground([this] { editor_.revert(); });
}

void TrackWindow::copyV1ToV2() {
  if (!track().isMp3File) return;
  edit(tr("Copy V1 to V2"), [](EditorValues& v) { melos::copyV1ToV2(v); });
}

void TrackWindow::copyV2ToV1() {
  if (!track().isMp3File) return;
  const std::vector<std::string> genres = preferences_.v1GenreList();
  edit(tr("Copy V2 to V1"), [&genres](EditorValues& v) { melos::copyV2ToV1(v, genres); });
}

void TrackWindow::useFileNameForTitle(bool v1, Qt::KeyboardModifiers modifiers) {
  const std::string format = fromFileNameFormat(preferences_);
  const FileNameFields found = parseFileName(track().path(), format);
  const FileNameUse use{modifiers.testFlag(Qt::ShiftModifier), modifiers.testFlag(Qt::ControlModifier),
                        !format.empty()};
  const FileNameUpdate update = fileNameUpdate(found, use, preferences_.isUTF8TrackNameSet());
  edit(v1 ? tr("Use File Name for V1 Title") : tr("Use File Name for V2 Title"),
       [&](EditorValues& v) { useFileName(v, v1, update); });
}

void TrackWindow::applyDefaultTagData(int index) {
  bool showPicture = false;
  edit(tr("Apply Default Tag Data"), [&](EditorValues& v) {
    showPicture = melos::applyDefaultTagData(v, index, preferences_, picture_->index());
  });
  if (showPicture && pictureDock_ != nullptr) pictureDock_->show();
}

bool TrackWindow::exportAs(bool xml, const QString& path) {
  if (busy_) return false;
  const std::string target = localPath(path);
  const int result = xml ? exportTagAsXml(&track(), target, 2, false) : exportTagAsCsv(target, &track(), 2);
  if (result != 0) {
    tell(questions_, "Export failed", "Could not write the tag information to the file '" + target + "'.");
    return false;
  }
  return true;
}

std::unique_ptr<ID3Tag> TrackWindow::trackFromValues() const {
  std::unique_ptr<ID3Tag> copy = copyOfTrack(track());
  melos::updateV1TagData(values_, *copy);
  melos::updateV2TagData(values_, *copy, true);
  return copy;
}

void TrackWindow::replaceTrack(std::unique_ptr<ID3Tag> track) {
  if (busy_) return;
  if (!undoStack()->isClean()) {
    const SaveAnswer chosen = askToSaveChanges(questions_);
    if (chosen == SaveAnswer::Cancel) return;
    if (chosen == SaveAnswer::Save) {
      // The new track comes in once the old one is saved.
      auto waiting = std::make_shared<std::unique_ptr<ID3Tag>>(std::move(track));
      connect(this, &TrackWindow::idle, this, [this, waiting] {
        if (*waiting) replaceTrack(std::move(*waiting));
      }, Qt::SingleShotConnection);
      updateTag();
      return;
    }
  }
  tracks_ = TrackSet(std::move(track));
  editor_.setTagFromPosition(0);
  emit stateChanged();
}

void TrackWindow::showTrackAt(size_t position) {
  if (!busy_) editor_.setTagFromPosition(position);
}

void TrackWindow::addTrack(std::unique_ptr<ID3Tag> track) {
  if (busy_) return;
  tracks_.add(std::move(track));
  editor_.setTagFromPosition(tracks_.count() - 1);
  emit stateChanged();
}

FrontDocument TrackWindow::describe() const {
  return {DocumentKind::SingleTrack, !undoStack()->isClean(), track().isMp3File, values_.v1Enabled,
          values_.v2Enabled, busy_};
}

std::unique_ptr<ID3Tag> TrackWindow::tagForCopy() const { return trackFromValues(); }

void TrackWindow::setTagData(const ID3Tag& tag, bool all) {
  std::unique_ptr<ID3Tag> pasted = trackFromValues();
  pasteTagDataInto(*pasted, tag, all, preferences_);
  edit(tr("Paste Tag Data"), [&](EditorValues& v) { v = valuesFromTrack(*pasted); });
}

void TrackWindow::clearTagData() {
  edit(tr("Clear Tag Data"), [](EditorValues& v) {
    const bool v1 = v.v1Enabled;
    const bool v2 = v.v2Enabled;
    v = EditorValues();
    v.v1Enabled = v1;
    v.v2Enabled = v2;
  });
}

bool TrackWindow::loadTagDataFromFile(const std::string& path) {
  std::unique_ptr<ID3Tag> loaded = trackFromValues();
  if (!loadTagDataInto(*loaded, path)) return false;
  edit(tr("Load Tag Data"), [&](EditorValues& v) { v = valuesFromTrack(*loaded); });
  return true;
}

bool TrackWindow::saveTagDataToFile(const std::string& path) { return saveTagDataFile(*trackFromValues(), path); }

void TrackWindow::preferencesChanged() {
  defaults_->setVisible(preferences_.showDefaultsButton());
  fields_->setGenreLists(preferences_.v1GenreList(), preferences_.v2GenreList());
  fields_->setQuickLists(preferences_.showQuickLists(), [this](std::string_view key) { return quickLists_.list(key); });
  fields_->show(values_);
  const bool playShown = preferences_.isShowPlayControlsSet();
  if (!playShown) play_->stop();
  play_->setVisible(playShown);
}

void TrackWindow::watchFile() {
  if (!watcher_.files().isEmpty()) watcher_.removePaths(watcher_.files());
  watcher_.addPath(displayPath(track().path()));
}

void TrackWindow::fileChangedOnDisk() {
  // A save replaces the file: watch the new one. Our own saves leave the
  // track's idea of the file up to date, so they ask nothing.
  watchFile();
  if (busy_ || askingAboutDisk_ || !changedOnDisk(track()) || !undoStack()->isClean()) return;
  askingAboutDisk_ = true;
  const std::string chosen = questions_.askWithDefault(
      "The file has changed on disk", "Another program has changed '" + track().path() + "'. Reload it?",
      {std::string(kReloadButton), std::string(kCancelButton)}, 0);
  askingAboutDisk_ = false;
  if (chosen == kReloadButton) revert();
}

bool TrackWindow::eventFilter(QObject* watched, QEvent* event) {
  // A checkable box takes a Space that a control inside it left alone (the
  // stars, a tab bar) and would switch its whole tag off: only its own
  // Space, pressed with the box itself focused, switches it.
  if ((watched == v1Box_ || watched == v2Box_) &&
      (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) &&
      static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space && !static_cast<QWidget*>(watched)->hasFocus())
    return true;
  return DocumentWindow::eventFilter(watched, event);
}

void TrackWindow::closeEvent(QCloseEvent* event) {
  if (busy_) {
    closeWhenIdle_ = true;
    event->ignore();
    return;
  }
  if (!undoStack()->isClean()) {
    const SaveAnswer chosen = askToSaveChanges(questions_);
    if (chosen != SaveAnswer::DontSave) {
      event->ignore();
      if (chosen == SaveAnswer::Save) {
        closeWhenIdle_ = true;
        updateTag();
      }
      return;
    }
  }
  if (preferences_.isSaveWindowPositionSet()) {
    preferences_.setWindowPosition(saveGeometry().toBase64().toStdString());
    preferences_.synchronize();
  }
  play_->stop();
  DocumentWindow::closeEvent(event);
}

}  // namespace melos::ui
