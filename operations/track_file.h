#pragma once
// One path opened as a track for a window or a command, or the reason it could
// not be.

#include <memory>
#include <string>

#include "engine/id3_tag.h"

namespace melos {

struct TrackFile {
  std::unique_ptr<ID3Tag> track;  // set when the file opened
  std::string cause;              // why it did not, in words, UTF-8

  bool opened() const noexcept { return track != nullptr; }
};

// `scanMode` is one of the scan modes of the MPEG analysis. The cause is the
// best the engine's results tell; callers that watch the log may have a
// better one.
TrackFile openTrackFile(const std::string& path, int scanMode);

}  // namespace melos
