#include "preferences/control_mappings.h"

namespace melos {

int tag2VersionItemIndex(int storedVersion) noexcept {
  return storedVersion == 0 ? 0 : storedVersion - 2;
}

int tag2VersionToStore(int itemIndex) noexcept { return itemIndex == 0 ? 0 : itemIndex + 2; }

std::string_view editorStyleLabel(EditorStyle style) noexcept {
  switch (style) {
    case EditorStyle::Large:
      return kLargeStyleLabel;
    case EditorStyle::Small:
      return kSmallStyleLabel;
    case EditorStyle::Drawer:
      break;
  }
  return kDrawerStyleLabel;
}

std::optional<EditorStyle> editorStyleFromStored(int stored) noexcept {
  switch (stored) {
    case 0:
      return EditorStyle::Drawer;
    case 1:
      return EditorStyle::Large;
    case 2:
      return EditorStyle::Small;
    default:
      return std::nullopt;
  }
}

int editorStyleToStore(bool largeOn, bool smallOn) noexcept {
  if (largeOn) return 1;
  if (smallOn) return 2;
  return 0;
}

}  // namespace melos
