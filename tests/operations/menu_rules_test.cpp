// The enabling of every menu item, scenario by scenario: each row names the
// items that must be disabled, and every other item must be enabled.

#include "operations/menu_rules.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace melos::test {
namespace {

using enum MenuItem;

struct Scenario {
  std::string name;
  std::optional<FrontDocument> front;
  bool copied;
  std::set<MenuItem> disabled;
};

const std::set<MenuItem> kNoDocumentDisabled = {
    CopyTagData, CopyAllTagData, PasteTagData, Revert,      ShowLyrics,   ShowPicture,
    Update,      AddLyrics,      ClearTagData, ApplyDefaultTagData, LoadTagData, SaveTagData,
    SaveAs,      CopyV1ToV2,     CopyV2ToV1,   AddImage};
const std::set<MenuItem> kGroupDisabled = {Revert,     ShowLyrics, ShowPicture, AddLyrics,
                                           LoadTagData, SaveTagData, SaveAs, AlwaysApplyDefaultTagData,
                                           CopyV1ToV2, CopyV2ToV1, AddImage, ExportAsCSV, ExportAsXML};

std::set<MenuItem> with(std::set<MenuItem> items, std::initializer_list<MenuItem> more) {
  items.insert(more);
  return items;
}

FrontDocument group(bool dirty) { return {DocumentKind::Group, dirty, false, false, false}; }
FrontDocument single(bool mp3, bool v1, bool v2, bool dirty) {
  return {DocumentKind::SingleTrack, dirty, mp3, v1, v2};
}

const std::vector<Scenario> kScenarios = {
    {"no document", std::nullopt, false, kNoDocumentDisabled},
    {"no document with a copy", std::nullopt, true, kNoDocumentDisabled},
    {"clean group", group(false), true, with(kGroupDisabled, {Update})},
    {"dirty group", group(true), true, kGroupDisabled},
    {"dirty group, nothing copied", group(true), false, with(kGroupDisabled, {PasteTagData})},
    {"mp3, V1 and V2 on, dirty", single(true, true, true, true), true, {}},
    {"mp3, V1 and V2 on, clean", single(true, true, true, false), true, {Update}},
    {"mp3, V1 off", single(true, false, true, true), true, {CopyV1ToV2}},
    {"mp3, V2 off", single(true, true, false, true), true, {CopyV2ToV1}},
    {"mp3, both off", single(true, false, false, true), true, {CopyV1ToV2, CopyV2ToV1}},
    {"aiff, both on", single(false, true, true, true), true, {CopyV1ToV2, CopyV2ToV1}},
    {"aiff, clean, nothing copied", single(false, false, true, false), false,
     {CopyV1ToV2, CopyV2ToV1, Update, PasteTagData}},
    {"other document", FrontDocument{DocumentKind::Other, false, false, false, false}, true, {}},
};

TEST(MenuRules, EveryItemInEveryScenario) {
  for (const Scenario& scenario : kScenarios) {
    for (MenuItem item : allMenuItems()) {
      const bool expected = scenario.disabled.count(item) == 0;
      EXPECT_EQ(isMenuItemEnabled(item, scenario.front, scenario.copied), expected)
          << scenario.name << ": " << menuItemName(item);
    }
  }
}

TEST(MenuRules, OpenGroupIsAlwaysEnabled) {
  for (const Scenario& scenario : kScenarios)
    EXPECT_TRUE(isMenuItemEnabled(OpenGroup, scenario.front, scenario.copied)) << scenario.name;
}

TEST(MenuRules, EveryItemHasItsOutletName) {
  std::set<std::string_view> names;
  for (MenuItem item : allMenuItems()) {
    const std::string_view name = menuItemName(item);
    EXPECT_EQ(name.substr(0, 1), "m");
    EXPECT_EQ(name.find("MenuItem"), name.size() - 8 - (item == AddImage ? 4 : 0)) << name;
    names.insert(name);
  }
  EXPECT_EQ(names.size(), kMenuItemCount);
  EXPECT_EQ(menuItemName(About), "mAboutMenuItem");
  EXPECT_EQ(menuItemName(ApplyDefaultTagData), "mApplyDefaulttagDataMenuItem");
  EXPECT_EQ(menuItemName(ExportAsXML), "mExportAsXMLMenuItem");
}

}  // namespace
}  // namespace melos::test
