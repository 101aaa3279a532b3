// The enabling of every menu item, scenario by scenario: each row names the
// items that must be disabled, and every other item must be enabled.

#include "operations/menu_rules.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace melos::test {
namespace {

using enum MenuItem;

std::set<MenuItem> with(std::set<MenuItem> items, std::initializer_list<MenuItem> more) {
  items.insert(more);
  return items;
}

FrontDocument group(bool dirty) { return {DocumentKind::Group, dirty, false, false, false}; }
FrontDocument single(bool mp3, bool v1, bool v2, bool dirty) { return {DocumentKind::SingleTrack, dirty, mp3, v1, v2}; }

TEST(MenuRules, EveryItemInEveryScenario) {
  const std::set<MenuItem> none = {CopyTagData, CopyAllTagData, PasteTagData, Revert, ShowLyrics, ShowPicture,
                                   Update, AddLyrics, ClearTagData, ApplyDefaultTagData, LoadTagData, SaveTagData,
                                   SaveAs, CopyV1ToV2, CopyV2ToV1, AddImage};
  const std::set<MenuItem> inGroup = {Revert, ShowLyrics, ShowPicture, AddLyrics, LoadTagData, SaveTagData, SaveAs,
                                      AlwaysApplyDefaultTagData, CopyV1ToV2, CopyV2ToV1, AddImage, ExportAsCSV,
                                      ExportAsXML};
  const struct {
    std::string name;
    std::optional<FrontDocument> front;
    bool copied;
    std::set<MenuItem> disabled;
  } scenarios[] = {
      {"no document", std::nullopt, false, none},
      {"no document with a copy", std::nullopt, true, none},
      {"clean group", group(false), true, with(inGroup, {Update})},
      {"dirty group, nothing copied", group(true), false, with(inGroup, {PasteTagData})},
      {"mp3, V1 and V2 on, dirty", single(true, true, true, true), true, {}},
      {"mp3, V1 off, clean", single(true, false, true, false), true, {CopyV1ToV2, Update}},
      {"mp3, V2 off", single(true, true, false, true), true, {CopyV2ToV1}},
      {"aiff, clean, nothing copied", single(false, true, true, false), false,
       {CopyV1ToV2, CopyV2ToV1, Update, PasteTagData}},
      {"other document", FrontDocument{DocumentKind::Other, false, false, false, false}, true, {}},
  };
  for (const auto& scenario : scenarios) {
    for (MenuItem item : allMenuItems()) {
      SCOPED_TRACE(scenario.name + ": " + std::string(menuItemName(item)));
      EXPECT_EQ(isMenuItemEnabled(item, scenario.front, scenario.copied), scenario.disabled.count(item) == 0);
    }
  }
}

}  // namespace
}  // namespace melos::test
