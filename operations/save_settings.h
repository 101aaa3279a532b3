#pragma once
// The preferences that govern saving a track, read in one go at the moment a
// save starts. The update flows take a source of them rather than the
// preferences themselves, so that the command line can put its flags in the
// place of a setting without touching the user's preferences.

#include <functional>
#include <string>

namespace melos {

class PreferencesController;
class ID3Tag;

struct SaveSettings {
  bool removeApeTag = false;
  bool moveToTrash = true;
  bool renameUpdate = false;
  bool utf8TrackName = false;
  bool createFolder = false;
  bool addTrackNumber = true;
  bool dateTracks = false;
  bool keepFileDates = false;
  bool trimWhitespace = false;
  bool replaceTagDataInGroup = false;
  int tag2SaveVersion = 0;  // 0 automatic, 3 or 4
  bool addPicToEnd = true;
  std::string fromFileNameFormat;  // empty: the standard split
  std::string toFileNameFormat;    // empty: the standard naming
  bool closeWindow = true;
  bool setFileIcon = true;
  bool allowUnicode = true;
  // "Always apply default tag data": puts the current default set on a track
  // as it is updated; empty when the preference is off.
  std::function<void(ID3Tag&)> applyDefaults;
};

// The controller must outlive the settings, whose applyDefaults reads it.
SaveSettings readSaveSettings(const PreferencesController& preferences);

using SaveSettingsSource = std::function<SaveSettings()>;

// Reads the preferences afresh at every call. The controller must outlive the source.
SaveSettingsSource settingsFrom(const PreferencesController& preferences);
// Always the same settings; for tests and fixed runs.
SaveSettingsSource fixedSettings(SaveSettings settings);

}  // namespace melos
