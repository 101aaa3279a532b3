#include "preferences/control_mappings.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

TEST(Tag2VersionControl, StoredVersionSelectsItsItem) {
  const std::pair<int, int> rows[]{{0, 0}, {3, 1}, {4, 2}, {1, -1}, {5, 3}};
  for (const auto& [stored, item] : rows) EXPECT_EQ(tag2VersionItemIndex(stored), item) << stored;
}

TEST(Tag2VersionControl, SelectedItemIsStoredAsItsVersion) {
  const std::pair<int, int> rows[]{{0, 0}, {1, 3}, {2, 4}};
  for (const auto& [item, stored] : rows) {
    EXPECT_EQ(tag2VersionToStore(item), stored) << item;
    EXPECT_EQ(tag2VersionItemIndex(tag2VersionToStore(item)), item) << item;
  }
}

TEST(EditorStyleControl, StoredValueSelectsItsButton) {
  const std::pair<int, std::optional<EditorStyle>> rows[]{{0, EditorStyle::Drawer},
      {1, EditorStyle::Large}, {2, EditorStyle::Small}, {3, std::nullopt}, {-1, std::nullopt}};
  for (const auto& [stored, style] : rows) EXPECT_EQ(editorStyleFromStored(stored), style) << stored;
  const std::pair<EditorStyle, std::string_view> labels[]{
      {EditorStyle::Small, "Small"}, {EditorStyle::Large, "Large"}, {EditorStyle::Drawer, "Drawer"}};
  for (const auto& [style, start] : labels) EXPECT_TRUE(editorStyleLabel(style).starts_with(start));
}

TEST(EditorStyleControl, LargeWinsOverSmallWhenSaving) {
  struct Row {
    bool large, small;
    int stored;
  };
  const Row rows[]{{true, false, 1}, {false, true, 2}, {false, false, 0}, {true, true, 1}};
  for (const Row& row : rows)
    EXPECT_EQ(editorStyleToStore(row.large, row.small), row.stored) << row.large << row.small;
}

}  // namespace
}  // namespace melos
