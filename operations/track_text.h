#pragma once
// A track's facts as people read them: a header line with the path, then
// aligned labels, with the V1 and V2 sections listing only the fields that
// hold a value. The command line prints it and the editor's window shows it.

#include <string>

#include "engine/id3_tag.h"

namespace melos {

// "128 kbps (CBR), 3:07, 44.1 kHz, joint stereo"; empty for a tag-data file.
std::string audioLine(const ID3Tag& track);
// "44.1 kHz", "48 kHz", "22.05 kHz".
std::string sampleRateText(uint32_t hertz);

// The encoder string up to its first byte that is not printable ASCII: the
// stream's own bytes can follow the name in the frame it was read from.
std::string encoderName(const std::string& lame);

// Every line ends in a line feed; the path is given in UTF-8.
std::string trackText(const std::string& path, const ID3Tag& track);

}  // namespace melos
