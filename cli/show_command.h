#pragma once

#include <QStringList>
#include <ostream>

#include "cli/exit_code.h"
#include "engine/open_track.h"

namespace melos::cli {

struct ShowOptions {
  bool json = false;
  int scanMode = kScanQuick;
  int jobs = 1;  // files read at once; the output keeps the order given
};

// Shows the tags and audio facts of each file. A file that cannot be opened is
// reported and the run goes on; the result is then Failure. Files are read on
// `options.jobs` threads at once; the output is the same as with one.
ExitCode showCommand(const QStringList& files, const ShowOptions& options, std::ostream& out,
                     std::ostream& err);

}  // namespace melos::cli
