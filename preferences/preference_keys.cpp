#include "preferences/preference_keys.h"

namespace melos {

std::string preferenceName(std::string_view base, int index) {
  std::string name(base);
  if (index > 0) name += std::to_string(index);
  return name;
}

std::vector<std::string> resetPreferenceKeys() {
  using namespace prefs;
  std::vector<std::string> keys;
  for (std::string_view key : {kCopyComposer.key,       kCopyOriginalArtist.key,
                               kCopyTitle.key,          kCopyTrack.key,
                               kSetGroupChecks.key,     kAllowUnicode.key,
                               kShowPicture.key,        kSortByTrack.key,
                               kMultipleWindows.key,    kAddPicToEnd.key,
                               kShowQuickLists.key,     kShowOpenFile.key,
                               kLoadFullTagData.key,    kShowPlayControls.key,
                               kSaveWindowPosition.key, kOpenDroppedFileInGroup.key,
                               kShowTrack.key,          kIgnoreAiffCorruption.key,
                               kQuickVbr.key,           kMoveToTrash.key,
                               kReplaceTag.key,         kRenameUpdate.key,
                               kCreateFolder.key,       kCloseWindow.key,
                               kRemoveApeTag.key,       kKeepFileDates.key,
                               kTrimWhitespace.key,     kAddTrackNumber.key,
                               kDateTracks.key,         kUtf8TrackName.key,
                               kTag2Version.key,        kReplaceTagDataInGroup.key,
                               kSetFileIcon.key})
    keys.emplace_back(key);

  // The set-wide "Replace with default image" goes through the indexed names
  // too, so its un-indexed key is removed only as set 0.
  for (int index = 0; index < kDefaultSetCount; ++index) {
    for (const DefaultSetField& field : kDefaultSetFields) {
      keys.push_back(preferenceName(field.useKey, index));
      keys.push_back(preferenceName(field.valueKey, index));
    }
    keys.push_back(preferenceName(kUseDefaultPicture, index));
    keys.push_back(preferenceName(kReplaceWithDefaultPicture.key, index));
  }

  for (std::string_view key :
       {kApplyDefaultsToV1.key, kRemoveAllData.key, kShowDefaultsButton.key, kGenreList,
        kUserGenreList, kReplaceV2GenreList.key, kFromFileNameFormatType.key,
        kFromFileNameFormat.key, kToFileNameFormatType.key, kToFileNameFormat.key, kEditorStyle.key,
        kShowUserTab.key, kDefaultPath.key})
    keys.emplace_back(key);
  return keys;
}

}  // namespace melos
