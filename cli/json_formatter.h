#pragma once
// The machine-readable form of `show`: one object per file, the V2 keys named
// as the tag data fields, texts in UTF-8, unset numbers as null.

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include "cli/track_report.h"
#include "engine/id3_tag.h"

namespace melos::cli {

QJsonObject trackJson(const QString& path, const ID3Tag& track);
QJsonObject errorJson(const QString& path, const std::string& error);
QJsonObject reportJson(const TrackReport& report);

QJsonValue v1Json(const ID3Tag& track);
QJsonValue v2Json(const TagData& tag);
QJsonValue audioJson(const ID3Tag& track);

// The whole output: one array, UTF-8, ending in a line feed.
QByteArray jsonText(const QJsonArray& reports);

}  // namespace melos::cli
