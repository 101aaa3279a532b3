#pragma once
// Whole MP3 files for tests: the tags and the audio in their places.

#include <initializer_list>

#include "engine/bytes.h"

namespace melos::test {

struct Mp3Parts {
  Bytes id3v2;  // at the start; empty for none
  Bytes audio;  // MPEG frames
  Bytes ape;    // behind the audio
  Bytes id3v1;  // the last 128 bytes
};

Bytes mp3File(const Mp3Parts& parts);
Bytes concat(std::initializer_list<Bytes> parts);

}  // namespace melos::test
