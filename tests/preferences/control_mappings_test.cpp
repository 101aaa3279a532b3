#include "preferences/control_mappings.h"

#include <gtest/gtest.h>

namespace melos {
namespace {

TEST(Tag2VersionControl, StoredVersionSelectsItsItem) {
  const std::pair<int, int> rows[]{{0, 0}, {3, 1}, {4, 2}, {1, -1}, {5, 3}};
  for (const auto& [stored, item] : rows) EXPECT_EQ(tag2VersionItemIndex(stored), item) << stored;
  EXPECT_EQ(kTag2VersionItems[static_cast<size_t>(tag2VersionItemIndex(3))], "Version 2.3");
  EXPECT_EQ(kTag2VersionItems[static_cast<size_t>(tag2VersionItemIndex(0))], "Auto version");
  EXPECT_EQ(kTag2VersionItems[static_cast<size_t>(tag2VersionItemIndex(4))], "Version 2.4");
}

TEST(Tag2VersionControl, SelectedItemIsStoredAsItsVersion) {
  const std::pair<int, int> rows[]{{0, 0}, {1, 3}, {2, 4}};
  for (const auto& [item, stored] : rows) {
    EXPECT_EQ(tag2VersionToStore(item), stored) << item;
    EXPECT_EQ(tag2VersionItemIndex(tag2VersionToStore(item)), item) << item;
  }
}

TEST(EditorStyleControl, StoredValueSelectsItsButton) {
  EXPECT_EQ(editorStyleFromStored(0), EditorStyle::Drawer);
  EXPECT_EQ(editorStyleFromStored(1), EditorStyle::Large);
  EXPECT_EQ(editorStyleFromStored(2), EditorStyle::Small);
  EXPECT_EQ(editorStyleFromStored(3), std::nullopt);
  EXPECT_EQ(editorStyleFromStored(-1), std::nullopt);
  EXPECT_EQ(editorStyleLabel(EditorStyle::Small),
            "Small window style with the picture and lyrics sections forming tabs under the ID3 "
            "v2 section");
  EXPECT_EQ(editorStyleLabel(EditorStyle::Large),
            "Large window style which shows the picture and lyrics as a separate section with "
            "tab selection");
  EXPECT_EQ(editorStyleLabel(EditorStyle::Drawer),
            "Drawer based picture and lyrics option which allows the showing or hiding of the "
            "picture and lyrics");
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
