#include "operations/row_order.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace melos {

std::vector<size_t> sortedTracks(const RowSnapshot& snapshot, TrackColumn column, bool descending) {
  std::vector<size_t> order(snapshot.rows.size());
  std::iota(order.begin(), order.end(), size_t{0});
  const auto less = [&](size_t a, size_t b) {
    if (column == TrackColumn::Status)
      return a < snapshot.status.size() && b < snapshot.status.size() && snapshot.status[a] < snapshot.status[b];
    return rowLess(*snapshot.rows[a], *snapshot.rows[b], column);
  };
  if (descending) std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return less(b, a); });
  else std::stable_sort(order.begin(), order.end(), less);
  return order;
}

void RowOrder::append(size_t count) {
  for (size_t i = 0; i < count; ++i) {
    rows_.push_back(order_.size());
    order_.push_back(rows_.size() - 1);
  }
}

void RowOrder::clear() {
  order_.clear();
  rows_.clear();
  ++version_;
}

bool RowOrder::apply(const std::vector<size_t>& sorted) {
  const size_t n = sorted.size();
  if (n > order_.size()) return false;
  std::vector<bool> seen(n, false);
  for (size_t track : sorted) {
    if (track >= n || seen[track]) return false;
    seen[track] = true;
  }
  std::vector<size_t> order = sorted;
  order.reserve(order_.size());
  for (size_t track : order_)
    if (track >= n) order.push_back(track);
  order_ = std::move(order);
  for (size_t row = 0; row < order_.size(); ++row) rows_[order_[row]] = row;
  return true;
}

std::vector<std::pair<size_t, size_t>> RowOrder::blocksOf(std::vector<size_t> tracks) const {
  std::vector<size_t> rows;
  for (size_t track : tracks)
    if (track < rows_.size()) rows.push_back(rows_[track]);
  std::sort(rows.begin(), rows.end(), std::greater<>());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  std::vector<std::pair<size_t, size_t>> blocks;
  for (size_t row : rows) {
    if (!blocks.empty() && blocks.back().first == row + 1) blocks.back().first = row;
    else blocks.emplace_back(row, row);
  }
  return blocks;
}

void RowOrder::eraseRows(size_t first, size_t last) {
  if (first > last || last >= order_.size()) return;
  const auto at = [&](size_t row) { return order_.begin() + static_cast<std::ptrdiff_t>(row); };
  order_.erase(at(first), at(last) + 1);
}

void RowOrder::renumberAfterRemoving(std::vector<size_t> tracks) {
  std::sort(tracks.begin(), tracks.end());
  tracks.erase(std::unique(tracks.begin(), tracks.end()), tracks.end());
  // A track's new number is its old one less the removed tracks before it.
  for (size_t& track : order_)
    track -= static_cast<size_t>(std::lower_bound(tracks.begin(), tracks.end(), track) - tracks.begin());
  rows_.assign(order_.size(), 0);
  for (size_t row = 0; row < order_.size(); ++row) rows_[order_[row]] = row;
  ++version_;
}

}  // namespace melos
