#include "ui/group_track_table.h"

#include <QDir>
#include <QPointer>
#include <numeric>
#include <utility>

#include "engine/id3_tag.h"
#include "ui/qt_text.h"
#include "ui/shown_path.h"

namespace melos::ui {

TrackTableModel::TrackTableModel(QObject* parent) : QAbstractTableModel(parent), home_(QDir::homePath()) {
  sorter_.setMaxThreadCount(1);
}

TrackTableModel::~TrackTableModel() { sorter_.waitForDone(); }

int TrackTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(order_.size());
}

int TrackTableModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kTrackColumnCount; }

QVariant TrackTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const size_t track = trackAt(index.row());
  const TrackRow& row = *rows_[track];
  const auto column = static_cast<TrackColumn>(index.column());
  if (role == Qt::TextAlignmentRole) {
    const bool number = column == TrackColumn::Size || column == TrackColumn::Length || column == TrackColumn::Track;
    return QVariant::fromValue(number ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
  }
  if (role == Qt::ToolTipRole && column == TrackColumn::FileName)
    return shownPath(displayPath(row.folder + "/" + row.fileName), home_);
  if (role != Qt::DisplayRole) return {};
  switch (column) {
    case TrackColumn::FileName: return displayPath(row.fileName);
    case TrackColumn::Folder: return shownPath(displayPath(row.folder), home_);
    case TrackColumn::Title: return qtext(row.title);
    case TrackColumn::Artist: return qtext(row.artist);
    case TrackColumn::Album: return qtext(row.album);
    case TrackColumn::Track: return qtext(row.track);
    case TrackColumn::Tags: return qtext(row.tagVersions);
    case TrackColumn::Size: return qtext(fileSizeDisplay(row.size));
    case TrackColumn::Length: return qtext(durationDisplay(row.length));
    case TrackColumn::Status: return qtext(status_[track]);
  }
  return {};
}

QVariant TrackTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= kTrackColumnCount)
    return QAbstractTableModel::headerData(section, orientation, role);
  return tr(trackColumnTitle(static_cast<TrackColumn>(section)));
}

void TrackTableModel::sort(int column, Qt::SortOrder order) {
  sortColumn_ = column >= 0 && column < kTrackColumnCount ? column : -1;
  descending_ = order == Qt::DescendingOrder;
  if (sortColumn_ >= 0) {
    startSort();
    return;
  }
  // Back to the group's own order: nothing to compare.
  std::vector<size_t> own(rows_.size());
  std::iota(own.begin(), own.end(), size_t{0});
  showOrder(own);
  emit sortShown();
}

void TrackTableModel::startSort() {
  if (sortColumn_ < 0) return;
  if (sorting_) {
    sortAgain_ = true;
    return;
  }
  sorting_ = true;
  RowSnapshot snapshot;
  snapshot.rows = rows_;
  const auto column = static_cast<TrackColumn>(sortColumn_);
  if (column == TrackColumn::Status) snapshot.status = status_;
  const QPointer<TrackTableModel> self(this);
  sorter_.start([self, snapshot = std::move(snapshot), column, descending = descending_,
                 version = order_.version()] {
    std::vector<size_t> sorted = sortedTracks(snapshot, column, descending);
    QMetaObject::invokeMethod(self.data(), [self, sorted = std::move(sorted), version, column, descending] {
      if (self) self->sortDone(sorted, version, static_cast<int>(column), descending);
    }, Qt::QueuedConnection);
  });
}

void TrackTableModel::sortDone(const std::vector<size_t>& sorted, uint64_t version, int column, bool descending) {
  sorting_ = false;
  // Tracks removed since the snapshot make it a different list; tracks added
  // since show below the sorted ones until the next sort.
  const bool current = version == order_.version() && column == sortColumn_ && descending == descending_;
  if (current) showOrder(sorted);
  if (!current || std::exchange(sortAgain_, false)) startSort();
  else emit sortShown();
}

void TrackTableModel::showOrder(const std::vector<size_t>& sorted) {
  emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  // The selection and the current row follow their tracks.
  const QModelIndexList before = persistentIndexList();
  std::vector<size_t> tracks;
  tracks.reserve(static_cast<size_t>(before.size()));
  for (const QModelIndex& index : before) tracks.push_back(trackAt(index.row()));
  order_.apply(sorted);
  QModelIndexList after;
  after.reserve(before.size());
  for (qsizetype i = 0; i < before.size(); ++i)
    after.append(index(static_cast<int>(order_.rowOf(tracks[static_cast<size_t>(i)])), before[i].column()));
  changePersistentIndexList(before, after);
  emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void TrackTableModel::appendRows(std::vector<TrackRow> rows) {
  if (rows.empty()) return;
  const int first = rowCount();
  beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
  for (TrackRow& row : rows) {
    rows_.push_back(std::make_shared<const TrackRow>(std::move(row)));
    status_.push_back(status_.size() < carried_.size() ? carried_[status_.size()] : std::string());
  }
  order_.append(rows.size());
  endInsertRows();
  startSort();
}

void TrackTableModel::removeTracks(const std::vector<size_t>& tracks) {
  for (const auto& [first, last] : order_.blocksOf(tracks)) {
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(last));
    order_.eraseRows(first, last);
    endRemoveRows();
  }
  // One pass over the rows, however many go.
  std::vector<bool> gone(rows_.size(), false);
  for (size_t track : tracks)
    if (track < gone.size()) gone[track] = true;
  size_t kept = 0;
  for (size_t track = 0; track < rows_.size(); ++track) {
    if (gone[track]) continue;
    rows_[kept] = std::move(rows_[track]);
    status_[kept] = std::move(status_[track]);
    ++kept;
  }
  rows_.resize(kept);
  status_.resize(kept);
  order_.renumberAfterRemoving(tracks);
}

void TrackTableModel::clearKeepingStatus() {
  beginResetModel();
  rows_.clear();
  order_.clear();
  carried_ = std::exchange(status_, {});
  endResetModel();
}

void TrackTableModel::setStatus(size_t track, const std::string& status) {
  if (track >= rows_.size()) return;
  status_[track] = status;
  const QModelIndex cell = index(static_cast<int>(order_.rowOf(track)), static_cast<int>(TrackColumn::Status));
  emit dataChanged(cell, cell, {Qt::DisplayRole});
}

void TrackTableModel::clearStatus() {
  carried_.clear();
  if (rows_.empty()) return;
  status_.assign(rows_.size(), {});
  emit dataChanged(index(0, static_cast<int>(TrackColumn::Status)),
                   index(rowCount() - 1, static_cast<int>(TrackColumn::Status)), {Qt::DisplayRole});
}

}  // namespace melos::ui
