#pragma once
// The editor's log: melos.log in the user's state folder, at the level the
// preferences give, pruned by "Max log size" before each document opens.

#include <string>

namespace melos {

class PreferencesController;

// Opens the log at `path` (the default log path when empty) at the
// preference's level; false when the file could not be opened, the lines
// then go to standard error.
bool openApplicationLog(const PreferencesController& preferences, const std::string& path = {});
// Renames the log to a dated file when it has grown past "Max log size".
void pruneApplicationLog(const PreferencesController& preferences, const std::string& path = {});

}  // namespace melos
