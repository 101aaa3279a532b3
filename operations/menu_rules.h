#pragma once
// Which menu items are enabled for the document in front. The window layer
// asks again whenever the front window, its unsaved state or its track
// changes, and enables its actions from the answer.

#include <array>
#include <optional>
#include <string_view>

#include "operations/open_documents.h"

namespace melos {

enum class MenuItem {
  About,
  AddLyrics,
  AlwaysApplyDefaultTagData,
  ApplyDefaultTagData,
  ClearTagData,
  CopyAllTagData,
  CopyTagData,
  Help,
  Hide,
  LoadTagData,
  OpenGroup,
  Open,
  PasteTagData,
  Quit,
  Revert,
  SaveTagData,
  ShowLyrics,
  ShowPicture,
  Update,
  CopyV1ToV2,
  CopyV2ToV1,
  SaveAs,
  AddImage,
  ExportAsCSV,
  ExportAsXML,
};

inline constexpr size_t kMenuItemCount = static_cast<size_t>(MenuItem::ExportAsXML) + 1;

// The outlet name of each item, which is also its action's object name.
std::string_view menuItemName(MenuItem item);
const std::array<MenuItem, kMenuItemCount>& allMenuItems();

// What the rules need to know of the document in front.
struct FrontDocument {
  DocumentKind kind = DocumentKind::Other;
  bool dirty = false;    // unsaved changes
  bool isMp3 = false;    // single-track: the track is an MP3 file
  bool v1Enabled = false;
  bool v2Enabled = false;
  // A save runs in the background: the document takes no command until it ends.
  bool busy = false;
};

// `front` is none when no document is open. Paste has nothing to do until a
// tag was copied.
bool isMenuItemEnabled(MenuItem item, const std::optional<FrontDocument>& front, bool hasCopiedTag);

}  // namespace melos
