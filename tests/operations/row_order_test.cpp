// The list's order of the group's tracks: sorting a snapshot, showing it with
// the tracks added since below it, and removing tracks from a sorted list.

#include "operations/row_order.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

RowSnapshot snapshotOf(const std::vector<std::pair<std::string, uint64_t>>& titlesAndSizes) {
  RowSnapshot snapshot;
  for (const auto& [title, size] : titlesAndSizes) {
    auto row = std::make_shared<TrackRow>();
    row->title = title;
    row->size = size;
    snapshot.rows.push_back(row);
  }
  return snapshot;
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
  const RowSnapshot snapshot = snapshotOf({{"b", 300}, {"A", 100}, {"c", 300}, {"a", 200}});
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
  };
  for (const Case& c : cases)
    EXPECT_EQ(sortedTracks(snapshot, c.column, c.descending), c.expected)
        << trackColumnTitle(c.column) << (c.descending ? " descending" : "");

  RowSnapshot withStatus = snapshot;
  withStatus.status = {"Written", "Failed", "", "Written"};
  EXPECT_EQ(sortedTracks(withStatus, TrackColumn::Status, false), (std::vector<size_t>{2, 1, 0, 3}));
}

TEST(RowOrderTest, ShowsASortWithTheTracksAddedSinceBelowIt) {
  RowOrder order;
  order.append(3);
  EXPECT_EQ(shown(order), (std::vector<size_t>{0, 1, 2}));
  order.append(2);  // while a sort of the first three runs
  ASSERT_TRUE(order.apply({2, 0, 1}));
  EXPECT_EQ(shown(order), (std::vector<size_t>{2, 0, 1, 3, 4}));

  const std::vector<std::vector<size_t>> misfits = {{0, 0, 1}, {0, 5}, {0, 1, 2, 3, 4, 5}};
  for (const auto& misfit : misfits) {
    EXPECT_FALSE(order.apply(misfit));
    EXPECT_EQ(shown(order), (std::vector<size_t>{2, 0, 1, 3, 4}));
  }
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
