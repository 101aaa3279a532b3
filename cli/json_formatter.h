#pragma once
// The machine-readable form of `show`: one object per file, the V2 keys named
// as the tag data fields, texts in UTF-8, unset numbers as null.

#include <QString>

#include "cli/json_text.h"
#include "cli/track_report.h"
#include "engine/id3_tag.h"

namespace melos::cli {

JsonValue trackJson(const QString& path, const ID3Tag& track);
JsonValue errorJson(const QString& path, const std::string& error);
JsonValue reportJson(const TrackReport& report);

JsonValue v1Json(const ID3Tag& track);
JsonValue v2Json(const TagData& tag);
JsonValue audioJson(const ID3Tag& track);

}  // namespace melos::cli
