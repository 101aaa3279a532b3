#include "operations/save_settings.h"

#include "operations/naming_preferences.h"
#include "preferences/default_tag_data.h"
#include "preferences/preferences_controller.h"

namespace melos {

SaveSettings readSaveSettings(const PreferencesController& preferences) {
  SaveSettings settings;
  settings.removeApeTag = preferences.removeAPETag();
  settings.moveToTrash = preferences.isMoveToTrashSet();
  settings.renameUpdate = preferences.isRenameUpdateSet();
  settings.utf8TrackName = preferences.isUTF8TrackNameSet();
  settings.createFolder = preferences.isCreateFolderSet();
  settings.addTrackNumber = preferences.isAddTrackNumberSet();
  settings.dateTracks = preferences.isDateTracksSet();
  settings.keepFileDates = preferences.isKeepFileDatesSet();
  settings.trimWhitespace = preferences.isTrimWhitespaceSet();
  settings.replaceTagDataInGroup = preferences.isReplaceTagDataInGroupSet();
  settings.tag2SaveVersion = preferences.getTag2SaveVersion();
  settings.addPicToEnd = preferences.isAddPicToEndSet();
  settings.fromFileNameFormat = fromFileNameFormat(preferences);
  settings.toFileNameFormat = toFileNameFormat(preferences);
  settings.closeWindow = preferences.isCloseWindowSet();
  settings.setFileIcon = preferences.isSetFileIconSet() != 0;
  settings.allowUnicode = preferences.allowUnicode();
  if (preferences.isAlwaysApplyDefTagDataSet()) {
    const int index = preferences.getDefaultTypeIndex();
    settings.applyDefaults = [&preferences, index](ID3Tag& track) { setDefaultTagData(track, index, preferences); };
  }
  return settings;
}

SaveSettingsSource settingsFrom(const PreferencesController& preferences) {
  return [&preferences] { return readSaveSettings(preferences); };
}

SaveSettingsSource fixedSettings(SaveSettings settings) {
  return [settings = std::move(settings)] { return settings; };
}

}  // namespace melos
