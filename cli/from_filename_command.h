#pragma once

#include <QStringList>
#include <ostream>

#include "cli/exit_code.h"

namespace melos::cli {

struct FromFileNameOptions {
  QString format;  // empty: the standard split
};

// Prints the tag fields each file's name gives. A file that cannot be opened,
// or whose name gives nothing, is reported and the others go on; the result
// is then Failure.
ExitCode fromFileNameCommand(const QStringList& files, const FromFileNameOptions& options,
                             std::ostream& out, std::ostream& err);

ExitCode runFromFileName(const QStringList& arguments, std::ostream& out, std::ostream& err);
std::string fromFileNameUsageText();

}  // namespace melos::cli
