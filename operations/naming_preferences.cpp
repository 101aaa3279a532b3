#include "operations/naming_preferences.h"

#include "operations/rename_track.h"
#include "preferences/preferences_controller.h"

namespace melos {
namespace {
constexpr int kCustomFormat = 1;
}

std::string fromFileNameFormat(const PreferencesController& preferences) {
  if (preferences.getFromFileNameFormatType() != kCustomFormat) return {};
  return preferences.getFromCustomFileNameFormat();
}

std::string toFileNameFormat(const PreferencesController& preferences) {
  if (preferences.getToFileNameFormatType() != kCustomFormat) return {};
  return preferences.getToCustomFileNameFormat();
}

FileNameFields fileNameFieldsByPreferences(const std::string& path,
                                           const PreferencesController& preferences) {
  return parseFileName(path, fromFileNameFormat(preferences));
}

bool renameByPreferences(ID3Tag& track, const PreferencesController& preferences) {
  return renameByTags(track, preferences.isAddTrackNumberSet(), preferences.isDateTracksSet(),
                      preferences.isCreateFolderSet(), preferences.isUTF8TrackNameSet(),
                      toFileNameFormat(preferences));
}

}  // namespace melos
