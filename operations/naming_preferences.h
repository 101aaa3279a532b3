#pragma once
// The file-name settings of the preferences, as the editors and the group
// update apply them.

#include <string>

#include "engine/id3_tag.h"
#include "operations/file_name_fields.h"

namespace melos {

class PreferencesController;

// The user's format for reading file names, or empty for the standard split.
std::string fromFileNameFormat(const PreferencesController& preferences);
// The user's format for naming files, or empty for the standard naming.
std::string toFileNameFormat(const PreferencesController& preferences);

// The split of the track's file name by the preferences.
FileNameFields fileNameFieldsByPreferences(const std::string& path,
                                           const PreferencesController& preferences);
// Renames (and files) the track as the preferences say.
bool renameByPreferences(ID3Tag& track, const PreferencesController& preferences);

}  // namespace melos
