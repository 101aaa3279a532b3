#pragma once
// How the stored integers of the ID3v2 version and the editor style map to the
// items of their controls, both ways.

#include <array>
#include <optional>
#include <string_view>

namespace melos {

inline constexpr std::array<std::string_view, 3> kTag2VersionItems{"Auto version", "Version 2.3",
                                                                   "Version 2.4"};

// 0 for a stored 0, else the stored value minus 2; a result outside the items
// (a stored 1, 5, ...) selects none of them.
int tag2VersionItemIndex(int storedVersion) noexcept;
// 0 for the first item, else the item index plus 2.
int tag2VersionToStore(int itemIndex) noexcept;

enum class EditorStyle { Drawer = 0, Large = 1, Small = 2 };

inline constexpr std::string_view kDrawerStyleLabel =
    "Drawer based picture and lyrics option which allows the showing or hiding of the picture "
    "and lyrics";
inline constexpr std::string_view kLargeStyleLabel =
    "Large window style which shows the picture and lyrics as a separate section with tab "
    "selection";
inline constexpr std::string_view kSmallStyleLabel =
    "Small window style with the picture and lyrics sections forming tabs under the ID3 v2 "
    "section";

std::string_view editorStyleLabel(EditorStyle style) noexcept;
// The radio button a stored value selects; none for a value out of 0 to 2.
std::optional<EditorStyle> editorStyleFromStored(int stored) noexcept;
// 1 when the large style is on, else 2 when the small style is on, else 0.
int editorStyleToStore(bool largeOn, bool smallOn) noexcept;

}  // namespace melos
