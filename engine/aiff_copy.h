#pragma once
// Copying the chunks of an AIFF container into a new file, every "ID3 " chunk
// left out, so that a new tag chunk can be placed behind the sound or at the end.

#include "engine/file_io.h"
#include "engine/id3_tag.h"
#include "engine/output_file.h"

namespace melos {

// 0 on success, 1 when the track is no AIFF file (nothing done), 5 on failure.
// With stopAfter the copy ends behind that chunk; with startAfter the header is
// not written again and copying begins behind that chunk. IDs are four
// characters, compared without regard to case; either may be null. The FORM
// size of the output is written at the end.
int CopyAiffChunks(const ID3Tag& track, const File& source, OutputFile& output, const char* stopAfter,
                   const char* startAfter) noexcept;

// A chunk ID fit for a log line: bytes outside 0x20 to 0x7E become "?".
std::string printableChunkId(const uint8_t* id);

}  // namespace melos
