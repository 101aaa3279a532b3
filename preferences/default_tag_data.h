#pragma once
// Applying a default tag data set to a track, shared by the single-track and the
// group editor: the editor fills its window from the track afterwards.

#include <cstddef>

#include "engine/id3_tag.h"

namespace melos {

class PreferencesController;

struct DefaultsApplied {
  // The set brought a picture, the track now has one and "Always show picture" is on.
  bool showPicture = false;
};

// Applies set `index` field by field; a field whose default is not supplied
// keeps its value, an enabled empty default empties the field. V1 fields are
// set only with "Apply defaults to V1 tags", and the V1 genre never. Without
// "Replace with default image" the picture goes in at pictureIndex (the
// position the editor shows, held to the list's end). Marks both tags changed.
DefaultsApplied setDefaultTagData(ID3Tag& track, int index, const PreferencesController& prefs,
                                  size_t pictureIndex = 0);

}  // namespace melos
