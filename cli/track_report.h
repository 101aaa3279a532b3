#pragma once
// One file named on the command line, opened as a track, or the reason it could
// not be.

#include <QString>
#include <memory>
#include <string>

#include "engine/id3_tag.h"

namespace melos::cli {

class ErrorLog;

struct TrackReport {
  QString path;                   // as the user typed it
  std::unique_ptr<ID3Tag> track;  // set when the file opened
  std::string error;              // the cause when it did not, UTF-8

  bool opened() const noexcept { return track != nullptr; }
};

// `scanMode` is one of the scan modes of the MPEG analysis.
TrackReport loadTrack(const QString& path, int scanMode, ErrorLog& log);

}  // namespace melos::cli
