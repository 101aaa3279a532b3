// The quick lists and genres page of the preferences window, and the user
// genre list that reorders by dragging and by Alt+Up/Down.

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QVBoxLayout>

#include "operations/preferences_actions.h"
#include "preferences/genre_list_edit.h"
#include "preferences/preference_controls.h"
#include "preferences/preferences_controller.h"
#include "ui/preferences_window.h"
#include "ui/qt_text.h"

namespace melos::ui {

namespace {

QByteArray encodeRows(const std::vector<int>& rows) {
  QStringList numbers;
  for (int row : rows) numbers.append(QString::number(row));
  return numbers.join(QLatin1Char(',')).toLatin1();
}

std::vector<int> decodeRows(const QByteArray& data) {
  std::vector<int> rows;
  for (const QByteArray& part : data.split(',')) {
    bool ok = false;
    const int row = part.toInt(&ok);
    if (ok) rows.push_back(row);
  }
  return rows;
}

}  // namespace

GenreListView::GenreListView(QWidget* parent) : QListWidget(parent) {
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setDragEnabled(true);
  setAcceptDrops(true);
  setDropIndicatorShown(true);
  setDragDropMode(QAbstractItemView::DragDrop);
  setDefaultDropAction(Qt::MoveAction);
  setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
}

std::vector<int> GenreListView::selectedRows() const {
  std::vector<int> rows;
  for (const QModelIndex& index : selectionModel()->selectedRows()) rows.push_back(index.row());
  std::sort(rows.begin(), rows.end());
  return rows;
}

void GenreListView::selectRows(const std::vector<int>& rows) {
  clearSelection();
  for (int row : rows)
    if (QListWidgetItem* entry = item(row)) entry->setSelected(true);
  if (!rows.empty()) setCurrentRow(rows.front(), QItemSelectionModel::NoUpdate);
}

QStringList GenreListView::mimeTypes() const { return {QString::fromLatin1(kGenreRowsMimeType)}; }

QMimeData* GenreListView::mimeData(const QList<QListWidgetItem*>& items) const {
  std::vector<int> rows;
  for (QListWidgetItem* entry : items) rows.push_back(row(entry));
  std::sort(rows.begin(), rows.end());
  auto* offered = new QMimeData;
  offered->setData(QString::fromLatin1(kGenreRowsMimeType), encodeRows(rows));
  return offered;
}

void GenreListView::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasFormat(QString::fromLatin1(kGenreRowsMimeType))) event->acceptProposedAction();
  else event->ignore();
}

void GenreListView::dragMoveEvent(QDragMoveEvent* event) {
  if (!event->mimeData()->hasFormat(QString::fromLatin1(kGenreRowsMimeType))) {
    event->ignore();
    return;
  }
  QListWidget::dragMoveEvent(event);
  event->acceptProposedAction();
}

void GenreListView::dropEvent(QDropEvent* event) {
  const QMimeData* offered = event->mimeData();
  if (!offered->hasFormat(QString::fromLatin1(kGenreRowsMimeType))) {
    event->ignore();
    return;
  }
  const QPoint at = event->position().toPoint();
  const QModelIndex index = indexAt(at);
  int target = count();
  if (index.isValid()) target = at.y() > visualRect(index).center().y() ? index.row() + 1 : index.row();
  // The list is rebuilt from the stored order: nothing is left for the drag
  // source to remove.
  event->setDropAction(Qt::CopyAction);
  event->accept();
  emit rowsDropped(decodeRows(offered->data(QString::fromLatin1(kGenreRowsMimeType))), target);
}

void GenreListView::keyPressEvent(QKeyEvent* event) {
  const bool alt = event->modifiers() == Qt::AltModifier;
  if (alt && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
    emit moveRequested(event->key() == Qt::Key_Up ? -1 : 1);
    event->accept();
    return;
  }
  QListWidget::keyPressEvent(event);
}

QWidget* PreferencesWindow::buildGenresPage() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);

  auto* quick = new QVBoxLayout;
  addCheckBoxes(quick, static_cast<int>(PreferencePage::Genres));
  auto* clear = new QPushButton(tr("&Clear previous entry lists…"));
  clear->setObjectName(QStringLiteral("mClearQuickListsButton"));
  clear->setToolTip(tr("Removes the previously used entries of every field but the artist URL and podcast fields."));
  connect(clear, &QPushButton::clicked, this, [this] {
    if (clearQuickListsSelected(preferences_, questions_)) stored(true);
  });
  quick->addWidget(clear, 0, Qt::AlignLeft);
  layout->addLayout(quick);

  auto* genres = new QHBoxLayout;
  auto* standard = new QVBoxLayout;
  genreList_ = new QListWidget;
  genreList_->setObjectName(QStringLiteral("mGenreList"));
  genreList_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  genreList_->setToolTip(tr("Select one or more items and double click to enable/disable the items (disabled items do "
                            "not show in the genre lists for V1 and V2)"));
  auto* standardLabel = new QLabel(tr("Standard &genres:"));
  standardLabel->setBuddy(genreList_);
  genreList_->setAccessibleName(tr("Standard genres"));
  standard->addWidget(standardLabel);
  standard->addWidget(genreList_);
  connect(genreList_, &QListWidget::itemChanged, this, [this] {
    if (!loading_) storeGenreRows();
  });
  connect(genreList_, &QListWidget::itemDoubleClicked, this, [this] {
    std::vector<int> selected;
    for (const QModelIndex& index : genreList_->selectionModel()->selectedRows()) selected.push_back(index.row());
    std::vector<GenreListRow> rows = toggleGenreRows(preferences_.getGenreList(), selected);
    preferences_.setGenreList(rows);
    stored(preferences_.synchronize());
    loadGenreLists();
  });
  genres->addLayout(standard);

  auto* user = new QVBoxLayout;
  userGenreList_ = new GenreListView;
  userGenreList_->setObjectName(QStringLiteral("mUserGenreList"));
  userGenreList_->setToolTip(tr("Double click to add or edit an item or select one or more items and click remove to "
                                "delete them"));
  auto* userLabel = new QLabel(tr("&User genres:"));
  userLabel->setBuddy(userGenreList_);
  userGenreList_->setAccessibleName(tr("User genres"));
  user->addWidget(userLabel);
  user->addWidget(userGenreList_);
  connect(userGenreList_, &QListWidget::itemChanged, this, [this](QListWidgetItem* entry) {
    if (loading_) return;
    const int row = userGenreList_->row(entry);
    GenreListEdit edit = renameGenreRow(preferences_.getUserGenreList(), row, utf8(entry->text()));
    storeUserGenres(edit.names, edit.selected);
  });
  connect(userGenreList_, &GenreListView::moveRequested, this, [this](int delta) {
    GenreListEdit edit = moveGenreRows(preferences_.getUserGenreList(), userGenreList_->selectedRows(), delta);
    if (edit.changed) storeUserGenres(edit.names, edit.selected);
  });
  connect(userGenreList_, &GenreListView::rowsDropped, this, [this](std::vector<int> rows, int target) {
    GenreListEdit edit = dropGenreRows(preferences_.getUserGenreList(), std::move(rows), target);
    if (edit.changed) storeUserGenres(edit.names, edit.selected);
  });

  auto* buttons = new QHBoxLayout;
  auto* add = new QPushButton(tr("&Add"));
  add->setObjectName(QStringLiteral("mAddGenreButton"));
  add->setToolTip(tr("Adds a genre at the end of the user list and lets you name it."));
  connect(add, &QPushButton::clicked, this, [this] {
    GenreListEdit edit = addGenre(preferences_.getUserGenreList(), utf8(tr("New genre")));
    storeUserGenres(edit.names, edit.selected);
    if (QListWidgetItem* entry = userGenreList_->item(userGenreList_->count() - 1)) userGenreList_->editItem(entry);
  });
  auto* remove = new QPushButton(tr("Re&move"));
  remove->setObjectName(QStringLiteral("mRemoveGenreButton"));
  remove->setToolTip(tr("Removes the selected user genres."));
  connect(remove, &QPushButton::clicked, this, [this] {
    GenreListEdit edit = removeGenreRows(preferences_.getUserGenreList(), userGenreList_->selectedRows());
    if (edit.changed) storeUserGenres(edit.names, edit.selected);
  });
  auto* itunes = new QPushButton(tr("Add &iTunes genres"));
  itunes->setObjectName(QStringLiteral("mAddiTunesGenresButton"));
  itunes->setToolTip(tr("Add the default iTunes genre list to the user defined genre list (to use only this list click "
                        "'Replace V2 genre list')"));
  connect(itunes, &QPushButton::clicked, this, [this] {
    preferences_.addiTunesGenres();
    storeUserGenres(preferences_.getUserGenreList(), {});
  });
  buttons->addWidget(add);
  buttons->addWidget(remove);
  buttons->addWidget(itunes);
  buttons->addStretch();
  user->addLayout(buttons);
  genres->addLayout(user);
  layout->addLayout(genres, 1);
  return page;
}

void PreferencesWindow::loadGenreLists() {
  const bool wasLoading = std::exchange(loading_, true);
  genreList_->clear();
  for (const GenreListRow& row : preferences_.getGenreList()) {
    auto* entry = new QListWidgetItem(QString::fromStdString(row.name));
    entry->setData(Qt::UserRole, row.genre);
    entry->setFlags(entry->flags() | Qt::ItemIsUserCheckable);
    entry->setCheckState(row.enabled() ? Qt::Checked : Qt::Unchecked);
    genreList_->addItem(entry);
  }
  userGenreList_->clear();
  for (const std::string& name : preferences_.getUserGenreList()) {
    auto* entry = new QListWidgetItem(QString::fromStdString(name));
    entry->setFlags(entry->flags() | Qt::ItemIsEditable | Qt::ItemIsDragEnabled);
    userGenreList_->addItem(entry);
  }
  loading_ = wasLoading;
}

void PreferencesWindow::storeGenreRows() {
  // A genre the stored list left out has no row and stays left out.
  std::vector<GenreListRow> rows = preferences_.getGenreList();
  for (int i = 0; i < genreList_->count(); ++i) {
    const QListWidgetItem* entry = genreList_->item(i);
    const int genre = entry->data(Qt::UserRole).toInt();
    for (GenreListRow& row : rows)
      if (row.genre == genre) row.state = entry->checkState() == Qt::Checked ? "on" : "off";
  }
  preferences_.setGenreList(rows);
  stored(preferences_.synchronize());
}

void PreferencesWindow::storeUserGenres(const std::vector<std::string>& names, const std::vector<int>& selected) {
  preferences_.setUserGenreList(names);
  const bool saved = preferences_.synchronize();
  loadGenreLists();
  userGenreList_->selectRows(selected);
  stored(saved);
}

}  // namespace melos::ui
