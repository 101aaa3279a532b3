#include "preferences/control_mappings.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

TEST(ControlMappings, StoredValuesSelectTheirControlsAndBack) {
  for (auto [stored, item] : {std::pair{0, 0}, {3, 1}, {4, 2}, {1, -1}, {5, 3}})
    EXPECT_EQ(tag2VersionItemIndex(stored), item) << stored;
  for (auto [item, stored] : {std::pair{0, 0}, {1, 3}, {2, 4}}) EXPECT_EQ(tag2VersionToStore(item), stored) << item;
  const std::pair<int, std::optional<EditorStyle>> styles[]{
      {0, EditorStyle::Drawer}, {1, EditorStyle::Large}, {2, EditorStyle::Small}, {3, std::nullopt}, {-1, std::nullopt}};
  for (const auto& [stored, style] : styles) EXPECT_EQ(editorStyleFromStored(stored), style) << stored;
  for (auto [style, start] : {std::pair{EditorStyle::Small, "Small"}, {EditorStyle::Large, "Large"},
                              {EditorStyle::Drawer, "Drawer"}})
    EXPECT_TRUE(editorStyleLabel(style).starts_with(start)) << start;
  // Large wins over small when both buttons are on.
  for (auto [large, small, stored] : {std::tuple{true, false, 1}, {false, true, 2}, {false, false, 0}, {true, true, 1}})
    EXPECT_EQ(editorStyleToStore(large, small), stored) << large << small;
}

}  // namespace
}  // namespace melos
