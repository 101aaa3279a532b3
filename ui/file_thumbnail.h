#pragma once
// The cover of a saved track as its freedesktop.org thumbnails, so that the
// file managers that read the shared thumbnail cache show it. This is what
// "Set file icon" does on Linux.

#include <QString>

#include "engine/bytes.h"
#include "operations/single_track_update.h"

namespace melos::ui {

// $XDG_CACHE_HOME/thumbnails, or ~/.cache/thumbnails.
QString thumbnailCacheFolder();

// The file URI a thumbnail names (percent-encoded, as the cache's readers
// encode it) and the thumbnail of a file in one size folder ("normal" or
// "large"), named by the MD5 of that URI.
QByteArray thumbnailUri(const QString& filePath);
QString thumbnailPath(const QString& cacheFolder, const QString& sizeFolder, const QString& filePath);

// Writes the normal (128 pixels) and large (256 pixels) thumbnails of the
// file from the picture, each replacing the old one at once.
IconResult writeFileThumbnails(const QString& filePath, ByteSpan picture,
                               const QString& cacheFolder = thumbnailCacheFolder());

}  // namespace melos::ui
