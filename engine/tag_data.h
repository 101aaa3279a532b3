#pragma once
// The fields of one track's ID3v2 tag and its ID3v1 tag.

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "engine/bytes.h"
#include "engine/text.h"

namespace melos {

inline constexpr uint16_t kUnsetNumber = 65535;   // V2 track, tracks, set, sets
inline constexpr uint8_t kUnsetV1 = 255;          // V1 track and genre
inline constexpr size_t kMaxUniqueIdBytes = 64;
inline constexpr size_t kMaxTimeText = 63;
inline constexpr size_t kMaxPictureMime = 64;

struct PopularityData {
  std::string email;
  uint8_t rate = 0;
  std::string counter;  // the play count as decimal text
  bool operator==(const PopularityData&) const = default;
};

struct UniqueFileID {
  std::string owner;
  Bytes data;  // at most kMaxUniqueIdBytes
  int32_t datasize() const noexcept { return static_cast<int32_t>(data.size()); }
  bool operator==(const UniqueFileID&) const = default;
};

inline constexpr uint8_t kPictureOther = 0;
inline constexpr uint8_t kPictureFrontCover = 3;

struct PicData {
  PicData() = default;
  PicData(Bytes bytes, std::string subtype, uint8_t type = kPictureOther, UnicodeText text = {})
      : data(std::move(bytes)), pictureSubtype(std::move(subtype)), pictureType(type), description(std::move(text)) {}

  Bytes data;
  std::string pictureSubtype;  // "jpeg", "png", "gif", "tiff" or "bmp"
  uint8_t pictureType = kPictureOther;
  UnicodeText description;
  bool operator==(const PicData&) const = default;
};

// The values behind the first one of a multi-value text frame (ID3v2.4
// separates them with a zero character). `first` is the value the field held
// when the frame was read: the others belong to it and are written back only
// while the field still says the same.
struct MoreValues {
  std::string frameId;  // as written: "TPE1", "TCON", ...
  std::u16string first;
  std::vector<std::u16string> rest;
  bool operator==(const MoreValues&) const = default;
};

// A TXXX frame kept as its whole body (encoding byte, description, value), so
// that it is written back byte for byte; description and value are its decoded
// form for display.
struct UserText {
  Bytes body;
  UnicodeText description;
  UnicodeText value;
  bool operator==(const UserText&) const = default;
};

// A frame that no decoder took, kept as it was read (flags are not kept).
struct PrivateData {
  std::string id;
  Bytes body;
  bool operator==(const PrivateData&) const = default;
};

using PicDataArray = std::vector<PicData>;
using UserTextArray = std::vector<UserText>;
using PrivateDataArray = std::vector<PrivateData>;

struct TagData {
  bool enabled = false;
  UnicodeText title;
  UnicodeText artist;
  UnicodeText album;
  std::string year;  // at most 4 characters
  UnicodeText comment;
  // What the comment and lyrics frames hold beside their text; an empty
  // language is written as "eng".
  std::string commentLanguage;
  UnicodeText commentDescription;
  UnicodeText composer;
  UnicodeText origArtist;
  UnicodeText copyright;
  std::string url;
  std::string artisturl;
  std::string encodedBy;
  uint16_t track = kUnsetNumber;
  uint16_t tracks = kUnsetNumber;
  UnicodeText genre;
  bool compilation = false;
  std::string musiccdid;
  std::string grouping;
  PicDataArray picdata;
  UnicodeText lyrics;
  std::string lyricsLanguage;
  UnicodeText lyricsDescription;
  UnicodeText conductor;
  UnicodeText lyricist;
  UnicodeText publisher;
  UnicodeText orchestra;
  UnicodeText content;
  UnicodeText subtitle;
  UnicodeText encsettings;
  UserTextArray usertext;
  uint16_t set = kUnsetNumber;
  uint16_t sets = kUnsetNumber;
  std::string isrc;
  std::string releasetime;
  std::string recordtime;
  std::string bpm;
  std::string initialkey;
  PopularityData popularity;
  bool podcast = false;
  UnicodeText podcastid;
  std::string podcastfeed;
  UnicodeText podcastdesc;
  PrivateDataArray privdata;
  int32_t advisory = 0;
  std::string producednotice;
  std::string mood;
  std::string iswc;
  UniqueFileID uniqueid;
  std::vector<MoreValues> moreValues;

  void clear() { *this = TagData{}; }
  bool operator==(const TagData&) const = default;
};

inline constexpr size_t kV1TextField = 30;
inline constexpr size_t kV1YearField = 4;
inline constexpr size_t kV1CommentField = 29;
// The V2 year frame keeps four digits too; the date frames carry the rest.
inline constexpr size_t kV2YearField = 4;

struct V1Tag {
  bool enabled = false;
  std::string title;    // at most 30 bytes, Latin-1
  std::string artist;   // at most 30
  std::string album;    // at most 30
  std::string year;     // at most 4
  std::string comment;  // at most 29
  uint8_t track = kUnsetV1;
  uint8_t genre = kUnsetV1;

  void clear() { *this = V1Tag{}; }
  bool operator==(const V1Tag&) const = default;
};

// The time text of a release or recording time as copied, exported and
// compared: at most 63 characters, the first "T" replaced by a blank.
std::string timeText(std::string_view time);

}  // namespace melos
