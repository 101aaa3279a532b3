#pragma once

#include <QStringList>
#include <ostream>

#include "cli/exit_code.h"

namespace melos::cli {

struct ExportOptions {
  QString xmlPath;  // one of the two is set
  QString csvPath;
  bool pictures = false;
};

// Writes the tags of one file as an XML document, or appends one CSV row per
// file. A file that fails is reported and the others go on; the result is
// then Failure.
ExitCode exportCommand(const QStringList& files, const ExportOptions& options, std::ostream& out,
                       std::ostream& err);

// `arguments` as runCli receives them, the command's name included.
ExitCode runExport(const QStringList& arguments, std::ostream& out, std::ostream& err);
std::string exportUsageText();

}  // namespace melos::cli
