#pragma once
// The human-readable form of `show`. The formatting itself lives in
// operations/, where the editor's window shares it.

#include "operations/track_text.h"

namespace melos::cli {

using melos::audioLine;
using melos::encoderName;
using melos::sampleRateText;
using melos::trackText;

}  // namespace melos::cli
