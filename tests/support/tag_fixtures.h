#pragma once
// Tag data filled in every field, for round trips through the writer and reader.

#include <string_view>

#include "engine/tag_data.h"
#include "tests/support/id3v2_builder.h"

namespace melos::test {

// A user text entry as the reader makes it from a TXXX frame.
UserText userText(Enc enc, std::string_view description, std::string_view value);

// Every field a version holds, in Latin-1 or in UTF-16.
TagData fullTagData(bool unicode);

// What a reread holds of the written data: no email or play counter, no
// grouping, and in 2.3 none of the 2.4 frames.
TagData rereadForm(TagData d, int version);

}  // namespace melos::test
