#pragma once
// Applying a default tag data set to a track, shared by the single-track and the
// group editor: the editor fills its window from the track afterwards.

#include <cstddef>
#include <optional>
#include <string>

#include "engine/id3_tag.h"
#include "preferences/preferences_controller.h"

namespace melos {

// The V1 track of a number (a V2 track, a default, a file name's): its low
// byte, where 0 and 255, which the V1 tag cannot hold, mean none.
uint8_t v1TrackFor(int number) noexcept;

// What set `index` supplies, field by field (texts as stored, UTF-8); none for
// a field the set does not supply. The one reading of a set, for the track
// and for the group window alike.
struct DefaultTagValues {
  std::optional<std::string> title, album, artist, comment, year, composer, origArtist, copyright, url,
      encodedBy, track, tracks, genre;
  std::optional<bool> compilation;
  std::optional<DefaultPicture> picture;
};
DefaultTagValues defaultTagValues(int index, const PreferencesController& prefs);

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
