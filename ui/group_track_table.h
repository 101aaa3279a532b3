#pragma once
// The group's track list: one row per track, in the order of the group's
// tracks, so that a row's number is its track's index in the group. Sorting
// is a view of it (TrackSortProxy), never a reordering of the group.

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>
#include <string>
#include <vector>

#include "operations/group_tracks.h"

namespace melos::ui {

class TrackTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  using QAbstractTableModel::QAbstractTableModel;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

  void appendRows(std::vector<TrackRow> rows);
  void removeRowAt(int row);
  // Every row goes; their statuses stay for the rows appended next, in
  // order, as the group is read again after a run.
  void clearKeepingStatus();
  void setStatus(int row, const std::string& status);
  void clearStatus();
  const TrackRow& rowAt(int row) const { return rows_.at(static_cast<size_t>(row)); }

 private:
  std::vector<TrackRow> rows_;
  std::vector<std::string> status_;
  std::vector<std::string> carried_;
};

// Sorts by the row values themselves: numbers as numbers, names without
// regard to case.
class TrackSortProxy : public QSortFilterProxyModel {
  Q_OBJECT

 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;

 protected:
  bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;
};

}  // namespace melos::ui
