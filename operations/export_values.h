#pragma once
// Field texts shared by the XML and CSV exports, all in UTF-8.

#include <cstdint>
#include <string>

#include "engine/tag_data.h"

namespace melos {

inline constexpr int kExportNoTrack = 12;

// "", "Explicit lyrics" or "Clean lyrics".
std::string advisoryText(int32_t advisory);
// The owner of the unique file identifier, "Default" when it has none.
std::string uniqueIdOwner(const UniqueFileID& id);
// The identifier bytes as text: at most 64, up to the first zero byte.
std::string uniqueIdData(const UniqueFileID& id);
// A release or recording time with its "T" turned into a blank.
std::string exportTime(const std::string& time);

}  // namespace melos
