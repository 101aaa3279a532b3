#include "operations/menu_rules.h"

#include <algorithm>
#include <initializer_list>

namespace melos {
namespace {

bool isOneOf(MenuItem item, std::initializer_list<MenuItem> items) {
  return std::find(items.begin(), items.end(), item) != items.end();
}

constexpr std::array<std::string_view, kMenuItemCount> kNames = {
    "mAboutMenuItem",        "mAddLyricsMenuItem",      "mAlwaysApplyDefaultTagDataMenuItem",
    "mApplyDefaulttagDataMenuItem", "mClearTagDataMenuItem", "mCopyAllTagDataMenuItem",
    "mCopyTagDataMenuItem",  "mHelpMenuItem",           "mHideMenuItem",
    "mLoadTagDataMenuItem",  "mOpenGroupMenuItem",      "mOpenMenuItem",
    "mPasteTagDataMenuItem", "mQuitMenuItem",           "mRevertMenuItem",
    "mSaveTagDataMenuItem",  "mShowLyricsMenuItem",     "mShowPictureMenuItem",
    "mUpdateMenuItem",       "mCopyV1ToV2MenuItem",     "mCopyV2ToV1MenuItem",
    "mSaveAsMenuItem",       "mAddImageMenuItemItem",   "mExportAsCSVMenuItem",
    "mExportAsXMLMenuItem",
};

bool ruleFor(MenuItem item, const std::optional<FrontDocument>& front) {
  using enum MenuItem;
  if (item == OpenGroup) return true;
  if (front && front->busy) return isOneOf(item, {About, Help, Hide, Open, Quit});
  if (!front) {
    return !isOneOf(item, {CopyTagData, CopyAllTagData, PasteTagData, Revert, ShowLyrics, ShowPicture,
                           Update, AddLyrics, ClearTagData, ApplyDefaultTagData, LoadTagData,
                           SaveTagData, SaveAs, CopyV1ToV2, CopyV2ToV1, AddImage});
  }
  switch (front->kind) {
    case DocumentKind::Group:
      if (isOneOf(item, {Revert, ShowLyrics, ShowPicture, AddLyrics, LoadTagData, SaveTagData, SaveAs,
                         AlwaysApplyDefaultTagData, CopyV1ToV2, CopyV2ToV1, AddImage, ExportAsCSV,
                         ExportAsXML}))
        return false;
      if (item == Update) return front->dirty;
      return true;
    case DocumentKind::SingleTrack:
      if (item == CopyV1ToV2) return front->isMp3 && front->v1Enabled;
      if (item == CopyV2ToV1) return front->isMp3 && front->v2Enabled;
      if (item == Update) return front->dirty;
      return true;
    case DocumentKind::Other:
      return true;
  }
  return true;
}

}  // namespace

std::string_view menuItemName(MenuItem item) { return kNames.at(static_cast<size_t>(item)); }

const std::array<MenuItem, kMenuItemCount>& allMenuItems() {
  static const std::array<MenuItem, kMenuItemCount> items = [] {
    std::array<MenuItem, kMenuItemCount> all{};
    for (size_t i = 0; i < kMenuItemCount; ++i) all[i] = static_cast<MenuItem>(i);
    return all;
  }();
  return items;
}

bool isMenuItemEnabled(MenuItem item, const std::optional<FrontDocument>& front, bool hasCopiedTag) {
  if (item == MenuItem::PasteTagData && !hasCopiedTag) return false;
  return ruleFor(item, front);
}

}  // namespace melos
