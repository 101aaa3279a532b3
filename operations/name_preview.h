#pragma once
// What the file-name settings of the preferences would do to one track, shown
// live in the preferences window while the user types a format.

#include <ctime>
#include <memory>
#include <string>

#include "engine/id3_tag.h"

namespace melos {

class PreferencesController;

// A track to preview with when no editor is open.
std::unique_ptr<ID3Tag> samplePreviewTrack();

// The path, relative to the track's folder, that renaming by the preferences
// would give the track (folders, date stamp and track number included);
// "(no name)" when its tags give none.
std::string toFileNamePreview(const ID3Tag& track, const PreferencesController& preferences, std::time_t now);

// The fields the track's file name gives by the preferences, as
// "Title: …, Artist: …, Album: …, Year: …, Track: …" (only those found);
// "(nothing found)" when none.
std::string fromFileNamePreview(const ID3Tag& track, const PreferencesController& preferences);

}  // namespace melos
