#include "ui/group_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <thread>

#include "operations/open_documents.h"
#include "operations/picture_list.h"
#include "operations/picture_well.h"
#include "operations/questions.h"
#include "operations/tag_copy.h"
#include "operations/track_writer.h"
#include "preferences/preference_controls.h"
#include "preferences/preferences_controller.h"
#include "ui/drag_image_view.h"
#include "ui/editor_fields.h"
#include "ui/group_track_table.h"
#include "ui/picture_panel.h"
#include "ui/snapshot_command.h"
#include "ui/widget_parts.h"
#include "ui/qt_text.h"

namespace melos::ui {
namespace {

using G = GroupField;


// The name of each value's controls ("m" + key + "Field", "m" + key +
// "Button" for its change box) and its label, in the order of groupSlots().
struct SlotText {
  const char* key;
  const char* label;
};
constexpr SlotText kSlotTexts[kGroupSlotCount] = {
    {"T1Title", QT_TRANSLATE_NOOP("GroupWindow", "&Title:")},
    {"T1Artist", QT_TRANSLATE_NOOP("GroupWindow", "&Artist:")},
    {"T1Album", QT_TRANSLATE_NOOP("GroupWindow", "Al&bum:")},
    {"T1Year", QT_TRANSLATE_NOOP("GroupWindow", "&Year:")},
    {"T1Comment", QT_TRANSLATE_NOOP("GroupWindow", "Co&mment:")},
    {"T1Genre", QT_TRANSLATE_NOOP("GroupWindow", "&Genre:")},
    {"T2Title", QT_TRANSLATE_NOOP("GroupWindow", "&Title:")},
    {"T2Artist", QT_TRANSLATE_NOOP("GroupWindow", "&Artist:")},
    {"T2Album", QT_TRANSLATE_NOOP("GroupWindow", "Al&bum:")},
    {"T2Year", QT_TRANSLATE_NOOP("GroupWindow", "&Year:")},
    {"T2Genre", QT_TRANSLATE_NOOP("GroupWindow", "&Genre:")},
    {"T2Comment", QT_TRANSLATE_NOOP("GroupWindow", "Co&mment:")},
    {"T2Composer", QT_TRANSLATE_NOOP("GroupWindow", "Com&poser:")},
    {"T2OrigArtist", QT_TRANSLATE_NOOP("GroupWindow", "&Original artist:")},
    {"T2Copyright", QT_TRANSLATE_NOOP("GroupWindow", "Cop&yright:")},
    {"T2URL", QT_TRANSLATE_NOOP("GroupWindow", "&URL:")},
    {"T2EncodedBy", QT_TRANSLATE_NOOP("GroupWindow", "&Encoded by:")},
    {"T2OfTracks", QT_TRANSLATE_NOOP("GroupWindow", "Trac&ks:")},
    {"T2Set", QT_TRANSLATE_NOOP("GroupWindow", "&Disc:")},
    {"T2Sets", QT_TRANSLATE_NOOP("GroupWindow", "Disc cou&nt:")},
    {"T2Conductor", QT_TRANSLATE_NOOP("GroupWindow", "Con&ductor:")},
    {"T2Lyricist", QT_TRANSLATE_NOOP("GroupWindow", "&Lyricist:")},
    {"T2Publisher", QT_TRANSLATE_NOOP("GroupWindow", "Publis&her:")},
    {"T2Orchestra", QT_TRANSLATE_NOOP("GroupWindow", "Orc&hestra:")},
    {"T2Content", QT_TRANSLATE_NOOP("GroupWindow", "Conten&t:")},
    {"T2Subtitle", QT_TRANSLATE_NOOP("GroupWindow", "&Subtitle:")},
    {"T2Compilation", QT_TRANSLATE_NOOP("GroupWindow", "Compilat&ion")},
    {"T2Picture", QT_TRANSLATE_NOOP("GroupWindow", "Pict&ure:")},
    {"T2ArtistURL", QT_TRANSLATE_NOOP("GroupWindow", "Artist &URL:")},
    {"T2ISRC", QT_TRANSLATE_NOOP("GroupWindow", "&ISRC:")},
    {"T2ReleaseTime", QT_TRANSLATE_NOOP("GroupWindow", "&Release time:")},
    {"T2RecordTime", QT_TRANSLATE_NOOP("GroupWindow", "Re&corded time:")},
    {"T2BPM", QT_TRANSLATE_NOOP("GroupWindow", "&BPM:")},
    {"T2InitialKey", QT_TRANSLATE_NOOP("GroupWindow", "Initial &key:")},
    {"T2Podcast", QT_TRANSLATE_NOOP("GroupWindow", "&Podcast")},
    {"T2PodcastID", QT_TRANSLATE_NOOP("GroupWindow", "Podcast i&dentifier:")},
    {"T2PodcastFeed", QT_TRANSLATE_NOOP("GroupWindow", "Podcast &feed:")},
    {"T2PodcastDesc", QT_TRANSLATE_NOOP("GroupWindow", "Podcast d&escription:")},
};

const QString kDifferent = QStringLiteral("(different across tracks)");
constexpr int kServeRunMs = 20;
constexpr int kShowLoadedMs = 150;
constexpr int kAllReadersAfterMs = 100;

bool isGenre(G field) { return field == G::V1Genre || field == G::V2Genre; }

enum class Page { V1, V2, More };
Page pageOf(G field) {
  if (isV1Field(field)) return Page::V1;
  return field <= G::V2Picture ? Page::V2 : Page::More;
}

std::vector<std::string> genres(const PreferencesController& preferences, G field) {
  return field == G::V1Genre ? preferences.v1GenreList() : preferences.v2GenreList();
}

// The Delete and Backspace keys remove the selected tracks from the group.
class TrackTableView : public QTableView {
 public:
  std::function<void()> removeSelected;

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && removeSelected) {
      removeSelected();
      event->accept();
      return;
    }
    QTableView::keyPressEvent(event);
  }
};

}  // namespace

GroupWindow::GroupWindow(Questions& questions, const PreferencesController& preferences, DocumentHost* host,
                         QWidget* parent)
    : DocumentWindow(parent), preferences_(preferences), host_(host) {
  setObjectName(QStringLiteral("groupWindow"));
  setSingleEditWindow(false);
  questions_ = std::make_unique<WindowQuestions>(this, questions);
  loadJobs_ = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 8u));
  setRunOptions(GroupUpdateOptions{});

  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  auto* splitter = new QSplitter(Qt::Vertical, central);
  splitter->setObjectName(QStringLiteral("groupSplitter"));
  auto* tabs = new QTabWidget(splitter);
  tabs->setObjectName(QStringLiteral("groupTabs"));
  auto* v1Page = new QWidget;
  auto* v2Page = new QWidget;
  auto* morePage = new QWidget;
  buildFields(v1Page, v2Page, morePage);
  tabs->addTab(scrollingPage(v1Page), tr("ID3 v&1"));
  tabs->addTab(scrollingPage(v2Page), tr("ID3 v&2"));
  tabs->addTab(scrollingPage(morePage), tr("&More"));
  fields_ = tabs;
  splitter->addWidget(tabs);
  splitter->addWidget(buildTrackList());
  splitter->setStretchFactor(0, 3);
  splitter->setStretchFactor(1, 2);
  layout->addWidget(splitter, 1);

  auto* bottom = new QHBoxLayout;
  progress_ = new QProgressBar(central);
  progress_->setObjectName(QStringLiteral("mUpdateProgressIndicator"));
  progress_->setAccessibleName(tr("Progress"));
  progress_->setVisible(false);
  status_ = new QLabel(central);
  status_->setObjectName(QStringLiteral("mUpdatingTextField"));
  // A count that changes many times a second must not lay the window out again.
  status_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  cancelButton_ = new QPushButton(tr("Cancel"), central);
  cancelButton_->setObjectName(QStringLiteral("mCancelButton"));
  updateButton_ = new QPushButton(tr("&Update"), central);
  updateButton_->setObjectName(QStringLiteral("mUpdateButton"));
  updateButton_->setDefault(true);
  bottom->addWidget(progress_, 1);
  bottom->addWidget(status_, 1);
  bottom->addStretch();
  bottom->addWidget(cancelButton_);
  bottom->addWidget(updateButton_);
  layout->addLayout(bottom);
  setCentralWidget(central);
  connect(updateButton_, &QPushButton::clicked, this, [this] { updateTracks(); });
  shownSoon_.setSingleShot(true);
  shownSoon_.setInterval(kShowLoadedMs);
  connect(&shownSoon_, &QTimer::timeout, this, &GroupWindow::showLoaded);
  // A normal close, which asks what to do about a run or unsaved changes.
  connect(cancelButton_, &QPushButton::clicked, this, &QWidget::close);

  setWindowTitle(tr("Group") + QStringLiteral("[*]"));
  refreshFields();
  refreshTotals();
  resize(sizeHint().expandedTo(QSize(760, 640)));
}

GroupWindow::~GroupWindow() {
  // Deleted during a run (not by closing it, which waits): the worker hands
  // its questions and its end to this thread, so this thread serves them
  // until the track being written is done.
  if (update_->running()) {
    update_->m_bExit = true;
    while (update_->running()) QCoreApplication::processEvents(QEventLoop::AllEvents, kServeRunMs);
  }
  // The loader's workers hand over to this window; they end first.
  loader_.reset();
}

void GroupWindow::setRunOptions(const GroupUpdateOptions& options, TrackWriter* writer) {
  if (update_ && update_->running()) return;
  GroupUpdateOptions own = options;
  // The window reads the tracks again itself, in the background and without
  // keeping their pictures.
  own.reload = false;
  UpdateObserver& observer = *this;
  update_ = std::make_unique<GroupUpdate>(model_, *questions_, observer, settingsFrom(preferences_),
                                          writer != nullptr ? *writer : engineTrackWriter(), own);
}

void GroupWindow::buildFields(QWidget* v1Page, QWidget* v2Page, QWidget* morePage) {
  auto* v1Grid = new QGridLayout(v1Page);
  auto* v2Grid = new QGridLayout(v2Page);
  auto* moreGrid = new QGridLayout(morePage);
  const auto option = [this](GroupOption which, const QString& text, std::string_view help, const char* name,
                             QWidget* page) {
    auto* box = new QCheckBox(text, page);
    box->setObjectName(QString::fromLatin1(name));
    box->setToolTip(qtext(help));
    options_.emplace_back(which, box);
    connect(box, &QCheckBox::clicked, this, [this, which](bool on) {
      edit(-1, [this, which, on] { optionToggled(model_, which, on); });
    });
    return box;
  };
  const auto enable = [this](bool v1, QWidget* page) {
    auto* box = new QCheckBox(v1 ? tr("&Write an ID3 v1 tag") : tr("&Write an ID3 v2 tag"), page);
    box->setObjectName(v1 ? QStringLiteral("mEnableV1TagButton") : QStringLiteral("mEnableV2TagButton"));
    box->setToolTip(v1 ? tr("Off: the ID3 v1 tag is removed from every track when it is changed")
                       : tr("Off: the ID3 v2 tag is removed from every track when it is changed"));
    connect(box, &QCheckBox::clicked, this, [this, v1](bool on) {
      edit(-1, [this, v1, on] { enableBoxToggled(model_, v1, on); });
    });
    return box;
  };
  enableV1_ = enable(true, v1Page);
  v1Grid->addWidget(enableV1_, 0, 0, 1, 3);
  v1Grid->addWidget(option(GroupOption::CopyV2Details, tr("Use the ID3 v&2 details for ID3 v1"), kCopyV2DetailsHelp,
                           "mCopyV2DetailsButton", v1Page),
                    1, 0, 1, 3);
  enableV2_ = enable(false, v2Page);
  v2Grid->addWidget(enableV2_, 0, 0, 1, 3);
  v2Grid->addWidget(option(GroupOption::FileName, tr("Set the title and track from the &file name"),
                           "For each track, take the title and the track number from its file name",
                           "mSetTitleTrackFromFileButton", v2Page),
                    1, 0, 1, 3);

  const auto& all = groupSlots();
  slots_.resize(all.size());
  changeBoxes_.assign(kGroupFieldCount, nullptr);
  for (size_t i = 0; i < all.size(); ++i) {
    const GroupSlot& slot = all[i];
    const Page page = pageOf(slot.field);
    QWidget* parent = page == Page::V1 ? v1Page : page == Page::V2 ? v2Page : morePage;
    QGridLayout* grid = page == Page::V1 ? v1Grid : page == Page::V2 ? v2Grid : moreGrid;
    const int row = grid->rowCount();
    const QString key = QString::fromLatin1(kSlotTexts[i].key);
    const QString label = tr(kSlotTexts[i].label);
    QWidget* editor = nullptr;
    SlotWidgets& widgets = slots_[i];
    if (slot.kind == GroupSlot::Kind::Flag) {
      widgets.flag = new QCheckBox(label, parent);
      editor = widgets.flag;
      grid->addWidget(editor, row, 1);
    } else {
      if (slot.kind == GroupSlot::Kind::Picture) {
        auto* box = new QWidget(parent);
        auto* row2 = new QHBoxLayout(box);
        row2->setContentsMargins(0, 0, 0, 0);
        widgets.picture = new DragImageView(box);
        widgets.picture->setConversionQuestions(questions_.get());
        widgets.picture->setAskUserForImageConversion(true);
        widgets.picture->setMinimumSize(QSize(96, 96));
        well_ = widgets.picture;
        auto* add = new QPushButton(tr("Add &picture…"), box);
        add->setObjectName(QStringLiteral("mT2AddPictureButton"));
        connect(add, &QPushButton::clicked, this, &GroupWindow::addPicture);
        removePicture_ = new QPushButton(tr("&Remove picture"), box);
        removePicture_->setObjectName(QStringLiteral("mT2RemovePictureButton"));
        auto* side = new QVBoxLayout;
        side->addWidget(add);
        side->addWidget(removePicture_);
        side->addWidget(option(GroupOption::ReplacePictures, tr("Replace &existing pictures"), kReplacePicturesHelp,
                               "mT2ReplacePicturesButton", box));
        // What kind of picture it is and what it shows, as the tracks get it.
        widgets.pictureType = new QComboBox(box);
        widgets.pictureType->setObjectName(QStringLiteral("mT2PictureType"));
        widgets.pictureType->setAccessibleName(tr("Picture type"));
        for (std::string_view name : pictureTypeNames())
          widgets.pictureType->addItem(qtext(name));
        widgets.pictureDescription = new QLineEdit(box);
        widgets.pictureDescription->setObjectName(QStringLiteral("mT2PictureDescription"));
        widgets.pictureDescription->setAccessibleName(tr("Picture description"));
        widgets.pictureDescription->setPlaceholderText(tr("Description"));
        side->addWidget(widgets.pictureType);
        side->addWidget(widgets.pictureDescription);
        side->addStretch();
        row2->addWidget(widgets.picture, 1);
        row2->addLayout(side);
        editor = widgets.picture;
        grid->addWidget(box, row, 1);
        connect(removePicture_, &QPushButton::clicked, this, [this, i] {
          edit(-1, [this, i] {
            model_.removePicture(*questions_);
            differing_[i] = false;
          });
        });
      } else if (isGenre(slot.field)) {
        widgets.combo = new QComboBox(parent);
        widgets.combo->setEditable(true);
        widgets.combo->setInsertPolicy(QComboBox::NoInsert);
        // Undo and Redo belong to the window's stack, not to each field.
        widgets.combo->setLineEdit(new UndoLineEdit(widgets.combo));
        fillGenreBox(widgets.combo, genres(preferences_, slot.field), false);
        editor = widgets.combo;
        grid->addWidget(editor, row, 1);
      } else {
        widgets.line = new UndoLineEdit(parent);
        editor = widgets.line;
        grid->addWidget(editor, row, 1);
      }
      auto* caption = new QLabel(label, parent);
      caption->setBuddy(editor);
      grid->addWidget(caption, row, 0);
    }
    editor->setObjectName(QStringLiteral("m%1Field").arg(key));
    editor->setAccessibleName(QString(label).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
    if (changeBoxes_[static_cast<size_t>(slot.field)] == nullptr) {
      auto* box = new QCheckBox(qtext(changeBoxLabel(slot.field)), parent);
      box->setObjectName(QStringLiteral("m%1Button").arg(key));
      changeBoxes_[static_cast<size_t>(slot.field)] = box;
      grid->addWidget(box, row, 2);
      const G field = slot.field;
      connect(box, &QCheckBox::clicked, this, [this, field](bool on) {
        edit(-1, [this, field, on] { changeBoxToggled(model_, field, on); });
      });
    }
    if (slot.field == G::Isrc)
      grid->addWidget(option(GroupOption::IsrcIncrement, tr("ISRC &+ 1 for each track"), kIsrcIncrementHelp,
                             "mT2ISRCIncrementButton", parent),
                      grid->rowCount(), 1, 1, 2);
    connectSlot(i);
  }
  for (QGridLayout* grid : {v1Grid, v2Grid, moreGrid}) {
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(grid->rowCount(), 1);
  }
}

void GroupWindow::connectSlot(size_t i) {
  const GroupSlot& slot = groupSlots()[i];
  const SlotWidgets& widgets = slots_[i];
  const int mergeId = static_cast<int>(i);
  const auto typed = [this, i, mergeId, member = slot.text](const QString& text) {
    if (refreshing_) return;
    edit(mergeId, [this, i, member, text] {
      model_.values.*member = text.toStdU16String();
      slotEdited(model_, differing_, i);
    });
  };
  if (widgets.line != nullptr) connect(widgets.line, &QLineEdit::textEdited, this, typed);
  if (widgets.combo != nullptr) {
    connect(widgets.combo->lineEdit(), &QLineEdit::textEdited, this, typed);
    connect(widgets.combo, &QComboBox::activated, this,
            [typed, combo = widgets.combo](int) { typed(combo->currentText()); });
  }
  if (widgets.flag != nullptr) {
    connect(widgets.flag, &QCheckBox::clicked, this, [this, i, member = slot.flag] {
      edit(-1, [this, i, member] {
        // A value that differed becomes on for every track at the first click.
        model_.values.*member = differing_[i] || !(model_.values.*member);
        slotEdited(model_, differing_, i);
      });
    });
  }
  if (widgets.pictureType != nullptr) {
    connect(widgets.pictureType, &QComboBox::activated, this, [this, i](int type) {
      if (!model_.values.picture) return;
      edit(-1, [this, i, type] {
        model_.values.picture->pictureType = static_cast<uint8_t>(type);
        slotEdited(model_, differing_, i);
      });
    });
    connect(widgets.pictureDescription, &QLineEdit::textEdited, this, [this, i](const QString& text) {
      if (!model_.values.picture) return;
      // Typing merges into one step, apart from every field's own.
      edit(static_cast<int>(kGroupSlotCount), [this, i, &text] {
        model_.values.picture->description = storedText(text.toStdU16String());
        slotEdited(model_, differing_, i);
      });
    });
  }
  if (widgets.picture != nullptr) {
    connect(widgets.picture, &DragImageView::didChange, this, [this, i, well = widgets.picture] {
      if (refreshing_ || well->getImageDataSize() == 0) return;
      edit(-1, [this, i, well] {
        model_.values.picture =
            PicData(well->getImageData(), well->getImageType().toStdString(), kPictureFrontCover);
        slotEdited(model_, differing_, i);
      });
    });
  }
}

QWidget* GroupWindow::buildTrackList() {
  auto* box = new QWidget;
  auto* layout = new QVBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  table_ = new TrackTableModel(this);
  auto* view = new TrackTableView;
  view->removeSelected = [this] { removeSelectedTracks(); };
  list_ = view;
  list_->setObjectName(QStringLiteral("groupTracks"));
  list_->setAccessibleName(tr("Tracks of the group"));
  list_->setModel(table_);
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setAcceptDrops(false);
  list_->setWordWrap(false);
  list_->verticalHeader()->setVisible(false);
  // A fixed row height: the view need not measure thousands of rows.
  list_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  list_->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
  list_->horizontalHeader()->setStretchLastSection(true);
  // Unsorted until the user asks: the group keeps the order it was given.
  list_->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
  list_->setSortingEnabled(true);
  connect(list_, &QAbstractItemView::doubleClicked, this, &GroupWindow::openTrackAt);
  totals_ = new QLabel(box);
  totals_->setObjectName(QStringLiteral("groupTotals"));
  totals_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  layout->addWidget(list_, 1);
  layout->addWidget(totals_);
  return box;
}

void GroupWindow::refreshFields() {
  refreshing_ = true;
  const auto& all = groupSlots();
  const GroupValues& values = model_.values;
  for (size_t i = 0; i < all.size(); ++i) {
    const GroupSlot& slot = all[i];
    const SlotWidgets& widgets = slots_[i];
    const QString placeholder = differing_[i] ? kDifferent : QString();
    if (slot.kind == GroupSlot::Kind::Text) {
      const QString text = QString::fromStdU16String(values.*slot.text);
      QLineEdit* line = widgets.line != nullptr ? widgets.line : widgets.combo->lineEdit();
      if (line->text() != text) line->setText(text);
      line->setPlaceholderText(placeholder);
    } else if (slot.kind == GroupSlot::Kind::Flag) {
      widgets.flag->setTristate(differing_[i]);
      widgets.flag->setCheckState(differing_[i] ? Qt::PartiallyChecked
                                                : (values.*slot.flag ? Qt::Checked : Qt::Unchecked));
      widgets.flag->setToolTip(placeholder);
    } else {
      DragImageView* well = widgets.picture;
      if (!values.picture) {
        if (well->getImageDataSize() > 0) well->removeImage();
      } else if (well->getImageData() != values.picture->data) {
        well->setImageWithData(values.picture->data);
        well->setImageType(QString::fromStdString(values.picture->pictureSubtype));
      }
      well->setToolTip(placeholder);
      widgets.pictureType->setEnabled(values.picture.has_value());
      widgets.pictureDescription->setEnabled(values.picture.has_value());
      const int type = values.picture ? values.picture->pictureType : 0;
      widgets.pictureType->setCurrentIndex(std::min(type, static_cast<int>(kPictureTypeCount) - 1));
      const QString description =
          values.picture ? QString::fromStdU16String(values.picture->description.toU16()) : QString();
      if (widgets.pictureDescription->text() != description) widgets.pictureDescription->setText(description);
    }
  }
  for (size_t field = 0; field < kGroupFieldCount; ++field)
    changeBoxes_[field]->setChecked(model_.changeBox(static_cast<G>(field)));
  enableV1_->setChecked(model_.enableV1);
  enableV2_->setChecked(model_.enableV2);
  for (const auto& [which, box] : options_) box->setChecked(optionValue(model_, which));
  refreshing_ = false;
}

void GroupWindow::refreshTotals() {
  const size_t count = model_.count();
  const QString tracks = count == 1 ? tr("1 track") : tr("%1 tracks").arg(count);
  const QString size = qtext(fileSizeDisplay(model_.totalSize()));
  const QString length = qtext(durationDisplay(model_.totalLength()));
  totals_->setText(tr("%1, %2, %3").arg(tracks, size, length));
  setWindowTitle(tr("Group of %1").arg(tracks) + QStringLiteral("[*]"));
}

void GroupWindow::setControlsEnabled(bool enabled) {
  fields_->setEnabled(enabled);
  list_->setEnabled(enabled);
  updateButton_->setEnabled(enabled && !loading());
}

void GroupWindow::edit(int mergeId, const std::function<void()>& change) {
  GroupEditState before = captureEdit(model_, differing_);
  change();
  GroupEditState after = captureEdit(model_, differing_);
  // Typing into one field is one step until another field is edited.
  undoStack()->push(new SnapshotCommand<GroupEditState>(tr("Edit"), std::move(before), std::move(after), mergeId,
                                                        [this](const GroupEditState& state) { restoreState(state); }));
  refreshFields();
  emit stateChanged();
}

void GroupWindow::restoreState(const GroupEditState& state) {
  restoreEdit(model_, state);
  differing_ = state.differing;
  refreshFields();
  emit stateChanged();
}

bool GroupWindow::addTracks(const std::vector<std::string>& paths) {
  if (paths.empty()) return false;
  if (running()) {
    // After the run: its worker walks the group's tracks, and the list must
    // not grow under it.
    pendingPaths_.insert(pendingPaths_.end(), paths.begin(), paths.end());
    return true;
  }
  startLoading(paths);
  emit stateChanged();
  return true;
}

void GroupWindow::startLoading(std::vector<std::string> paths) {
  if (loader_) {
    // After the tracks being read.
    pendingPaths_.insert(pendingPaths_.end(), paths.begin(), paths.end());
    return;
  }
  loadTotal_ += paths.size();
  progress_->setRange(0, static_cast<int>(loadTotal_));
  progress_->setValue(static_cast<int>(loadDone_));
  progress_->setVisible(true);
  status_->setText(tr("Reading tracks…"));
  updateButton_->setEnabled(false);
  const QPointer<GroupWindow> self(this);
  loader_ = std::make_unique<GroupLoader>(
      std::move(paths), loadJobs_,
      [self](std::vector<LoadedTrack> batch) {
        auto shared = std::make_shared<std::vector<LoadedTrack>>(std::move(batch));
        QMetaObject::invokeMethod(self.data(), [self, shared] {
          if (self) self->takeBatch(std::move(*shared));
        }, Qt::QueuedConnection);
      },
      [self](std::vector<OpenFailure> failures) {
        auto shared = std::make_shared<std::vector<OpenFailure>>(std::move(failures));
        QMetaObject::invokeMethod(self.data(), [self, shared] {
          if (self) self->loadEnded(std::move(*shared));
        }, Qt::QueuedConnection);
      });
  // Until the window has drawn itself once, one worker: the others would
  // take the core it draws on. A window that is never drawn gets them soon.
  loader_->start(painted_ ? 0 : 1);
  if (!painted_) QTimer::singleShot(kAllReadersAfterMs, this, &GroupWindow::startAllReaders);
}

void GroupWindow::startAllReaders() {
  if (loader_) loader_->startRest();
}

void GroupWindow::paintEvent(QPaintEvent* event) {
  DocumentWindow::paintEvent(event);
  if (painted_) return;
  painted_ = true;
  // After the rest of this first drawing.
  QTimer::singleShot(0, this, &GroupWindow::startAllReaders);
}

void GroupWindow::takeBatch(std::vector<LoadedTrack> batch) {
  for (LoadedTrack& loaded : batch) {
    common_.add(std::move(loaded.values), loaded.row.pictures, loaded.hasV1, loaded.hasV2);
    joinGroup(model_, std::move(loaded.track), loaded.row.pictures);
    unlistedRows_.push_back(std::move(loaded.row));
  }
  loadDone_ += batch.size();
  // The first rows at once; then rows, fields, totals and progress at most a
  // few times a second: each new block of rows redraws the visible ones, and
  // redrawing for every batch would take more of each frame than the rows.
  if (table_->rowCount() == 0) table_->appendRows(std::exchange(unlistedRows_, {}));
  if (!shownSoon_.isActive()) shownSoon_.start();
}

void GroupWindow::showLoaded() {
  shownSoon_.stop();
  if (!unlistedRows_.empty()) table_->appendRows(std::exchange(unlistedRows_, {}));
  showCommonValues(model_, differing_, common_);
  refreshFields();
  refreshTotals();
  progress_->setValue(static_cast<int>(std::min(loadDone_, loadTotal_)));
  status_->setText(tr("Reading tracks… %1 of %2").arg(loadDone_).arg(loadTotal_));
}

void GroupWindow::loadEnded(std::vector<OpenFailure> failures) {
  loader_.reset();
  showLoaded();
  loadDone_ += failures.size();
  loadFailures_.insert(loadFailures_.end(), failures.begin(), failures.end());
  if (!pendingPaths_.empty()) {
    startLoading(std::exchange(pendingPaths_, {}));
    return;
  }
  loadTotal_ = loadDone_ = 0;
  progress_->setVisible(false);
  status_->clear();
  setControlsEnabled(true);
  emit loadingFinished();
  // One alert for every track that could not be read, also of tracks added
  // while others were being read.
  if (!loadFailures_.empty()) {
    const Alert alert = groupLoadFailuresAlert(std::exchange(loadFailures_, {}));
    questions_->ask(alert.title, alert.message, alert.buttons);
  }
  emit stateChanged();
  if (model_.count() == 0) {
    closeConfirmed_ = true;
    close();
  }
}

void GroupWindow::removeSelectedTracks() {
  if (running() || loading()) return;
  std::vector<size_t> tracks;
  for (const QModelIndex& index : list_->selectionModel()->selectedRows())
    tracks.push_back(table_->trackAt(index.row()));
  std::sort(tracks.begin(), tracks.end(), std::greater<>());
  for (size_t track : tracks) model_.removeTrack(track);
  table_->removeTracks(tracks);
  refreshTotals();
  emit stateChanged();
}

void GroupWindow::openTrackAt(const QModelIndex& index) {
  if (host_ == nullptr || !index.isValid()) return;
  const size_t track = table_->trackAt(index.row());
  if (track >= model_.count()) return;
  const std::string path = model_.tracks()[track]->path();
  std::string cause;
  if (!host_->openSingleTrack(path, cause))
    tell(*questions_, std::string(kOpenFailedTitle),
         "Could not read the tag information from the file '" + path + "'.");
}

void GroupWindow::addPicture() {
  const QString path = choosePicture_ ? choosePicture_(this) : choosePictureFile(this);
  if (path.isEmpty()) return;
  std::optional<Bytes> bytes = readPictureFile(localPath(path));
  // Checked and, where the kind asks for it, converted as a drop is; the well
  // tells the window through its change signal.
  if (!bytes || !well_->setImageWithData(std::move(*bytes), true))
    tell(*questions_, "Add picture failed", "Could not read a picture from the file '" + localPath(path) + "'.");
}

void GroupWindow::updateTracks(std::function<void(bool)> whenDone) {
  if (loading()) {
    if (whenDone) whenDone(true);
    return;
  }
  table_->clearStatus();
  update_->updateTracks(std::move(whenDone));
}

bool GroupWindow::perform(MenuItem item) {
  switch (item) {
    case MenuItem::Update: updateTracks(); return true;
    case MenuItem::ApplyDefaultTagData: setDefaultTagData(currentDefaultSet(preferences_)); return true;
    default: return false;
  }
}

FrontDocument GroupWindow::describe() const { return {DocumentKind::Group, model_.isDirty(), false, false, false}; }

std::unique_ptr<ID3Tag> GroupWindow::tagForCopy() const { return model_.getTagData(); }

void GroupWindow::setTagData(const ID3Tag& tag, bool) {
  if (running()) return;
  GroupValues values = valuesOfTrack(tag);
  edit(-1, [this, &values] { applyValues(model_, differing_, values, true); });
}

void GroupWindow::clearTagData() {
  if (running()) return;
  edit(-1, [this] { applyValues(model_, differing_, GroupValues{}, true); });
}

void GroupWindow::setDefaultTagData(int index) {
  if (running()) return;
  GroupModel scratch;
  scratch.values = model_.values;
  scratch.setDefaultTagData(index, preferences_);
  edit(-1, [this, &scratch] { applyValues(model_, differing_, scratch.values, false); });
}

void GroupWindow::preferencesChanged() {
  const auto& all = groupSlots();
  refreshing_ = true;
  for (size_t i = 0; i < all.size(); ++i)
    if (isGenre(all[i].field)) fillGenreBox(slots_[i].combo, genres(preferences_, all[i].field), false);
  refreshing_ = false;
}

void GroupWindow::closeEvent(QCloseEvent* event) {
  if (running()) {
    event->ignore();
    if (update_->m_bShowingSheet) return;
    raise();
    activateWindow();
    if (update_->askToUpdate() == CloseAnswer::StopRun) closeAfterRun_ = true;
    return;
  }
  if (!closeConfirmed_ && model_.isDirty()) {
    raise();
    activateWindow();
    switch (update_->askToUpdate()) {
      case CloseAnswer::Save:
        event->ignore();
        // Written once every track has been read.
        if (loading()) return;
        closeAfterRun_ = true;
        updateTracks();
        return;
      case CloseAnswer::DontSave: break;
      default: event->ignore(); return;
    }
  }
  if (loader_) loader_->stop();
  DocumentWindow::closeEvent(event);
}

void GroupWindow::runOnMainThread(const std::function<void()>& task) { callOnThreadOf(this, task); }

void GroupWindow::updateStarted(size_t maximum, const std::string& status) {
  setControlsEnabled(false);
  // The worker reads the values and boxes while it runs: Undo waits too.
  undoWasActive_ = undoStack()->isActive();
  undoStack()->setActive(false);
  progress_->setRange(0, static_cast<int>(maximum));
  progress_->setValue(0);
  progress_->setVisible(true);
  status_->setText(qtext(status));
}

void GroupWindow::progressAdvanced() {
  QMetaObject::invokeMethod(this, [this] {
    progress_->setValue(std::min(progress_->value() + 1, progress_->maximum()));
  });
}

void GroupWindow::statusChanged(const std::string& status) {
  QMetaObject::invokeMethod(this, [this, text = qtext(status)] { status_->setText(text); });
}

void GroupWindow::trackStarting(size_t index) {
  QMetaObject::invokeMethod(this, [this, index] {
    table_->setStatus(index, std::string(kWritingStatus));
  }, Qt::QueuedConnection);
}

void GroupWindow::trackUpdated(size_t index, const TrackOutcome& outcome) {
  // The track was read whole again for its update; once written, its
  // pictures are not kept, as at loading.
  if (index < model_.count()) PicDataArray().swap(model_.tracks()[index]->tagData.picdata);
  QMetaObject::invokeMethod(this, [this, index, text = trackStatusText(outcome.status)] {
    table_->setStatus(index, text);
  }, Qt::QueuedConnection);
}

void GroupWindow::updateFinished(bool error, bool closeWindow) {
  const bool success = !error && !update_->cancelled();
  if (error) {
    // A track that could not be read again (moved, deleted, locked by
    // another program) ends the run without an alert of the run's own.
    for (const TrackOutcome& outcome : update_->outcomes())
      if (outcome.status == TrackStatus::Failed && outcome.alertTitle.empty() && outcome.v1Result == 0 &&
          outcome.v2Result == 0) {
        tell(*questions_, "Failed to update the tags",
             "Could not read '" + outcome.path + "' again before writing it (see melos.log for more details). "
             "Note: The files before it have been updated.");
        break;
      }
  }
  progress_->setVisible(false);
  status_->clear();
  setControlsEnabled(true);
  if (undoWasActive_) undoStack()->setActive(true);
  if (success) undoStack()->clear();
  const bool close = closeWindow || closeAfterRun_;
  closeAfterRun_ = false;
  if (close && (success || update_->cancelled())) {
    closeConfirmed_ = true;
    // After the run has set itself ended, so that the close asks nothing.
    QTimer::singleShot(0, this, &QWidget::close);
  } else if (success) {
    // Rebuilt from what is on disk now, as the run may have renamed tracks.
    std::vector<std::string> paths;
    for (const auto& track : model_.tracks()) paths.push_back(track->path());
    model_ = GroupModel();
    common_ = CommonValues();
    differing_.reset();
    table_->clearKeepingStatus();
    paths.insert(paths.end(), pendingPaths_.begin(), pendingPaths_.end());
    pendingPaths_.clear();
    startLoading(std::move(paths));
  } else if (!pendingPaths_.empty()) {
    startLoading(std::exchange(pendingPaths_, {}));
  }
  refreshFields();
  refreshTotals();
  emit stateChanged();
  emit runFinished(error);
}

}  // namespace melos::ui
