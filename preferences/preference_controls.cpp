#include "preferences/preference_controls.h"

#include <algorithm>

#include "engine/text.h"
#include "preferences/preferences_controller.h"

namespace melos {

namespace {

using enum PreferencePage;
using namespace prefs;

constexpr CheckBoxControl box(std::string_view name, const BoolPreference& preference, PreferencePage page,
                              std::string_view label, std::string_view toolTip) {
  return {name, preference.key, preference.defaultValue, page, label, toolTip};
}

// The names users give the sets. Like the picture file they outlive a reset.
constexpr std::string_view kDefaultSetNameBase = "Default set name";

}  // namespace

// In the order the window shows them on each page.
const std::array<CheckBoxControl, 40> kCheckBoxControls{{
    // Saving
    box("mMoveToTrashCheckBox", kMoveToTrash, Saving, "Move the original to the trash",
        "When updating, the original track is moved to the trash (even if it is across a network)"),
    box("mReplaceTagCheckBox", kReplaceTag, Saving, "Replace tag information",
        "All the existing tag data will be replaced by the new data"),
    box("mCloseWindowCheckBox", kCloseWindow, Saving, "Close the window after the update",
        "When editing a multi window track, close the window after the update"),
    box("mKeepFileDatesCheckBox", kKeepFileDates, Saving, "Keep the file dates",
        "Do not change the file access and modification dates after updating"),
    box("mTrimWhitespaceCheckBox", kTrimWhitespace, Saving, "Trim whitespace",
        "Remove whitespace from the beginning and end of the text fields"),
    box("mRemoveApeTagCheckBox", kRemoveApeTag, Saving, "Remove APE tags",
        "When updating check for an APE tag at the end of the file and remove it"),
    box("mReplaceTagDataInGroupCheckBox", kReplaceTagDataInGroup, Saving, "Replace the tag data in the group editor",
        "When updating each of the tracks in the group editor, replace the tag data with the new and existing group "
        "settings clearing the fields that are not part of the group editor such as track and ISRC"),
    {"mSetFileIconCheckBox", kSetFileIcon.key, kSetFileIcon.defaultValue != 0, Saving,
     "Make a thumbnail from the first picture",
     "Create a Finder icon using the first image in the tag (this is only required if Finder does not "
     "automatically create a thumbnail for the file)",
     true},
    box("mIgnoreAiffCorruptionCheckBox", kIgnoreAiffCorruption, Saving, "Ignore AIFF corruption",
        "Ignore corruption or chunk issues within AIFF files and just process the sound data if issues are found"),
    box("mQuickVbrCheckBox", kQuickVbr, Saving, "Quick VBR check",
        "When checking for VBR, use a quick slightly less accurate check instead of a full frame by frame check"),
    // Renaming and file names
    box("mRenameUpdateCheckBox", kRenameUpdate, Naming, "Rename the updated file",
        "When updating, the original file name is changed to the track number and title e.g. 01-Track.mp3 (this "
        "option is for the single edit window only)"),
    box("mCreateFolderCheckBox", kCreateFolder, Naming, "Create a folder structure",
        "Create a folder structure based on the artist and album values e.g. Artist/Album/01-Track.mp3 (this option "
        "is for the single edit window only)"),
    box("mAddTrackNumberCheckBox", kAddTrackNumber, Naming, "Add the track number",
        "When updating the track name also add a track number (if present)"),
    box("mDateTracksCheckBox", kDateTracks, Naming, "Add a date stamp",
        "Add a date stamp to the updated file e.g. 01-Track.mp3 would become YYYYMMDD-01-Track.mp3"),
    box("mUtf8TrackNameCheckBox", kUtf8TrackName, Naming, "UTF-8 file names",
        "When renaming a file using the track title use UTF-8 so that Unicode is supported"),
    // Editing
    box("mCopyTitleCheckBox", kCopyTitle, Editing, "Copy the title",
        "When tag data is loaded from another file, its title is taken over."),
    box("mCopyTrackCheckBox", kCopyTrack, Editing, "Copy the track number",
        "When tag data is loaded from another file, its track number is taken over."),
    box("mCopyComposerCheckBox", kCopyComposer, Editing, "Copy the composer",
        "When tag data is loaded from another file, its composer is taken over."),
    box("mCopyOriginalArtistCheckBox", kCopyOriginalArtist, Editing, "Copy the original artist",
        "When tag data is loaded from another file, its original artist is taken over."),
    box("mLoadFullTagDataCheckBox", kLoadFullTagData, Editing, "Load all the tag data",
        "When loading tag data from a file, load all the tag data even if the copy check boxes are not set"),
    box("mSetGroupChecksCheckBox", kSetGroupChecks, Editing, "Check the boxes when pasting into a group",
        "When pasting into the group editor, check the boxes"),
    box("mAllowUnicodeCheckBox", kAllowUnicode, Editing, "Allow Unicode text",
        "Text fields may keep characters that Latin-1 cannot hold."),
    box("mShowPictureCheckBox", kShowPicture, Editing, "Always show the picture",
        "Always show the picture when opening a track"),
    box("mAddPicToEndCheckBox", kAddPicToEnd, Editing, "Add pictures to the end",
        "When adding images, always add to the end of the image list"),
    box("mSortByTrackCheckBox", kSortByTrack, Editing, "Sort tracks by number", "Sort tracks by the track number"),
    box("mMultipleWindowsCheckBox", kMultipleWindows, Editing, "Edit in multiple windows",
        "Edit all tracks in one window or multiple windows (this option will not take effect until the edit window "
        "is closed)"),
    box("mShowTrackCheckBox", kShowTrack, Editing, "Edit a track as it is added",
        "When adding a new track, set the new track to be the currently edited track"),
    box("mOpenDroppedFileInGroupCheckBox", kOpenDroppedFileInGroup, Editing, "Open dropped files in a group",
        "Open dropped files in the group editor (or the single editor if the CMD key is pressed) instead of the "
        "default where files dropped on the application open in the single editor (unless the CMD key is pressed)"),
    box("mShowPlayControlsCheckBox", kShowPlayControls, Editing, "Show the play controls",
        "Show controls to play the track being edited"),
    box("mShowUserTabCheckBox", kShowUserTab, Editing, "Show the user text tab",
        "The single-track editor shows the tab of user text fields."),
    box("mSaveWindowPositionCheckBox", kSaveWindowPosition, Editing, "Remember the window position",
        "When closing the window the window position is saved so that when reopened the window will be in the same "
        "position"),
    box("mShowOpenFileCheckBox", kShowOpenFile, Editing, "Show the Open window at start",
        "Show the open file window if started without a file"),
    box("mShowSplashCheckBox", kShowSplash, Editing, "Show the start panel at launch",
        "The start panel with the recent files shows when the program starts without a file."),
    // Quick lists and genres
    box("mShowQuickListsCheckBox", kShowQuickLists, Genres, "Show quick lists",
        "Show a list of previously used entries when the button under the edit box is clicked"),
    box("mReplaceV2GenreListCheckBox", kReplaceV2GenreList, Genres, "Replace V2 genre list",
        "When checked, replace the V2 genre list with the user defined list rather than appending to the V2 genre "
        "list"),
    // Default tag data
    box("mAlwaysApplyDefTagDataCheckBox", kAlwaysApplyDefTagData, Defaults, "Always apply default tag data",
        "The current set is applied to every track when it is updated."),
    box("mShowDefaultsButtonCheckBox", kShowDefaultsButton, Defaults, "Show the defaults button",
        "The editors show a button that applies the current set."),
    box("mApplyDefaultsToV1CheckBox", kApplyDefaultsToV1, Defaults, "Apply defaults to V1 tags",
        "The default tag data is also applied to the ID3v1 tag."),
    box("mRemoveAllDataCheckBox", kRemoveAllData, Defaults, "Remove all data",
        "Remove all existing tag data and replace it with the defaults"),
    box("mReplaceWithDefaultPictureCheckBox", kReplaceWithDefaultPicture, Defaults, "Replace with default image",
        "Replace all existing images with the default image (if no image is present then remove all images)"),
}};

const std::array<TextControl, 3> kTextControls{{
    {"mToFileNameFormatField", kToFileNameFormat, "To file name format:", kToCustomToolTip},
    {"mFromFileNameFormatField", kFromFileNameFormat, "From file name format:", kFromCustomToolTip},
    {"mDefaultPathField", kDefaultPath, "Default folder:",
     "Path to default to when opening or saving tracks. This overrides the default operating system which would "
     "default to the last opened file location."},
}};

const std::array<DefaultFieldControl, 14> kDefaultFieldControls{{
    {"mDefaultTitleField", kDefaultTitle, "Title:"},
    {"mDefaultArtistField", kDefaultArtist, "Artist:"},
    {"mDefaultAlbumField", kDefaultAlbum, "Album:"},
    {"mDefaultYearField", kDefaultYear, "Year:"},
    {"mDefaultTrackField", kDefaultTrack, "Track:"},
    {"mDefaultTracksField", kDefaultOfTracks, "Of tracks:"},
    {"mDefaultGenreField", kDefaultGenre, "Genre:"},
    {"mDefaultCommentField", kDefaultComment, "Comment:"},
    {"mDefaultComposerField", kDefaultComposer, "Composer:"},
    {"mDefaultOrigArtistField", kDefaultOriginalArtist, "Original artist:"},
    {"mDefaultCopyrightField", kDefaultCopyright, "Copyright:"},
    {"mDefaultUrlField", kDefaultUrl, "URL:"},
    {"mDefaultEncodedByField", kDefaultEncodedBy, "Encoded by:"},
    {"mDefaultCompilationField", kDefaultCompilation, "Compilation", true},
}};

const CheckBoxControl* findCheckBoxControl(std::string_view key) {
  const auto found =
      std::find_if(kCheckBoxControls.begin(), kCheckBoxControls.end(), [key](const auto& c) { return c.key == key; });
  return found == kCheckBoxControls.end() ? nullptr : &*found;
}

bool loadCheckBox(const PreferencesController& preferences, const CheckBoxControl& control) {
  if (control.readAsInteger)
    return static_cast<int16_t>(preferences.getIntPreferenceNamed(control.key, control.defaultOn ? 1 : 0)) != 0;
  return preferences.getBoolPreferenceNamed(control.key, control.defaultOn);
}

bool saveCheckBox(PreferencesController& preferences, const CheckBoxControl& control, bool on) {
  preferences.setBoolPreferenceNamed(control.key, on);
  return preferences.synchronize();
}

std::string loadText(const PreferencesController& preferences, const TextControl& control) {
  return preferences.getStringPreferenceNamed(control.preference.key, control.preference.defaultValue);
}

bool saveText(PreferencesController& preferences, const TextControl& control, std::string_view text) {
  preferences.setStringPreferenceNamed(control.preference.key, text);
  return preferences.synchronize();
}

std::optional<int> formatTypeRadio(int stored) noexcept {
  if (stored == 0 || stored == 1) return stored;
  return std::nullopt;
}

int formatTypeToStore(bool customOn) noexcept { return customOn ? 1 : 0; }

bool formatFieldEnabled(int stored) noexcept { return stored == 1; }

std::optional<int> logLevelItem(int stored) noexcept {
  if (stored < 0 || stored >= static_cast<int>(kLogLevelItems.size())) return std::nullopt;
  return stored;
}

int logSizeKiB(int storedBytes) noexcept {
  return std::clamp(storedBytes / 1024, kMinLogSizeKiB, kMaxLogSizeKiB);
}

int logSizeToStore(int kib) noexcept { return std::clamp(kib, kMinLogSizeKiB, kMaxLogSizeKiB) * 1024; }

DefaultFieldState loadDefaultField(const PreferencesController& preferences, const DefaultFieldControl& control,
                                   int index) {
  DefaultFieldState state;
  state.use = preferences.getBoolPreferenceNamed(preferenceName(control.field.useKey, index), false);
  const std::string valueKey = preferenceName(control.field.valueKey, index);
  if (control.booleanValue) state.on = preferences.getBoolPreferenceNamed(valueKey, false);
  else state.text = preferences.getStringPreferenceNamed(valueKey, "");
  return state;
}

bool saveDefaultUse(PreferencesController& preferences, const DefaultFieldControl& control, int index, bool use) {
  preferences.setBoolPreferenceNamed(preferenceName(control.field.useKey, index), use);
  return preferences.synchronize();
}

bool saveDefaultText(PreferencesController& preferences, const DefaultFieldControl& control, int index,
                     std::string_view text) {
  preferences.setStringPreferenceNamed(preferenceName(control.field.valueKey, index), text);
  return preferences.synchronize();
}

bool saveDefaultOn(PreferencesController& preferences, const DefaultFieldControl& control, int index, bool on) {
  preferences.setBoolPreferenceNamed(preferenceName(control.field.valueKey, index), on);
  return preferences.synchronize();
}

int storeDefaultSetFromTrack(PreferencesController& preferences, int index, const ID3Tag& track) {
  const TagData& tag = track.tagData;
  const auto number = [](uint16_t value) { return value == kUnsetNumber ? std::string() : std::to_string(value); };
  const std::pair<const DefaultSetField*, std::string> texts[] = {
      {&kDefaultTitle, tag.title.toUtf8()},
      {&kDefaultAlbum, tag.album.toUtf8()},
      {&kDefaultArtist, tag.artist.toUtf8()},
      {&kDefaultComment, tag.comment.toUtf8()},
      {&kDefaultComposer, tag.composer.toUtf8()},
      {&kDefaultCopyright, tag.copyright.toUtf8()},
      {&kDefaultEncodedBy, latin1ToUtf8(tag.encodedBy)},
      {&kDefaultGenre, tag.genre.toUtf8()},
      {&kDefaultTrack, number(tag.track)},
      {&kDefaultOfTracks, number(tag.tracks)},
      {&kDefaultOriginalArtist, tag.origArtist.toUtf8()},
      {&kDefaultUrl, latin1ToUtf8(tag.url)},
      {&kDefaultYear, latin1ToUtf8(tag.year)},
  };
  int taken = 0;
  for (const auto& [field, text] : texts) {
    if (text.empty()) continue;
    preferences.setBoolPreferenceNamed(preferenceName(field->useKey, index), true);
    preferences.setStringPreferenceNamed(preferenceName(field->valueKey, index), text);
    ++taken;
  }
  if (tag.compilation) {
    preferences.setBoolPreferenceNamed(preferenceName(kDefaultCompilation.useKey, index), true);
    preferences.setBoolPreferenceNamed(preferenceName(kDefaultCompilation.valueKey, index), true);
    ++taken;
  }
  preferences.synchronize();
  return taken;
}

bool loadUseDefaultPicture(const PreferencesController& preferences, int index) {
  return preferences.getBoolPreferenceNamed(preferenceName(kUseDefaultPicture, index), false);
}

bool saveUseDefaultPicture(PreferencesController& preferences, int index, bool use) {
  preferences.setBoolPreferenceNamed(preferenceName(kUseDefaultPicture, index), use);
  return preferences.synchronize();
}

std::string defaultSetName(const PreferencesController& preferences, int index) {
  std::string name = preferences.getStringPreferenceNamed(preferenceName(kDefaultSetNameBase, index), "");
  if (trimLatin1(name).empty()) name = "Default " + std::to_string(index + 1);
  return name;
}

bool saveDefaultSetName(PreferencesController& preferences, int index, std::string_view name) {
  const std::string key = preferenceName(kDefaultSetNameBase, index);
  if (trimLatin1(name).empty()) preferences.removePreferenceNamed(key);
  else preferences.setStringPreferenceNamed(key, name);
  return preferences.synchronize();
}

int currentDefaultSet(const PreferencesController& preferences) {
  return std::clamp(preferences.getDefaultTypeIndex(), 0, kDefaultSetCount - 1);
}

bool saveCurrentDefaultSet(PreferencesController& preferences, int index) {
  preferences.setIntPreferenceNamed(kDefaultsIndex.key, std::clamp(index, 0, kDefaultSetCount - 1));
  return preferences.synchronize();
}

}  // namespace melos
