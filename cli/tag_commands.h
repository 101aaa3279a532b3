#pragma once
// The commands that rewrite files: `melos convert` and `melos remove`.

#include <QStringList>
#include <ostream>

#include "cli/exit_code.h"

namespace melos::cli {

// How saves treat the user's files; the tool takes them from the preferences.
struct SaveFlags {
  bool moveToTrash = false;
  bool keepDates = false;
  bool trim = false;
  bool removeApe = false;
};

SaveFlags saveFlagsFromPreferences();

struct ConvertOptions {
  int version = 3;     // 3 or 4
  bool force = false;  // drop what 2.3 cannot hold
};

// Rewrites each file's V2 tag at the version. Each file is reported on its own
// line and a failure does not stop the others; Failure when any failed.
ExitCode convertCommand(const QStringList& files, const ConvertOptions& options, const SaveFlags& flags,
                        std::ostream& out, std::ostream& err);

enum class TagKind { V1, V2, Ape };

ExitCode removeCommand(const QStringList& files, TagKind kind, const SaveFlags& flags, std::ostream& out,
                       std::ostream& err);

}  // namespace melos::cli
