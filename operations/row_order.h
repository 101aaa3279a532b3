#pragma once
// The order in which the group's list shows its tracks. Sorting is a view of
// the group, never a reordering of it, and is computed away from the window's
// thread: the window snapshots the rows, a worker sorts the snapshot, and the
// window shows the result unless tracks were removed in the meantime. Tracks
// added while a sort runs show below the sorted ones until the next one.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "operations/group_tracks.h"

namespace melos {

// The tracks' rows as one sort reads them: shared, so that taking the
// snapshot copies no text on the window's thread.
struct RowSnapshot {
  std::vector<std::shared_ptr<const TrackRow>> rows;
  std::vector<std::string> status;  // filled only to sort by the status
};

// The group's indices of the snapshot's tracks in the order of `column`;
// equal rows keep the group's order, in both directions.
std::vector<size_t> sortedTracks(const RowSnapshot& snapshot, TrackColumn column, bool descending);

class RowOrder {
 public:
  size_t size() const { return order_.size(); }
  size_t trackAt(size_t row) const { return order_.at(row); }
  size_t rowOf(size_t track) const { return rows_.at(track); }
  // Changes with every removal: a sort of an older snapshot no longer fits.
  uint64_t version() const { return version_; }

  // New tracks of the group, shown below the others.
  void append(size_t count);
  void clear();

  // Shows the first `sorted.size()` tracks in that order, those added since
  // below them as they were; false, and nothing changes, when `sorted` is not
  // an order of the first tracks.
  bool apply(const std::vector<size_t>& sorted);

  // Removing tracks takes three steps, so that the list can be told of each
  // block of rows before it goes: the blocks of rows the tracks are shown in,
  // from the last one up; the removal of one block; and, once every block has
  // gone, the renumbering of the tracks that follow the removed ones.
  std::vector<std::pair<size_t, size_t>> blocksOf(std::vector<size_t> tracks) const;
  void eraseRows(size_t first, size_t last);
  void renumberAfterRemoving(std::vector<size_t> tracks);

 private:
  std::vector<size_t> order_;  // row -> track
  std::vector<size_t> rows_;   // track -> row
  uint64_t version_ = 0;
};

}  // namespace melos
