#pragma once
// The group's track list: one row per track. The group keeps its tracks in
// the order they were given; the list shows them in that order, or sorted by
// a column, sorted on a worker thread so that a click on a header never
// holds up the window, however many tracks the group has.

#include <QAbstractTableModel>
#include <QThreadPool>
#include <memory>
#include <string>
#include <vector>

#include "operations/group_tracks.h"
#include "operations/row_order.h"

namespace melos::ui {

class TrackTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  explicit TrackTableModel(QObject* parent = nullptr);
  ~TrackTableModel() override;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  // Returns at once; the rows show in the new order when the worker is done.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

  // The group's index of the track a row shows.
  size_t trackAt(int row) const { return order_.trackAt(static_cast<size_t>(row)); }

  void appendRows(std::vector<TrackRow> rows);
  // Takes the tracks, by their indices in the group, out of the list.
  void removeTracks(const std::vector<size_t>& tracks);
  // Every row goes; their statuses stay for the rows appended next, in
  // order, as the group is read again after a run.
  void clearKeepingStatus();
  void setStatus(size_t track, const std::string& status);
  void clearStatus();

 signals:
  // The rows show in the order last asked for.
  void sortShown();

 private:
  void startSort();
  void sortDone(const std::vector<size_t>& sorted, uint64_t version, int column, bool descending);
  void showOrder(const std::vector<size_t>& sorted);

  std::vector<std::shared_ptr<const TrackRow>> rows_;  // in the group's order
  std::vector<std::string> status_;
  std::vector<std::string> carried_;
  RowOrder order_;
  int sortColumn_ = -1;
  bool descending_ = false;
  bool sorting_ = false;
  bool sortAgain_ = false;
  QThreadPool sorter_;
  const QString home_;  // asked once: every visible cell of the folder column is shown with it
};

}  // namespace melos::ui
