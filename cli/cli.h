#pragma once
// The `melos` command line: `melos COMMAND [OPTIONS] ARGUMENTS`.

#include <QStringList>
#include <ostream>

#include "cli/exit_code.h"

namespace melos::cli {

// `arguments` starts with the program name, as QCoreApplication::arguments().
ExitCode runCli(const QStringList& arguments, std::ostream& out, std::ostream& err);

std::string usageText();
std::string showUsageText();
std::string convertUsageText();
std::string removeUsageText();

}  // namespace melos::cli
