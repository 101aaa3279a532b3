#pragma once
// Which fields a save at a given ID3v2 version would lose. A 2.3 tag has no
// frame for the release and recording times, the produced notice or the mood,
// so a save at 2.3 drops them, and the user is asked first.

#include <string>
#include <vector>

#include "engine/id3_tag.h"

namespace melos {

// The version a save at `version` writes: 0 to 2 leave the choice to the
// writer, which takes 2.4 when the tag holds a time; above 4 is 4.
int resolvedSaveVersion(const ID3Tag& track, int version) noexcept;

// The names of the filled fields that the resolved version cannot hold, in
// the order "Release time", "Record time", "Produced notice", "Mood"; empty
// when nothing is lost.
std::vector<std::string> fieldsLostAtVersion(const ID3Tag& track, int version);

// Empties what a 2.3 save would drop anyway, so that the saved tag verifies
// against what was meant to be saved.
void dropVersion24Fields(TagData& data) noexcept;

}  // namespace melos
