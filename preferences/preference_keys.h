#pragma once
// Every key of the preferences store with its type and the value a missing key
// stands for. The store never holds these defaults itself.

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "engine/log.h"

namespace melos {

struct BoolPreference {
  std::string_view key;
  bool defaultValue;
};

struct IntPreference {
  std::string_view key;
  int defaultValue;
};

struct StringPreference {
  std::string_view key;
  std::string_view defaultValue;
};

// One field of a default tag data set: base names of its "use" flag and value.
struct DefaultSetField {
  std::string_view useKey;
  std::string_view valueKey;
};

namespace prefs {

inline constexpr BoolPreference kCopyComposer{"Copy composer", false};
inline constexpr BoolPreference kCopyOriginalArtist{"Copy original artist", false};
inline constexpr BoolPreference kCopyTitle{"Copy title", false};
inline constexpr BoolPreference kCopyTrack{"Copy track", false};
inline constexpr BoolPreference kSetGroupChecks{"Set group check boxes on paste", false};
inline constexpr BoolPreference kAllowUnicode{"Allow Unicode text", true};
inline constexpr BoolPreference kShowPicture{"Always show picture", true};
inline constexpr BoolPreference kSortByTrack{"Sort by track", true};
inline constexpr BoolPreference kMultipleWindows{"Edit in multiple windows", true};
inline constexpr BoolPreference kAddPicToEnd{"Add picture to end", true};
inline constexpr BoolPreference kShowQuickLists{"Show quick lists", true};
inline constexpr BoolPreference kShowOpenFile{"Show open file at start up", true};
inline constexpr BoolPreference kLoadFullTagData{"Load full tag data", false};
inline constexpr BoolPreference kShowPlayControls{"Show play controls", true};
inline constexpr BoolPreference kSaveWindowPosition{"Save window position", true};
inline constexpr BoolPreference kOpenDroppedFileInGroup{"Open dropped files in group", false};
inline constexpr BoolPreference kShowTrack{"Show track", false};
inline constexpr BoolPreference kIgnoreAiffCorruption{"Ignore AIFF corruption", true};
inline constexpr BoolPreference kQuickVbr{"VBR mode", true};
inline constexpr BoolPreference kMoveToTrash{"Move original to trash", true};
inline constexpr BoolPreference kReplaceTag{"Replace tag information", true};
inline constexpr BoolPreference kRenameUpdate{"Rename updated file", false};
inline constexpr BoolPreference kCreateFolder{"Create folder structure", false};
inline constexpr BoolPreference kCloseWindow{"Close window after update", true};
inline constexpr BoolPreference kRemoveApeTag{"Remove APE tag", false};
inline constexpr BoolPreference kKeepFileDates{"Copy file times", false};
inline constexpr BoolPreference kTrimWhitespace{"Trim whitespace", false};
inline constexpr BoolPreference kAddTrackNumber{"Add track number", true};
inline constexpr BoolPreference kDateTracks{"Date tracks", false};
inline constexpr BoolPreference kUtf8TrackName{"UTF8 track names", false};
inline constexpr IntPreference kTag2Version{"Tag 2 version", 0};
// The log of the editor and of the command line alike.
inline constexpr IntPreference kLogLevel{"Log level", LogWarning};
inline constexpr IntPreference kMaxLogSize{"Max log size", static_cast<int>(kDefaultMaxLogSize)};
inline constexpr BoolPreference kReplaceTagDataInGroup{"Replace tag data in group", false};
// Saved from a check box as a boolean but read as an integer (true reads as 1).
inline constexpr IntPreference kSetFileIcon{"Set file icon", 1};
inline constexpr BoolPreference kReplaceWithDefaultPicture{"Replace with default image", false};
inline constexpr BoolPreference kApplyDefaultsToV1{"Apply defaults to V1 tags", true};
inline constexpr BoolPreference kRemoveAllData{"Remove all data", false};
inline constexpr BoolPreference kShowDefaultsButton{"Show defaults button", false};
inline constexpr std::string_view kGenreList = "Genre list";
inline constexpr std::string_view kUserGenreList = "User genre list";
inline constexpr BoolPreference kReplaceV2GenreList{"Replace V2 genre list", false};
inline constexpr IntPreference kFromFileNameFormatType{"File name format type", 0};
inline constexpr StringPreference kFromFileNameFormat{"File name format", ""};
inline constexpr IntPreference kToFileNameFormatType{"To file name format type", 0};
inline constexpr StringPreference kToFileNameFormat{"To file name format", ""};
inline constexpr IntPreference kEditorStyle{"Editor style", 0};
inline constexpr BoolPreference kShowUserTab{"Show user tab", false};
inline constexpr StringPreference kDefaultPath{"Default path", ""};
inline constexpr BoolPreference kAlwaysApplyDefTagData{"Always apply default tag data", false};
inline constexpr IntPreference kDefaultsIndex{"Defaults index", 0};
inline constexpr StringPreference kWindowSettings{"Window settings", ""};
inline constexpr BoolPreference kShowSplash{"Show splash", true};

// The fields of a default set, in the order the set's keys are listed and reset.
inline constexpr DefaultSetField kDefaultTitle{"Use default title", "Default title"};
inline constexpr DefaultSetField kDefaultAlbum{"Use default album", "Default album"};
inline constexpr DefaultSetField kDefaultArtist{"Use default artist", "Default artist"};
inline constexpr DefaultSetField kDefaultComment{"Use default comment", "Default comment"};
inline constexpr DefaultSetField kDefaultCompilation{"Use default compilation",
                                                     "Default compilation"};
inline constexpr DefaultSetField kDefaultComposer{"Use default composer", "Default composer"};
inline constexpr DefaultSetField kDefaultCopyright{"Use default copyright", "Default copyright"};
inline constexpr DefaultSetField kDefaultEncodedBy{"Use default encoder", "Default encoder"};
inline constexpr DefaultSetField kDefaultGenre{"Use default genre", "Default genre"};
inline constexpr DefaultSetField kDefaultTrack{"Use default track", "Default track"};
inline constexpr DefaultSetField kDefaultOfTracks{"Use default tracks", "Default tracks"};
inline constexpr DefaultSetField kDefaultOriginalArtist{"Use default orig. artist",
                                                        "Default orig. artist"};
inline constexpr DefaultSetField kDefaultUrl{"Use default URL", "Default URL"};
inline constexpr DefaultSetField kDefaultYear{"Use default year", "Default year"};
inline constexpr std::array<DefaultSetField, 14> kDefaultSetFields{
    kDefaultTitle,       kDefaultAlbum,    kDefaultArtist,    kDefaultComment,
    kDefaultCompilation, kDefaultComposer, kDefaultCopyright, kDefaultEncodedBy,
    kDefaultGenre,       kDefaultTrack,    kDefaultOfTracks,  kDefaultOriginalArtist,
    kDefaultUrl,         kDefaultYear};
inline constexpr std::string_view kUseDefaultPicture = "Use default picture";

inline constexpr int kDefaultSetCount = 10;

// Every set shares this one picture file, whatever its index.
inline constexpr std::string_view kDefaultPictureFile = "default0.img";

inline constexpr std::array<std::string_view, 29> kQuickListKeys{
    "V1 album",
    "V1 artist",
    "V1 year",
    "V1 comment",
    "V2 album",
    "V2 artist",
    "V2 comment",
    "V2 composer",
    "V2 copyright",
    "V2 encoded by",
    "V2 original artist",
    "V2 URL",
    "V2 year",
    "V2 conductor",
    "V2 lyricist",
    "V2 orchestra (album artist in iTunes)",
    "V2 publisher",
    "V2 content",
    "V2 subtitle",
    "V2 genre",
    "V2 ISRC",
    "V2 release time",
    "V2 record time",
    "V2 initial key",
    "V2 BPM",
    "Artist URL",
    "Podcast identifier",
    "Podcast feed",
    "Podcast description"};
// Clearing the quick lists stops before the artist URL and podcast lists.
inline constexpr size_t kClearedQuickListCount = 25;

// "Classial" is the spelling users have in their stored lists; keep it.
inline constexpr std::array<std::string_view, 25> kDefaultUserGenres{
    "Alternative", "Blues/R&B",  "Books & Spoken", "Children's Music",
    "Classial",    "Country",    "Dance",          "Easy Listening",
    "Electronic",  "Folk",       "Hip Hop/Rap",    "Holiday",
    "House",       "Industrial", "Jazz",           "New Age",
    "Podcast",     "Pop",        "Religious",      "Rock",
    "Soundtrack",  "Techno",     "Trance",         "Unclassifiable",
    "World"};

}  // namespace prefs

// The key of a default set's preference: the base name for index 0 (and below),
// the base name followed by the index otherwise. No upper bound is enforced.
std::string preferenceName(std::string_view base, int index);

// The keys a reset removes, in the order it removes them.
std::vector<std::string> resetPreferenceKeys();

}  // namespace melos
