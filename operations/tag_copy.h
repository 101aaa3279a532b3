#pragma once
// Texts from the editors into the tag data, and one tag version filled from
// the other.

#include <string>
#include <string_view>

#include "engine/id3_tag.h"
#include "preferences/default_tag_data.h"  // v1TrackFor

namespace melos {

// A field's text as the V2 tag stores it: UTF-16 when it holds a character
// that Latin-1 storage does not keep, Latin-1 otherwise.
UnicodeText storedText(std::u16string_view text);
// The one rule for every text stored as Latin-1 (the V1 fields and the V2
// fields that are Latin-1 only): each Latin-1 character is kept, any other
// becomes '?'.
std::string latin1Field(std::u16string_view text);
// The Latin-1 text of a V1 field, cut to `width` bytes.
std::string v1Field(std::u16string_view text, size_t width);

// The V1 genre number of a genre name, in any case: its place in the
// standard list, or "Other" when the name is none of them.
uint8_t v1GenreFor(std::u16string_view name);

// The V1 tag from the V2 tag: title, artist, album, comment and year as
// Latin-1 (not cut: the V1 writer applies the widths), the track, and the
// genre by its name. The V1 tag is switched on.
void fillV1FromV2(ID3Tag& track);


}  // namespace melos
