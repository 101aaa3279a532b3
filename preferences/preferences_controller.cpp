#include "preferences/preferences_controller.h"

#include <algorithm>

#include <fcntl.h>

#include <QFileInfo>
#include <filesystem>
#include <fstream>

#include "engine/file_io.h"
#include "engine/genres.h"
#include "engine/log.h"
#include "engine/picture.h"
#include "preferences/handler_guard.h"
#include "preferences/settings_file_store.h"
#include "preferences/store.h"
#include "preferences/value_conversion.h"

namespace melos {

namespace {

constexpr const char* kController = "PreferencesController";

QStringList toStringList(const std::vector<std::string>& texts) {
  QStringList list;
  list.reserve(static_cast<qsizetype>(texts.size()));
  for (const std::string& text : texts) list.append(fromUtf8(text));
  return list;
}

}  // namespace

PreferencesController::PreferencesController(std::unique_ptr<PreferenceStore> store,
                                             std::string configFolder)
    : store_(std::move(store)), configFolder_(std::move(configFolder)) {}

PreferencesController::~PreferencesController() = default;

PreferencesController& PreferencesController::sharedInstance() {
  static PreferencesController instance = [] {
    const QString path = defaultSettingsPath();
    return PreferencesController(std::make_unique<SettingsFileStore>(path),
                                 toUtf8(QFileInfo(path).absolutePath()));
  }();
  return instance;
}

bool PreferencesController::getBoolPreferenceNamed(std::string_view key, bool defaultValue) const {
  const std::optional<QVariant> stored = store_->value(fromUtf8(key));
  if (!stored) return defaultValue;
  return stored->typeId() == QMetaType::Bool && stored->toBool();
}

int PreferencesController::getIntPreferenceNamed(std::string_view key, int defaultValue) const {
  const std::optional<QVariant> stored = store_->value(fromUtf8(key));
  if (!stored) return defaultValue;
  return intValueOf(*stored).value_or(defaultValue);
}

std::string PreferencesController::getStringPreferenceNamed(std::string_view key,
                                                            std::string_view defaultValue) const {
  const std::optional<QVariant> stored = store_->value(fromUtf8(key));
  if (!stored) return std::string(defaultValue);
  return textOf(*stored).value_or(std::string(defaultValue));
}

std::string PreferencesController::getPreferenceName(std::string_view base, int index) {
  return preferenceName(base, index);
}

void PreferencesController::setBoolPreferenceNamed(std::string_view key, bool value) {
  store_->setValue(fromUtf8(key), QVariant(value));
}

void PreferencesController::setIntPreferenceNamed(std::string_view key, int value) {
  store_->setValue(fromUtf8(key), QVariant(value));
}

void PreferencesController::setStringPreferenceNamed(std::string_view key, std::string_view value) {
  store_->setValue(fromUtf8(key), QVariant(fromUtf8(value)));
}

void PreferencesController::removePreferenceNamed(std::string_view key) {
  store_->remove(fromUtf8(key));
}

bool PreferencesController::synchronize() { return store_->sync(); }

bool PreferencesController::read(const BoolPreference& preference) const {
  return getBoolPreferenceNamed(preference.key, preference.defaultValue);
}

int PreferencesController::read(const IntPreference& preference) const {
  return getIntPreferenceNamed(preference.key, preference.defaultValue);
}

std::string PreferencesController::read(const StringPreference& preference) const {
  return getStringPreferenceNamed(preference.key, preference.defaultValue);
}

bool PreferencesController::isCopyComposerSet() const { return read(prefs::kCopyComposer); }
bool PreferencesController::isCopyOriginalArtistSet() const {
  return read(prefs::kCopyOriginalArtist);
}
bool PreferencesController::isCopyTitleSet() const { return read(prefs::kCopyTitle); }
bool PreferencesController::isCopyTrackSet() const { return read(prefs::kCopyTrack); }
bool PreferencesController::isSetGroupChecksSet() const { return read(prefs::kSetGroupChecks); }
bool PreferencesController::allowUnicode() const { return read(prefs::kAllowUnicode); }
bool PreferencesController::isShowPictureSet() const { return read(prefs::kShowPicture); }
bool PreferencesController::isSortByTrackSet() const { return read(prefs::kSortByTrack); }
bool PreferencesController::isMultipleWindowsSet() const { return read(prefs::kMultipleWindows); }
bool PreferencesController::isAddPicToEndSet() const { return read(prefs::kAddPicToEnd); }
bool PreferencesController::showQuickLists() const { return read(prefs::kShowQuickLists); }
bool PreferencesController::showOpenFile() const { return read(prefs::kShowOpenFile); }
bool PreferencesController::loadFullTagData() const { return read(prefs::kLoadFullTagData); }
bool PreferencesController::isShowPlayControlsSet() const { return read(prefs::kShowPlayControls); }
bool PreferencesController::isSaveWindowPositionSet() const {
  return read(prefs::kSaveWindowPosition);
}
bool PreferencesController::isOpenDroppedFileInGroupSet() const {
  return read(prefs::kOpenDroppedFileInGroup);
}
bool PreferencesController::isShowTrackSet() const { return read(prefs::kShowTrack); }
bool PreferencesController::isIgnoreAIFFCorruptionSet() const {
  return read(prefs::kIgnoreAiffCorruption);
}
bool PreferencesController::isQuickVBRSet() const { return read(prefs::kQuickVbr); }
bool PreferencesController::isMoveToTrashSet() const { return read(prefs::kMoveToTrash); }
bool PreferencesController::isReplaceTagSet() const { return read(prefs::kReplaceTag); }
bool PreferencesController::isRenameUpdateSet() const { return read(prefs::kRenameUpdate); }
bool PreferencesController::isCreateFolderSet() const { return read(prefs::kCreateFolder); }
bool PreferencesController::isCloseWindowSet() const { return read(prefs::kCloseWindow); }
bool PreferencesController::removeAPETag() const { return read(prefs::kRemoveApeTag); }
bool PreferencesController::isKeepFileDatesSet() const { return read(prefs::kKeepFileDates); }
bool PreferencesController::isTrimWhitespaceSet() const { return read(prefs::kTrimWhitespace); }
bool PreferencesController::isAddTrackNumberSet() const { return read(prefs::kAddTrackNumber); }
bool PreferencesController::isDateTracksSet() const { return read(prefs::kDateTracks); }
bool PreferencesController::isUTF8TrackNameSet() const { return read(prefs::kUtf8TrackName); }
bool PreferencesController::isReplaceTagDataInGroupSet() const {
  return read(prefs::kReplaceTagDataInGroup);
}
bool PreferencesController::isReplaceWithDefaultPictureSet() const {
  return read(prefs::kReplaceWithDefaultPicture);
}
bool PreferencesController::applyDefaultsToV1() const { return read(prefs::kApplyDefaultsToV1); }
bool PreferencesController::removeAllData() const { return read(prefs::kRemoveAllData); }
bool PreferencesController::showDefaultsButton() const { return read(prefs::kShowDefaultsButton); }
bool PreferencesController::replaceV2GenreList() const { return read(prefs::kReplaceV2GenreList); }
bool PreferencesController::showUserTab() const { return read(prefs::kShowUserTab); }
bool PreferencesController::isAlwaysApplyDefTagDataSet() const {
  return read(prefs::kAlwaysApplyDefTagData);
}
bool PreferencesController::showSplash() const { return read(prefs::kShowSplash); }

int16_t PreferencesController::getTag2SaveVersion() const {
  return static_cast<int16_t>(read(prefs::kTag2Version));
}

int16_t PreferencesController::isSetFileIconSet() const {
  return static_cast<int16_t>(read(prefs::kSetFileIcon));
}

int PreferencesController::getFromFileNameFormatType() const {
  return read(prefs::kFromFileNameFormatType);
}

std::string PreferencesController::getFromCustomFileNameFormat() const {
  return read(prefs::kFromFileNameFormat);
}

int PreferencesController::getToFileNameFormatType() const {
  return read(prefs::kToFileNameFormatType);
}

std::string PreferencesController::getToCustomFileNameFormat() const {
  return read(prefs::kToFileNameFormat);
}

int PreferencesController::getWindowStyle() const { return read(prefs::kEditorStyle); }

std::string PreferencesController::getDefaultPath() const { return read(prefs::kDefaultPath); }

int PreferencesController::getDefaultTypeIndex() const { return read(prefs::kDefaultsIndex); }

std::string PreferencesController::getWindowPosition() const {
  return read(prefs::kWindowSettings);
}

std::vector<std::string> PreferencesController::getUserGenreList() const {
  std::vector<std::string> names;
  const std::optional<QVariant> stored = store_->value(fromUtf8(prefs::kUserGenreList));
  if (stored && isArray(*stored)) {
    for (const QVariant& entry : stored->toList()) names.push_back(textOf(entry).value_or(""));
    return names;
  }
  names.assign(prefs::kDefaultUserGenres.begin(), prefs::kDefaultUserGenres.end());
  return names;
}

void PreferencesController::setUserGenreList(const std::vector<std::string>& names) {
  store_->setValue(fromUtf8(prefs::kUserGenreList), QVariant(toStringList(names)));
}

std::vector<GenreListRow> PreferencesController::getGenreList() const {
  QVariantList stored;
  if (std::optional<QVariant> value = store_->value(fromUtf8(prefs::kGenreList));
      value && isArray(*value))
    stored = value->toList();

  std::vector<GenreListRow> rows;
  for (int genre = 0; genre < kGenreCount; ++genre) {
    const std::string tableName(kGenres[static_cast<size_t>(genre)]);
    if (genre >= stored.size()) {
      rows.push_back({genre, "on", tableName});
      continue;
    }
    const QVariant& element = stored[genre];
    if (!isArray(element)) continue;
    // A short pair keeps what it has and takes the rest from a fresh row.
    const QVariantList pair = element.toList();
    GenreListRow row{genre, "on", tableName};
    if (pair.size() > 0) row.state = textOf(pair[0]).value_or(row.state);
    if (pair.size() > 1) row.name = textOf(pair[1]).value_or(row.name);
    rows.push_back(std::move(row));
  }
  return rows;
}

void PreferencesController::setGenreList(const std::vector<GenreListRow>& rows) {
  // Each row stays at its genre's index; a genre without a row keeps a null
  // there, which reads back as no row rather than shifting the rest.
  QVariantList list;
  for (const GenreListRow& row : rows) {
    if (row.genre < 0) continue;
    while (list.size() <= row.genre) list.append(QVariant::fromValue(nullptr));
    list[row.genre] = QVariant(QStringList{fromUtf8(row.state), fromUtf8(row.name)});
  }
  store_->setValue(fromUtf8(prefs::kGenreList), QVariant(list));
}

std::vector<std::string> PreferencesController::v1GenreList() const {
  std::vector<std::string> names;
  for (const GenreListRow& row : getGenreList())
    if (row.enabled()) names.push_back(row.name);
  return names;
}

std::vector<std::string> PreferencesController::v2GenreList() const {
  std::vector<std::string> names = replaceV2GenreList() ? std::vector<std::string>() : v1GenreList();
  for (std::string& name : getUserGenreList()) names.push_back(std::move(name));
  return names;
}

void PreferencesController::addiTunesGenres() {
  std::vector<std::string> names = getUserGenreList();
  for (std::string_view name : prefs::kDefaultUserGenres)
    if (std::find(names.begin(), names.end(), name) == names.end()) names.emplace_back(name);
  setUserGenreList(names);
}

std::optional<std::vector<std::string>> PreferencesController::getRecentList(
    std::string_view key) const {
  const std::optional<QVariant> stored = store_->value(fromUtf8(key));
  if (!stored || !isArray(*stored)) return std::nullopt;
  std::vector<std::string> entries;
  for (const QVariant& entry : stored->toList()) entries.push_back(textOf(entry).value_or(""));
  return entries;
}

void PreferencesController::setRecentList(std::string_view key,
                                          const std::vector<std::string>& entries) {
  store_->setValue(fromUtf8(key), QVariant(toStringList(entries)));
  store_->sync();
}

void PreferencesController::clearRecentList(std::string_view key) {
  store_->remove(fromUtf8(key));
  store_->sync();
}

void PreferencesController::clearQuickLists() {
  guarded(kController, "cql", [this] {
    for (size_t i = 0; i < prefs::kClearedQuickListCount; ++i)
      clearRecentList(prefs::kQuickListKeys[i]);
  });
}

void PreferencesController::setWindowPosition(std::string_view frame) {
  setStringPreferenceNamed(prefs::kWindowSettings.key, frame);
}

void PreferencesController::setShowSplash(int flag) {
  setBoolPreferenceNamed(prefs::kShowSplash.key, flag == 1);
  store_->sync();
}

void PreferencesController::resetPreferences() {
  guarded(kController, "rp", [this] {
    for (const std::string& key : resetPreferenceKeys()) store_->remove(fromUtf8(key));
    store_->sync();
    if (loadPreferencesHandler_) loadPreferencesHandler_();
  });
}

void PreferencesController::setLoadPreferencesHandler(std::function<void()> handler) {
  loadPreferencesHandler_ = std::move(handler);
}

std::optional<std::string> PreferencesController::defaultText(const DefaultSetField& field,
                                                              int index) const {
  if (!getBoolPreferenceNamed(preferenceName(field.useKey, index), false)) return std::nullopt;
  return getStringPreferenceNamed(preferenceName(field.valueKey, index), "");
}

std::optional<std::string> PreferencesController::getDefaultT2Title(int index) const {
  return defaultText(prefs::kDefaultTitle, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Album(int index) const {
  return defaultText(prefs::kDefaultAlbum, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Artist(int index) const {
  return defaultText(prefs::kDefaultArtist, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Comment(int index) const {
  return defaultText(prefs::kDefaultComment, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Composer(int index) const {
  return defaultText(prefs::kDefaultComposer, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Copyright(int index) const {
  return defaultText(prefs::kDefaultCopyright, index);
}
std::optional<std::string> PreferencesController::getDefaultT2EncodedBy(int index) const {
  return defaultText(prefs::kDefaultEncodedBy, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Genre(int index) const {
  return defaultText(prefs::kDefaultGenre, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Track(int index) const {
  return defaultText(prefs::kDefaultTrack, index);
}
std::optional<std::string> PreferencesController::getDefaultT2OfTracks(int index) const {
  return defaultText(prefs::kDefaultOfTracks, index);
}
std::optional<std::string> PreferencesController::getDefaultT2OriginalArtist(int index) const {
  return defaultText(prefs::kDefaultOriginalArtist, index);
}
std::optional<std::string> PreferencesController::getDefaultT2URL(int index) const {
  return defaultText(prefs::kDefaultUrl, index);
}
std::optional<std::string> PreferencesController::getDefaultT2Year(int index) const {
  return defaultText(prefs::kDefaultYear, index);
}

bool PreferencesController::useDefaultT2Compilation(int index) const {
  return getBoolPreferenceNamed(preferenceName(prefs::kDefaultCompilation.useKey, index), false);
}

bool PreferencesController::getDefaultT2Compilation(int index) const {
  return getBoolPreferenceNamed(preferenceName(prefs::kDefaultCompilation.valueKey, index), false);
}

std::string PreferencesController::defaultPicturePath(int /*index*/) const {
  return configFolder_ + "/" + std::string(prefs::kDefaultPictureFile);
}

std::optional<DefaultPicture> PreferencesController::getDefaultPicture(int index) const {
  if (!getBoolPreferenceNamed(preferenceName(prefs::kUseDefaultPicture, index), false))
    return std::nullopt;

  DefaultPicture picture;
  const std::string path = defaultPicturePath(index);
  std::error_code error;
  const uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size == 0) return picture;
  if (size > kMaxDefaultPictureBytes) {
    LogMessage(LogWarning, "The default picture '%s' is too large (%ju bytes)", path.c_str(), size);
    return picture;
  }

  std::ifstream file(path, std::ios::binary);
  Bytes bytes(static_cast<size_t>(size));
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) {
    LogMessage(LogWarning, "Failed to read the default picture '%s'", path.c_str());
    return picture;
  }
  const std::string_view subtype = pictureSubtypeFromBytes(bytes);
  if (subtype.empty()) {
    LogMessage(LogWarning, "The default picture '%s' is not an accepted image", path.c_str());
    return picture;
  }
  picture.image = PicData{std::move(bytes), std::string(subtype)};
  return picture;
}

std::optional<std::string> PreferencesController::setDefaultPicture(const Bytes& image) {
  const std::string path = defaultPicturePath(0);
  const std::string temporary = path + ".new";
  std::error_code ignored;  // a folder that cannot be made fails the open below
  std::filesystem::create_directories(configFolder_, ignored);
  int error = 0;
  {
    File file(sys::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.isOpen() || file.writeAt(0, image) != static_cast<int64_t>(image.size()) ||
        sys::fsync(file.fd()) != 0)
      error = errno;
  }
  if (error == 0 && sys::rename(temporary.c_str(), path.c_str()) != 0) error = errno;
  if (error == 0) return std::nullopt;
  sys::unlink(temporary.c_str());
  char message[1024];
  std::snprintf(message, sizeof message, "Failed to create the image file '%s' (%d).", path.c_str(), error);
  LogMessage(LogError, "%s", message);
  return std::string(message);
}

}  // namespace melos
