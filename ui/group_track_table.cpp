#include "ui/group_track_table.h"

#include <utility>

#include <QFile>

#include "engine/id3_tag.h"
#include "ui/shown_path.h"

namespace melos::ui {
namespace {

QString utf8(const std::string& text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }
// Names on disk are bytes; shown as the file system's encoding reads them.
QString onDisk(const std::string& path) { return QFile::decodeName(QByteArray::fromStdString(path)); }

}  // namespace

int TrackTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int TrackTableModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kTrackColumnCount; }

QVariant TrackTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const TrackRow& row = rows_[static_cast<size_t>(index.row())];
  const auto column = static_cast<TrackColumn>(index.column());
  if (role == Qt::TextAlignmentRole) {
    const bool number = column == TrackColumn::Size || column == TrackColumn::Length || column == TrackColumn::Track;
    return QVariant::fromValue(number ? Qt::AlignRight | Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
  }
  if (role == Qt::ToolTipRole && column == TrackColumn::FileName)
    return shownPath(onDisk(row.folder + "/" + row.fileName));
  if (role != Qt::DisplayRole) return {};
  switch (column) {
    case TrackColumn::FileName: return onDisk(row.fileName);
    case TrackColumn::Folder: return shownPath(onDisk(row.folder));
    case TrackColumn::Title: return utf8(row.title);
    case TrackColumn::Artist: return utf8(row.artist);
    case TrackColumn::Album: return utf8(row.album);
    case TrackColumn::Track: return utf8(row.track);
    case TrackColumn::Tags: return utf8(row.tagVersions);
    case TrackColumn::Size: return utf8(fileSizeDisplay(row.size));
    case TrackColumn::Length: return utf8(durationDisplay(row.length));
    case TrackColumn::Status: return utf8(status_[static_cast<size_t>(index.row())]);
  }
  return {};
}

QVariant TrackTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= kTrackColumnCount)
    return QAbstractTableModel::headerData(section, orientation, role);
  return tr(trackColumnTitle(static_cast<TrackColumn>(section)));
}

void TrackTableModel::appendRows(std::vector<TrackRow> rows) {
  if (rows.empty()) return;
  const int first = rowCount();
  beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
  for (TrackRow& row : rows) {
    rows_.push_back(std::move(row));
    status_.push_back(status_.size() < carried_.size() ? carried_[status_.size()] : std::string());
  }
  endInsertRows();
}

void TrackTableModel::removeRowAt(int row) {
  if (row < 0 || row >= rowCount()) return;
  beginRemoveRows({}, row, row);
  rows_.erase(rows_.begin() + row);
  status_.erase(status_.begin() + row);
  endRemoveRows();
}

void TrackTableModel::clearKeepingStatus() {
  beginResetModel();
  rows_.clear();
  carried_ = std::exchange(status_, {});
  endResetModel();
}

void TrackTableModel::setStatus(int row, const std::string& status) {
  if (row < 0 || row >= rowCount()) return;
  status_[static_cast<size_t>(row)] = status;
  const QModelIndex cell = index(row, static_cast<int>(TrackColumn::Status));
  emit dataChanged(cell, cell, {Qt::DisplayRole});
}

void TrackTableModel::clearStatus() {
  carried_.clear();
  if (rows_.empty()) return;
  status_.assign(rows_.size(), {});
  emit dataChanged(index(0, static_cast<int>(TrackColumn::Status)),
                   index(rowCount() - 1, static_cast<int>(TrackColumn::Status)), {Qt::DisplayRole});
}

bool TrackSortProxy::lessThan(const QModelIndex& left, const QModelIndex& right) const {
  const auto* table = qobject_cast<const TrackTableModel*>(sourceModel());
  if (table == nullptr) return QSortFilterProxyModel::lessThan(left, right);
  const auto column = static_cast<TrackColumn>(left.column());
  if (column == TrackColumn::Status) return QSortFilterProxyModel::lessThan(left, right);
  return rowLess(table->rowAt(left.row()), table->rowAt(right.row()), column);
}

}  // namespace melos::ui
