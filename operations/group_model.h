#pragma once
// What the group editor holds: the tracks of the group, one value per field,
// and beside each field its "change" box. Only the fields whose box is on are
// copied into the tracks; every other field of every track keeps its own value.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/id3_tag.h"

namespace melos {

class PreferencesController;
class Questions;

// One change box per editable field, in the order of the window.
enum class GroupField : uint8_t {
  V1Title,
  V1Artist,
  V1Album,
  V1Year,
  V1Comment,
  V1Genre,
  V2Title,
  V2Artist,
  V2Album,
  V2Year,
  V2Genre,
  V2Comment,
  V2Composer,
  V2OrigArtist,
  V2Copyright,
  V2Url,
  V2EncodedBy,
  V2Tracks,
  V2SetAndSets,
  V2Conductor,
  V2Lyricist,
  V2Publisher,
  V2Orchestra,
  V2Content,
  V2Subtitle,
  V2Compilation,
  V2Picture,
  ArtistUrl,
  Isrc,
  ReleaseTime,
  RecordTime,
  Bpm,
  InitialKey,
  PodcastEnable,
  PodcastId,
  PodcastFeed,
  PodcastDescription,
};

inline constexpr size_t kGroupFieldCount = static_cast<size_t>(GroupField::PodcastDescription) + 1;

// The label of a field's change box, e.g. "Change V1 title".
std::string_view changeBoxLabel(GroupField field) noexcept;
bool isV1Field(GroupField field) noexcept;

inline constexpr std::string_view kReplacePicturesHelp =
    "Replace all existing images with the current image (if no image is present then remove all images)";
inline constexpr std::string_view kCopyV2DetailsHelp = "For each track, use the tag details from ID3 v2 for ID3 v1";
inline constexpr std::string_view kIsrcIncrementHelp =
    "When checked, the first track will use the ISRC and the next track will use the ISRC + 1 e.g. for an "
    "ISRC of CCXXX1500729 the next track would be CCXXX1500730";

// The window's values, as its controls hold them (UTF-16 texts).
struct GroupValues {
  std::u16string v1Title, v1Artist, v1Album, v1Year, v1Comment;
  std::u16string v1Genre;  // a genre name of the standard list

  std::u16string title, artist, album, year, genre, comment, composer, origArtist, copyright, url, encodedBy;
  std::u16string tracks;     // the total of tracks
  std::u16string set, sets;  // disc number and count
  std::u16string conductor, lyricist, publisher, orchestra, content, subtitle;
  bool compilation = false;
  std::optional<PicData> picture;  // none: the window shows no picture
  std::u16string artisturl, isrc, releasetime, recordtime, bpm, initialkey;
  bool podcast = false;
  std::u16string podcastid, podcastfeed, podcastdesc;
};

// A number field as the tag holds it: unset when empty, not a positive
// number, or beyond what the tag can hold.
uint16_t numberField(std::u16string_view text);
// The other way: the number as the field shows it, or empty when unset.
std::u16string numberText(unsigned number, unsigned unset = kUnsetNumber);

// The ISRC of the track at `index` when the increment box is on: the first 7
// characters, then the number that follows them plus the index as "%05d", all
// cut to 12 characters. An ISRC of 7 characters or fewer, or one without a
// number there, is the same for every track.
std::string incrementedIsrc(std::u16string_view isrc, size_t index);

class GroupModel {
 public:
  using Tracks = std::vector<std::unique_ptr<ID3Tag>>;

  GroupModel() = default;
  explicit GroupModel(Tracks tracks);

  // m_pID3Tags
  Tracks& tracks() noexcept { return tracks_; }
  const Tracks& tracks() const noexcept { return tracks_; }
  size_t count() const noexcept { return tracks_.size(); }
  void addTrack(std::unique_ptr<ID3Tag> track);
  // Takes the track out of the group (not off the disk), with its share of
  // the totals; none beyond the end.
  std::unique_ptr<ID3Tag> removeTrack(size_t index);

  // m_llSize and m_llLength: bytes and seconds of the tracks shown.
  uint64_t totalSize() const noexcept { return totalSize_; }
  uint64_t totalLength() const noexcept { return totalLength_; }

  GroupValues values;

  bool changeBox(GroupField field) const noexcept { return boxes_[static_cast<size_t>(field)]; }
  void setChangeBox(GroupField field, bool on) noexcept { boxes_[static_cast<size_t>(field)] = on; }
  // Every change box and the file-name, ISRC-increment, V2-for-V1 and
  // replace-pictures boxes off, as after a finished update.
  void resetCheckBoxes() noexcept;

  bool enableV1 = false;        // mEnableV1TagButton
  bool enableV2 = false;        // mEnableV2TagButton
  bool copyV2Details = false;   // mCopyV2DetailsButton: V2 for V1
  bool fileName = false;        // mSetTitleTrackFromFileButton
  bool isrcIncrement = false;   // mT2ISRCIncrementButton
  bool replacePictures = false; // mT2ReplacePicturesButton

  // The V1 enable box and at least one V1 change box.
  bool updateV1() const noexcept;
  // The V2 enable box and at least one V2 change box.
  bool updateV2() const noexcept;

  // Copy the checked fields of the window into the track.
  void updateV1TagData(ID3Tag& track) const;
  void updateV2TagData(ID3Tag& track, bool addPicToEnd) const;

  // Set the change flag of that version on every track; with enable, also
  // switch that version's enable box on. The dirty mark follows the first
  // track's two flags.
  void changedV1(bool changed, bool enable);
  void changedV2(bool changed, bool enable);
  bool isDirty() const noexcept { return dirty_; }
  void setDirty(bool dirty) noexcept { dirty_ = dirty; }

  // Filling the window: from one tag (the first track's when the group
  // opens, or one from the tag clipboard), or with empty values. The change
  // boxes stay as they are.
  void setTagData(const ID3Tag& tag);
  // Default data set `index` of the preferences over the window's values; a
  // field the set does not supply keeps its value as typed.
  void setDefaultTagData(int index, const PreferencesController& prefs);
  void clearTagData();
  // The window's values as one tag, every field as shown whatever its box
  // says: what the tag clipboard copies.
  std::unique_ptr<ID3Tag> getTagData() const;

  // m_bImagesExist: a track of the group had pictures when it was loaded.
  bool imagesExist() const noexcept { return imagesExist_; }
  // A track that had pictures was added without them: the group does not keep
  // every track's pictures, only the fact.
  void noteImagesExist() noexcept { imagesExist_ = true; }
  // The window's picture removed: the picture box goes on and V2 is marked
  // changed; the first time, when tracks have pictures and the replace box is
  // off, the user is asked whether to remove them too.
  void removePicture(Questions& questions);

 private:
  void changedFromFirstTrack();

  Tracks tracks_;
  uint64_t totalSize_ = 0;
  uint64_t totalLength_ = 0;
  std::array<bool, kGroupFieldCount> boxes_{};
  bool dirty_ = false;
  bool imagesExist_ = false;
};

}  // namespace melos
