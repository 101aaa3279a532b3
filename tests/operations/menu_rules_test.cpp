// The enabling of every menu item, scenario by scenario: each row names the
// items that must be disabled, and every other item must be enabled.

#include "operations/menu_rules.h"

#include <gtest/gtest.h>

#include <set>

namespace melos::test {

TEST(MenuRules, EveryItemInEveryScenario) {
  using enum MenuItem;
  using Items = std::set<MenuItem>;
  const Items none = {CopyTagData, CopyAllTagData, PasteTagData, Revert, ShowLyrics, ShowPicture, Update, AddLyrics,
                      ClearTagData, ApplyDefaultTagData, LoadTagData, SaveTagData, SaveAs, CopyV1ToV2, CopyV2ToV1, AddImage};
  const Items inGroup = {Revert, ShowLyrics, ShowPicture, AddLyrics, LoadTagData, SaveTagData, SaveAs, CopyV1ToV2, CopyV2ToV1,
                         AlwaysApplyDefaultTagData, AddImage, ExportAsCSV, ExportAsXML};
  Items cleanGroup = inGroup;
  cleanGroup.insert({Update, PasteTagData});
  const auto group = [](bool dirty) { return FrontDocument{DocumentKind::Group, dirty, false, false, false}; };
  const auto single = [](bool mp3, bool v1, bool v2, bool dirty) {
    return FrontDocument{DocumentKind::SingleTrack, dirty, mp3, v1, v2};
  };
  // Rows: the front document, whether a tag was copied, the items disabled.
  const std::vector<std::tuple<std::optional<FrontDocument>, bool, Items>> rows = {
      {std::nullopt, false, none}, {std::nullopt, true, none}, {group(true), true, inGroup},
      {single(true, true, true, true), true, {}}, {single(true, false, true, false), true, {CopyV1ToV2, Update}},
      {single(true, true, false, true), true, {CopyV2ToV1}},
      {single(false, true, true, false), false, {CopyV1ToV2, CopyV2ToV1, Update, PasteTagData}},
      {FrontDocument{DocumentKind::Other, false, false, false, false}, true, {}},
      {group(false), false, cleanGroup}};
  for (size_t row = 0; row < rows.size(); ++row)
    for (MenuItem item : allMenuItems())
      EXPECT_EQ(isMenuItemEnabled(item, std::get<0>(rows[row]), std::get<1>(rows[row])),
                !std::get<2>(rows[row]).contains(item)) << "row " << row << ": " << menuItemName(item);
}

}  // namespace melos::test
