#pragma once

#include <QStringList>
#include <ostream>

#include "cli/exit_code.h"

namespace melos::cli {

struct RenameOptions {
  QString format;           // empty: the standard naming
  bool folders = false;     // standard naming: file into Artist/Album
  bool date = false;        // today's date in front
  bool trackNumber = true;  // standard naming: "%02d-" of the track number in front
};

// Renames each file by its tags. A file that fails is reported and the others
// go on; the result is then Failure.
ExitCode renameCommand(const QStringList& files, const RenameOptions& options, std::ostream& out,
                       std::ostream& err);

ExitCode runRename(const QStringList& arguments, std::ostream& out, std::ostream& err);
std::string renameUsageText();

}  // namespace melos::cli
