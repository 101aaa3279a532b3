#pragma once
// The one reader and writer of the preferences store. Everything else asks
// through a named getter, and every getter reads the store at the moment it is
// called: there is no cache, so a saved value takes effect at the next call.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/tag_data.h"
#include "preferences/preference_keys.h"

namespace melos {

class PreferenceStore;

// One row of the standard genre list: the genre's number, its state ("on" or
// "off") and the name shown.
struct GenreListRow {
  int genre = 0;
  std::string state;
  std::string name;

  bool enabled() const { return state == "on"; }
  bool operator==(const GenreListRow&) const = default;
};

// A default set's picture as the picture well receives it: held whenever the set
// uses a picture, with no image when the file is missing, empty, too large or
// not of an accepted picture kind.
struct DefaultPicture {
  std::optional<PicData> image;
};

inline constexpr std::string_view kDefaultImageAlert = "Default image";

// Larger than any picture an ID3v2 tag can hold (28-bit syncsafe tag size).
inline constexpr uint64_t kMaxDefaultPictureBytes = 0x0FFFFFFF;

class PreferencesController {
 public:
  // configFolder holds the default picture file; it is the settings file's folder.
  PreferencesController(std::unique_ptr<PreferenceStore> store, std::string configFolder);
  ~PreferencesController();
  PreferencesController(const PreferencesController&) = delete;
  PreferencesController& operator=(const PreferencesController&) = delete;

  // Created on first use over the user's settings file.
  static PreferencesController& sharedInstance();

  // Typed readers. A boolean is true only when the stored value is the boolean
  // true; any other stored value (a number 1, a text) reads as false.
  bool getBoolPreferenceNamed(std::string_view key, bool defaultValue) const;
  int getIntPreferenceNamed(std::string_view key, int defaultValue) const;
  // A stored number reads as its decimal text; the default also stands for a
  // stored array or dictionary, which have no text.
  std::string getStringPreferenceNamed(std::string_view key, std::string_view defaultValue) const;
  static std::string getPreferenceName(std::string_view base, int index);

  void setBoolPreferenceNamed(std::string_view key, bool value);
  void setIntPreferenceNamed(std::string_view key, int value);
  void setStringPreferenceNamed(std::string_view key, std::string_view value);
  void removePreferenceNamed(std::string_view key);
  bool synchronize();

  bool isCopyComposerSet() const;
  bool isCopyOriginalArtistSet() const;
  bool isCopyTitleSet() const;
  bool isCopyTrackSet() const;
  bool isSetGroupChecksSet() const;
  bool allowUnicode() const;
  bool isShowPictureSet() const;
  bool isSortByTrackSet() const;
  bool isMultipleWindowsSet() const;
  bool isAddPicToEndSet() const;
  bool showQuickLists() const;
  bool showOpenFile() const;
  bool loadFullTagData() const;
  bool isShowPlayControlsSet() const;
  bool isSaveWindowPositionSet() const;
  bool isOpenDroppedFileInGroupSet() const;
  bool isShowTrackSet() const;
  bool isIgnoreAIFFCorruptionSet() const;
  bool isQuickVBRSet() const;
  bool isMoveToTrashSet() const;
  bool isReplaceTagSet() const;
  bool isRenameUpdateSet() const;
  bool isCreateFolderSet() const;
  bool isCloseWindowSet() const;
  bool removeAPETag() const;
  bool isKeepFileDatesSet() const;
  bool isTrimWhitespaceSet() const;
  bool isAddTrackNumberSet() const;
  bool isDateTracksSet() const;
  bool isUTF8TrackNameSet() const;
  int16_t getTag2SaveVersion() const;  // 0 automatic, 3, 4
  bool isReplaceTagDataInGroupSet() const;
  int16_t isSetFileIconSet() const;  // non-zero means on
  bool isReplaceWithDefaultPictureSet() const;
  bool applyDefaultsToV1() const;
  bool removeAllData() const;
  bool showDefaultsButton() const;
  bool replaceV2GenreList() const;
  int getFromFileNameFormatType() const;
  std::string getFromCustomFileNameFormat() const;
  int getToFileNameFormatType() const;
  std::string getToCustomFileNameFormat() const;
  int getWindowStyle() const;
  bool showUserTab() const;
  std::string getDefaultPath() const;
  bool isAlwaysApplyDefTagDataSet() const;
  int getDefaultTypeIndex() const;
  std::string getWindowPosition() const;
  bool showSplash() const;

  // A stored array is returned as it stands (entries without a text read as
  // empty); anything else gives the 25 default names, without writing them.
  std::vector<std::string> getUserGenreList() const;
  void setUserGenreList(const std::vector<std::string>& names);
  // The 80 standard genres with their states; a stored element that is not an
  // array leaves its genre out, a missing one is "on" with the table's name.
  std::vector<GenreListRow> getGenreList() const;
  void setGenreList(const std::vector<GenreListRow>& rows);
  // What the genre boxes of the editors offer: for V1 the enabled standard
  // genres; for V2 those followed by the user genres, or the user genres alone
  // with "Replace V2 genre list". Disabled genres are in neither.
  std::vector<std::string> v1GenreList() const;
  std::vector<std::string> v2GenreList() const;
  // Adds the 25 default names to the end of the user genre list, each only
  // when the list does not hold it yet, so pressing the button twice changes
  // nothing the second time.
  void addiTunesGenres();

  // One quick list, most recent entry first; none when no array is stored
  // under the key.
  std::optional<std::vector<std::string>> getRecentList(std::string_view key) const;
  // Stores the list and synchronises at once, so that other windows see it.
  void setRecentList(std::string_view key, const std::vector<std::string>& entries);
  // Removes one quick list and synchronises at once.
  void clearRecentList(std::string_view key);
  // Clears the first 25 quick lists; the artist URL and podcast lists stay.
  void clearQuickLists();
  // Not synchronised here: the window saves its position as it closes.
  void setWindowPosition(std::string_view frame);
  // Stores true only for exactly 1.
  void setShowSplash(int flag);

  // Removes the keys of resetPreferenceKeys() in order, synchronises and then
  // calls the load handler so that a window can show the defaults.
  void resetPreferences();
  void setLoadPreferencesHandler(std::function<void()> handler);

  // The default tag data sets, index 0 to 9. A value is returned exactly when
  // the set's "use" flag is on (the empty text when none is stored).
  std::optional<std::string> getDefaultT2Title(int index) const;
  std::optional<std::string> getDefaultT2Album(int index) const;
  std::optional<std::string> getDefaultT2Artist(int index) const;
  std::optional<std::string> getDefaultT2Comment(int index) const;
  std::optional<std::string> getDefaultT2Composer(int index) const;
  std::optional<std::string> getDefaultT2Copyright(int index) const;
  std::optional<std::string> getDefaultT2EncodedBy(int index) const;
  std::optional<std::string> getDefaultT2Genre(int index) const;
  std::optional<std::string> getDefaultT2Track(int index) const;
  std::optional<std::string> getDefaultT2OfTracks(int index) const;
  std::optional<std::string> getDefaultT2OriginalArtist(int index) const;
  std::optional<std::string> getDefaultT2URL(int index) const;
  std::optional<std::string> getDefaultT2Year(int index) const;
  bool useDefaultT2Compilation(int index) const;
  bool getDefaultT2Compilation(int index) const;
  std::optional<DefaultPicture> getDefaultPicture(int index) const;
  // The file is the same for every set.
  std::string defaultPicturePath(int index) const;
  // Stores the picture file of the sets, replacing the old one only once the
  // new one is whole. None on success, else the message of the alert titled
  // kDefaultImageAlert, also logged.
  std::optional<std::string> setDefaultPicture(const Bytes& image);

 private:
  bool read(const BoolPreference& preference) const;
  int read(const IntPreference& preference) const;
  std::string read(const StringPreference& preference) const;
  std::optional<std::string> defaultText(const DefaultSetField& field, int index) const;

  std::unique_ptr<PreferenceStore> store_;
  std::string configFolder_;
  std::function<void()> loadPreferencesHandler_;
};

}  // namespace melos
