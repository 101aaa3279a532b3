#pragma once
// Every control of the preferences window with the key it shows, and how its
// state is read from and written to the store. The window builds its check
// boxes and fields from these tables and never names a key itself, so a key a
// control reads is the key it writes.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "engine/id3_tag.h"
#include "preferences/preference_keys.h"

namespace melos {

class PreferencesController;

enum class PreferencePage { Saving, Naming, Editing, Genres, Defaults, Log };

struct CheckBoxControl {
  std::string_view objectName;
  std::string_view key;
  bool defaultOn;
  PreferencePage page;
  std::string_view label;
  std::string_view toolTip;
  // Stored from the box as a boolean but read as an integer, non-zero meaning on.
  bool readAsInteger = false;
};

struct TextControl {
  std::string_view objectName;
  StringPreference preference;
  std::string_view label;
  std::string_view toolTip;
};

// One "use" box and value field of a default tag data set.
struct DefaultFieldControl {
  std::string_view objectName;  // the value field's; the box's adds "Use"
  DefaultSetField field;
  std::string_view label;
  bool booleanValue = false;  // the compilation flag: a box, not a text
};

extern const std::array<CheckBoxControl, 40> kCheckBoxControls;
extern const std::array<TextControl, 3> kTextControls;
extern const std::array<DefaultFieldControl, 14> kDefaultFieldControls;

const CheckBoxControl* findCheckBoxControl(std::string_view key);

// The box's state as the getters read its key; never writes.
bool loadCheckBox(const PreferencesController& preferences, const CheckBoxControl& control);
// Writes the key as a boolean and synchronises; false when the store could not be saved.
bool saveCheckBox(PreferencesController& preferences, const CheckBoxControl& control, bool on);

std::string loadText(const PreferencesController& preferences, const TextControl& control);
bool saveText(PreferencesController& preferences, const TextControl& control, std::string_view text);

// The two file-name format pairs: the standard rule or the user's format.
inline constexpr std::string_view kFromStandardToolTip =
    "Use the file name for the title (press shift to also use the track number and ctrl for the artist and album) "
    "e.g. 1-Artist-Album-Title.mp3, 1-Artist-Title.mp3, 1-Title.mp3, Artist-Title.mp3 or Title.mp3";
inline constexpr std::string_view kToStandardToolTip =
    "Rename the track (if set in updating) to Track number-Track title.mp3 e.g. 01-Track.mp3";
inline constexpr std::string_view kFromCustomToolTip =
    "The format can use %A for artist, %L for album, %T for title, %N for the track number and %Y for year, for "
    "example '%A - %N %T' with 'Artist - 01 A title.mp3' would end up with a track number of 1, a title of 'A "
    "title' and an artist of 'Artist'. Please note: .mp3 or .aiff should not be part of the format.";
inline constexpr std::string_view kToCustomToolTip =
    "The format can use %A for artist, %L for album, %T for title, %N for the track number and %Y for year, for "
    "example '%A - %N %T' would result in the file name 'Artist - 01 A title.mp3'. Please note: .mp3 or .aiff "
    "should not be part of the format.";

// 0 selects the standard radio button, 1 the custom one; any other stored
// value selects neither.
std::optional<int> formatTypeRadio(int stored) noexcept;
int formatTypeToStore(bool customOn) noexcept;
// The format field is editable only while the custom type is stored.
bool formatFieldEnabled(int stored) noexcept;

// The log level pop-up: one item per level 0 to 6, in level order.
inline constexpr std::array<std::string_view, 7> kLogLevelItems{
    "Only what must always be logged", "Errors", "Warnings", "Progress of each operation", "Notices",
    "Details", "Debugging"};
// None for a stored level outside the items.
std::optional<int> logLevelItem(int stored) noexcept;
// "Max log size" is stored in bytes and shown in KiB.
inline constexpr int kMinLogSizeKiB = 4;
inline constexpr int kMaxLogSizeKiB = 1024 * 1024;
int logSizeKiB(int storedBytes) noexcept;
int logSizeToStore(int kib) noexcept;

// What one field of a default set shows: its "use" box and its value.
struct DefaultFieldState {
  bool use = false;
  std::string text;   // text fields
  bool on = false;    // the compilation box
  bool operator==(const DefaultFieldState&) const = default;
};
DefaultFieldState loadDefaultField(const PreferencesController& preferences, const DefaultFieldControl& control,
                                   int index);
bool saveDefaultUse(PreferencesController& preferences, const DefaultFieldControl& control, int index, bool use);
bool saveDefaultText(PreferencesController& preferences, const DefaultFieldControl& control, int index,
                     std::string_view text);
bool saveDefaultOn(PreferencesController& preferences, const DefaultFieldControl& control, int index, bool on);

// Takes a track's V2 texts into set `index`: each field the track fills gets
// its value and its "use" box on; the others keep what the set had. The
// compilation flag is taken only when the track sets it. The count of fields
// taken.
int storeDefaultSetFromTrack(PreferencesController& preferences, int index, const ID3Tag& track);

bool loadUseDefaultPicture(const PreferencesController& preferences, int index);
bool saveUseDefaultPicture(PreferencesController& preferences, int index, bool use);

// A set's name as the set menu lists it: the name the user gave, else
// "Default" and the set's number (1 to 10).
std::string defaultSetName(const PreferencesController& preferences, int index);
// An empty or blank name gives the set its standard name back.
bool saveDefaultSetName(PreferencesController& preferences, int index, std::string_view name);
// The set picked in the menu, held to 0 to 9; selecting one stores its index.
int currentDefaultSet(const PreferencesController& preferences);
bool saveCurrentDefaultSet(PreferencesController& preferences, int index);

}  // namespace melos
