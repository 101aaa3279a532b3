#pragma once
// Opening tracks made of test bytes.

#include <string>

#include "engine/id3_tag.h"
#include "engine/open_track.h"
#include "tests/support/temp_dir.h"

namespace melos::test {

// Writes the bytes to NAME in the folder and opens them as a track.
unsigned openBytes(const TempDir& dir, const std::string& name, const Bytes& bytes, ID3Tag& track,
                   int scanMode = kScanFull);

// A short valid MPEG-1 Layer III stream (128 kbps CBR) to put behind tags.
Bytes shortAudio(size_t frames = 20);

// Walks a whole tag held in memory, as opening does after reading it.
ID3Tag walkTag(const Bytes& tag, int keepMode = 1);

}  // namespace melos::test
