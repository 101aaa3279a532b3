#pragma once
// The shared shape of a command's usage error and of its file report lines.

#include <QString>
#include <ostream>
#include <string>
#include <vector>

#include "cli/exit_code.h"

namespace melos::cli {

inline ExitCode commandUsageError(std::ostream& err, const QString& message, const std::string& usage) {
  err << "melos: " << message.toStdString() << "\n\n" << usage;
  return ExitCode::Usage;
}

// A per-file failure on standard error; the run goes on with the next file.
inline void reportFileFailure(std::ostream& out, std::ostream& err, const std::string& path,
                              const std::string& cause) {
  out.flush();  // keeps the order of the two streams on a terminal
  err << "melos: " << path << ": " << cause << "\n";
}
inline void reportFileFailure(std::ostream& out, std::ostream& err, const QString& path,
                              const std::string& cause) {
  reportFileFailure(out, err, path.toStdString(), cause);
}

// Field names in a report line: "Record time, Mood".
inline std::string joinedNames(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace melos::cli
