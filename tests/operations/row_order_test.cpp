// The list's order of the group's tracks: sorting a snapshot, and removing
// tracks from a sorted list.

#include "operations/row_order.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

RowSnapshot snapshotOf(const std::vector<TrackRow>& rows) {
  RowSnapshot snapshot;
  for (const TrackRow& row : rows) snapshot.rows.push_back(std::make_shared<TrackRow>(row));
  return snapshot;
}

TrackRow row(std::string title, uint64_t size, std::string track) {
  TrackRow row;
  row.title = std::move(title);
  row.size = size;
  row.track = std::move(track);
  row.trackOrder = trackSortKey(row.track);
  return row;
}

std::vector<size_t> shown(const RowOrder& order) {
  std::vector<size_t> tracks;
  for (size_t row = 0; row < order.size(); ++row) {
    tracks.push_back(order.trackAt(row));
    EXPECT_EQ(order.rowOf(order.trackAt(row)), row);
  }
  return tracks;
}

TEST(RowOrderTest, SortsASnapshotKeepingTheGroupOrderOfEqualRows) {
  const RowSnapshot snapshot =
      snapshotOf({row("b", 300, "10/12"), row("A", 100, "2/12"), row("c", 300, ""), row("a", 200, "2")});
  struct Case {
    TrackColumn column;
    bool descending;
    std::vector<size_t> expected;
  };
  const Case cases[] = {
      {TrackColumn::Title, false, {1, 3, 0, 2}},  // "A" and "a" tie: group order
      {TrackColumn::Title, true, {2, 0, 1, 3}},   // and in this direction too
      {TrackColumn::Size, false, {1, 3, 0, 2}},
      {TrackColumn::Size, true, {0, 2, 3, 1}},
      {TrackColumn::Track, false, {1, 3, 0, 2}},  // numbers as numbers, an empty one last
  };
  for (const Case& c : cases)
    EXPECT_EQ(sortedTracks(snapshot, c.column, c.descending), c.expected)
        << trackColumnTitle(c.column) << (c.descending ? " descending" : "");

  RowSnapshot withStatus = snapshot;
  withStatus.status = {"Written", "Failed", "", "Written"};
  EXPECT_EQ(sortedTracks(withStatus, TrackColumn::Status, false), (std::vector<size_t>{2, 1, 0, 3}));
}

TEST(RowOrderTest, RemovesTracksFromASortedListBlockByBlock) {
  RowOrder order;
  order.append(6);
  ASSERT_TRUE(order.apply({5, 1, 4, 0, 2, 3}));
  const uint64_t before = order.version();
  const std::vector<size_t> removed = {4, 1, 3, 4};  // rows 2, 1 and 5; one twice
  const auto blocks = order.blocksOf(removed);
  EXPECT_EQ(blocks, (std::vector<std::pair<size_t, size_t>>{{5, 5}, {1, 2}}));
  for (const auto& [first, last] : blocks) order.eraseRows(first, last);
  order.renumberAfterRemoving(removed);
  // Left: 5, 0, 2 in that order, renumbered 2, 0, 1.
  EXPECT_EQ(shown(order), (std::vector<size_t>{2, 0, 1}));
  EXPECT_NE(order.version(), before);  // a sort of the six no longer fits
}

}  // namespace
}  // namespace melos
